#include "manager/server/handler_tables.h"

#include <fmt/format.h>

#include <array>
#include <utility>

#include "acl_lib/client/reply_bodies.h"
#include "acl_lib/policy/policy_bodies.h"
#include "acl_lib/transport/message_codes.h"
#include "acl_lib/transport/process_info_bodies.h"
#include "manager/decode/policy_requests.h"
#include "manager/decode/rules.h"
#include "manager/server/reply_bodies.h"
#include "manager/server/reply_maker.h"
#include "manager/server/request_log.h"

namespace aclmgr {
namespace {

std::vector<std::byte> processInfoReply(std::span<const std::byte> request, Status status) {
  ReplyMaker<acl::ProcessInfoBody, ProcessInfoReplyBody> reply(request, status);
  reply.echo(acl::ProcessInfoBody::processName, ProcessInfoReplyBody::processName);
  return reply.take();
}

// To chunks of a policy, which carry no request header.
std::vector<std::byte> policyChunkReply(std::span<const std::byte> request, Status status) {
  ReplyMaker<acl::PolicyChunkBody, acl::PolicyReplyBody> reply(request, status);
  reply.echo(acl::PolicyChunkBody::policyName, acl::PolicyReplyBody::policyName);
  return reply.take();
}

std::vector<std::byte> policyReply(std::span<const std::byte> request, Status status) {
  // Modify requests have header and name where delete requests have them.
  using Request = acl::DeletePolicyBody;
  static_assert(acl::ModifyRuleBody::policyName.offset == Request::policyName.offset);
  ReplyMaker<Request, acl::PolicyReplyBody> reply(request, status);
  reply.echoHeader();
  reply.echo(Request::policyName, acl::PolicyReplyBody::policyName);
  return reply.take();
}

std::vector<std::byte> bindingReply(std::span<const std::byte> request, Status status) {
  using Request = acl::PolicyBindingBody;
  ReplyMaker<Request, BindingReplyBody> reply(request, status);
  reply.echoHeader();
  reply.echo(Request::policyName, BindingReplyBody::policyName);
  reply.echo(Request::applyFlags, BindingReplyBody::applyFlags);
  reply.echo(Request::port, BindingReplyBody::port);
  reply.echo(Request::vlan, BindingReplyBody::vlan);
  reply.echo(Request::direction, BindingReplyBody::direction);
  return reply.take();
}

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
  Policy policy{head.policyName, head.attribute, std::move(rules.value()), encodedRules.size()};
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

// Returns why a policy cannot be deleted, for people.
std::string useOf(const PolicyStore &policies, std::string_view name) {
  const BindingPoint *point = policies.firstPointOf(name);
  if (point == nullptr) return "named by an application policy";
  return fmt::format("bound at {}", pointText(*point));
}

std::optional<Answer> handleDeletePolicy(ManagerState &state, const Request &request,
                                         RequestText &text) {
  const auto decoded = decodeDeletePolicy(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const std::string &name = decoded.value().policyName;
  text.fields = fmt::format("policy {}", quoted(name));
  const Status status = state.policies.remove(name);
  if (status != Status::kPolicyInUse) return Answer{status, ""};
  return Answer{status, useOf(state.policies, name)};
}

Answer bindPolicy(ManagerState &state, const BindingRequest &asked) {
  const Status status = state.policies.bind(asked.policyName, asked.point, asked.applyFlags);
  if (status != Status::kInstanceInUse) return {status, ""};
  const Binding &existing = state.policies.bindings().at(asked.point);
  return {status, fmt::format("policy {} is applied there", quoted(existing.policyName))};
}

std::optional<Answer> handleBinding(ManagerState &state, const Request &request,
                                    RequestText &text) {
  const auto decoded = decodeBinding(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const BindingRequest &binding = decoded.value();
  text.fields = fmt::format("policy {}, {}, flags {}", quoted(binding.policyName),
                            pointText(binding.point), binding.applyFlags);
  if (request.code == acl::kMsgConfigPolicy) return bindPolicy(state, binding);
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
  return Answer{
      state.policies.replaceRules(modify.policyName, std::move(rules.value()), modify.rules.size()),
      ""};
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
