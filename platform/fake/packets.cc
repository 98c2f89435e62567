// pktbuf.h on the fake platform. Packets' data are heap blocks of exactly the promised size, so
// that AddressSanitizer sees what runs over; a packet given away shows no data, and
// AddressSanitizer sees every access to its header.
#include <algorithm>
#include <cstring>

#include "platform/fake/fake_state.h"

#if __has_include(<sanitizer/asan_interface.h>)
#include <sanitizer/asan_interface.h>
#endif

namespace swplat_fake {
namespace {

constexpr std::uint8_t kFillByte = 0xA5;  // new data is indeterminate, hence not zero

void hideHeader([[maybe_unused]] PktBuf &header) {
  header = PktBuf{};
#ifdef ASAN_POISON_MEMORY_REGION
  ASAN_POISON_MEMORY_REGION(&header, sizeof(header));
#endif
}

Packet *findPacket(Model &model, const PktBuf *packet) {
  const auto found = model.packets.find(packet);
  return found == model.packets.end() ? nullptr : found->second.get();
}

// Frees a packet that its holder has owned since before the reset.
bool freeStranger(const PktBuf *packet) {
  const auto found = state().strangers.find(packet);
  if (found == state().strangers.end() || found->second->state != PacketState::kOwned) return false;
  retirePacket(*found->second, PacketState::kFreed);
  return true;
}

// Tells whether this thread's latest bus call accepted exactly this packet.
bool takeAcknowledgement(Model &model, const PktBuf *packet) {
  const auto found = model.justAccepted.find(std::this_thread::get_id());
  if (found == model.justAccepted.end()) return false;
  const bool same = found->second == packet;
  model.justAccepted.erase(found);
  return same;
}

}  // namespace

PktBuf *makePacket(Model &model, std::uint32_t length, std::uint32_t headroom,
                   std::uint32_t tailroom) {
  const std::size_t front = (std::size_t{headroom} + 7) & ~std::size_t{7};  // data is 8-aligned
  const std::size_t size = front + length + tailroom;
  auto packet = std::make_unique<Packet>();
  packet->state = PacketState::kOwned;
  packet->block = std::make_unique_for_overwrite<std::uint8_t[]>(size);
  std::memset(packet->block.get(), kFillByte, size);
  packet->header.data = packet->block.get() + front;
  packet->header.length = length;
  packet->header.capacity = length + tailroom;
  PktBuf *const header = &packet->header;
  model.packets[header] = std::move(packet);
  return header;
}

Packet *ownedPacket(Access &access, const char *function, const PktBuf *packet) {
  Packet *found = findPacket(access.model(), packet);
  if (found == nullptr) {
    const auto stranger = state().strangers.find(packet);
    if (stranger != state().strangers.end()) found = stranger->second.get();
  }
  if (found != nullptr && found->state == PacketState::kOwned) return found;
  access.violation(std::string(function) + (found == nullptr ? ": unknown packet"
                                            : found->state == PacketState::kAccepted
                                                ? ": packet was accepted before"
                                                : ": packet was freed before"));
  return nullptr;
}

void retirePacket(Packet &packet, PacketState state) {
  packet.state = state;
  packet.block.reset();
  hideHeader(packet.header);
}

void releasePackets(State &state) {
  for (auto &[header, packet] : state.model.packets) {
    if (packet->state == PacketState::kOwned) state.strangers[header] = std::move(packet);
  }
}

void endAcknowledgement(Model &model) {
  model.justAccepted.erase(std::this_thread::get_id());
}

void Platform::failPacketAllocationsAfter(std::size_t successes) {
  Access().model().packetAllocationsLeft = successes;
}

void Platform::allowPacketAllocations() {
  Access().model().packetAllocationsLeft.reset();
}

std::size_t Platform::livePackets() const {
  Access access;
  return static_cast<std::size_t>(std::ranges::count_if(
      access.model().packets,
      [](const auto &entry) { return entry.second->state == PacketState::kOwned; }));
}

}  // namespace swplat_fake

using swplat_fake::FunctionCall;
using swplat_fake::PacketState;

PktBuf *pktbufAllocPacket(std::uint32_t size, std::uint32_t headroom,
                          std::uint32_t flags) noexcept {
  FunctionCall call("pktbufAllocPacket", size, headroom, flags);
  endAcknowledgement(call.model());
  if (const auto scripted = call.scripted(); scripted && *scripted == 0) return nullptr;
  if (auto &left = call.model().packetAllocationsLeft; left) {
    if (*left == 0) return nullptr;
    --*left;
  }
  return makePacket(call.model(), size, headroom, PKTBUF_TAILROOM);
}

void pktbufTrimPacket(PktBuf *packet, std::uint32_t length) noexcept {
  FunctionCall call("pktbufTrimPacket", packet, length);
  endAcknowledgement(call.model());
  if (ownedPacket(call, "pktbufTrimPacket", packet) == nullptr) return;
  packet->length = std::min(length, packet->capacity);
}

void pktbufFree(PktBuf *packet) noexcept {
  FunctionCall call("pktbufFree", packet);
  if (packet == nullptr || swplat_fake::takeAcknowledgement(call.model(), packet)) return;
  if (swplat_fake::freeStranger(packet)) return;
  if (auto *owned = ownedPacket(call, "pktbufFree", packet)) {
    retirePacket(*owned, PacketState::kFreed);
  }
}
