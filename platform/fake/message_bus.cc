// msgbus.h and dirsvc.h on the fake platform.
#include <algorithm>
#include <array>
#include <cstring>

#include "platform/fake/fake_state.h"

namespace swplat_fake {
namespace {

Peer *findPeer(Model &model, std::uint32_t id) {
  const auto found = model.peers.find(id);
  return found == model.peers.end() ? nullptr : &found->second;
}

// Ids below those that a test has chosen itself are skipped, so that none is given twice.
std::uint32_t newPeerId(Model &model) {
  do {
    ++model.lastPeer;
  } while (model.peers.contains(model.lastPeer));
  return model.lastPeer;
}

bool isServed(const Model &model, std::uint64_t address) {
  return std::ranges::any_of(
      model.served, [address](const auto &entry) { return entry.second.address == address; });
}

std::int32_t naturalSendResult(Model &model, std::uint32_t peerId, const PktBuf *packet) {
  const Peer *peer = findPeer(model, peerId);
  if (packet == nullptr || peer == nullptr || !peer->connected) return MSGBUS_ERROR;
  return static_cast<std::int32_t>(packet->length);
}

void acceptPacket(FunctionCall &call, std::uint32_t peerId, Packet &packet, std::uint32_t flags) {
  const auto *data = reinterpret_cast<const std::byte *>(packet.header.data);
  call.record().sentPackets.push_back({peerId, flags, Bytes(data, data + packet.header.length)});
  call.model().justAccepted[std::this_thread::get_id()] = &packet.header;
  retirePacket(packet, PacketState::kAccepted);
}

// Appends the objects of one packet. Returns false where it is no row of whole objects.
bool appendObjects(const SentPacket &packet, std::vector<SentObject> &objects) {
  const auto number = [&](std::size_t offset) {
    return std::to_integer<std::size_t>(packet.bytes[offset]) << 8 |
           std::to_integer<std::size_t>(packet.bytes[offset + 1]);
  };
  for (std::size_t offset = 0; offset < packet.bytes.size();) {
    if (packet.bytes.size() - offset < 4) return false;
    const std::size_t length = number(offset + 2);
    const std::size_t padded = length + length % 2;
    if (packet.bytes.size() - offset - 4 < padded) return false;
    const auto value = packet.bytes.begin() + static_cast<std::ptrdiff_t>(offset) + 4;
    objects.push_back({packet.peer, static_cast<std::uint16_t>(number(offset)),
                       Bytes(value, value + static_cast<std::ptrdiff_t>(length))});
    offset += 4 + padded;
  }
  return true;
}

std::string waitText(const std::uint32_t *wait) {
  return "{" + std::to_string(wait[0]) + ", " + std::to_string(wait[1]) + ", " +
         std::to_string(wait[2]) + "}";
}

std::string recordName(const DirsvcRecord &record) {
  return std::string(record.name, strnlen(record.name, sizeof(record.name)));
}

}  // namespace

Bytes object(std::uint16_t type, std::span<const std::byte> value) {
  const auto byte = [](std::size_t number) { return static_cast<std::byte>(number & 0xFF); };
  const std::size_t length = value.size();
  const std::array header{byte(std::size_t{type} >> 8), byte(type), byte(length >> 8),
                          byte(length)};
  Bytes bytes(header.size() + length + length % 2);
  std::ranges::copy(value, std::ranges::copy(header, bytes.begin()).out);
  return bytes;
}

std::vector<SentPacket> Platform::sentPackets() const {
  return Access().record().sentPackets;
}

std::vector<SentObject> Platform::sentObjects() const {
  Access access;
  std::vector<SentObject> objects;
  for (const SentPacket &packet : access.record().sentPackets) {
    if (!appendObjects(packet, objects)) access.violation("a sent packet holds a broken object");
  }
  return objects;
}

void Platform::addPeer(std::uint32_t peer) {
  Access().model().peers[peer].connected = true;
}

void Platform::setConnected(std::uint32_t peer, bool connected) {
  Access().model().peers[peer].connected = connected;
}

void Platform::queueReceive(std::uint32_t peer, std::span<const std::byte> bytes) {
  Access().model().peers[peer].toReceive.emplace_back(bytes.begin(), bytes.end());
}

void Platform::setQueueLength(std::uint32_t peer, std::int32_t length) {
  Access().model().peers[peer].queueLength = length;
}

std::vector<PeerOption> Platform::peerOptions(std::uint32_t peer) const {
  Access access;
  const Peer *found = findPeer(access.model(), peer);
  return found == nullptr ? std::vector<PeerOption>() : found->options;
}

std::int32_t Platform::controlEvent(std::uint32_t peer, std::int32_t code) {
  MsgbusControlCallback callback = nullptr;
  {
    Access access;
    if (const Peer *found = findPeer(access.model(), peer)) {
      callback = access.model().controlCallbacks[found->client];
    }
    if (callback == nullptr) access.violation("controlEvent: nobody is told of this peer");
  }
  return callback != nullptr ? callback(peer, code) : 0;
}

void Platform::serve(std::string_view component, std::uint32_t slot, std::uint64_t address,
                     std::uint32_t port) {
  Access().model().served[{std::string(component), slot}] = {address, port};
}

void Platform::stopServing(std::string_view component, std::uint32_t slot) {
  Access().model().served.erase({std::string(component), slot});
}

std::uint32_t Platform::connectPeer(std::string_view component, std::uint32_t peer) {
  {
    Access access;
    const auto &clients = access.model().clients;
    const auto client = std::ranges::find_if(clients, [&](const DispatchClientRecord &record) {
      return std::string_view(record.name, strnlen(record.name, sizeof(record.name))) == component;
    });
    if (client == clients.end()) {
      access.violation("connectPeer: no client is registered for " + std::string(component));
      return 0;
    }
    if (peer == 0) peer = newPeerId(access.model());
    access.model().peers[peer].client = client->service;
    access.model().peers[peer].connected = true;
  }
  deliverEvent(peer, MSGBUS_EVENT_CONNECTED);
  return peer;
}

}  // namespace swplat_fake

