// The download of a policy's rules, in chunks.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <span>

#include "acl_lib.h"
#include "acl_lib/encoding/policy_handle.h"
#include "acl_lib/policy/policy_bodies.h"
#include "acl_lib/transport/message_codes.h"

namespace acl {
namespace {

using Body = PolicyChunkBody;

struct Chunk {
  std::uint32_t offset, length;
};

// Fills a request: the head, and the chunk behind it.
void fillRequest(std::byte *request, const AclPolicy &policy, std::uint16_t code,
                 const Chunk &chunk) noexcept {
  std::byte *chunkBytes = request + Body::size;
  BodyWriter<Body> head(std::span<std::byte, Body::size>(request, Body::size));
  head.put(Body::code, code);
  head.put(Body::policyName, policy.policyName);
  head.put(Body::totalLength, policy.usedSize);
  head.put(Body::chunkLength, chunk.length);
  head.put(Body::chunkOffset, chunk.offset);
  head.put(Body::ruleCount, policy.ruleCount);
  head.put(Body::policyAttr, policy.policyAttr);
  // Part of the format, for nobody's use: where the sender happens to keep the chunk.
  head.put(Body::senderAddress,
           static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(chunkBytes)));
  if (chunk.length != 0) std::memcpy(chunkBytes, policy.ruleBuffer + chunk.offset, chunk.length);
}

// An empty policy is one chunk without bytes. Results of `send` are ignored: the manager's answer,
// or its absence, tells how a download ended. One request serves for all chunks; the first is the
// longest. Returns 0; -1 when there is no memory for it.
std::int32_t sendChunks(const AclPolicy &policy, std::uint16_t code, AclSendFn send) noexcept {
  constexpr auto kMaxChunk = static_cast<std::uint32_t>(Body::kMaxChunk);
  const std::uint32_t total = policy.usedSize;
  const std::unique_ptr<std::byte[]> request(
      new (std::nothrow) std::byte[Body::size + std::min(total, kMaxChunk)]);
  if (request == nullptr) return kNoMemory;
  Chunk chunk{0, 0};
  do {
    chunk.length = std::min(total - chunk.offset, kMaxChunk);
    fillRequest(request.get(), policy, code, chunk);
    send(kTlvRequest, request.get(), static_cast<std::uint16_t>(Body::size + chunk.length));
    chunk.offset += chunk.length;
  } while (chunk.offset != total);
  return kSuccess;
}

std::int32_t download(AclPolicyHandle policy, std::uint16_t code, const char *call) noexcept {
  const AclPolicy *record = checkPolicy(policy, call);
  return record == nullptr ? kInvalidArgument : sendChunks(*record, code, aclLibSendMsg);
}

}  // namespace
}  // namespace acl

extern "C" {

std::int32_t aclSendPolicy(AclPolicyHandle policy, std::uint16_t code, AclSendFn send) noexcept {
  const AclPolicy *record = acl::findPolicy(policy);
  if (record == nullptr || send == nullptr) return acl::kInvalidArgument;
  return acl::sendChunks(*record, code, send);
}

std::int32_t aclLibAddPolicy(AclPolicyHandle policy) noexcept {
  return acl::download(policy, acl::kMsgAddPolicy, "aclLibAddPolicy");
}

std::int32_t aclLibRefreshPolicy(AclPolicyHandle policy) noexcept {
  return acl::download(policy, acl::kMsgRefreshPolicy, "aclLibRefreshPolicy");
}

}  // extern "C"
