#include "platform/host/dispatch_client.h"

#include <cstring>
#include <thread>

#include "platform/host/component_name.h"
#include "platform/host/dispatcher.h"
#include "platform/host/failure.h"
#include "platform/host/message_bus.h"
#include "platform/host/packet_pool.h"
#include "platform/host/peer_table.h"
#include "platform/host/unix_socket.h"
#include "platform/msgbus.h"

namespace swplat {
namespace {

// Packets delivered at one wake-up, so that one peer cannot keep the dispatcher to itself.
constexpr int kReceiveBatch = 64;

// How long to wait for memory when there is none for the next packet, which stays in the socket.
constexpr std::chrono::milliseconds kMemoryPause{1};

std::string componentOf(const DispatchClientRecord &record) {
  return {record.name, strnlen(record.name, sizeof(record.name))};
}

}  // namespace

DispatchClient::DispatchClient(const DispatchClientRecord &record)
    : record_(record),
      address_{componentOf(record), record.slot},
      attendItem_(Dispatcher::instance().work().prepare(
          {[](void *client, void *) { static_cast<DispatchClient *>(client)->attend(); }, this,
           nullptr})) {}

DispatchClient::~DispatchClient() {
  Dispatcher::instance().work().discard(attendItem_);
}

void DispatchClient::start() {
  Dispatcher::instance().work().arm(attendItem_, WorkQueue::Delay::zero());
}

void DispatchClient::reconnect() {
  Dispatcher::instance().work().arm(attendItem_, Backoff::kFirst);
}

void DispatchClient::attend() {
  if (PeerTable::instance().contains(peerId_)) {
    return;
  }
  socket_.reset();
  const bool connected = resultOr(false, [this] { return connect(); });
  if (!connected) {
    Dispatcher::instance().work().arm(attendItem_, backoff_.next());
    return;
  }
  backoff_.reset();
  deliver(peerId_, nullptr, MSGBUS_EVENT_CONNECTED);
}

bool DispatchClient::connect() {
  FileDescriptor connected = connectSocket(address_.socketFile());
  LockedPeer peer = PeerTable::instance().add();
  if (!peer) {
    return false;
  }
  peer->dispatchClient = this;
  try {
    peer->attach(std::move(connected));
  } catch (...) {
    PeerTable::instance().remove(std::move(peer));
    throw;
  }
  socket_ = peer->socket;
  peerId_ = peer->id;
  return true;
}

void DispatchClient::receive(uint32_t peerId) {
  for (int count = 0; count < kReceiveBatch && PeerTable::instance().contains(peerId); ++count) {
    OwnedPacket packet(acquireLargestPacket());
    if (packet == nullptr) {
      std::this_thread::sleep_for(kMemoryPause);
      return;
    }
    const int64_t length = tryReceive(socket_->number(), packet->data, packet->capacity);
    if (length == 0) {
      return;
    }
    if (length < 0) {
      lose(peerId);
      return;
    }
    packet->length = static_cast<uint32_t>(length);
    deliver(peerId, packet.release(), static_cast<int32_t>(length));
  }
}

// A peer that was deregistered meanwhile is not reported as lost: its owner knows.
void DispatchClient::lose(uint32_t peerId) {
  LockedPeer peer = PeerTable::instance().find(peerId);
  if (!peer) {
    return;
  }
  PeerTable::instance().remove(std::move(peer));
  peerId_ = 0;
  socket_.reset();
  Dispatcher::instance().work().arm(attendItem_, backoff_.next());
  deliver(peerId, nullptr, MSGBUS_EVENT_DISCONNECTED);
}

void DispatchClient::deliver(uint32_t peerId, PktBuf *packet, int32_t length) const {
  void *const context = reinterpret_cast<void *>(static_cast<uintptr_t>(record_.context));
  record_.callback(record_.service, context, peerId, packet, length);
}

}  // namespace swplat

extern "C" int32_t dispatchAddClient(const DispatchClientRecord *record, void * /*out*/) noexcept {
  return swplat::resultOr(int32_t{MSGBUS_ERROR}, [record] {
    if (record == nullptr || record->callback == nullptr ||
        !swplat::isMessageBusClient(record->service) ||
        !swplat::isComponentName(swplat::componentOf(*record).c_str())) {
      return int32_t{MSGBUS_ERROR};
    }
    auto client = std::make_unique<swplat::DispatchClient>(*record);
    client.release()->start();  // from now on the dispatcher's, for the life of the process
    return int32_t{0};
  });
}
