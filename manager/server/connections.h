// The connections to clients, as the manager uses them.
#ifndef MANAGER_SERVER_CONNECTIONS_H
#define MANAGER_SERVER_CONNECTIONS_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace aclmgr {

// Implemented over the platform's server by the daemon, and by tests without sockets.
class Connections {
 public:
  virtual ~Connections() = default;

  // Sends one packet without blocking. Returns false when it is not taken: the client has left too
  // many packets unread, or is gone.
  virtual bool send(std::uint32_t connection, std::span<const std::byte> packet) = 0;

  // Closes a connection. Manager::disconnected() follows, now or later.
  virtual void disconnect(std::uint32_t connection) noexcept = 0;
};

}  // namespace aclmgr

#endif  // MANAGER_SERVER_CONNECTIONS_H
