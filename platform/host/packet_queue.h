// Packets that wait for the other end of a connection to read on.
#ifndef PLATFORM_HOST_PACKET_QUEUE_H
#define PLATFORM_HOST_PACKET_QUEUE_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "platform/host/unix_socket.h"

namespace swplat {

// Keeps copies, cut to size: a packet's own memory is many times its length, and a queue may be
// long. Not thread-safe.
class PacketQueue {
 public:
  bool empty() const { return packets_.empty(); }
  size_t size() const { return packets_.size(); }

  // Appends a copy of a packet. Returns false when memory is exhausted; nothing changed then.
  bool push(const uint8_t *data, size_t length) noexcept;

  // Sends the packets in order until none is left, the socket takes no more, or `most` have been
  // sent. Returns what came of the last attempt; kSent also when there was none.
  SendOutcome flush(int socket, size_t most);

  void clear() { packets_.clear(); }

 private:
  std::deque<std::vector<uint8_t>> packets_;
};

}  // namespace swplat

#endif  // PLATFORM_HOST_PACKET_QUEUE_H
