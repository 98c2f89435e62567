// The description of a dynamic rule, from the manager's bytes to the record of the rule table.
#ifndef ACL_LIB_CLIENT_RULE_DESCRIPTION_H
#define ACL_LIB_CLIENT_RULE_DESCRIPTION_H

#include <cstddef>
#include <span>

#include "acl_lib.h"
#include "acl_lib/client/rule_description_bodies.h"

namespace acl {

// Returns the entry that a description stands for: its words and terms in host byte order, its name
// with a NUL (a name without one loses its last character), links and counters zero. The count of
// terms is as sent, which may be out of range.
AclClientEntry decodeRuleDescription(
    std::span<const std::byte, RuleDescriptionBody::size> description) noexcept;

}  // namespace acl

#endif  // ACL_LIB_CLIENT_RULE_DESCRIPTION_H
