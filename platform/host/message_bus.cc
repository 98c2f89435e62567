#include "platform/host/message_bus.h"

#include <mutex>
#include <optional>
#include <vector>

#include "platform/host/address_book.h"
#include "platform/host/address_peer.h"
#include "platform/host/dispatch_client.h"
#include "platform/host/dispatcher.h"
#include "platform/host/failure.h"
#include "platform/host/packet_pool.h"
#include "platform/host/peer_table.h"
#include "platform/msgbus.h"

namespace swplat {
namespace {

// Requests and answers: the one kind of client there is.
constexpr uint32_t kRequestClient = 1;

// A client is nothing but its control callback; its handle is its number, from 1 on.
class ClientTable {
 public:
  static ClientTable &instance() {
    // Never destroyed: the dispatcher's thread may use it while the process exits.
    static ClientTable *const table = new ClientTable;
    return *table;
  }

  uint32_t add(MsgbusControlCallback control) {
    const std::lock_guard<std::mutex> guard(mutex_);
    controls_.push_back(control);
    return static_cast<uint32_t>(controls_.size());
  }

  std::optional<MsgbusControlCallback> find(uint32_t client) {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (client == 0 || client > controls_.size()) {
      return std::nullopt;
    }
    return controls_[client - 1];
  }

 private:
  std::mutex mutex_;
  std::vector<MsgbusControlCallback> controls_;
};

int32_t registerPeer(uint32_t client, uint64_t address, uint32_t *peerId) {
  const std::optional<MsgbusControlCallback> control = ClientTable::instance().find(client);
  const std::optional<ComponentAddress> component = AddressBook::instance().resolve(address);
  if (!control || !component || peerId == nullptr) {
    return MSGBUS_ERROR;
  }
  const uint32_t id = addAddressPeer(*component, *control);
  if (id == 0) {
    return MSGBUS_ERROR;
  }
  *peerId = id;
  return 0;
}

int32_t deregisterPeer(uint32_t peerId) {
  LockedPeer peer = PeerTable::instance().find(peerId);
  if (!peer) {
    return MSGBUS_ERROR;
  }
  DispatchClient *const client = peer->dispatchClient;
  if (client == nullptr) {
    Dispatcher::instance().work().discard(peer->addressState->attendItem);
  }
  PeerTable::instance().remove(std::move(peer));
  if (client != nullptr) {
    client->reconnect();
  }
  return 0;
}

void setOption(Peer &peer, uint32_t option, uint32_t value) {
  switch (option) {
    case MSGBUS_OPTION_KEEP_ALIVE:
      peer.keepAlive = value != 0;
      if (peer.keepAlive && peer.addressState != nullptr) {
        attendAddressPeerSoon(peer);
      }
      break;
    case MSGBUS_OPTION_QUEUE_LIMIT:
      peer.queueLimit = value;
      break;
    case MSGBUS_OPTION_PRIORITY:
      peer.serviceClass = value;
      break;
    default:
      break;
  }
}

// The locked peer's part of msgbusSend().
int32_t sendToPeer(uint32_t peerId, const PktBuf &packet) {
  const LockedPeer peer = PeerTable::instance().find(peerId);
  return peer ? peer->send(packet.data, packet.length) : MSGBUS_ERROR;
}

}  // namespace

bool isMessageBusClient(uint32_t client) {
  return ClientTable::instance().find(client).has_value();
}

}  // namespace swplat

extern "C" {

uint32_t msgbusInitClient(uint32_t kind, MsgbusControlCallback control,
                          uint32_t /*context*/) noexcept {
  if (kind != swplat::kRequestClient) {
    return 0;
  }
  return swplat::resultOr(uint32_t{0},
                          [control] { return swplat::ClientTable::instance().add(control); });
}

int32_t msgbusRegisterPeerByAddr(uint32_t client, uint64_t address, uint32_t *peerId) noexcept {
  return swplat::resultOr(int32_t{MSGBUS_ERROR}, [client, address, peerId] {
    return swplat::registerPeer(client, address, peerId);
  });
}

int32_t msgbusConnectToPeer(uint32_t peerId, uint32_t /*flags*/) noexcept {
  return swplat::resultOr(int32_t{MSGBUS_IN_PROGRESS}, [peerId] {
    const swplat::LockedPeer peer = swplat::PeerTable::instance().find(peerId);
    if (!peer) {
      return int32_t{MSGBUS_ERROR};
    }
    return peer->dispatchClient != nullptr ? 0 : swplat::connectAddressPeer(*peer);
  });
}

int32_t msgbusDeregisterPeer(uint32_t peerId) noexcept {
  return swplat::resultOr(int32_t{MSGBUS_ERROR},
                          [peerId] { return swplat::deregisterPeer(peerId); });
}

int32_t msgbusSetPeerOption(uint32_t peerId, uint32_t option, uint32_t value) noexcept {
  return swplat::resultOr(int32_t{MSGBUS_ERROR}, [peerId, option, value] {
    const swplat::LockedPeer peer = swplat::PeerTable::instance().find(peerId);
    if (!peer) {
      return int32_t{MSGBUS_ERROR};
    }
    swplat::setOption(*peer, option, value);
    return int32_t{0};
  });
}

int32_t msgbusSend(uint32_t peerId, PktBuf *packet, uint32_t /*flags*/) noexcept {
  swplat::reclaimAcceptedPacket();
  if (packet == nullptr) {
    return MSGBUS_ERROR;
  }
  const int32_t result = swplat::resultOr(
      int32_t{MSGBUS_ERROR}, [peerId, packet] { return swplat::sendToPeer(peerId, *packet); });
  if (result >= 0 || result == MSGBUS_QUEUED) {
    swplat::parkAcceptedPacket(packet);
  }
  return result;
}

int32_t msgbusRecv(uint32_t peerId, PktBuf *packet, const uint32_t wait[3],
                   uint32_t /*flags*/) noexcept {
  return swplat::resultOr(int32_t{MSGBUS_ERROR}, [peerId, packet, wait] {
    swplat::LockedPeer peer = swplat::PeerTable::instance().find(peerId);
    if (!peer || peer->addressState == nullptr || packet == nullptr) {
      return int32_t{MSGBUS_ERROR};
    }
    const std::chrono::microseconds longest =
        wait == nullptr ? std::chrono::microseconds::zero()
                        : std::chrono::seconds(wait[0]) + std::chrono::milliseconds(wait[1]) +
                              std::chrono::microseconds(wait[2]);
    return swplat::receiveFromAddressPeer(peer, *packet, longest);
  });
}

int32_t msgbusGetVqStatsCount(uint32_t peerId) noexcept {
  return swplat::resultOr(int32_t{MSGBUS_ERROR}, [peerId] {
    const swplat::LockedPeer peer = swplat::PeerTable::instance().find(peerId);
    return peer ? static_cast<int32_t>(peer->queue.size()) : int32_t{MSGBUS_ERROR};
  });
}

}  // extern "C"
