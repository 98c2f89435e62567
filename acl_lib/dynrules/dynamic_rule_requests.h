// Requests about dynamic rules, as far as the single and the batched ones are the same.
#ifndef ACL_LIB_DYNRULES_DYNAMIC_RULE_REQUESTS_H
#define ACL_LIB_DYNRULES_DYNAMIC_RULE_REQUESTS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "acl_lib.h"
#include "acl_lib/dynrules/dynamic_rule_bodies.h"
#include "acl_lib/transport/message_codes.h"

namespace acl {

using DynRuleRequest = std::array<std::byte, DynRuleBody::size>;

// The request that adds a rule; it is the same in both forms.
//   encodedRule  DynRuleBody::kEncodedRuleSize bytes, not null
inline DynRuleRequest addDynRuleRequest(const char *ruleName, const void *encodedRule,
                                        std::uint32_t appId, std::uint32_t context) noexcept {
  using Body = DynRuleBody;
  DynRuleRequest bytes;
  BodyWriter<Body> body(bytes);
  body.put(Body::code, kMsgAddDynRule);
  body.put(Body::context, context);
  body.put(Body::ruleName, ruleName);
  body.put(Body::appId, appId);
  body.put(Body::fixedWord, Body::kFixedWord);
  // All of the field, whatever the rule's own length: what follows the rule in the caller's memory
  // travels with it.
  body.put(Body::encodedRule,
           std::span<const std::byte, Body::kEncodedRuleSize>(
               static_cast<const std::byte *>(encodedRule), Body::kEncodedRuleSize));
  return bytes;
}

// The request that deletes a rule; it is the same in both forms.
inline DynRuleRequest deleteDynRuleRequest(const char *ruleName, std::uint32_t appId) noexcept {
  using Body = DynRuleBody;
  DynRuleRequest bytes;
  BodyWriter<Body> body(bytes);
  body.put(Body::code, kMsgDeleteDynRule);
  body.put(Body::ruleName, ruleName);
  body.put(Body::appId, appId);
  return bytes;
}

// Writes the fields that every request to bind or to unbind a rule has. Which other fields it has
// differs from call to call: each call writes them itself.
inline void putBinding(BodyWriter<DynRuleBindingBody> &body, std::uint16_t code,
                       const AclDynRuleRecord &record) noexcept {
  using Body = DynRuleBindingBody;
  body.put(Body::code, code);
  body.put(Body::appId, record.appId);
  body.put(Body::ruleFlags, record.ruleFlags);
  body.put(Body::ruleName, record.ruleName);
  body.put(Body::port, record.port);
  body.put(Body::vlan, record.vlan);
  body.put(Body::direction, record.direction);
}

}  // namespace acl

#endif  // ACL_LIB_DYNRULES_DYNAMIC_RULE_REQUESTS_H
