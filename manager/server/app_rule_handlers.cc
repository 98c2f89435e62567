#include "manager/server/handler_tables.h"

#include <fmt/format.h>

#include <array>

#include "acl_lib/client/app_rule_bodies.h"
#include "acl_lib/client/reply_bodies.h"
#include "acl_lib/client/rule_validity_bodies.h"
#include "acl_lib/transport/message_codes.h"
#include "manager/decode/app_rule_requests.h"
#include "manager/server/reply_maker.h"
#include "manager/server/request_log.h"
#include "manager/server/rule_description.h"

namespace aclmgr {
namespace {

std::vector<std::byte> describedRuleReply(std::span<const std::byte> request, Status status,
                                          const RuleDescription &description) {
  using Request = acl::AppRuleBody;
  using Reply = acl::AppRuleReplyBody;
  ReplyMaker<Request, Reply> reply(request, status);
  reply.put(Reply::description, std::span(description));
  reply.echo(Request::cookie, Reply::cookie);
  reply.echo(Request::flags, Reply::flags);
  reply.echo(Request::position, Reply::position);
  reply.echo(Request::ruleName, Reply::ruleName);
  reply.echo(Request::refName, Reply::refName);
  return reply.take();
}

// Without a description, from which the client learns that its rule is to be dropped.
std::vector<std::byte> appRuleReply(std::span<const std::byte> request, Status status) {
  return describedRuleReply(request, status, {});
}

std::vector<std::byte> ruleValidityReply(std::span<const std::byte> request, Status status) {
  using Request = acl::RuleValidityBody;
  using Reply = acl::RuleValidityReplyBody;
  ReplyMaker<Request, Reply> reply(request, status);
  reply.echo(Request::cookie, Reply::cookie);
  reply.echo(Request::argument, Reply::argument);
  reply.echo(Request::ruleName, Reply::ruleName);
  reply.echo(Request::policyFlag, Reply::policyFlag);
  return reply.take();
}

std::string appRuleText(const AppRuleRequest &asked) {
  return fmt::format("dynamic rule {}, flags {}, position {}", quoted(asked.ruleName), asked.flags,
                     asked.position);
}

std::optional<Answer> handleConfigAppRule(ManagerState &state, const Request &request,
                                          RequestText &text) {
  const auto decoded = decodeAppRule(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const AppRuleRequest &asked = decoded.value();
  text.fields = appRuleText(asked);
  if (!asked.refName.empty()) text.fields += fmt::format(", beside {}", quoted(asked.refName));
  const DynamicRule *rule = state.dynamicRules.find(asked.ruleName);
  if (rule == nullptr) return Answer{Status::kRuleNotExist, ""};
  const auto description = describeRule(*rule, asked.flags, asked.position);
  if (!description) return answerOf(description.refusal());
  // Made first: when there is no memory for it, the rule is not installed.
  Answer answer{Status::kOk, "",
                describedRuleReply(request.body, Status::kOk, description.value())};
  answer.status = state.dynamicRules.install(asked.ruleName, request.connection);
  return answer;
}

std::optional<Answer> handleUnconfigAppRule(ManagerState &state, const Request &request,
                                            RequestText &text) {
  const auto decoded = decodeAppRule(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  text.fields = appRuleText(decoded.value());
  return Answer{state.dynamicRules.uninstall(decoded.value().ruleName, request.connection), ""};
}

Status validityOf(const ManagerState &state, const RuleValidityRequest &asked) {
  if (asked.isPolicy) {
    return state.policies.find(asked.name) != nullptr ? Status::kOk : Status::kPolicyNotExist;
  }
  if (state.dynamicRules.find(asked.name) == nullptr) return Status::kRuleNotExist;
  return state.dynamicRules.tableIsFull() ? Status::kNoHardwareResource : Status::kOk;
}

std::optional<Answer> handleRuleValidity(ManagerState &state, const Request &request,
                                         RequestText &text) {
  const auto decoded = decodeRuleValidity(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const RuleValidityRequest &asked = decoded.value();
  text.fields = fmt::format("{} {}, direction {}", asked.isPolicy ? "policy" : "dynamic rule",
                            quoted(asked.name), asked.direction);
  return Answer{validityOf(state, asked), ""};
}

constexpr auto kHandlers = std::to_array<Handler>({
    {acl::kMsgConfigAppRule, "ACL_MSG_CONFIG_APP_RULE", handleConfigAppRule, appRuleReply},
    {acl::kMsgUnconfigAppRule, "ACL_MSG_UNCONFIG_APP_RULE", handleUnconfigAppRule, appRuleReply},
    {acl::kMsgCheckRuleValidity, "ACL_MSG_CHECK_RULE_VALIDITY", handleRuleValidity,
     ruleValidityReply},
});

}  // namespace

std::span<const Handler> appRuleHandlers() noexcept {
  return kHandlers;
}

}  // namespace aclmgr
