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

// Actions of a rule, as terms and the result of an evaluation name them.
inline constexpr std::uint32_t kPermit = 1;
inline constexpr std::uint32_t kDeny = 2;

// Holds the table's only lock. Never alive across a callback, a send, a trace or output.
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
// Returns what it was, or nothing for an empty table. Takes the lock.
std::optional<DeletedRule> deleteRuleOrFirst(const char *name) noexcept;

}  // namespace acl

#endif  // ACL_LIB_CLIENT_RULE_TABLE_H
