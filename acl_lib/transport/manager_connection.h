// What everything about the connection to the ACL manager says alike: start-up, the receive entry
// and the synchronous channel.
#ifndef ACL_LIB_TRANSPORT_MANAGER_CONNECTION_H
#define ACL_LIB_TRANSPORT_MANAGER_CONNECTION_H

#include <cstdint>

namespace acl {

// The component that this library is, and that the manager serves.
inline constexpr char kComponent[] = "acl";

// The kind of a client of the message bus that sends requests.
inline constexpr std::uint32_t kRequestClient = 1;

// The service class of a peer of the manager (MSGBUS_OPTION_PRIORITY).
inline constexpr std::uint32_t kPeerPriority = 2;

// States of the component that are reported to the process monitor.
inline constexpr std::int32_t kWaitingForPeer = 1;
inline constexpr std::int32_t kConnected = 2;
inline constexpr std::int32_t kRunning = 3;

}  // namespace acl

#endif  // ACL_LIB_TRANSPORT_MANAGER_CONNECTION_H
