#include "manager/server/handler_tables.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/transport/message_codes.h"
#include "manager/decode/app_policy_requests.h"
#include "manager/server/app_policy_replies.h"
#include "manager/server/request_log.h"

namespace aclmgr {
namespace {

std::string macText(const std::byte *mac) {
  std::string text;
  for (std::size_t i = 0; i < kMacWidth; ++i) {
    fmt::format_to(std::back_inserter(text), "{}{:02x}", i == 0 ? "" : ":",
                   std::to_integer<unsigned>(mac[i]));
  }
  return text;
}

std::string matchText(const MatchValue &match) {
  const std::byte *bytes = match.bytes.data();
  switch (match.type) {
    case MatchType::kNone:
      break;
    case MatchType::kName: {
      const char *name = reinterpret_cast<const char *>(bytes);
      return "name " + quoted({name, ::strnlen(name, match.bytes.size())});
    }
    case MatchType::kWords:
      return fmt::format("words {} {}", acl::loadBig<std::uint32_t>(bytes),
                         acl::loadBig<std::uint32_t>(bytes + sizeof(std::uint32_t)));
    case MatchType::kMac:
    case MatchType::kMac2:
      return fmt::format("type {} {}/{}", static_cast<int>(match.type), macText(bytes),
                         macText(bytes + kMacWidth));
  }
  return "nothing";
}

std::string headText(const AppPolicyHead &head) {
  const ApplicationPolicyKey &key = head.key;
  return fmt::format("number {}, application {}, kind {}, tag {}, word {}, match {}", head.seqNo,
                     key.appId, key.kind, key.tag, key.word3, matchText(key.match));
}

std::string entriesText(const std::vector<ApplicationPolicyEntry> &entries) {
  std::string text;
  for (const ApplicationPolicyEntry &entry : entries) {
    text += fmt::format("  Rule {} attribute {}\n", quoted(entry.ruleName), entry.attribute);
  }
  return text;
}

// Returns which of the entries names nothing, for people.
std::string missingRule(const ManagerState &state,
                        const std::vector<ApplicationPolicyEntry> &entries) {
  const auto missing = std::ranges::find_if(entries, [&](const ApplicationPolicyEntry &entry) {
    return state.dynamicRules.find(entry.ruleName) == nullptr &&
           state.policies.find(entry.ruleName) == nullptr;
  });
  return missing == entries.end() ? "" : quoted(missing->ruleName);
}

std::optional<Answer> handleApply(ManagerState &state, const Request &request, RequestText &text) {
  const auto decoded = decodeApply(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const auto &[head, policy] = decoded.value();
  text.fields = fmt::format("{}, policy {}, second match {}, {} rules, attribute {}, words {} {}",
                            headText(head), quoted(policy.name), matchText(policy.secondMatch),
                            policy.entries.size(), policy.attribute, policy.word0, policy.word1);
  if (request.wantsRulesText) text.rules = entriesText(policy.entries);
  const Status status = state.applicationPolicies.apply(head.key, policy);
  if (status != Status::kRuleNotExist) return Answer{status, ""};
  return Answer{status, missingRule(state, policy.entries)};
}

std::optional<Answer> handleUnapply(ManagerState &state, const Request &request,
                                    RequestText &text) {
  const auto decoded = decodeUnapply(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const auto &[head, entries] = decoded.value();
  text.fields = fmt::format("{}, {} rules", headText(head), entries.size());
  if (request.wantsRulesText) text.rules = entriesText(entries);
  return Answer{state.applicationPolicies.unapply(head.key, entries), ""};
}

constexpr auto kHandlers = std::to_array<Handler>({
    {acl::kMsgApplyAppPolicy, "ACL_MSG_APPLY_APP_POLICY", handleApply, applyReply},
    {acl::kMsgUnapplyAppPolicy, "ACL_MSG_UNAPPLY_APP_POLICY", handleUnapply, unapplyReply},
});

}  // namespace

std::span<const Handler> appPolicyHandlers() noexcept {
  return kHandlers;
}

}  // namespace aclmgr
