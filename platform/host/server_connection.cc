#include "platform/host/server_connection.h"

#include <sys/socket.h>

#include "platform/host/failure.h"
#include "platform/msgbus.h"

namespace swplat {
namespace {

// Packets sent on at one wake-up, so that one client cannot keep the server to itself.
constexpr size_t kFlushBatch = 64;

// A client that does not send ahead is looked at again every so many wake-ups.
constexpr uint32_t kWakeUpsBetweenLooks = 16;

}  // namespace

SwplatCredentials credentialsOf(int socket) {
  ucred peer = {};
  socklen_t length = sizeof(peer);
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0) {
    throwErrno("SO_PEERCRED");
  }
  return {static_cast<uint32_t>(peer.pid), peer.uid, peer.gid};
}

ServerConnection::ServerConnection(FileDescriptor socket)
    : socket_(std::move(socket)), largestPacket_(enlargeBuffers(socket_.number())) {}

int32_t ServerConnection::send(const uint8_t *data, uint32_t length) {
  if (closing_ || data == nullptr || length == 0 || length > largestPacket_) {
    return MSGBUS_ERROR;
  }
  if (queue_.empty()) {
    switch (trySend(socket_.number(), data, length)) {
      case SendOutcome::kSent:
        return static_cast<int32_t>(length);
      case SendOutcome::kBroken:
        return MSGBUS_ERROR;
      case SendOutcome::kWouldBlock:
        break;
    }
  }
  if (queue_.size() >= kConnectionQueueLimit || !queue_.push(data, length)) {
    return MSGBUS_QUEUE_FULL;
  }
  return MSGBUS_QUEUED;
}

void ServerConnection::flush() {
  queue_.flush(socket_.number(), kFlushBatch);
}

bool ServerConnection::looksForMore() const {
  return sendsAhead_ || wakeUps_ % kWakeUpsBetweenLooks == 0;
}

void ServerConnection::noteReceived(int packets) {
  if (looksForMore()) {
    sendsAhead_ = packets > 1;
  }
  ++wakeUps_;
}

void ServerConnection::beginClosing() {
  closing_ = true;
  queue_.clear();
  shutdown(socket_.number(), SHUT_RDWR);
}

}  // namespace swplat
