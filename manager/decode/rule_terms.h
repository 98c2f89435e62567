// Rules that can be evaluated without the switch, as terms.
//
// Whoever evaluates the terms takes the first one that matches, and behind it the first verdict. So
// several terms that match are alternatives, while a packet has to meet all conditions of a rule:
// terms decide as the rule does only when it has one condition, or none, which any packet meets.
// Conditions that compare an IPv4 address (or an ARP address) under a mask and IPv6 addresses are
// terms, and so are accept and deny, alone or folded into an action group. Which address of a
// packet is meant is not told by a term.
//
// An IPv6 address condition holds, as this manager has it:
//
//   offset  size  field
//        0    16  address
//       16    16  mask         its leading bits
//       32     4  spare        not looked at
#ifndef MANAGER_DECODE_RULE_TERMS_H
#define MANAGER_DECODE_RULE_TERMS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "manager/decode/outcome.h"
#include "manager/model/policy.h"

namespace aclmgr {

inline constexpr std::size_t kIPv6AddressWidth = 16;
inline constexpr std::size_t kIPv6MaskOffset = 16;

// The kinds of terms, as rule descriptions number them.
enum class TermType : std::uint32_t { kAccept = 1, kDeny = 2, kValueMask = 3, kIPv6Prefix = 4 };

struct RuleTerm {
  TermType type;
  // kValueMask: the value and the mask, 4 bytes each in network order; kIPv6Prefix: the address.
  std::array<std::byte, 16> matchData = {};
  std::uint32_t prefixLength = 0;  // kIPv6Prefix

  bool operator==(const RuleTerm &) const = default;
};

// Terms that a rule has at most.
inline constexpr std::size_t kMaxRuleTerms = 3;

// Returns the terms of a rule: that of its condition or, when it has none, one of each type that
// matches everything; and behind it accept or deny. Other actions do not decide and are left out.
// kConfigFailed, and why, for a rule that terms do not decide for: one of several conditions, with
// a condition that is no term or an IPv6 mask that is no prefix, or that does not either accept or
// deny.
Outcome<std::vector<RuleTerm>> termsOf(const Rule &rule);

}  // namespace aclmgr

#endif  // MANAGER_DECODE_RULE_TERMS_H