using swplat_fake::FunctionCall;
using swplat_fake::Peer;

std::uint32_t msgbusInitClient(std::uint32_t kind, MsgbusControlCallback control,
                               std::uint32_t context) noexcept {
  FunctionCall call("msgbusInitClient", kind, control, context);
  const auto client = call.resultOr<std::uint32_t>(call.model().lastClient + 1);
  if (client == 0) return 0;
  call.model().lastClient = client;
  call.model().controlCallbacks[client] = control;
  return client;
}

std::int32_t msgbusRegisterPeerByAddr(std::uint32_t client, std::uint64_t address,
                                      std::uint32_t *peerId) noexcept {
  FunctionCall call("msgbusRegisterPeerByAddr", client, address);
  auto &model = call.model();
  const bool known =
      model.controlCallbacks.contains(client) && swplat_fake::isServed(model, address);
  const auto result = call.resultOr<std::int32_t>(known ? 0 : MSGBUS_ERROR);
  if (result != 0) return result;
  *peerId = swplat_fake::newPeerId(model);
  model.peers[*peerId].client = client;
  model.peers[*peerId].address = address;
  return 0;
}

std::int32_t msgbusConnectToPeer(std::uint32_t peerId, std::uint32_t flags) noexcept {
  FunctionCall call("msgbusConnectToPeer", peerId, flags);
  Peer *peer = swplat_fake::findPeer(call.model(), peerId);
  std::int32_t natural = MSGBUS_ERROR;
  if (peer != nullptr) {
    const bool reachable = peer->connected || swplat_fake::isServed(call.model(), peer->address);
    natural = reachable ? 0 : MSGBUS_IN_PROGRESS;
  }
  const auto result = call.resultOr<std::int32_t>(natural);
  if (result == 0 && peer != nullptr) peer->connected = true;
  return result;
}

