// Replies to requests about dynamic rules. For their arguments see replies.h.
#ifndef MANAGER_SERVER_DYNAMIC_RULE_REPLIES_H
#define MANAGER_SERVER_DYNAMIC_RULE_REPLIES_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "manager/model/status.h"
#include "manager/server/rule_description.h"

namespace aclmgr {

std::vector<std::byte> dynamicRuleReply(std::span<const std::byte> request, Status status);

// To binding a rule and to taking it off; without a place and a description.
std::vector<std::byte> ruleBindingReply(std::span<const std::byte> request, Status status);
//   ruleIndex    the rule's place at the point, counted from 1
//   description  all zero: none
std::vector<std::byte> placedRuleReply(std::span<const std::byte> request, Status status,
                                       std::uint32_t ruleIndex, const RuleDescription &description);

// Writes the place of a rule into a placedRuleReply() and into the description in it, if there is
// one, so that the reply can be made before the rule is bound.
void putRuleIndex(std::span<std::byte> reply, std::uint32_t ruleIndex) noexcept;

std::vector<std::byte> unbindRuleReply(std::span<const std::byte> request, Status status);

// To reading a counter, under the code of counter replies; counterReply() is that of a refusal.
std::vector<std::byte> counterReply(std::span<const std::byte> request, Status status);
std::vector<std::byte> counterValueReply(std::span<const std::byte> request, Status status,
                                         std::uint64_t value);
std::vector<std::byte> clearCounterReply(std::span<const std::byte> request, Status status);

}  // namespace aclmgr

#endif  // MANAGER_SERVER_DYNAMIC_RULE_REPLIES_H
