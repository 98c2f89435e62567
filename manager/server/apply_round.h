// The requests of one packet to apply and unapply application policies, answered in runs.
#ifndef MANAGER_SERVER_APPLY_ROUND_H
#define MANAGER_SERVER_APPLY_ROUND_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "manager/server/handlers.h"

namespace aclmgr {

// A request that has been carried out.
struct CarriedOut {
  const Handler *handler;
  Request request;
  RequestText text;
  std::optional<Answer> answer;
};

// Whether requests of a code are answered together with those beside them: a round is all such
// requests that follow one another in a packet.
bool isAnsweredInRounds(std::uint16_t code) noexcept;

// A client's library answers every pending apply of an application, kind and tag whose sequence
// number lies in the range of one reply, and drops every pending unapply there. So one reply
// answers a whole run: applies that follow one another, of one application, kind and tag, with one
// status, each with the sequence number behind the one before. Nothing that is not in a run lies in
// its range. Sequence numbers that begin again at 0 end a run, since the library takes a range
// whose end lies below its start for other requests than those in it.
//
// An unapply that could be decoded is cancelled, and belongs to a run, when that run goes on behind
// it and has an apply there of the very key that the unapply carries, which was accepted: then the
// policy is what that apply says. The range answers for it. Every other unapply is answered by its
// own number.
//
// Either way all requests have been carried out, one after the other, before anything of this is
// decided: it is about the answers alone.
//
// Returns the bodies of the replies to a round, in the order of its requests, and sets the answer
// of each unapply that is cancelled to kCancelled. Every request of the round has an answer. May
// throw std::bad_alloc.
std::vector<std::vector<std::byte>> answerRound(std::span<CarriedOut> round);

}  // namespace aclmgr

#endif  // MANAGER_SERVER_APPLY_ROUND_H
