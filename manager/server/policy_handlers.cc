#include "manager/server/policy_handlers.h"

#include <fmt/format.h>

#include <array>
#include <utility>

#include "acl_lib/transport/message_codes.h"
#include "manager/decode/policy_requests.h"
#include "manager/decode/rules.h"
#include "manager/server/replies.h"

namespace aclmgr {
namespace {

std::optional<Answer> handleProcessInfo(ManagerState &state, const Request &request,
                                        RequestText &text) {
  auto decoded = decodeProcessInfo(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  text.fields = fmt::format("process {}", quoted(decoded.value().processName));
  state.peers.setProcessName(request.connection, std::move(decoded.value().processName));
  return Answer{};
}

// Adds or refreshes the policy whose encoded rules are complete.
Answer takePolicy(ManagerState &state, const Request &request, const PolicyChunkRequest &head,
                  std::span<const std::byte> encodedRules, RequestText &text) {
  auto rules = decodeRules(encodedRules, head.ruleCount);
  if (!rules) return answerOf(rules.refusal());
  if (request.wantsRulesText) text.rules = rulesText(rules.value());
  Policy policy{head.policyName, head.attribute, std::move(rules.value())};
  return {request.code == acl::kMsgAddPolicy ? state.policies.add(std::move(policy))
                                             : state.policies.replace(std::move(policy)),
          ""};
}

std::optional<Answer> handlePolicyChunk(ManagerState &state, const Request &request,
                                        RequestText &text) {
  const auto decoded = decodePolicyChunk(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const PolicyChunkRequest &chunk = decoded.value();
  text.fields = fmt::format("policy {}, bytes {}+{} of {}, {} rules, attribute {}",
                            quoted(chunk.policyName), chunk.chunkOffset, chunk.chunk.size(),
                            chunk.totalLength, chunk.ruleCount, chunk.attribute);
  const auto assembled = state.assembler.take(request.connection, request.code, chunk);
  if (!assembled) return answerOf(assembled.refusal());
  if (!assembled.value()) return std::nullopt;
  return takePolicy(state, request, chunk, *assembled.value(), text);
}

std::optional<Answer> handleDeletePolicy(ManagerState &state, const Request &request,
                                         RequestText &text) {
  const auto decoded = decodeDeletePolicy(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  text.fields = fmt::format("policy {}", quoted(decoded.value().policyName));
  return Answer{state.policies.remove(decoded.value().policyName), ""};
}

std::optional<Answer> handleBinding(ManagerState &state, const Request &request,
                                    RequestText &text) {
  const auto decoded = decodeBinding(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const BindingRequest &binding = decoded.value();
  text.fields = fmt::format("policy {}, port {}, vlan {}, direction {}, flags {}",
                            quoted(binding.policyName), portText(binding.point.port),
                            binding.point.vlan, binding.point.direction, binding.applyFlags);
  if (request.code == acl::kMsgConfigPolicy) {
    return Answer{state.policies.bind(binding.policyName, binding.point, binding.applyFlags), ""};
  }
  // Where a policy is taken off, the flags it was applied with do not matter.
  return Answer{state.policies.unbind(binding.policyName, binding.point), ""};
}

std::optional<Answer> handleModifyRule(ManagerState &state, const Request &request,
                                       RequestText &text) {
  const auto decoded = decodeModifyRule(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const ModifyRuleRequest &modify = decoded.value();
  text.fields = fmt::format("policy {}, {} bytes, arguments {} {} {} {}", quoted(modify.policyName),
                            modify.rules.size(), modify.argument1, modify.argument2,
                            modify.argument8bit, modify.argument3);
  auto rules = decodeRules(modify.rules, std::nullopt);
  if (!rules) return answerOf(rules.refusal());
  if (request.wantsRulesText) text.rules = rulesText(rules.value());
  return Answer{state.policies.replaceRules(modify.policyName, std::move(rules.value())), ""};
}

constexpr auto kHandlers = std::to_array<Handler>({
    {acl::kMsgProcessInfo, "ACL_MSG_PROCESS_INFO", handleProcessInfo, processInfoReply},
    {acl::kMsgAddPolicy, "ACL_MSG_ADD_POLICY", handlePolicyChunk, policyChunkReply},
    {acl::kMsgDeletePolicy, "ACL_MSG_DELETE_POLICY", handleDeletePolicy, policyReply},
    {acl::kMsgRefreshPolicy, "ACL_MSG_REFRESH_POLICY", handlePolicyChunk, policyChunkReply},
    {acl::kMsgConfigPolicy, "ACL_MSG_CONFIG_POLICY", handleBinding, bindingReply},
    {acl::kMsgUnconfigPolicy, "ACL_MSG_UNCONFIG_POLICY", handleBinding, bindingReply},
    {acl::kMsgModifyRule, "ACL_MSG_MODIFY_RULE", handleModifyRule, policyReply},
});

}  // namespace

std::span<const Handler> policyHandlers() noexcept {
  return kHandlers;
}

}  // namespace aclmgr
