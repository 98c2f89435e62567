#include "manager/server/handler_tables.h"

#include <fmt/format.h>

#include <array>

#include "acl_lib/apppolicy/slice_bodies.h"
#include "acl_lib/client/reply_bodies.h"
#include "acl_lib/transport/message_codes.h"
#include "manager/decode/slice_requests.h"
#include "manager/server/reply_maker.h"
#include "manager/server/request_log.h"

namespace aclmgr {
namespace {

// The reply has a code of its own.
std::vector<std::byte> sliceReply(std::span<const std::byte> request, Status status) {
  using Request = acl::SliceBody;
  using Reply = acl::SliceReplyBody;
  ReplyMaker<Request, Reply> reply(request, status);
  reply.put(Reply::code, acl::kMsgSliceReply);
  reply.echo(Request::context, Reply::context);
  reply.echo(Request::unreserve, Reply::unreserve);
  reply.echo(Request::stage, Reply::stage);
  reply.echo(Request::sliceType, Reply::sliceType);
  reply.echo(Request::sliceCount, Reply::sliceCount);
  reply.echo(Request::doubleWide, Reply::doubleWide);
  reply.echo(Request::appId, Reply::appId);
  return reply.take();
}

std::optional<Answer> handleSlices(ManagerState &state, const Request &request, RequestText &text) {
  const auto decoded = decodeSlices(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const auto &[appId, givesBack, slices] = decoded.value();
  text.fields = fmt::format("application {} {} {}{} slices, stage {}, type {}", appId,
                            givesBack ? "gives back" : "reserves", slices.count,
                            slices.doubleWide ? " double-wide" : "", slices.stage, slices.type);
  return Answer{
      givesBack ? state.slices.giveBack(appId, slices) : state.slices.reserve(appId, slices), ""};
}

constexpr auto kHandlers = std::to_array<Handler>({
    {acl::kMsgSliceConfig, "ACL_MSG_SLICE_CONFIG", handleSlices, sliceReply},
});

}  // namespace

std::span<const Handler> sliceHandlers() noexcept {
  return kHandlers;
}

}  // namespace aclmgr
