// The ACL manager: from packets of clients to replies.
#ifndef MANAGER_SERVER_MANAGER_H
#define MANAGER_SERVER_MANAGER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "manager/model/peers.h"
#include "manager/server/apply_round.h"
#include "manager/server/connections.h"
#include "manager/server/handlers.h"
#include "manager/server/request_log.h"

namespace aclmgr {

// Serves every connection alike; what one client does wrong harms no other. All calls come from one
// thread, and none throws. disconnected() may come during another call, from within
// Connections::disconnect().
class Manager {
 public:
  // `connections` and `log` are borrowed and outlive the manager.
  Manager(Connections &connections, RequestLog &log) : connections_(connections), log_(log) {}

  // A client has connected.
  void connected(std::uint32_t connection, Peer peer) noexcept;

  // A packet of a client: each request in it is carried out and answered in order. A packet that is
  // malformed anywhere is not carried out at all, and its connection is closed.
  void received(std::uint32_t connection, std::span<const std::byte> packet) noexcept;

  // A client is gone: what it had begun is dropped, and no rule is installed for it any more; its
  // policies, rules and bindings stay.
  void disconnected(std::uint32_t connection) noexcept;

  const ManagerState &state() const noexcept { return state_; }

 private:
  void serve(std::uint32_t connection, std::span<const std::byte> packet);
  // These return false when the client can no longer be answered.
  bool serveAlone(const Request &request);
  // Answers the requests of a round and shows them, and leaves none of them.
  bool finishRound(std::uint32_t connection, std::vector<CarriedOut> &round);
  bool sendReply(std::uint32_t connection, std::span<const std::byte> body);
  void show(const CarriedOut &done);
  void close(std::uint32_t connection, std::string_view reason);
  void closeWithoutMemory(std::uint32_t connection) noexcept;

  Connections &connections_;
  RequestLog &log_;
  ManagerState state_;
};

}  // namespace aclmgr

#endif  // MANAGER_SERVER_MANAGER_H
