// Everything that comes from the ACL manager: connection events, and messages of replies.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "acl_lib.h"
#include "acl_lib/encoding/message_body.h"
#include "acl_lib/transport/message_codes.h"
#include "acl_lib/transport/shared_word.h"
#include "platform/msgbus.h"
#include "platform/procmon.h"
#include "platform/tlv.h"

namespace acl {
namespace {

constexpr char kComponent[] = "acl";

// States that are reported to the process monitor.
constexpr std::int32_t kWaitingForPeer = 1;
constexpr std::int32_t kConnected = 2;
constexpr std::int32_t kRunning = 3;

// Events of the message bus that concern other kinds of clients.
constexpr std::int32_t kIgnoredEvents[] = {-111, -999};

bool isIgnored(std::int32_t event) noexcept {
  for (const std::int32_t ignored : kIgnoredEvents) {
    if (event == ignored) return true;
  }
  return false;
}

constexpr std::uint32_t kPeerPriority = 2;

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

// Hands one reply to the application.
void callCallback(void *body) noexcept {
  if (const AclMsgCallback callback = loadShared(aclMsgCallback)) callback(body);
}

// What every callback may read of a reply: its code and its status.
constexpr std::size_t kShortestReply = kStatusOffset + sizeof(std::int16_t);

// Handles one reply where it lies; one that is too short for a status on a copy that zeros follow.
void handleReply(void *body, std::size_t length) noexcept {
  if (length >= kShortestReply) {
    callCallback(body);
    return;
  }
  alignas(std::max_align_t) std::array<std::byte, kShortestReply> extended{};
  std::memcpy(extended.data(), body, length);
  callCallback(extended.data());
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
    if (type == acl::kTlvReply && bodyLength >= acl::kMessageCodeWidth) {
      acl::handleReply(body, bodyLength);
    }
  }
}

}  // extern "C"
