// The question whether the ACL manager could install a rule.

#include <array>
#include <cstddef>
#include <cstdint>

#include "acl_lib.h"
#include "acl_lib/client/rule_validity_bodies.h"
#include "acl_lib/encoding/policy_handle.h"
#include "acl_lib/transport/message_codes.h"
#include "platform/board.h"

namespace acl {
namespace {

constexpr std::uint8_t kEgress = 1;
constexpr std::uint32_t kMaxPorts = 2;

// Results of a question that is not asked, beside kInvalidArgument for ports that are not there.
// The second is a status of the manager.
constexpr std::int32_t kNoRuleOrTooManyPorts = -1;
constexpr std::int32_t kEgressNotSupported = -31;

}  // namespace
}  // namespace acl

extern "C" {

std::int32_t aclEgressSupported(std::uint32_t /*x*/) noexcept {
  constexpr std::uint32_t kSlotBits = 0xFFFF;
  return boardCardEgressAclCapable(boardGetSlotSelf() & kSlotBits);
}

std::int32_t aclLibCheckRuleValidity(const AclRuleRecord *rule, const std::uint8_t *ports,
                                     std::uint32_t portCount, std::uint32_t arg,
                                     std::uint32_t cookie) noexcept {
  if (rule == nullptr) return acl::kNoRuleOrTooManyPorts;
  // The switch's platform is asked for, although the answer depends on the card alone.
  if (rule->direction == acl::kEgress && aclEgressSupported(boardGetPlatformId()) == 0) {
    return acl::kEgressNotSupported;
  }
  if (portCount > acl::kMaxPorts) return acl::kNoRuleOrTooManyPorts;
  if (ports == nullptr && portCount != 0) return acl::kInvalidArgument;
  using Body = acl::RuleValidityBody;
  std::array<std::byte, Body::size> bytes;
  acl::BodyWriter<Body> body(bytes);
  body.put(Body::code, acl::kMsgCheckRuleValidity);
  body.put(Body::fixedWord, Body::kFixedWord);
  body.put(Body::cookie, cookie);
  body.put(Body::argument, static_cast<std::uint16_t>(arg));
  body.put(Body::ruleName, rule->ruleName);
  body.put(Body::policyFlag, rule->policyFlag);
  body.put(Body::attribute, rule->attribute);
  body.put(Body::portCount, static_cast<std::uint8_t>(portCount));
  if (portCount >= 1) body.put(Body::firstPort, ports[0]);
  if (portCount == 2) body.put(Body::secondPort, ports[1]);
  body.put(Body::direction, rule->direction);
  return aclLibSendMsg(acl::kTlvRequest, bytes.data(), bytes.size());
}

}  // extern "C"
