// Replies made from the requests they answer.
#ifndef MANAGER_SERVER_REPLIES_H
#define MANAGER_SERVER_REPLIES_H

#include <cstddef>
#include <span>
#include <vector>

#include "manager/model/status.h"

namespace aclmgr {

// Each returns the body of one reply (reply_bodies.h).
//   request  the request's body as it came, at least its code; echoed fields that it is too short
//            for are zero, and a name that is not terminated is cut
using MakeReply = std::vector<std::byte> (*)(std::span<const std::byte> request, Status status);

std::vector<std::byte> processInfoReply(std::span<const std::byte> request, Status status);
// To chunks of a policy, which carry no request header.
std::vector<std::byte> policyChunkReply(std::span<const std::byte> request, Status status);
std::vector<std::byte> policyReply(std::span<const std::byte> request, Status status);
std::vector<std::byte> bindingReply(std::span<const std::byte> request, Status status);
std::vector<std::byte> unknownCodeReply(std::span<const std::byte> request, Status status);

}  // namespace aclmgr

#endif  // MANAGER_SERVER_REPLIES_H
