#include "manager/server/handler_tables.h"

#include <fmt/format.h>

#include <array>
#include <utility>

#include "acl_lib/client/reply_bodies.h"
#include "acl_lib/dynrules/counter_bodies.h"
#include "acl_lib/dynrules/dynamic_rule_bodies.h"
#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/policy/client_request_bodies.h"
#include "acl_lib/transport/message_codes.h"
#include "manager/decode/dynamic_rule_requests.h"
#include "manager/server/reply_bodies.h"
#include "manager/server/reply_maker.h"
#include "manager/server/request_log.h"
#include "manager/server/rule_description.h"

namespace aclmgr {
namespace {

std::vector<std::byte> dynamicRuleReply(std::span<const std::byte> request, Status status) {
  using Request = acl::DynRuleBody;
  using Reply = acl::DynRuleReplyBody;
  ReplyMaker<Request, Reply> reply(request, status);
  reply.echo(Request::context, Reply::context);
  reply.echo(Request::ruleName, Reply::ruleName);
  reply.echo(Request::appId, Reply::appId);
  return reply.take();
}

// To binding a rule and to taking it off.
//   ruleIndex    the rule's place at the point, counted from 1
//   description  all zero: none
std::vector<std::byte> placedRuleReply(std::span<const std::byte> request, Status status,
                                       std::uint32_t ruleIndex,
                                       const RuleDescription &description) {
  using Request = acl::DynRuleBindingBody;
  using Reply = acl::DynRuleBindingReplyBody;
  ReplyMaker<Request, Reply> reply(request, status);
  reply.put(Reply::description, std::span(description));
  reply.echo(Request::bindCookie, Reply::bindCookie);
  reply.echo(Request::appId, Reply::appId);
  reply.echo(Request::ruleFlags, Reply::ruleFlags);
  reply.echo(Request::ruleName, Reply::ruleName);
  reply.echo(Request::relativeRuleName, Reply::relativeRuleName);
  reply.echo(Request::priority, Reply::priority);
  reply.echo(Request::port, Reply::port);
  reply.echo(Request::vlan, Reply::vlan);
  reply.echo(Request::direction, Reply::direction);
  reply.put(Reply::ruleIndex, ruleIndex);
  reply.echo(Request::bindAttr, Reply::bindAttr);
  reply.echo(Request::bindFlags, Reply::bindFlags);
  return reply.take();
}

std::vector<std::byte> ruleBindingReply(std::span<const std::byte> request, Status status) {
  return placedRuleReply(request, status, 0, {});
}

// Writes the place of a rule into a placedRuleReply() and into the description in it, if there is
// one, so that the reply can be made before the rule is bound.
void putRuleIndex(std::span<std::byte> reply, std::uint32_t ruleIndex) noexcept {
  using Reply = acl::DynRuleBindingReplyBody;
  using Description = acl::RuleDescriptionBody;
  acl::storeBig(&reply[Reply::ruleIndex.offset], ruleIndex);
  std::byte *description = &reply[Reply::description.offset];
  if (description[Description::name.offset] == std::byte{0}) return;
  acl::storeBig(description + Description::attrB.offset, ruleIndex);
}

std::vector<std::byte> unbindRuleReply(std::span<const std::byte> request, Status status) {
  using Request = acl::UnbindRuleBody;
  using Reply = UnbindRuleReplyBody;
  ReplyMaker<Request, Reply> reply(request, status);
  reply.echo(Request::unbindKey, Reply::unbindKey);
  reply.echo(Request::ruleName, Reply::ruleName);
  reply.echo(Request::policyFlag, Reply::policyFlag);
  reply.echo(Request::unbindFlag, Reply::unbindFlag);
  return reply.take();
}

// To reading a counter, under the code of counter replies.
std::vector<std::byte> counterValueReply(std::span<const std::byte> request, Status status,
                                         std::uint64_t value) {
  using Request = acl::CounterBody;
  using Reply = acl::CounterReplyBody;
  ReplyMaker<Request, Reply> reply(request, status);
  reply.put(Reply::code, acl::kMsgCounterReply);
  reply.echo(Request::context, Reply::context);
  reply.echo(Request::port, Reply::port);
  reply.echo(Request::vlan, Reply::vlan);
  reply.echo(Request::direction, Reply::direction);
  reply.echo(Request::ruleName, Reply::ruleName);
  reply.echo(Request::counterName, Reply::counterName);
  reply.put(Reply::valueHigh, static_cast<std::uint32_t>(value >> 32));
  reply.put(Reply::valueLow, static_cast<std::uint32_t>(value));
  return reply.take();
}

std::vector<std::byte> counterReply(std::span<const std::byte> request, Status status) {
  return counterValueReply(request, status, 0);
}

std::vector<std::byte> clearCounterReply(std::span<const std::byte> request, Status status) {
  using Request = acl::CounterBody;
  using Reply = ClearCounterReplyBody;
  ReplyMaker<Request, Reply> reply(request, status);
  reply.echo(Request::context, Reply::context);
  reply.echo(Request::appId, Reply::appId);
  reply.echo(Request::port, Reply::port);
  reply.echo(Request::vlan, Reply::vlan);
  reply.echo(Request::direction, Reply::direction);
  reply.echo(Request::ruleName, Reply::ruleName);
  reply.echo(Request::counterName, Reply::counterName);
  return reply.take();
}

std::string ruleText(std::string_view name, std::uint32_t appId) {
  return fmt::format("dynamic rule {}, application {}", quoted(name), appId);
}

// Returns an application's rule; null when there is none of the name or it is another's.
const DynamicRule *ruleOf(const ManagerState &state, std::string_view name, std::uint32_t appId) {
  const DynamicRule *rule = state.dynamicRules.find(name);
  return rule != nullptr && rule->owner == appId ? rule : nullptr;
}

// Returns why a rule cannot be deleted, for people.
std::string useOf(const DynamicRuleStore &rules, std::string_view name) {
  if (const BindingPoint *point = rules.firstPointOf(name)) {
    return fmt::format("bound at {}", pointText(*point));
  }
  return rules.isInstalled(name) ? "installed by a client" : "named by an application policy";
}

std::optional<Answer> handleAddRule(ManagerState &state, const Request &request,
                                    RequestText &text) {
  const auto decoded = decodeAddRule(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  text.fields = ruleText(decoded.value().ruleName, decoded.value().appId);
  auto rule = dynamicRuleOf(decoded.value());
  if (!rule) return answerOf(rule.refusal());
  if (request.wantsRulesText) text.rules = rulesText({rule.value().rule});
  return Answer{state.dynamicRules.add(std::move(rule.value())), ""};
}

std::optional<Answer> handleDeleteRule(ManagerState &state, const Request &request,
                                       RequestText &text) {
  const auto decoded = decodeDeleteRule(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const DeleteRuleRequest &asked = decoded.value();
  text.fields = ruleText(asked.ruleName, asked.appId);
  const Status status = state.dynamicRules.remove(asked.ruleName, asked.appId);
  if (status != Status::kRuleInUse) return Answer{status, ""};
  return Answer{status, useOf(state.dynamicRules, asked.ruleName)};
}

// Binds a rule. Its reply is made first: when there is no memory for it, nothing is bound. A rule
// that cannot be described is bound all the same: evaluating it is not what binding is for.
Answer bindRule(ManagerState &state, const Request &request, const RuleBindingRequest &asked,
                const DynamicRule &rule) {
  const auto description = describeRule(rule, asked.attributes.ruleFlags, 0);
  Answer answer{Status::kOk, "",
                placedRuleReply(request.body, Status::kOk, 0,
                                description ? description.value() : RuleDescription{})};
  const Status status = state.dynamicRules.bind(asked.ruleName, asked.point, asked.attributes);
  if (status == Status::kRuleInUse) return {status, "bound there with other attributes"};
  if (status != Status::kOk) return {status, ""};
  putRuleIndex(answer.reply, state.dynamicRules.indexAt(asked.ruleName, asked.point));
  return answer;
}

std::optional<Answer> handleConfigRule(ManagerState &state, const Request &request,
                                       RequestText &text) {
  const auto decoded = decodeRuleBinding(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const RuleBindingRequest &asked = decoded.value();
  text.fields = fmt::format("{}, {}, priority {}", ruleText(asked.ruleName, asked.appId),
                            pointText(asked.point), asked.attributes.priority);
  if (!asked.attributes.relativeRuleName.empty()) {
    text.fields += fmt::format(", beside {}", quoted(asked.attributes.relativeRuleName));
  }
  const DynamicRule *rule = ruleOf(state, asked.ruleName, asked.appId);
  if (rule == nullptr) return Answer{Status::kRuleNotExist, ""};
  return bindRule(state, request, asked, *rule);
}

std::optional<Answer> handleUnconfigRule(ManagerState &state, const Request &request,
                                         RequestText &text) {
  const auto decoded = decodeRuleBinding(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const RuleBindingRequest &asked = decoded.value();
  text.fields =
      fmt::format("{}, {}", ruleText(asked.ruleName, asked.appId), pointText(asked.point));
  if (ruleOf(state, asked.ruleName, asked.appId) == nullptr) {
    return Answer{Status::kRuleNotExist, ""};
  }
  const std::uint32_t index = state.dynamicRules.indexAt(asked.ruleName, asked.point);
  if (index == 0) return Answer{Status::kInstanceNotExist, ""};
  Answer answer{Status::kOk, "", placedRuleReply(request.body, Status::kOk, index, {})};
  answer.status = state.dynamicRules.unbind(asked.ruleName, asked.point);
  return answer;
}

std::optional<Answer> handleUnbindRule(ManagerState &state, const Request &request,
                                       RequestText &text) {
  const auto decoded = decodeUnbindRule(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const UnbindRuleRequest &asked = decoded.value();
  text.fields =
      fmt::format("{} {}", asked.isPolicy ? "policy" : "dynamic rule", quoted(asked.name));
  return Answer{asked.isPolicy ? state.policies.unbindAll(asked.name)
                               : state.dynamicRules.unbindAll(asked.name),
                ""};
}

// Decodes a request about a counter and tells of it. Returns the refusal of a malformed one and of
// one about a rule that the application does not have.
Outcome<CounterRequest> counterOf(const ManagerState &state, const Request &request,
                                  RequestText &text) {
  auto decoded = decodeCounter(request.body);
  if (!decoded) return decoded;
  const CounterRequest &asked = decoded.value();
  text.fields = fmt::format("{}, counter {}, {}", ruleText(asked.ruleName, asked.appId),
                            quoted(asked.counterName), pointText(asked.point));
  if (ruleOf(state, asked.ruleName, asked.appId) == nullptr) {
    return Refusal{Status::kRuleNotExist, ""};
  }
  return decoded;
}

std::optional<Answer> handleGetCounter(ManagerState &state, const Request &request,
                                       RequestText &text) {
  const auto counter = counterOf(state, request, text);
  if (!counter) return answerOf(counter.refusal());
  const CounterRequest &asked = counter.value();
  std::uint64_t value = 0;
  const Status status =
      state.dynamicRules.readCounter(asked.ruleName, asked.point, asked.counterName, value);
  return Answer{status, "", counterValueReply(request.body, status, value)};
}

std::optional<Answer> handleClearCounter(ManagerState &state, const Request &request,
                                         RequestText &text) {
  const auto counter = counterOf(state, request, text);
  if (!counter) return answerOf(counter.refusal());
  const CounterRequest &asked = counter.value();
  return Answer{state.dynamicRules.clearCounter(asked.ruleName, asked.point, asked.counterName),
                ""};
}

constexpr auto kHandlers = std::to_array<Handler>({
    {acl::kMsgAddDynRule, "ACL_MSG_ADD_DYN_RULE", handleAddRule, dynamicRuleReply},
    {acl::kMsgDeleteDynRule, "ACL_MSG_DELETE_DYN_RULE", handleDeleteRule, dynamicRuleReply},
    {acl::kMsgConfigDynRule, "ACL_MSG_CONFIG_DYN_RULE", handleConfigRule, ruleBindingReply},
    {acl::kMsgUnconfigDynRule, "ACL_MSG_UNCONFIG_DYN_RULE", handleUnconfigRule, ruleBindingReply},
    {acl::kMsgUnbindRule, "ACL_MSG_UNBIND_RULE", handleUnbindRule, unbindRuleReply},
    {acl::kMsgGetDynRuleCounter, "ACL_MSG_GET_DYN_RULE_COUNTER", handleGetCounter, counterReply},
    {acl::kMsgClearCounter, "ACL_MSG_CLEAR_COUNTER", handleClearCounter, clearCounterReply},
});

}  // namespace

std::span<const Handler> dynamicRuleHandlers() noexcept {
  return kHandlers;
}

}  // namespace aclmgr
