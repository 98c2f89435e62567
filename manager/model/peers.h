// The client processes that are connected.
#ifndef MANAGER_MODEL_PEERS_H
#define MANAGER_MODEL_PEERS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace aclmgr {

// One connected process.
struct Peer {
  std::uint32_t processId = 0;
  std::uint32_t userId = 0;
  std::uint32_t groupId = 0;
  std::string processName;  // as it announced itself; empty until then
};

// Peers by the number of their connection. Not thread-safe.
class Peers {
 public:
  void add(std::uint32_t connection, Peer peer);

  // Unknown connections are ignored.
  void remove(std::uint32_t connection) noexcept { peers_.erase(connection); }
  void setProcessName(std::uint32_t connection, std::string processName);

  // Returns the peer, borrowed until it is removed; null for an unknown connection.
  const Peer *find(std::uint32_t connection) const;

  std::size_t size() const noexcept { return peers_.size(); }

 private:
  std::map<std::uint32_t, Peer> peers_;
};

}  // namespace aclmgr

#endif  // MANAGER_MODEL_PEERS_H
