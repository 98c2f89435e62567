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
using Request = std::array<std::byte, Body::size>;

// Begins a request with what both kinds of it carry.
BodyWriter<Body> beginRequest(Request &request, std::uint16_t code, const char *name,
                              std::uint32_t flags, std::uint32_t position) noexcept {
  BodyWriter<Body> body(request);
  body.put(Body::code, code);
  body.put(Body::flags, flags);
  body.put(Body::position, position);
  body.put(Body::ruleName, name);
  return body;
}

std::int32_t sendRequest(const Request &request, AclSendFn send) noexcept {
  return send(kTlvRequest, request.data(), Body::size);
}

std::int32_t unconfigOne(std::uint32_t position, const char *name, std::uint32_t flags,
                         AclSendFn send) noexcept {
  Request request;
  // The name may be one that the table lends: it is copied before its rule ends.
  beginRequest(request, kMsgUnconfigAppRule, name, flags, position);
  aclLibDeleteRule(name);
  // Also for a rule that the table does not have: the manager may know it.
  return sendRequest(request, send);
}

// Goes on by name: `send` is free to use the table.
void unconfigAll(std::uint32_t position, std::uint32_t flags, AclSendFn send) noexcept {
  std::optional<DeletedRule> rule = deleteRuleOrFirst(nullptr);
  while (rule) {
    Request request;
    beginRequest(request, kMsgUnconfigAppRule, rule->name.data(), flags, position);
    sendRequest(request, send);
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
  acl::Request request;
  auto body = acl::beginRequest(request, acl::kMsgConfigAppRule, name, flags, position);
  body.put(acl::Body::cookie, cookie);
  body.put(acl::Body::refName, refName);
  if (aclLibCreateRule(name, refName, static_cast<std::int32_t>(position)) == 0) return 0;
  // The rule stays in the table when the request cannot be sent.
  return acl::sendRequest(request, aclLibSendMsg) == 0 ? 1 : 0;
}

std::int32_t aclUnconfigAppRule(std::uint32_t position, const char *name, std::uint32_t flags,
                                AclSendFn send) noexcept {
  if (send == nullptr) return acl::kInvalidArgument;
  if (name == nullptr) {
    acl::unconfigAll(position, flags, send);
    // Whatever became of the requests, and however many there were.
    return 1;
  }
  // The send's own result: 0 when sent, where aclLibConfigAppRule() returns 1.
  return acl::unconfigOne(position, name, flags, send);
}

std::int32_t aclLibUnconfigAppRule(std::uint32_t position, const char *name,
                                   std::uint32_t flags) noexcept {
  return aclUnconfigAppRule(position, name, flags, aclLibSendMsg);
}

}  // extern "C"
