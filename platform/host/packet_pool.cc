#include "platform/host/packet_pool.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <utility>

#include "platform/host/memory_marks.h"
#include "platform/host/unix_socket.h"

namespace swplat {
namespace {

constexpr uint64_t kAlignment = 16;

constexpr uint64_t aligned(uint64_t size) {
  return (size + kAlignment - 1) / kAlignment * kAlignment;
}

constexpr uint64_t kHeader = aligned(sizeof(PktBuf));

// Bytes kept in front of the data for the headroom that the client libraries ask for (28 and 32).
constexpr uint64_t kUsualHeadroom = 64;

// A size of packets that is recycled.
struct PacketClass {
  uint32_t room;           // bytes behind the header: headroom, data and tailroom
  uint32_t keptByThread;   // packets that one thread keeps
  uint32_t keptByProcess;  // packets that the shared pool keeps
};

constexpr std::array<PacketClass, 2> kClasses = {{
    // What is sent: a packet of up to 8 KiB, and any TLV object behind it.
    {aligned(kUsualHeadroom + 8192 + PKTBUF_TAILROOM), 8, 256},
    // What is received: any packet of the bus. Memory that no packet has filled yet is not
    // resident.
    {aligned(kUsualHeadroom + kLargestPacket), 8, 32},
}};

constexpr uint32_t kNoClass = kClasses.size();

// PktBuf::platform[0] holds the packet's class, kNoClass when it is not recycled.
uint32_t &classOf(PktBuf &packet) {
  return packet.platform[0];
}

uint8_t *roomOf(PktBuf &packet) {
  return reinterpret_cast<uint8_t *>(&packet) + kHeader;
}

// A stack of packets, linked through themselves.
struct PacketStack {
  PktBuf *top = nullptr;
  uint32_t count = 0;

  void push(PktBuf *packet) {
    packet->next = top;
    top = packet;
    ++count;
  }
  PktBuf *pop() {
    PktBuf *const packet = top;
    if (packet != nullptr) {
      top = packet->next;
      --count;
    }
    return packet;
  }
};

// The packets that threads leave to each other.
class SharedPool {
 public:
  static SharedPool &instance() {
    // Constant-initialised and trivially destroyed: usable while the process starts and exits.
    static constinit SharedPool pool;
    return pool;
  }

  PktBuf *take(uint32_t packetClass) {
    const std::lock_guard<std::mutex> guard(mutex_);
    return stacks_[packetClass].pop();
  }

  // Returns false when enough packets are kept.
  bool keep(PktBuf *packet) {
    const uint32_t packetClass = classOf(*packet);
    const std::lock_guard<std::mutex> guard(mutex_);
    if (stacks_[packetClass].count >= kClasses[packetClass].keptByProcess) {
      return false;
    }
    stacks_[packetClass].push(packet);
    return true;
  }

 private:
  std::mutex mutex_;
  std::array<PacketStack, kClasses.size()> stacks_;
};

// What a thread keeps for itself.
struct ThreadPackets {
  enum class Phase : uint8_t { kUnused, kUsed, kEnded };

