#include "manager/server/handler_tables.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>

#include "acl_lib/policy/client_request_bodies.h"
#include "acl_lib/transport/message_codes.h"
#include "manager/decode/client_requests.h"
#include "manager/server/reply_bodies.h"
#include "manager/server/reply_maker.h"
#include "manager/server/request_log.h"

namespace aclmgr {
namespace {

std::vector<std::byte> moveAttributeReply(std::span<const std::byte> request, Status status) {
  using Request = acl::MoveAttributeBody;
  using Reply = MoveAttributeReplyBody;
  ReplyMaker<Request, Reply> reply(request, status);
  reply.echo(Request::moveCookie, Reply::moveCookie);
  reply.echo(Request::attribute, Reply::attribute);
  reply.echo(Request::fromApplication, Reply::fromApplication);
  reply.echo(Request::toApplication, Reply::toApplication);
  return reply.take();
}

std::vector<std::byte> checkPolicyReply(std::span<const std::byte> request, Status status) {
  using Request = acl::CheckPolicyBody;
  using Reply = CheckPolicyReplyBody;
  ReplyMaker<Request, Reply> reply(request, status);
  reply.echo(Request::count, Reply::count);
  reply.echo(Request::checkCookie, Reply::checkCookie);
  return reply.take();
}

std::vector<std::byte> cleanClientReply(std::span<const std::byte> request, Status status) {
  using Request = acl::CleanClientBody;
  using Reply = CleanClientReplyBody;
  ReplyMaker<Request, Reply> reply(request, status);
  reply.echo(Request::word2, Reply::word2);
  reply.echo(Request::clientNumber, Reply::clientNumber);
  reply.echo(Request::word1, Reply::word1);
  return reply.take();
}

std::optional<Answer> handleMoveAttribute(ManagerState &state, const Request &request,
                                          RequestText &text) {
  const auto decoded = decodeMoveAttribute(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const auto &[attribute, from, to] = decoded.value();
  text.fields = fmt::format("kind {}, from application {} to {}", attribute, from, to);
  return Answer{state.applicationPolicies.move(attribute, from, to), ""};
}

std::string checkedPoliciesText(const std::vector<CheckedPolicy> &policies) {
  std::string text;
  for (const CheckedPolicy &policy : policies) {
    text += fmt::format("  Policy {} type {} value {}\n", quoted(policy.policyName), policy.type,
                        policy.value);
  }
  return text;
}

std::optional<Answer> handleCheckPolicy(ManagerState &state, const Request &request,
                                        RequestText &text) {
  const auto decoded = decodeCheckPolicy(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const std::vector<CheckedPolicy> &policies = decoded.value().policies;
  text.fields = fmt::format("{} policies", policies.size());
  if (request.wantsRulesText) text.rules = checkedPoliciesText(policies);
  const auto missing = std::ranges::find_if(policies, [&](const CheckedPolicy &policy) {
    return state.policies.find(policy.policyName) == nullptr;
  });
  if (missing == policies.end()) return Answer{};
  return Answer{Status::kPolicyNotExist, quoted(missing->policyName)};
}

std::optional<Answer> handleCleanClient(ManagerState &state, const Request &request,
                                        RequestText &text) {
  const auto decoded = decodeCleanClient(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const auto &[appId, word1, word2] = decoded.value();
  text.fields = fmt::format("application {}, words {} {}", appId, word1, word2);
  // Made room for first: nothing fails once something is removed.
  constexpr std::size_t kRoomForCounts = 160;
  if (request.wantsRulesText) text.rules.reserve(kRoomForCounts);
  // Application policies first: they hold rules.
  const std::size_t policies = state.applicationPolicies.removeAllOf(appId);
  const std::size_t rules = state.dynamicRules.removeAllOf(appId);
  const std::size_t meters = state.meters.removeAllOf(appId);
  const std::size_t slices = state.slices.removeAllOf(appId);
  if (request.wantsRulesText) {
    fmt::format_to(std::back_inserter(text.rules),
                   "  {} application policies, {} dynamic rules, {} meters, {} slices\n", policies,
                   rules, meters, slices);
  }
  return Answer{};
}

constexpr auto kHandlers = std::to_array<Handler>({
    {acl::kMsgMoveAttribute, "ACL_MSG_MOVE_ATTRIBUTE", handleMoveAttribute, moveAttributeReply},
    {acl::kMsgCheckPolicy, "ACL_MSG_CHECK_POLICY", handleCheckPolicy, checkPolicyReply},
    {acl::kMsgCleanClientRules, "ACL_MSG_CLEAN_CLIENT_RULES", handleCleanClient, cleanClientReply},
});

}  // namespace

std::span<const Handler> clientHandlers() noexcept {
  return kHandlers;
}

}  // namespace aclmgr
