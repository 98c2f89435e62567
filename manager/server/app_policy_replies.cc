#include "manager/server/app_policy_replies.h"

#include "acl_lib/apppolicy/app_policy_bodies.h"
#include "acl_lib/client/reply_bodies.h"
#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/encoding/message_body.h"
#include "acl_lib/transport/message_codes.h"
#include "manager/decode/app_policy_requests.h"
#include "manager/server/reply_maker.h"

namespace aclmgr {

std::vector<std::byte> applyReply(std::span<const std::byte> request, Status status) {
  using Reply = acl::ApplyReplyBody;
  const AppPolicyHead head = appPolicyHeadOf(request);
  std::vector<std::byte> reply(Reply::size);
  acl::BodyWriter<Reply> writer(std::span<std::byte, Reply::size>(reply.data(), Reply::size));
  writer.put(Reply::code, acl::kMsgApplyAppPolicy);
  writer.put(Reply::status, static_cast<std::int16_t>(status));
  writer.put(Reply::appId, head.key.appId);
  writer.put(Reply::kind, head.key.kind);
  writer.put(Reply::tag, head.key.tag);
  writer.put(Reply::firstSeqNo, head.seqNo);
  writer.put(Reply::lastSeqNo, head.seqNo);
  return reply;
}

void extendApplyReply(std::span<std::byte> reply, std::uint32_t lastSeqNo) noexcept {
  acl::storeBig(reply.data() + acl::ApplyReplyBody::lastSeqNo.offset, lastSeqNo);
}

std::vector<std::byte> unapplyReply(std::span<const std::byte> request, Status status) {
  using Request = acl::AppPolicyBody;
  using Reply = acl::UnapplyReplyBody;
  ReplyMaker<Request, Reply> reply(request, status);
  reply.echo(Request::seqNo, Reply::seqNo);
  reply.echo(Request::appId, Reply::appId);
  return reply.take();
}

}  // namespace aclmgr
