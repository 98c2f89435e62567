// Requests about a whole policy: apply it, take it off, delete it.

#include <array>
#include <cstddef>
#include <cstdint>

#include "acl_lib.h"
#include "acl_lib/encoding/policy_handle.h"
#include "acl_lib/policy/policy_bodies.h"
#include "acl_lib/transport/message_codes.h"

namespace acl {
namespace {

// Bit of AclPolicy::stateFlags: the policy has been downloaded by aclLibConfigPolicy().
constexpr std::uint32_t kPolicyAdded = 1U << 1;

// The flags of a binding that the manager knows.
constexpr std::uint32_t kKnownApplyFlags = 1U << 1;

// The whole word counts, although only its low byte travels.
bool isKnown(std::uint32_t applyFlags) noexcept {
  return (applyFlags & ~kKnownApplyFlags) == 0;
}

struct Binding {
  std::uint32_t vlan, port, applyFlags;
};

std::int32_t sendBinding(const AclPolicy &policy, std::uint16_t code, const Binding &binding,
                         const void *header) noexcept {
  if (!isKnown(binding.applyFlags)) return kInvalidArgument;
  using Body = PolicyBindingBody;
  std::array<std::byte, Body::size> bytes;
  BodyWriter<Body> body(bytes);
  body.put(Body::code, code);
  body.putRequestHeader(Body::header, header);
  body.put(Body::policyName, policy.policyName);
  body.put(Body::applyFlags, static_cast<std::uint8_t>(binding.applyFlags));
  body.put(Body::port, binding.port);
  body.put(Body::vlan, binding.vlan);
  return aclLibSendMsg(kTlvRequest, bytes.data(), bytes.size());
}

}  // namespace
}  // namespace acl

extern "C" {

std::int32_t aclLibConfigPolicy(AclPolicyHandle policy, std::uint32_t vlan, std::uint32_t port,
                                std::uint32_t applyFlags, const void *header) noexcept {
  AclPolicy *record = acl::checkPolicy(policy, "aclLibConfigPolicy");
  if (record == nullptr) return acl::kInvalidArgument;
  // Before the flags are looked at: a refused call has downloaded the policy all the same. Whether
  // the download could be sent is not looked at either.
  if ((record->stateFlags & acl::kPolicyAdded) == 0) {
    aclLibAddPolicy(policy);
    record->stateFlags |= acl::kPolicyAdded;
  }
  return acl::sendBinding(*record, acl::kMsgConfigPolicy, {vlan, port, applyFlags}, header);
}

std::int32_t aclLibUnconfigPolicy(AclPolicyHandle policy, std::uint32_t vlan, std::uint32_t port,
                                  std::uint32_t applyFlags, const void *header) noexcept {
  const AclPolicy *record = acl::checkPolicy(policy, "aclLibUnconfigPolicy");
  if (record == nullptr) return acl::kInvalidArgument;
  return acl::sendBinding(*record, acl::kMsgUnconfigPolicy, {vlan, port, applyFlags}, header);
}

std::int32_t aclLibDeletePolicy(AclPolicyHandle policy, const void *header) noexcept {
  const AclPolicy *record = acl::checkPolicy(policy, "aclLibDeletePolicy");
  if (record == nullptr) return acl::kInvalidArgument;
  using Body = acl::DeletePolicyBody;
  std::array<std::byte, Body::size> bytes;
  acl::BodyWriter<Body> body(bytes);
  body.put(Body::code, acl::kMsgDeletePolicy);
  body.putRequestHeader(Body::header, header);
  body.put(Body::policyName, record->policyName);
  return aclLibSendMsg(acl::kTlvRequest, bytes.data(), bytes.size());
}

}  // extern "C"
