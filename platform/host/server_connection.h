// One client of a server.
#ifndef PLATFORM_HOST_SERVER_CONNECTION_H
#define PLATFORM_HOST_SERVER_CONNECTION_H

#include <atomic>
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

// The server guards sending and closing by its lock; socket(), isClosing() and what notes received
// packets need none on the server's own thread.
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

  // Whether to look for another packet as soon as one was received. Most clients send one request
  // and wait for its answer, where looking costs a system call for nothing; those that send ahead
  // are found out by looking now and then.
  bool looksForMore() const;
  // Notes how many packets a wake-up brought.
  void noteReceived(int packets);

  // Ends the connection for the client at once. The socket stays open until the object goes, so
  // that its number names nothing else while the server still has events of it at hand.
  void beginClosing();

 private:
  FileDescriptor socket_;
  uint32_t largestPacket_;
  PacketQueue queue_;
  bool sendsAhead_ = true;
  uint32_t wakeUps_ = 0;
  std::atomic<bool> closing_ = false;
};

}  // namespace swplat

#endif  // PLATFORM_HOST_SERVER_CONNECTION_H
