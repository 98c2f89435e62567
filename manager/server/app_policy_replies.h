// Replies to requests about application policies. In files of their own, other than those of the
// other areas, since two give them: the handlers and the round (apply_round.h).
#ifndef MANAGER_SERVER_APP_POLICY_REPLIES_H
#define MANAGER_SERVER_APP_POLICY_REPLIES_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "manager/model/status.h"

namespace aclmgr {

// For the arguments see MakeReply (handlers.h).

// The reply to an apply answers requests of an application, kind and tag with the numbers of a
// range: here that of the one request, which may be an unapply as well.
std::vector<std::byte> applyReply(std::span<const std::byte> request, Status status);

// Lets the range of a reply that applyReply() has made end with another number.
void extendApplyReply(std::span<std::byte> reply, std::uint32_t lastSeqNo) noexcept;

std::vector<std::byte> unapplyReply(std::span<const std::byte> request, Status status);

}  // namespace aclmgr

#endif  // MANAGER_SERVER_APP_POLICY_REPLIES_H
