// Packet sockets between processes of one host: AF_UNIX SOCK_SEQPACKET.
#ifndef PLATFORM_HOST_UNIX_SOCKET_H
#define PLATFORM_HOST_UNIX_SOCKET_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/host/file_descriptor.h"

namespace swplat {

// The longest packet the bus carries. The longest one a client library makes is a TLV object of the
// largest 16-bit length; this leaves ample room, and bounds the buffers that packets are received
// in. Longer packets are refused when sent, so that none is ever cut.
inline constexpr uint32_t kLargestPacket = 256 * 1024;

// Files are named relative to the runtime directory, whose path may be longer than a socket address
// can hold. Sockets never block, except in waitAndReceive().

// Connects to a socket file. Throws std::system_error: ENOENT or ECONNREFUSED when nobody serves
// it, EAGAIN when its server is busy, EACCES or EPERM when this process may not use it.
FileDescriptor connectSocket(const std::string &file);

// Listens at a socket file, mode 0660. A file of that name is replaced: the caller holds the claim.
// Throws std::system_error.
FileDescriptor listenSocket(const std::string &file);

// Asks for buffers that hold several of the largest packets, as far as the system allows.
// Returns the longest packet that the socket can send.
uint32_t enlargeBuffers(int socket);

// The outcome of trying to send a packet.
enum class SendOutcome { kSent, kWouldBlock, kBroken };
SendOutcome trySend(int socket, const uint8_t *data, size_t length);

// Receives one packet into a buffer. Returns its length, 0 when nothing is there at present, -1 at
// the end of the connection; packets that arrived before the end are received first.
int64_t tryReceive(int socket, uint8_t *buffer, size_t capacity);

// Sets how long waitAndReceive() waits at this socket, for whichever thread calls it next; not
// zero.
void setReceiveWait(int socket, std::chrono::microseconds wait);

// The same as tryReceive(), but waits when nothing is there; 0 also when a signal ended the wait.
// Only for sockets of connectSocket().
int64_t waitAndReceive(int socket, uint8_t *buffer, size_t capacity);

// Tells whether a packet is there to be received.
bool hasUnreadPacket(int socket);

}  // namespace swplat

#endif  // PLATFORM_HOST_UNIX_SOCKET_H
