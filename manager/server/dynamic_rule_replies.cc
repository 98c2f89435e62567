#include "manager/server/dynamic_rule_replies.h"

#include "acl_lib/client/reply_bodies.h"
#include "acl_lib/dynrules/counter_bodies.h"
#include "acl_lib/dynrules/dynamic_rule_bodies.h"
#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/policy/client_request_bodies.h"
#include "acl_lib/transport/message_codes.h"
#include "manager/server/reply_bodies.h"
#include "manager/server/reply_maker.h"

namespace aclmgr {

std::vector<std::byte> dynamicRuleReply(std::span<const std::byte> request, Status status) {
  using Request = acl::DynRuleBody;
  using Reply = acl::DynRuleReplyBody;
  ReplyMaker<Request, Reply> reply(request, status);
  reply.echo(Request::context, Reply::context);
  reply.echo(Request::ruleName, Reply::ruleName);
  reply.echo(Request::appId, Reply::appId);
  return reply.take();
}

std::vector<std::byte> ruleBindingReply(std::span<const std::byte> request, Status status) {
  return placedRuleReply(request, status, 0, {});
}

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

std::vector<std::byte> counterReply(std::span<const std::byte> request, Status status) {
  return counterValueReply(request, status, 0);
}

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

}  // namespace aclmgr
