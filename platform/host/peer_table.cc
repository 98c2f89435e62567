#include "platform/host/peer_table.h"

namespace swplat {

PeerTable &PeerTable::instance() {
  // Never destroyed: the dispatcher's thread may use it while the process exits.
  static PeerTable *const table = new PeerTable;
  return *table;
}

PeerTable::~PeerTable() {
  for (const std::atomic<Chunk *> &chunk : chunks_) {
    delete chunk.load();
  }
}

LockedPeer PeerTable::add() {
  Peer *const peer = takeFree();
  if (peer == nullptr) {
    return {};
  }
  std::unique_lock<std::mutex> lock(peer->mutex);
  peer->id = peer->nextId;
  return {*peer, std::move(lock)};
}

LockedPeer PeerTable::find(uint32_t id) {
  Peer *const peer = place(id % kPlaces);
  if (peer == nullptr || id == 0) {
    return {};
  }
  std::unique_lock<std::mutex> lock(peer->mutex);
  if (peer->id.load(std::memory_order_relaxed) != id) {
    return {};
  }
  return {*peer, std::move(lock)};
}

bool PeerTable::contains(uint32_t id) const {
  const Peer *const peer = place(id % kPlaces);
  return peer != nullptr && id != 0 && peer->id.load(std::memory_order_relaxed) == id;
}

void PeerTable::remove(LockedPeer peer) {
  peer->detach();
  peer->nextId = peer->id + kPlaces;
  peer->id = 0;
  peer->largestPacket = 0;
  peer->queue.clear();
  peer->queueLimit = kDefaultQueueLimit;
  peer->keepAlive = true;
  peer->serviceClass = 0;
  peer->dispatchClient = nullptr;
  peer->addressState.reset();
  peer->changed.notify_all();
  const std::lock_guard<std::mutex> guard(mutex_);
  putFree(*peer);
}

Peer *PeerTable::place(uint32_t index) const {
  Chunk *const chunk = chunks_[index / kChunk].load(std::memory_order_acquire);
  return chunk == nullptr ? nullptr : &(*chunk)[index % kChunk];
}

Peer *PeerTable::takeFree() {
  const std::lock_guard<std::mutex> guard(mutex_);
  if (firstFree_ == nullptr) {
    addChunk();
  }
  Peer *const peer = firstFree_;
  if (peer != nullptr) {
    firstFree_ = peer->nextFree;
  }
  return peer;
}

// At the end of the line, so that it takes as long as possible until ids of one place repeat.
void PeerTable::putFree(Peer &peer) {
  peer.nextFree = nullptr;
  (firstFree_ == nullptr ? firstFree_ : lastFree_->nextFree) = &peer;
  lastFree_ = &peer;
}

void PeerTable::addChunk() {
  if (chunksUsed_ == chunks_.size()) {
    return;
  }
  auto chunk = std::make_unique<Chunk>();
  for (uint32_t index = 0; index < kChunk; ++index) {
    const uint32_t id = chunksUsed_ * kChunk + index;
    if (id != 0) {  // no peer has the id 0, so the first place stays empty
      (*chunk)[index].nextId = id;
      putFree((*chunk)[index]);
    }
  }
  chunks_[chunksUsed_].store(chunk.release(), std::memory_order_release);
  ++chunksUsed_;
}

}  // namespace swplat
