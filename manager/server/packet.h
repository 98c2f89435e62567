// Packets: the envelope of requests and replies.
#ifndef MANAGER_SERVER_PACKET_H
#define MANAGER_SERVER_PACKET_H

#include <cstddef>
#include <span>
#include <vector>

#include "manager/decode/outcome.h"

namespace aclmgr {

// Takes a packet apart. Returns the bodies of its requests, each at least as long as a message
// code, borrowed from the packet; kInvalidMessage, and why, when the packet is empty, anything in
// it is not a whole object, or an object is not a request with a code: then none of it can be
// trusted.
Outcome<std::vector<std::span<const std::byte>>> requestsOf(std::span<const std::byte> packet);

// Returns the packet that carries one reply. The body is at most 65535 bytes.
std::vector<std::byte> replyPacket(std::span<const std::byte> body);

}  // namespace aclmgr

#endif  // MANAGER_SERVER_PACKET_H
