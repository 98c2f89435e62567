#include "manager/server/replies.h"

#include "acl_lib/encoding/message_body.h"
#include "acl_lib/policy/policy_bodies.h"
#include "acl_lib/transport/process_info_bodies.h"
#include "manager/server/reply_bodies.h"
#include "manager/server/reply_maker.h"

namespace aclmgr {
namespace {

// The head that requests about policies and rules have in common.
struct RequestHead {
  static constexpr std::size_t size = acl::kRequestHeaderSize;

  static constexpr acl::Field<RequestHead, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<RequestHead, acl::RequestHeader> header{2, "header"};
};

}  // namespace

std::vector<std::byte> processInfoReply(std::span<const std::byte> request, Status status) {
  ReplyMaker<acl::ProcessInfoBody, ProcessInfoReplyBody> reply(request, status);
  reply.echo(acl::ProcessInfoBody::processName, ProcessInfoReplyBody::processName);
  return reply.take();
}

std::vector<std::byte> policyChunkReply(std::span<const std::byte> request, Status status) {
  ReplyMaker<acl::PolicyChunkBody, PolicyReplyBody> reply(request, status);
  reply.echo(acl::PolicyChunkBody::policyName, PolicyReplyBody::policyName);
  return reply.take();
}

std::vector<std::byte> policyReply(std::span<const std::byte> request, Status status) {
  // Modify requests have header and name where delete requests have them.
  using Request = acl::DeletePolicyBody;
  static_assert(acl::ModifyRuleBody::policyName.offset == Request::policyName.offset);
  ReplyMaker<Request, PolicyReplyBody> reply(request, status);
  reply.echoHeader();
  reply.echo(Request::policyName, PolicyReplyBody::policyName);
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

std::vector<std::byte> unknownCodeReply(std::span<const std::byte> request, Status status) {
  ReplyMaker<RequestHead, UnknownCodeReplyBody> reply(request, status);
  reply.echoHeader();
  return reply.take();
}

}  // namespace aclmgr
