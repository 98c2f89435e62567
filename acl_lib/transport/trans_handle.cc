// Request framing: one partly filled packet per handle, sent when asked for or when full.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "acl_lib.h"
#include "acl_lib/encoding/results.h"
#include "acl_lib/transport/request_packet.h"
#include "acl_lib/transport/shared_word.h"
#include "platform/msgbus.h"
#include "platform/pktbuf.h"
#include "platform/tlv.h"

TransHandle *aclHandle = nullptr;

namespace acl {
namespace {

// Bytes for requests in one packet.
constexpr std::uint32_t kPacketSize = 8128;

class HandleLock {
 public:
  explicit HandleLock(TransHandle &handle) noexcept : mutex_(handle.lock) {
    pthread_mutex_lock(&mutex_);
  }
  ~HandleLock() { pthread_mutex_unlock(&mutex_); }
  HandleLock(const HandleLock &) = delete;
  HandleLock &operator=(const HandleLock &) = delete;

 private:
  pthread_mutex_t &mutex_;
};

// A null handle is an error in the calling program, for which no result exists.
TransHandle &checkedHandle(TransHandle *handle) noexcept {
  if (handle == nullptr) std::abort();
  return *handle;
}

bool hasPeer(const TransHandle &handle) noexcept {
  return handle.connected == 1 && handle.peerId != 0;
}

std::int64_t usedLength(const TransHandle &handle) noexcept {
  return handle.builder.cursor - handle.builder.start;
}

// Signed on purpose: behind an object that is longer than a packet the room is negative.
std::int64_t room(const TransHandle &handle) noexcept {
  return std::int64_t{handle.builder.capacity} - usedLength(handle);
}

// Gives the handle a new, empty packet; the former one is no longer the handle's. False when there
// is no memory.
bool startPacket(TransHandle &handle) noexcept {
  handle.packet = pktbufAllocPacket(kPacketSize, kSendHeadroom, kPacketToSend);
  if (handle.packet == nullptr) return false;
  handle.data = handle.packet->data;
  tlvInit(&handle.builder, handle.data, kPacketSize);
  return true;
}

// Sends the packet and starts the next one. The handle is locked. Returns what msgbusSend() did.
// A refused packet is dropped with all requests in it.
std::int32_t flushPacket(TransHandle &handle) noexcept {
  pktbufTrimPacket(handle.packet, static_cast<std::uint32_t>(usedLength(handle)));
  const std::int32_t result = msgbusSend(handle.peerId, handle.packet, 0);
  if (result == MSGBUS_QUEUE_FULL || result == MSGBUS_ERROR) pktbufFree(handle.packet);
  // Without a packet no request could ever be framed again, and no result can say so.
  if (!startPacket(handle)) std::abort();
  return result;
}

}  // namespace
}  // namespace acl

extern "C" {

TransHandle *transHandleCreate() noexcept {
  auto *handle = static_cast<TransHandle *>(std::calloc(1, sizeof(TransHandle)));
  if (handle == nullptr) return nullptr;
  if (!acl::startPacket(*handle)) {
    std::free(handle);
    return nullptr;
  }
  pthread_mutex_init(&handle->lock, nullptr);
  return handle;
}

void transHandleFree(TransHandle *handle) noexcept {
  if (handle == nullptr) return;
  pthread_mutex_destroy(&handle->lock);
  if (handle->packet != nullptr) pktbufFree(handle->packet);
  std::free(handle);
}

std::int32_t transHandleSetPeer(TransHandle *handle, std::uint32_t peerId) noexcept {
  TransHandle &target = acl::checkedHandle(handle);
  const acl::HandleLock lock(target);
  // aclLibPeerIdCurrentQueueSize() reads the peer without the lock.
  acl::storeShared(target.peerId, peerId);
  target.connected = peerId != 0 ? 1 : 0;
  return 0;
}

std::int32_t transHandleSend(TransHandle *handle, std::uint16_t type, const void *data,
                             std::uint32_t length, std::int32_t flush) noexcept {
  TransHandle &target = acl::checkedHandle(handle);
  const acl::HandleLock lock(target);
  if (!acl::hasPeer(target) || target.packet == nullptr) return acl::kFailed;
  if (data == nullptr && length != 0) return acl::kInvalidArgument;
  std::int32_t result = acl::kSuccess;
  // Whether the packet is empty makes no difference: an object that is longer than a packet sends
  // an empty one first and then goes into the tailroom of the next.
  if (acl::room(target) < acl::tlvObjectSize(std::int64_t{length}))
    result = acl::flushPacket(target);
  // Refuses only what no packet can hold.
  tlvAddObject(&target.builder, data, type, length);
  // Of two packets the second one's result is returned: it is the one that carries this request.
  if (flush != 0) result = acl::flushPacket(target);
  return result > 0 || result == MSGBUS_QUEUED ? acl::kSuccess : result;
}

std::int32_t transHandleCommit(TransHandle *handle) noexcept {
  TransHandle &target = acl::checkedHandle(handle);
  const acl::HandleLock lock(target);
  if (!acl::hasPeer(target) || target.packet == nullptr) return acl::kFailed;
  if (acl::usedLength(target) == 0) return acl::kSuccess;
  // As it is, unlike transHandleSend(): who commits is told of a packet that has to wait.
  return acl::flushPacket(target);
}

std::int32_t aclLibSendMsg(std::uint16_t type, const void *data, std::uint16_t length) noexcept {
  return aclLibSendMsg2(type, data, length, 1);
}

std::int32_t aclLibSendMsg2(std::uint16_t type, const void *data, std::uint16_t length,
                            std::int32_t flush) noexcept {
  TransHandle *handle = acl::loadShared(aclHandle);
  if (handle == nullptr) return acl::kFailed;
  return transHandleSend(handle, type, data, length, flush);
}

}  // extern "C"
