#include "manager/server/app_rule_replies.h"

#include "acl_lib/client/app_rule_bodies.h"
#include "acl_lib/client/reply_bodies.h"
#include "acl_lib/client/rule_validity_bodies.h"
#include "manager/server/reply_maker.h"

namespace aclmgr {

std::vector<std::byte> appRuleReply(std::span<const std::byte> request, Status status) {
  return describedRuleReply(request, status, {});
}

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

}  // namespace aclmgr
