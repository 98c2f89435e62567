// The rule table for the other files of this directory.
#ifndef ACL_LIB_CLIENT_RULE_TABLE_H
#define ACL_LIB_CLIENT_RULE_TABLE_H

#include <array>
#include <cstdint>
#include <mutex>
#include <optional>

#include "acl_lib.h"
#include "acl_lib/encoding/message_body.h"

namespace acl {

// Values of AclRuleTerm::type: the actions, which are also the results of an evaluation, and the
// kinds of matches, which are also the kinds of fields that are evaluated.
inline constexpr std::uint32_t kPermit = 1;
inline constexpr std::uint32_t kDeny = 2;
inline constexpr std::uint32_t kMatchValue = 3;
inline constexpr std::uint32_t kMatchIpv6Prefix = 4;

// The first bytes of a kMatchValue term's match data. They are copied out and in, as the data have
// no alignment. All the data of a kMatchIpv6Prefix term are its address.
struct ValueAndMask {
  std::uint32_t value;
  std::uint32_t mask;
};

// Holds the table's only lock. Taking it also lets the index follow a ring that a program has put
// in or dropped (followRing() of rule_index.h). Never alive across a callback, a send, a trace or
// output.
class [[nodiscard]] RuleTableLock {
 public:
  RuleTableLock() noexcept;

 private:
  std::lock_guard<std::mutex> guard_;
};

// aclLibUpdateCounter() of an entry, for a caller that holds the lock.
void countHit(AclClientEntry &entry, std::uint32_t action) noexcept;

// A step of a walk that empties the table.
struct DeletedRule {
  std::array<char, kNameWidth> name;
  std::array<char, kNameWidth> following;  // the name of the rule that stood behind it
  bool wasLast;                            // none did
};

// Deletes the rule of a name or, when the name is null or has no rule any more, the first one.
// Returns what it was, or nothing for an empty table and, as with aclLibDeleteRule(), for one whose
// count is 0. Takes the lock.
std::optional<DeletedRule> deleteRuleOrFirst(const char *name) noexcept;

}  // namespace acl

#endif  // ACL_LIB_CLIENT_RULE_TABLE_H
