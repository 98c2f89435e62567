// Rules that are in the table and, by request, in the ACL manager.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "acl_lib.h"
#include "acl_lib/client/app_rule_bodies.h"
#include "acl_lib/client/rule_table.h"
#include "acl_lib/encoding/policy_handle.h"
#include "acl_lib/transport/message_codes.h"

namespace acl {
namespace {

using Body = AppRuleBody;

std::int32_t sendUnconfig(const char *name, std::uint32_t position, std::uint32_t flags,
                          AclSendFn send) noexcept {
  std::array<std::byte, Body::size> bytes;
  BodyWriter<Body> body(bytes);
  body.put(Body::code, kMsgUnconfigAppRule);
  body.put(Body::flags, flags);
  body.put(Body::position, position);
  body.put(Body::ruleName, name);
  return send(kTlvRequest, bytes.data(), bytes.size());
}

// Goes on by name: `send` is free to use the table.
void unconfigAll(std::uint32_t position, std::uint32_t flags, AclSendFn send) noexcept {
  std::optional<DeletedRule> rule = deleteRuleOrFirst(nullptr);
  while (rule) {
    sendUnconfig(rule->name.data(), position, flags, send);
    if (rule->wasLast) return;
    rule = deleteRuleOrFirst(rule->following.data());
  }
}

}  // namespace
}  // namespace acl

extern "C" {

std::int32_t aclLibConfigAppRule(std::uint32_t /*ignored*/, const char *name, const char *refName,
                                 std::uint32_t flags, std::uint32_t position,
                                 std::uint32_t cookie) noexcept {
  if (name == nullptr) return 0;
  using Body = acl::AppRuleBody;
  std::array<std::byte, Body::size> bytes;
  acl::BodyWriter<Body> body(bytes);
  body.put(Body::code, acl::kMsgConfigAppRule);
  body.put(Body::cookie, cookie);
  body.put(Body::flags, flags);
  body.put(Body::position, position);
  body.put(Body::ruleName, name);
  body.put(Body::refName, refName);
  if (aclLibCreateRule(name, refName, static_cast<std::int32_t>(position)) == 0) return 0;
  // The rule stays in the table when the request cannot be sent.
  return aclLibSendMsg(acl::kTlvRequest, bytes.data(), bytes.size()) == 0 ? 1 : 0;
}

std::int32_t aclUnconfigAppRule(std::uint32_t position, const char *name, std::uint32_t flags,
                                AclSendFn send) noexcept {
  if (send == nullptr) return acl::kInvalidArgument;
  if (name == nullptr) {
    acl::unconfigAll(position, flags, send);
    return 1;
  }
  aclLibDeleteRule(name);
  // The send's own result: 0 when sent, where aclLibConfigAppRule() returns 1.
  return acl::sendUnconfig(name, position, flags, send);
}

std::int32_t aclLibUnconfigAppRule(std::uint32_t position, const char *name,
                                   std::uint32_t flags) noexcept {
  return aclUnconfigAppRule(position, name, flags, aclLibSendMsg);
}

}  // extern "C"
