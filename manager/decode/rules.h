// Encoded rules into rules.
#ifndef MANAGER_DECODE_RULES_H
#define MANAGER_DECODE_RULES_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "manager/decode/outcome.h"
#include "manager/model/policy.h"

namespace aclmgr {

// Decodes a whole buffer of encoded rules (acl_lib/encoding/rule_format.h).
//   bytes           what a client sent; nothing in it is believed
//   announcedCount  how many rules the client says there are; none when it does not say
// Returns the rules; kInvalidRule, and where and why, unless every byte belongs to a whole record,
// every record's lengths agree with its entries, every entry is of a known type and long enough,
// and the count is right. Padding and unassigned bits may hold anything.
Outcome<std::vector<Rule>> decodeRules(std::span<const std::byte> bytes,
                                       std::optional<std::uint32_t> announcedCount);

// Decodes the one record at the start of `bytes`, by its own length; what lies behind it is not
// looked at. Returns the rule, or kInvalidRule as decodeRules().
Outcome<Rule> decodeFirstRule(std::span<const std::byte> bytes);

}  // namespace aclmgr

#endif  // MANAGER_DECODE_RULES_H
