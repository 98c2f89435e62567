// The second connection to the ACL manager, for requests whose caller waits for the answer.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <source_location>
#include <utility>

#include "acl_lib.h"
#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/encoding/results.h"
#include "acl_lib/transport/manager_connection.h"
#include "acl_lib/transport/message_codes.h"
#include "acl_lib/transport/request_packet.h"
#include "acl_lib/transport/shared_word.h"
#include "platform/board.h"
#include "platform/dirsvc.h"
#include "platform/evlog.h"
#include "platform/msgbus.h"
#include "platform/pktbuf.h"
#include "platform/process.h"
#include "platform/procmon.h"
#include "platform/tlv.h"

std::uint32_t aclLibSyncConfigService = 0;
std::uint32_t aclLibSyncConfigPeerId = 0;

namespace acl {
namespace {

// Pauses in microseconds.
constexpr useconds_t kLookUpPause = 1000;
constexpr useconds_t kConnectPause = 10000;

// How long one msgbusRecv() waits: 10 ms.
constexpr std::uint32_t kAnswerWait[3] = {0, 10, 0};

// Arguments of pktbufAllocPacket() for a packet of an answer: room beside the body, headroom,
// direction.
constexpr std::uint32_t kAnswerExtra = 32;
constexpr std::uint32_t kReceiveHeadroom = 28;
constexpr std::uint32_t kPacketToReceive = 0;

constexpr std::uint32_t kLongestBody = std::numeric_limits<std::uint16_t>::max();

struct FreePacket {
  void operator()(PktBuf *packet) const noexcept { pktbufFree(packet); }
};
using Packet = std::unique_ptr<PktBuf, FreePacket>;

// ---- Events of the connection

// The kind of _evlog_ACL_ComponentDesc for evlogRegisterComponent().
constexpr std::uint32_t kEventComponent = 1;

// Returns the handle of the library's event component, which is registered when nobody has done so
// yet and logs from then on; 0 when it cannot be registered.
std::uint32_t eventHandle() noexcept {
  std::uint32_t handle = loadShared(_evlog_ACL_ComponentHandle);
  if (handle != 0) return handle;
  if (evlogRegisterComponent(kEventComponent, &_evlog_ACL_ComponentDesc, &handle) != 0) return 0;
  storeShared(_evlog_ACL_ComponentHandle, handle);
  return handle;
}

// Logs one event, or nothing while there is no event component. `format` shows one number: a peer
// id, which is unsigned, or a control code, which is signed. 64 bits take both without a cast.
void logEvent(const char *format, std::int64_t number,
              std::source_location place = std::source_location::current()) noexcept {
  const std::uint32_t handle = eventHandle();
  if (handle == 0) return;
  evlogNotifyIncident(handle, "acl_lib", place.line(), "aclLibSyncConfigConnCtl", format,
                      static_cast<std::int32_t>(number));
}

// Told about the connection of the channel's peer, on the dispatcher's thread.
std::int32_t connectionControl(std::uint32_t peerId, std::int32_t code) noexcept {
  switch (code) {
    case MSGBUS_CONTROL_CONNECTED:
      storeShared(aclLibSyncConfigPeerId, peerId);
      logEvent("aclLibSyncConfigConnCtl acl Lib %d CONNECTED!", peerId);
      break;
    case MSGBUS_CONTROL_DISCONNECTED:
      // The id stays: the platform restores the connection, and a request meanwhile waits for that
      // instead of setting up a second peer.
      logEvent("aclLibSyncConfigConnCtl acl Lib peer %d DISCONNECTED!", peerId);
      procmonSetState(kComponent, kWaitingForPeer);
      break;
    case MSGBUS_CONTROL_RESTORED:
      storeShared(aclLibSyncConfigPeerId, peerId);
      // The short name is what readers of the log look for.
      logEvent("aclLibSyncConfigCtl acl Lib %d MSGBUS_CONNECTION_RESTORED!", peerId);
      break;
    default:
      logEvent("aclLibSyncConfigConnCtl Invalid control code %d!", code);
  }
  return 0;
}

// ---- Set-up

// Waits until the manager of the own slot is served, and returns its record.
DirsvcRecord findManager() noexcept {
  DirsvcRecord key{};
  std::memcpy(key.name, kComponent, sizeof(kComponent));
  key.slot = static_cast<std::uint8_t>(boardGetSlotSelf());
  DirsvcRecord manager{};
  bool found = false;
  while (!found) {
    found = dirsvcGetEntryByAttr(&key, &manager) == 0;
    // Also once the manager is found.
    usleep(kLookUpPause);
  }
  return manager;
}

// Makes the manager the channel's peer. A failure is printed, and the former peer stays.
void registerPeer(const DirsvcRecord &manager) noexcept {
  std::uint32_t peerId = loadShared(aclLibSyncConfigPeerId);
  const std::int32_t result =
      msgbusRegisterPeerByAddr(loadShared(aclLibSyncConfigService), manager.address, &peerId);
  if (result >= 0) {
    storeShared(aclLibSyncConfigPeerId, peerId);
    return;
  }
  std::printf("%s: %s: name %s ret %d port %d, peerId:%d\n", platGetProcessName(),
              "initAclLibSyncConfigLib", kComponent, result,
              static_cast<std::int32_t>(manager.port), static_cast<std::int32_t>(peerId));
}

// Waits until the peer is connected (0) or refuses (MSGBUS_REFUSED).
std::int32_t connectPeer() noexcept {
  std::int32_t result = msgbusConnectToPeer(loadShared(aclLibSyncConfigPeerId), 0);
  while (result != 0 && result != MSGBUS_REFUSED) {
    // Loaded anew each time: the control callback may have stored another id.
    result = msgbusConnectToPeer(loadShared(aclLibSyncConfigPeerId), 0);
    // Also when that succeeded or was refused, unlike the first attempt.
    usleep(kConnectPause);
  }
  return result;
}

// ---- Request and answer

// Sends the body as one object. False when the bus did not say that it is on its way: a packet that
// the bus has queued counts as not sent, although its answer will come. Without memory nothing is
// sent, which counts as success: the caller waits for an answer all the same.
bool sendRequest(const void *body, std::uint32_t length) noexcept {
  const std::uint32_t size = tlvObjectSize(length);
  const Packet packet(pktbufAllocPacket(size, kSendHeadroom, kPacketToSend));
  if (packet == nullptr) return true;
  TlvBuilder builder;
  tlvInit(&builder, packet->data, size);
  // Cannot fail: the packet is as long as the object, and the body is no longer than kLongestBody.
  tlvAddObject(&builder, body, kTlvRequest, length);
  // The packet is freed whatever becomes of it; the bus allows that as the next thing done.
  return msgbusSend(loadShared(aclLibSyncConfigPeerId), packet.get(), 0) >= 0;
}

// A packet received from the peer, and how many bytes the bus says came in it.
struct Answer {
  Packet packet;
  std::uint32_t length;
};

// Waits for a packet, for as long as it takes.
Answer receiveAnswer(std::uint32_t bodyLength) noexcept {
  Packet packet(pktbufAllocPacket(tlvValueSize(bodyLength) + kAnswerExtra, kReceiveHeadroom,
                                  kPacketToReceive));
  // The request is on its way, and no result says that its answer is lost.
  if (packet == nullptr) std::abort();
  std::int32_t received = -1;
  while (received < 0) {
    // Loaded anew each time: a restored connection may have another id.
    received = msgbusRecv(loadShared(aclLibSyncConfigPeerId), packet.get(), kAnswerWait, 0);
  }
  return {std::move(packet), static_cast<std::uint32_t>(received)};
}

// Returns the status of an answer's value; bytes that it does not have count as zeros.
std::int32_t statusOf(const std::byte *value, std::size_t length) noexcept {
  std::array<std::byte, kStatusOffset + sizeof(std::int16_t)> head{};
  std::copy_n(value, std::min(length, head.size()), head.begin());
  return loadBig<std::int16_t>(head.data() + kStatusOffset);
}

// Puts the answer's first object, whatever its type, over the body. Returns its status; kFailed,
// and the body stays as it is, when there is no object.
std::int32_t takeAnswer(const Answer &answer, std::byte *body, std::uint32_t length) noexcept {
  TlvBuilder reader;
  tlvInit(&reader, answer.packet->data, answer.length);
  std::uint16_t type = 0;
  std::uint16_t valueLength = 0;
  void *value = nullptr;
  if (tlvGetObject(&reader, &type, &valueLength, &value) != 0) return kFailed;
  const auto *bytes = static_cast<const std::byte *>(value);
  const std::size_t copied = std::min<std::size_t>(length, valueLength);
  std::fill(std::copy_n(bytes, copied, body), body + length, std::byte{0});
  return statusOf(bytes, valueLength);
}

}  // namespace
}  // namespace acl

extern "C" {

std::int32_t initAclLibSyncConfigLib() noexcept {
  if (acl::loadShared(aclLibSyncConfigService) == 0) {
    acl::storeShared(aclLibSyncConfigService,
                     msgbusInitClient(acl::kRequestClient, acl::connectionControl, 0));
  }
  acl::registerPeer(acl::findManager());
  return acl::connectPeer();
}

std::int32_t aclLibSendAndRecvFromAclMgr(void *body, std::uint32_t length) noexcept {
  if (body == nullptr || length > acl::kLongestBody) return acl::kInvalidArgument;
  // Whether the manager refuses is not looked at: the send then fails.
  if (acl::loadShared(aclLibSyncConfigPeerId) == 0) initAclLibSyncConfigLib();
  if (!acl::sendRequest(body, length)) return acl::kFailed;
  return acl::takeAnswer(acl::receiveAnswer(length), static_cast<std::byte *>(body), length);
}

}  // extern "C"
