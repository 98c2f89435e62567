// Descriptions of dynamic rules, from which clients evaluate them themselves.
#ifndef MANAGER_SERVER_RULE_DESCRIPTION_H
#define MANAGER_SERVER_RULE_DESCRIPTION_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "acl_lib/client/rule_description_bodies.h"
#include "manager/decode/outcome.h"
#include "manager/model/dynamic_rule.h"

namespace aclmgr {

// A RuleDescriptionBody. All zero, and so without a name, it describes no rule.
using RuleDescription = std::array<std::byte, acl::RuleDescriptionBody::size>;

// Describes a rule: its name, its id as ruleWord, and its terms (rule_terms.h).
//   attrA, attrB  what the client knows the rule's flags and its place as
// Returns the description; kConfigFailed, and why, when the rule has no terms: a description of a
// part of it would decide otherwise than the whole.
Outcome<RuleDescription> describeRule(const DynamicRule &rule, std::uint32_t attrA,
                                      std::uint32_t attrB);

}  // namespace aclmgr

#endif  // MANAGER_SERVER_RULE_DESCRIPTION_H
