// One client of a server.
#ifndef PLATFORM_HOST_SERVER_CONNECTION_H
#define PLATFORM_HOST_SERVER_CONNECTION_H

#include <cstdint>

#include "platform/host/file_descriptor.h"
#include "platform/host/packet_queue.h"
#include "swplat/server.h"

namespace swplat {

// Packets that may wait for one client to read on. Enough for a burst of answers; a client that
// does not read must not take the server's memory.
inline constexpr size_t kConnectionQueueLimit = 1024;

// Returns who is at the other end of a connected socket. Throws std::system_error.
SwplatCredentials credentialsOf(int socket);

// Not thread-safe: the server guards it.
class ServerConnection {
 public:
  // Takes an accepted socket over. Throws std::system_error.
  explicit ServerConnection(FileDescriptor socket);

  int socket() const { return socket_.number(); }
  bool waitsToSend() const { return !queue_.empty(); }
  bool isClosing() const { return closing_; }

  // Sends or queues one packet; the results are those of swplatServerSend().
  int32_t send(const uint8_t *data, uint32_t length);

  // Sends on what is queued, now that the client has read on.
  void flush();

  // Ends the connection for the client at once. The socket stays open until the object goes, so
  // that its number names nothing else while the server still has events of it at hand.
  void beginClosing();

 private:
  FileDescriptor socket_;
  uint32_t largestPacket_;
  PacketQueue queue_;
  bool closing_ = false;
};

}  // namespace swplat

#endif  // PLATFORM_HOST_SERVER_CONNECTION_H
