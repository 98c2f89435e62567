#include "manager/decode/rule_terms.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "acl_lib/encoding/action_codes.h"
#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/encoding/condition_codes.h"

namespace aclmgr {
namespace {

namespace action = acl::action;
namespace condition = acl::condition;

// Conditions of an IPv4 address and its mask. Whoever evaluates a term of them takes the value for
// an address, so that other 32-bit values under a mask (VXLAN network identifiers) are none of
// them.
constexpr auto kValueMaskConditions = std::to_array<std::uint32_t>({
    condition::kSourceIPv4,
    condition::kDestinationIPv4,
    condition::kIPv4Unlabelled1,
    condition::kIPv4Unlabelled2,
    condition::kArpTargetAddress,
    condition::kArpSenderAddress,
});
constexpr std::size_t kValueMaskWidth = 8;

bool isIPv6Address(std::uint32_t type) {
  return type == condition::kIPv6First || type == condition::kIPv6Second;
}

RuleTerm termOfData(TermType type, std::span<const std::byte> data) {
  RuleTerm term{type};
  std::ranges::copy(data, term.matchData.begin());
  return term;
}

// Returns how many leading bits a mask has; none when it has others too.
std::optional<std::uint32_t> prefixLengthOf(std::span<const std::byte> mask) {
  std::uint32_t length = 0;
  bool hasEnded = false;
  for (const std::byte byte : mask) {
    const auto bits = std::to_integer<std::uint8_t>(byte);
    const int ones = std::countl_one(bits);
    if (std::popcount(bits) != ones || (hasEnded && ones != 0)) return std::nullopt;
    hasEnded = ones != 8;
    length += static_cast<std::uint32_t>(ones);
  }
  return length;
}

Refusal cannotBeDescribed(std::string reason) {
  return {Status::kConfigFailed, std::move(reason)};
}

Outcome<RuleTerm> termOf(const Entry &condition) {
  const std::span<const std::byte> value = condition.value;
  if (std::ranges::find(kValueMaskConditions, condition.type) != kValueMaskConditions.end()) {
    return termOfData(TermType::kValueMask, value.first(kValueMaskWidth));
  }
  if (!isIPv6Address(condition.type)) {
    return cannotBeDescribed(fmt::format("condition {} is no term", condition.type));
  }
  const auto prefixLength = prefixLengthOf(value.subspan(kIPv6MaskOffset, kIPv6AddressWidth));
  if (!prefixLength) return cannotBeDescribed("the mask of an IPv6 address is no prefix");
  RuleTerm term = termOfData(TermType::kIPv6Prefix, value.first(kIPv6AddressWidth));
  term.prefixLength = *prefixLength;
  return term;
}

// Returns what an action decides, if it decides.
std::optional<TermType> verdictOf(const Entry &entry) {
  if (entry.type == action::kAccept) return TermType::kAccept;
  if (entry.type == action::kDeny) return TermType::kDeny;
  if (entry.type != action::kGroup) return std::nullopt;
  const auto group = acl::loadBig<std::uint32_t>(entry.value.data());
  if ((group & action::kGroupVerdictPresent) == 0) return std::nullopt;
  return (group & action::kGroupDeny) != 0 ? TermType::kDeny : TermType::kAccept;
}

Outcome<RuleTerm> verdictOf(const Rule &rule) {
  std::optional<TermType> verdict;
  for (const Entry &entry : rule.actions) {
    const std::optional<TermType> found = verdictOf(entry);
    if (found && verdict.value_or(*found) != *found) {
      return cannotBeDescribed("the rule both accepts and denies");
    }
    if (found) verdict = found;
  }
  if (!verdict) return cannotBeDescribed("the rule neither accepts nor denies");
  return RuleTerm{*verdict};
}

}  // namespace

Outcome<std::vector<RuleTerm>> termsOf(const Rule &rule) {
  if (rule.conditions.size() > 1) {
    return cannotBeDescribed(fmt::format("{} conditions, 1 can be told", rule.conditions.size()));
  }
  std::vector<RuleTerm> terms;
  if (rule.conditions.empty()) {
    terms = {RuleTerm{TermType::kValueMask}, RuleTerm{TermType::kIPv6Prefix}};
  } else {
    const auto term = termOf(rule.conditions.front());
    if (!term) return term.refusal();
    terms = {term.value()};
  }
  const auto verdict = verdictOf(rule);
  if (!verdict) return verdict.refusal();
  terms.push_back(verdict.value());
  return terms;
}

}  // namespace aclmgr
