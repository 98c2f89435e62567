// Dynamic rules, one request at a time.

#include <array>
#include <cstddef>
#include <cstdint>

#include "acl_lib.h"
#include "acl_lib/dynrules/dynamic_rule_bodies.h"
#include "acl_lib/dynrules/dynamic_rule_requests.h"
#include "acl_lib/dynrules/request_trace.h"
#include "acl_lib/encoding/results.h"
#include "acl_lib/transport/message_codes.h"
#include "platform/process.h"

extern "C" {

std::int32_t aclLibAddDynRule(const char *ruleName, const void *encodedRule, std::uint32_t appId,
                              std::uint32_t context) noexcept {
  if (encodedRule == nullptr) return acl::kInvalidArgument;
  const auto request = acl::addDynRuleRequest(ruleName, encodedRule, appId, context);
  aclTrace(acl::kRequestTraceLevel,
           Sprintf(" %s: Add dynamic acl rule %.32s \n", acl::applicationName(appId),
                   acl::tracedName(ruleName)));
  return aclLibSendMsg(acl::kTlvRequest, request.data(), request.size());
}

std::int32_t aclLibDelDynRule(const char *ruleName, std::uint32_t appId) noexcept {
  const auto request = acl::deleteDynRuleRequest(ruleName, appId);
  aclTrace(acl::kRequestTraceLevel,
           Sprintf(" %s: Delete dynamic acl rule %.32s \n", acl::applicationName(appId),
                   acl::tracedName(ruleName)));
  return aclLibSendMsg(acl::kTlvRequest, request.data(), request.size());
}

std::int32_t aclLibConfigDynRule(const AclDynRuleRecord *record) noexcept {
  if (record == nullptr) return acl::kInvalidArgument;
  using Body = acl::DynRuleBindingBody;
  std::array<std::byte, Body::size> bytes;
  acl::BodyWriter<Body> body(bytes);
  acl::putBinding(body, acl::kMsgConfigDynRule, *record);
  // The name and the cookie are sent twice.
  body.put(Body::leadingRuleName, record->ruleName);
  body.put(Body::bindCookie, record->bindCookie);
  body.put(Body::relativeRuleName, record->relativeRuleName);
  body.put(Body::priority, record->priority);
  body.put(Body::bindAttr, record->bindAttr);
  body.put(Body::bindFlags, record->bindFlags);
  body.put(Body::secondBindCookie, record->bindCookie);
  // "prioriy" is what readers of traces look for.
  aclTrace(acl::kRequestTraceLevel,
           Sprintf(" %s: Configure dynamic acl rule %.32s on vlan %d port %d:%d relative to rule "
                   "%.32s prioriy %d direction %d \n",
                   acl::applicationName(record->appId), record->ruleName, record->vlan,
                   acl::slotOf(record->port), acl::portNumberOf(record->port),
                   record->relativeRuleName, record->priority, record->direction));
  return aclLibSendMsg(acl::kTlvRequest, bytes.data(), bytes.size());
}

std::int32_t aclLibUnconfigDynRule(const AclDynRuleRecord *record) noexcept {
  if (record == nullptr) return acl::kInvalidArgument;
  using Body = acl::DynRuleBindingBody;
  std::array<std::byte, Body::size> bytes;
  acl::BodyWriter<Body> body(bytes);
  acl::putBinding(body, acl::kMsgUnconfigDynRule, *record);
  // No relative name, priority nor attribute, and the cookie only once.
  body.put(Body::leadingRuleName, record->ruleName);
  body.put(Body::bindCookie, record->bindCookie);
  body.put(Body::bindFlags, record->bindFlags);
  aclTrace(acl::kRequestTraceLevel,
           Sprintf(" %s: Unconfigure dynamic acl rule %.32s on vlan %d port %d:%d direction %d\n",
                   acl::applicationName(record->appId), record->ruleName, record->vlan,
                   acl::slotOf(record->port), acl::portNumberOf(record->port), record->direction));
  return aclLibSendMsg(acl::kTlvRequest, bytes.data(), bytes.size());
}

}  // extern "C"
