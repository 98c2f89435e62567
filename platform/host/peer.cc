#include "platform/host/peer.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include "platform/host/dispatcher.h"

namespace swplat {
namespace {

// Packets sent on at one wake-up, so that one peer cannot keep the dispatcher to itself.
constexpr size_t kFlushBatch = 64;

}  // namespace

void Peer::attach(FileDescriptor connected) {
  const uint32_t largest = enlargeBuffers(connected.number());
  auto shared = std::make_shared<FileDescriptor>(std::move(connected));
  Dispatcher::instance().watch(shared->number(), watchedEvents(), id);
  socket = std::move(shared);
  largestPacket = largest;
}

void Peer::detach() {
  if (socket != nullptr) {
    Dispatcher::instance().unwatch(socket->number());
    shutdown(socket->number(), SHUT_RDWR);
    socket.reset();
  }
}

int32_t Peer::send(const uint8_t *data, uint32_t length) {
  if (socket == nullptr || length > largestPacket) {
    return MSGBUS_ERROR;
  }
  if (length == 0) {
    return 0;
  }
  if (queue.empty()) {
    switch (trySend(socket->number(), data, length)) {
      case SendOutcome::kSent:
        return static_cast<int32_t>(length);
      case SendOutcome::kBroken:
        return MSGBUS_ERROR;
      case SendOutcome::kWouldBlock:
        break;
    }
  }
  return enqueue(data, length);
}

int32_t Peer::enqueue(const uint8_t *data, uint32_t length) {
  if (queue.size() >= queueLimit || !queue.push(data, length)) {
    return MSGBUS_QUEUE_FULL;
  }
  if (queue.size() == 1) {
    Dispatcher::instance().changeWatch(socket->number(), watchedEvents(), id);
  }
  return MSGBUS_QUEUED;
}

void Peer::flush() {
  if (socket == nullptr || queue.empty()) {
    return;
  }
  // A broken connection is not dealt with here: the dispatcher notices it by itself.
  queue.flush(socket->number(), kFlushBatch);
  if (queue.empty()) {
    Dispatcher::instance().changeWatch(socket->number(), watchedEvents(), id);
  }
}

// What an address peer receives stays in the socket until msgbusRecv() takes it, so the dispatcher
// is not woken by it.
uint32_t Peer::watchedEvents() const {
  const uint32_t incoming = dispatchClient != nullptr ? EPOLLIN | EPOLLRDHUP : EPOLLRDHUP;
  return queue.empty() ? incoming : incoming | EPOLLOUT;
}

}  // namespace swplat
