#include "manager/server/handlers.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <span>

#include "acl_lib/encoding/message_body.h"
#include "manager/server/handler_tables.h"
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

std::vector<std::byte> unknownCodeReply(std::span<const std::byte> request, Status status) {
  ReplyMaker<RequestHead, UnknownCodeReplyBody> reply(request, status);
  reply.echoHeader();
  return reply.take();
}

std::optional<Answer> refuseUnknownCode(ManagerState &, const Request &request, RequestText &text) {
  text.fields = fmt::format("{:#06x}", request.code);
  return Answer{Status::kInvalidMessage, "unknown code"};
}

constexpr Handler kUnknownCode{0, "unknown code", refuseUnknownCode, unknownCodeReply};

// The codes by what they are about.
constexpr auto kAreas = std::to_array<std::span<const Handler> (*)() noexcept>({
    policyHandlers,
    dynamicRuleHandlers,
    appRuleHandlers,
    meterHandlers,
    appPolicyHandlers,
    clientHandlers,
    sliceHandlers,
});

}  // namespace

Answer answerOf(const Refusal &refusal) {
  return {refusal.status, refusal.reason};
}

std::string portText(std::uint32_t port) {
  return fmt::format("{}:{}", port >> 16 & 0xFF, port & 0xFFFF);
}

std::string pointText(const BindingPoint &point) {
  return fmt::format("port {}, vlan {}, direction {}", portText(point.port), point.vlan,
                     point.direction);
}

const Handler &handlerOf(std::uint16_t code) noexcept {
  for (const auto area : kAreas) {
    const std::span<const Handler> rows = area();
    const auto row = std::ranges::find(rows, code, &Handler::code);
    if (row != rows.end()) return *row;
  }
  return kUnknownCode;
}

}  // namespace aclmgr
