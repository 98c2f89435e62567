// All peers of this process, by id.
#ifndef PLATFORM_HOST_PEER_TABLE_H
#define PLATFORM_HOST_PEER_TABLE_H

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "platform/host/peer.h"

namespace swplat {

// A peer that is held locked; false when there was none.
class LockedPeer {
 public:
  LockedPeer() = default;
  LockedPeer(Peer &peer, std::unique_lock<std::mutex> lock)
      : peer_(&peer), lock_(std::move(lock)) {}

  explicit operator bool() const { return peer_ != nullptr; }
  Peer *operator->() const { return peer_; }
  Peer &operator*() const { return *peer_; }

  // For waiting on Peer::changed.
  std::unique_lock<std::mutex> &lock() { return lock_; }

 private:
  Peer *peer_ = nullptr;
  std::unique_lock<std::mutex> lock_;
};

// An id tells the place in the table and how often the place was used before, so that the id of a
// peer that is gone finds nothing. Looking up takes the lock of the peer found and no other.
// Thread-safe.
class PeerTable {
 public:
  // The table of this process.
  static PeerTable &instance();

  PeerTable() = default;
  ~PeerTable();
  PeerTable(const PeerTable &) = delete;
  PeerTable &operator=(const PeerTable &) = delete;

  // Takes a free place into use. Returns the peer, locked, with a new id and nothing else set; none
  // when the table is full. Throws std::bad_alloc.
  LockedPeer add();

  // Returns the peer of an id, locked; none when there is no such peer.
  LockedPeer find(uint32_t id);

  // Tells whether a peer of this id exists at this moment.
  bool contains(uint32_t id) const;

  // Forgets a peer: whatever it holds is let go. The lock is released.
  void remove(LockedPeer peer);

 private:
  static constexpr uint32_t kPlaceBits = 12;
  static constexpr uint32_t kPlaces = 1u << kPlaceBits;
  static constexpr uint32_t kChunk = 64;
  using Chunk = std::array<Peer, kChunk>;

  Peer *place(uint32_t index) const;
  Peer *takeFree();
  void putFree(Peer &peer);
  void addChunk();

  std::array<std::atomic<Chunk *>, kPlaces / kChunk> chunks_{};

  std::mutex mutex_;  // for the members below; taken after a peer's own lock
  uint32_t chunksUsed_ = 0;
  Peer *firstFree_ = nullptr;  // the place that has been free for longest
  Peer *lastFree_ = nullptr;
};

}  // namespace swplat

#endif  // PLATFORM_HOST_PEER_TABLE_H
