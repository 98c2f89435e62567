// What of a rule can be evaluated without the switch: its terms.
//
// Conditions that compare a 32-bit number under a mask (IPv4 addresses, VXLAN network identifiers)
// and IPv6 addresses are terms, and so are accept and deny, alone or folded into an action group.
// Everything else a rule has is no term.
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

// Returns the terms of a rule: those of its conditions, then those of its actions, each in the
// order of the rule. kConfigFailed for a mask of an IPv6 address that is no prefix.
Outcome<std::vector<RuleTerm>> termsOf(const Rule &rule);

}  // namespace aclmgr

#endif  // MANAGER_DECODE_RULE_TERMS_H
