// Recycling of packets.
//
// Packets of two common sizes are kept when they are given back: a few by each thread, so that a
// thread that allocates and frees in turn takes no lock and finds its last packet still in the
// processor's cache; more in a pool shared by all threads. Other sizes come from the allocator.
#ifndef PLATFORM_HOST_PACKET_POOL_H
#define PLATFORM_HOST_PACKET_POOL_H

#include <cstdint>
#include <memory>

#include "platform/pktbuf.h"

namespace swplat {

// Returns a packet as pktbufAllocPacket() does, null when memory is exhausted. Thread-safe.
PktBuf *acquirePacket(uint32_t size, uint32_t headroom) noexcept;

// Returns a packet that takes every packet the bus carries. Thread-safe.
PktBuf *acquireLargestPacket() noexcept;

// Gives a packet back. Not null. Thread-safe.
void recyclePacket(PktBuf *packet) noexcept;

struct PacketRecycler {
  void operator()(PktBuf *packet) const noexcept { recyclePacket(packet); }
};

// A packet that its holder owns.
using OwnedPacket = std::unique_ptr<PktBuf, PacketRecycler>;

// Remembers a packet that the bus has accepted from this thread and is done with. The thread may
// still give exactly this packet back with pktbufFree(), which then recycles it; until then its
// memory serves nobody else, so that a late pktbufFree() cannot hit another thread's packet. One
// packet is remembered at a time: the one before it is recycled.
void parkAcceptedPacket(PktBuf *packet) noexcept;

// Recycles the remembered packet of this thread, if there is one.
void reclaimAcceptedPacket() noexcept;

}  // namespace swplat

#endif  // PLATFORM_HOST_PACKET_POOL_H
