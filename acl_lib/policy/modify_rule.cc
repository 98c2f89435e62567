// The request that replaces rules of a policy in place.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <span>

#include "acl_lib.h"
#include "acl_lib/encoding/policy_handle.h"
#include "acl_lib/policy/policy_bodies.h"
#include "acl_lib/transport/message_codes.h"

extern "C" {

std::int32_t aclSendModifyRule(const char *name, std::uint32_t arg1, std::uint32_t arg2,
                               std::uint8_t arg8bit, std::uint32_t arg3, const void *rules,
                               std::uint32_t rulesLength, const void *header,
                               AclSendFn send) noexcept {
  using Body = acl::ModifyRuleBody;
  if (send == nullptr || (rules == nullptr && rulesLength != 0)) return acl::kInvalidArgument;
  // 64 bits wide: the longest rules and the head do not fit into the size type of a 32-bit target.
  const std::uint64_t size = std::uint64_t{Body::size} + rulesLength;
  if (size > std::numeric_limits<std::ptrdiff_t>::max()) return acl::kNoMemory;
  const std::unique_ptr<std::byte[]> request(new (std::nothrow)
                                                 std::byte[static_cast<std::size_t>(size)]);
  if (request == nullptr) return acl::kNoMemory;
  acl::BodyWriter<Body> head(std::span<std::byte, Body::size>(request.get(), Body::size));
  head.put(Body::code, acl::kMsgModifyRule);
  head.putRequestHeader(Body::header, header);
  head.put(Body::policyName, name);
  head.put(Body::argument1, arg1);
  head.put(Body::argument2, arg2);
  head.put(Body::argument8bit, arg8bit);
  head.put(Body::argument3, arg3);
  head.put(Body::rulesLength, rulesLength);
  if (rulesLength != 0) std::memcpy(request.get() + Body::size, rules, rulesLength);
  // Never in chunks, whatever the length: the length that travels is cut to 16 bits.
  return send(acl::kTlvRequest, request.get(), static_cast<std::uint16_t>(size));
}

}  // extern "C"