std::int32_t msgbusDeregisterPeer(std::uint32_t peerId) noexcept {
  FunctionCall call("msgbusDeregisterPeer", peerId);
  const bool known = swplat_fake::findPeer(call.model(), peerId) != nullptr;
  const auto result = call.resultOr<std::int32_t>(known ? 0 : MSGBUS_ERROR);
  if (result == 0) call.model().peers.erase(peerId);
  return result;
}

std::int32_t msgbusSetPeerOption(std::uint32_t peerId, std::uint32_t option,
                                 std::uint32_t value) noexcept {
  FunctionCall call("msgbusSetPeerOption", peerId, option, value);
  Peer *peer = swplat_fake::findPeer(call.model(), peerId);
  const auto result = call.resultOr<std::int32_t>(peer != nullptr ? 0 : MSGBUS_ERROR);
  if (result == 0 && peer != nullptr) peer->options.push_back({option, value});
  return result;
}

std::int32_t msgbusSend(std::uint32_t peerId, PktBuf *packet, std::uint32_t flags) noexcept {
  FunctionCall call("msgbusSend", peerId, packet, flags);
  endAcknowledgement(call.model());
  swplat_fake::Packet *owned = ownedPacket(call, "msgbusSend", packet);
  if (owned == nullptr) return MSGBUS_ERROR;
  const auto result =
      call.resultOr<std::int32_t>(swplat_fake::naturalSendResult(call.model(), peerId, packet));
  if (result >= 0 || result == MSGBUS_QUEUED) {
    swplat_fake::acceptPacket(call, peerId, *owned, flags);
  }
  return result;
}

std::int32_t msgbusRecv(std::uint32_t peerId, PktBuf *packet, const std::uint32_t wait[3],
                        std::uint32_t flags) noexcept {
  FunctionCall call("msgbusRecv", peerId, packet, swplat_fake::waitText(wait), flags);
  endAcknowledgement(call.model());
  const auto scripted = call.scripted();
  if (ownedPacket(call, "msgbusRecv", packet) == nullptr) return MSGBUS_ERROR;
  Peer *peer = swplat_fake::findPeer(call.model(), peerId);
  if (scripted && *scripted < 0) return static_cast<std::int32_t>(*scripted);
  if (peer == nullptr || !peer->connected) return MSGBUS_ERROR;
  if (peer->toReceive.empty()) return MSGBUS_TIMED_OUT;
  const swplat_fake::Bytes message = std::move(peer->toReceive.front());
  peer->toReceive.pop_front();
  packet->length =
      static_cast<std::uint32_t>(std::min<std::size_t>(message.size(), packet->capacity));
  std::copy_n(message.begin(), packet->length, reinterpret_cast<std::byte *>(packet->data));
  return static_cast<std::int32_t>(scripted.value_or(packet->length));
}

std::int32_t msgbusGetVqStatsCount(std::uint32_t peerId) noexcept {
  FunctionCall call("msgbusGetVqStatsCount", peerId);
  const Peer *peer = swplat_fake::findPeer(call.model(), peerId);
  return call.resultOr<std::int32_t>(peer != nullptr ? peer->queueLength : MSGBUS_ERROR);
}

std::int32_t dirsvcGetEntryByAttr(const void *key, void *result) noexcept {
  DirsvcRecord record;
  std::memcpy(&record, key, sizeof(record));
  FunctionCall call("dirsvcGetEntryByAttr", swplat_fake::recordName(record), record.slot);
  const auto found =
      call.model().served.find({swplat_fake::recordName(record), std::uint32_t{record.slot}});
  const bool served = found != call.model().served.end();
  const auto outcome = call.resultOr<std::int32_t>(served ? 0 : -1);
  if (outcome != 0 || !served) return outcome;
  record.address = found->second.address;
  record.port = found->second.port;
  std::memcpy(result, &record, sizeof(record));
  return 0;
}
