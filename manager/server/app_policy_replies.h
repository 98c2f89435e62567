// Replies to requests about application policies.
#ifndef MANAGER_SERVER_APP_POLICY_REPLIES_H
#define MANAGER_SERVER_APP_POLICY_REPLIES_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "manager/model/status.h"

namespace aclmgr {

// The apply requests that one reply answers: those of an application, kind and tag with the numbers
// from firstSeqNo to lastSeqNo.
struct ApplyRange {
  std::uint8_t appId;
  std::uint8_t kind;
  std::uint32_t tag;
  std::uint32_t firstSeqNo;
  std::uint32_t lastSeqNo;
};

std::vector<std::byte> applyRangeReply(const ApplyRange &range, Status status);

// The same for one request; for the arguments see replies.h.
std::vector<std::byte> applyReply(std::span<const std::byte> request, Status status);

std::vector<std::byte> unapplyReply(std::span<const std::byte> request, Status status);

}  // namespace aclmgr

#endif  // MANAGER_SERVER_APP_POLICY_REPLIES_H
