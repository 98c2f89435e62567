// Everything that comes from the ACL manager: connection events, and messages of replies.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "acl_lib.h"
#include "acl_lib/client/reply_callback.h"
#include "acl_lib/client/reply_handlers.h"
#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/encoding/message_body.h"
#include "acl_lib/transport/manager_connection.h"
#include "acl_lib/transport/message_codes.h"
#include "acl_lib/transport/shared_word.h"
#include "platform/msgbus.h"
#include "platform/procmon.h"
#include "platform/tlv.h"

namespace acl {
namespace {

// Events of the message bus that concern other kinds of clients.
constexpr std::int32_t kIgnoredEvents[] = {-111, -999};

bool isIgnored(std::int32_t event) noexcept {
  for (const std::int32_t ignored : kIgnoredEvents) {
    if (event == ignored) return true;
  }
  return false;
}

// A handler may be written for four arguments: the last two are what the loss came with. The
// calling conventions of all targets let a handler with two arguments not notice the others; that
// is why the function check of the sanitizers is off here.
#ifdef __clang__
__attribute__((no_sanitize("function")))
#endif
void callLossHandler(AclConnectionHandler handler, std::uint32_t peer, PktBuf *packet) noexcept {
  using LossHandler = std::int32_t (*)(std::uint32_t, std::int32_t, std::uint32_t, PktBuf *);
  const auto lossHandler = reinterpret_cast<LossHandler>(reinterpret_cast<void (*)()>(handler));
  lossHandler(0, MSGBUS_EVENT_DISCONNECTED, peer, packet);
}

void handleConnected(std::uint32_t peer) noexcept {
  msgbusSetPeerOption(peer, MSGBUS_OPTION_PRIORITY, kPeerPriority);
  storeShared(aclPeerId, peer);
  if (const AclConnectionHandler handler = loadShared(aclConnectionHandler)) {
    handler(peer, MSGBUS_EVENT_CONNECTED);
  }
  procmonSetState(kComponent, kConnected);
  procmonSetState(kComponent, kRunning);
}

void handleLost(std::uint32_t peer, PktBuf *packet) noexcept {
  storeShared(aclPeerId, 0);
  if (const AclConnectionHandler handler = loadShared(aclConnectionHandler)) {
    callLossHandler(handler, peer, packet);
  }
  procmonSetState(kComponent, kWaitingForPeer);
}

void handleEvent(std::int32_t event, std::uint32_t peer, PktBuf *packet) noexcept {
  if (event == MSGBUS_EVENT_CONNECTED) {
    handleConnected(peer);
  } else if (event == MSGBUS_EVENT_DISCONNECTED) {
    handleLost(peer, packet);
  } else if (!isIgnored(event)) {
    std::abort();
  }
}

AfterReply handleWhole(const ReplyHandler &handler, void *body) noexcept {
  handler.handle(body);
  if (handler.after == AfterReply::kCallback) handToApplication(body);
  return handler.after;
}

// Handles one reply where it lies; one that is too short for its code on a copy that zeros
// continue, as what lies behind it in the message is not its own.
AfterReply handleReply(void *body, std::size_t length) noexcept {
  const auto code = loadBig<std::uint16_t>(static_cast<const std::byte *>(body) + kCodeOffset);
  const ReplyHandler &handler = replyHandlerOf(code);
  if (length >= handler.handledSize) return handleWhole(handler, body);
  alignas(std::max_align_t) std::array<std::byte, kLargestHandledSize> extended;
  std::memcpy(extended.data(), body, length);
  std::memset(extended.data() + length, 0, handler.handledSize - length);
  return handleWhole(handler, extended.data());
}

}  // namespace
}  // namespace acl

extern "C" {

void aclLibCallback(std::uint32_t /*service*/, void * /*context*/, std::uint32_t peer,
                    PktBuf *packet, std::int32_t length) noexcept {
  if (length < 1) {
    acl::handleEvent(length, peer, packet);
    return;
  }
  aclMsgHandler(peer, packet, length, packet);
  pktbufFree(packet);
}

void aclMsgHandler(std::uint32_t /*peer*/, PktBuf *buffer, std::int32_t length,
                   PktBuf * /*sameBuffer*/) noexcept {
  if (buffer == nullptr || length < 1) return;
  TlvBuilder reader;
  tlvInit(&reader, buffer->data, static_cast<std::uint32_t>(length));
  std::uint16_t type;
  std::uint16_t bodyLength;
  void *body;
  while (tlvGetObject(&reader, &type, &bodyLength, &body) == 0) {
    // A body without a whole code is no reply.
    if (type != acl::kTlvReply || bodyLength < acl::kMessageCodeWidth) continue;
    if (acl::handleReply(body, bodyLength) == acl::AfterReply::kEndOfMessage) return;
  }
}

}  // extern "C"
