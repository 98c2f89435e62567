// Requests about dynamic rules that may wait for others in the same packet. Unlike the single ones
// they write no trace line, and a binding carries other fields.

#include <array>
#include <cstddef>
#include <cstdint>

#include "acl_lib.h"
#include "acl_lib/dynrules/dynamic_rule_bodies.h"
#include "acl_lib/dynrules/dynamic_rule_requests.h"
#include "acl_lib/encoding/results.h"
#include "acl_lib/transport/message_codes.h"

extern "C" {

std::int32_t aclLibAddDynRuleBatch(const char *ruleName, const void *encodedRule,
                                   std::uint32_t appId, std::int32_t flush,
                                   std::uint32_t context) noexcept {
  if (encodedRule == nullptr) return acl::kInvalidArgument;
  const auto request = acl::addDynRuleRequest(ruleName, encodedRule, appId, context);
  return aclLibSendMsg2(acl::kTlvRequest, request.data(), request.size(), flush);
}

std::int32_t aclLibDelDynRuleBatch(const char *ruleName, std::uint32_t appId,
                                   std::int32_t flush) noexcept {
  const auto request = acl::deleteDynRuleRequest(ruleName, appId);
  return aclLibSendMsg2(acl::kTlvRequest, request.data(), request.size(), flush);
}

std::int32_t aclLibConfigDynRuleBatch(const AclDynRuleRecord *record, std::int32_t flush) noexcept {
  if (record == nullptr) return acl::kInvalidArgument;
  using Body = acl::DynRuleBindingBody;
  std::array<std::byte, Body::size> bytes;
  acl::BodyWriter<Body> body(bytes);
  acl::putBinding(body, acl::kMsgConfigDynRule, *record);
  // No leading name, priority, attribute, flags or second cookie; and a kind, which the single
  // request does not have.
  body.put(Body::bindCookie, record->bindCookie);
  body.put(Body::relativeRuleName, record->relativeRuleName);
  body.put(Body::ruleKind, record->ruleKind);
  return aclLibSendMsg2(acl::kTlvRequest, bytes.data(), bytes.size(), flush);
}

std::int32_t aclLibUnconfigDynRuleBatch(const AclDynRuleRecord *record,
                                        std::int32_t flush) noexcept {
  if (record == nullptr) return acl::kInvalidArgument;
  using Body = acl::DynRuleBindingBody;
  std::array<std::byte, Body::size> bytes;
  acl::BodyWriter<Body> body(bytes);
  // Nothing more: no leading name, flags or cookie.
  acl::putBinding(body, acl::kMsgUnconfigDynRule, *record);
  return aclLibSendMsg2(acl::kTlvRequest, bytes.data(), bytes.size(), flush);
}

}  // extern "C"
