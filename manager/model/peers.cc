#include "manager/model/peers.h"

#include <utility>

namespace aclmgr {

void Peers::add(std::uint32_t connection, Peer peer) {
  peers_.insert_or_assign(connection, std::move(peer));
}

void Peers::setProcessName(std::uint32_t connection, std::string processName) {
  const auto found = peers_.find(connection);
  if (found != peers_.end()) found->second.processName = std::move(processName);
}

const Peer *Peers::find(std::uint32_t connection) const {
  const auto found = peers_.find(connection);
  return found == peers_.end() ? nullptr : &found->second;
}

}  // namespace aclmgr