  PktBuf *accepted = nullptr;
  std::array<PacketStack, kClasses.size()> stacks;
  Phase phase = Phase::kUnused;
};

constinit thread_local ThreadPackets threadPackets;

void giveUp(PktBuf *packet) {
  if (classOf(*packet) == kNoClass || !SharedPool::instance().keep(packet)) {
    if (classOf(*packet) != kNoClass) {
      markUsed(roomOf(*packet), kClasses[classOf(*packet)].room);
    }
    std::free(packet);
  }
}

// Hands a thread's packets on when it ends. Apart from them, so that using them costs no check of
// whether they have been constructed.
class ThreadEnd {
 public:
  ThreadEnd() = default;
  ThreadEnd(const ThreadEnd &) = delete;
  ThreadEnd &operator=(const ThreadEnd &) = delete;
  ~ThreadEnd() {
    reclaimAcceptedPacket();
    // Destructors of other thread-local objects may still use packets after this.
    threadPackets.phase = ThreadPackets::Phase::kEnded;
    for (PacketStack &stack : threadPackets.stacks) {
      while (PktBuf *const packet = stack.pop()) {
        giveUp(packet);
      }
    }
  }
  void expect() { threadPackets.phase = ThreadPackets::Phase::kUsed; }
};

thread_local ThreadEnd threadEnd;

// Tells whether this thread may keep packets: not once it has begun to end.
bool mayKeep() {
  if (threadPackets.phase == ThreadPackets::Phase::kUnused) {
    threadEnd.expect();
  }
  return threadPackets.phase == ThreadPackets::Phase::kUsed;
}

PktBuf *takeKept(uint32_t packetClass) {
  PktBuf *packet = threadPackets.stacks[packetClass].pop();
  if (packet == nullptr) {
    packet = SharedPool::instance().take(packetClass);
  }
  if (packet != nullptr) {
    markUsed(roomOf(*packet), kClasses[packetClass].room);
  }
  return packet;
}

PktBuf *makePacket(uint32_t packetClass, uint64_t room) {
  if (kHeader + room > std::numeric_limits<size_t>::max() / 2) {
    return nullptr;
  }
  auto *const packet = static_cast<PktBuf *>(std::malloc(static_cast<size_t>(kHeader + room)));
  if (packet != nullptr) {
    *packet = PktBuf{};
    classOf(*packet) = packetClass;
  }
  return packet;
}

uint32_t smallestClass(uint64_t room) {
  uint32_t packetClass = 0;
  while (packetClass < kNoClass && kClasses[packetClass].room < room) {
    ++packetClass;
  }
  return packetClass;
}

}  // namespace

PktBuf *acquirePacket(uint32_t size, uint32_t headroom) noexcept {
  const uint64_t front = aligned(headroom);
  const uint64_t wanted = front + size + PKTBUF_TAILROOM;
  const uint32_t packetClass = smallestClass(wanted);
  const uint64_t room = packetClass == kNoClass ? aligned(wanted) : kClasses[packetClass].room;
  PktBuf *packet = packetClass == kNoClass ? nullptr : takeKept(packetClass);
  if (packet == nullptr) {
    packet = makePacket(packetClass, room);
  }
  if (packet != nullptr) {
    packet->data = roomOf(*packet) + front;
    packet->length = size;
    packet->capacity = static_cast<uint32_t>(
        std::min<uint64_t>(room - front, std::numeric_limits<uint32_t>::max()));
    packet->next = nullptr;
  }
  return packet;
}

PktBuf *acquireLargestPacket() noexcept {
  return acquirePacket(kLargestPacket - PKTBUF_TAILROOM, 0);
}

void recyclePacket(PktBuf *packet) noexcept {
  const uint32_t packetClass = classOf(*packet);
  if (packetClass == kNoClass) {
    std::free(packet);
    return;
  }
  markUnused(roomOf(*packet), kClasses[packetClass].room);
  PacketStack &stack = threadPackets.stacks[packetClass];
  if (mayKeep() && stack.count < kClasses[packetClass].keptByThread) {
    stack.push(packet);
  } else {
    giveUp(packet);
  }
}

void parkAcceptedPacket(PktBuf *packet) noexcept {
  reclaimAcceptedPacket();
  // Also while the thread ends: its pktbufFree() may follow. Should it not, one packet is left
  // over.
  mayKeep();
  threadPackets.accepted = packet;
}

void reclaimAcceptedPacket() noexcept {
  if (PktBuf *const packet = std::exchange(threadPackets.accepted, nullptr)) {
    recyclePacket(packet);
  }
}

}  // namespace swplat

extern "C" {

PktBuf *pktbufAllocPacket(uint32_t size, uint32_t headroom, uint32_t /*flags*/) noexcept {
  swplat::reclaimAcceptedPacket();
  return swplat::acquirePacket(size, headroom);
}

void pktbufTrimPacket(PktBuf *packet, uint32_t length) noexcept {
  packet->length = std::min(length, packet->capacity);
}

void pktbufFree(PktBuf *packet) noexcept {
  if (packet == nullptr) {
    return;
  }
  if (packet == swplat::threadPackets.accepted) {
    swplat::reclaimAcceptedPacket();
    return;
  }
  swplat::reclaimAcceptedPacket();
  swplat::recyclePacket(packet);
}

}  // extern "C"
