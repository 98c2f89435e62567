#include "manager/server/app_policy_replies.h"

#include "acl_lib/apppolicy/app_policy_bodies.h"
#include "acl_lib/client/reply_bodies.h"
#include "acl_lib/encoding/message_body.h"
#include "acl_lib/transport/message_codes.h"
#include "manager/decode/app_policy_requests.h"
#include "manager/server/reply_maker.h"

namespace aclmgr {

std::vector<std::byte> applyRangeReply(const ApplyRange &range, Status status) {
  using Reply = acl::ApplyReplyBody;
  std::vector<std::byte> reply(Reply::size);
  acl::BodyWriter<Reply> writer(std::span<std::byte, Reply::size>(reply.data(), Reply::size));
  writer.put(Reply::code, acl::kMsgApplyAppPolicy);
  writer.put(Reply::status, static_cast<std::int16_t>(status));
  writer.put(Reply::appId, range.appId);
  writer.put(Reply::kind, range.kind);
  writer.put(Reply::tag, range.tag);
  writer.put(Reply::firstSeqNo, range.firstSeqNo);
  writer.put(Reply::lastSeqNo, range.lastSeqNo);
  return reply;
}

std::vector<std::byte> applyReply(std::span<const std::byte> request, Status status) {
  const AppPolicyHead head = appPolicyHeadOf(request);
  return applyRangeReply({.appId = head.key.appId,
                          .kind = head.key.kind,
                          .tag = head.key.tag,
                          .firstSeqNo = head.seqNo,
                          .lastSeqNo = head.seqNo},
                         status);
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
