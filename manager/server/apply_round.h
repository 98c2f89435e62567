// The requests of one packet to apply application policies, answered in runs.
#ifndef MANAGER_SERVER_APPLY_ROUND_H
#define MANAGER_SERVER_APPLY_ROUND_H

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "manager/decode/app_policy_requests.h"
#include "manager/model/status.h"
#include "manager/server/app_policy_replies.h"
#include "manager/server/handlers.h"

namespace aclmgr {

// A client's library answers every pending apply of an application, kind and tag whose sequence
// number lies in the range of one reply, and drops every pending unapply there. So one reply
// answers a whole run: applies that follow one another in a packet, of one application, kind and
// tag, with one status, each with the sequence number behind the one before. Nothing that is not in
// a run lies in its range.
//
// An unapply is superseded when the run that it stands in or before has an apply behind it that
// replaces what the unapply means: carrying it out would change nothing. It gets no reply; the
// range of its run covers it.
//
// Sequence numbers that begin again at 0 end a run, since the library takes a range whose end lies
// below its start for other requests than those in it.
//
// One object serves one packet. Not thread-safe.
class ApplyRound {
 public:
  // Finds the superseded unapplies among the requests of a packet, whose bodies are looked at here
  // only. May throw std::bad_alloc.
  explicit ApplyRound(std::span<const std::span<const std::byte>> bodies);

  bool isSuperseded(std::size_t index) const { return superseded_[index]; }

  // Takes a request that has been carried out into the run that is open. Returns false when it does
  // not belong there: then it is finish() and begin() for it.
  bool extend(const Request &request, Status status) noexcept;

  // Opens a run. Returns false for a request that is never in a run.
  bool begin(const Request &request, Status status) noexcept;

  // Ends the run that is open. Returns the reply to its requests; nothing when none is open. May
  // throw std::bad_alloc.
  std::optional<std::vector<std::byte>> finish();

 private:
  struct Run {
    ApplyRange range;
    std::optional<Status> status;  // of the applies; none before the first of them
  };

  std::vector<bool> superseded_;
  std::optional<Run> run_;
};

}  // namespace aclmgr

#endif  // MANAGER_SERVER_APPLY_ROUND_H
