// Requests about what applications have installed: unbinding, moving, removing, checking.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "acl_lib.h"
#include "acl_lib/encoding/results.h"
#include "acl_lib/policy/client_request_bodies.h"
#include "acl_lib/transport/message_codes.h"

namespace acl {
namespace {

void writeEntry(std::span<std::byte, PolicyEntryBody::size> bytes,
                const AclPolicyEntry &entry) noexcept {
  using Body = PolicyEntryBody;
  BodyWriter<Body> body(bytes);
  body.put(Body::type, entry.type);
  body.put(Body::value, entry.value);
  body.put(Body::policyName, entry.policyName);
}

}  // namespace
}  // namespace acl

extern "C" {

std::int32_t aclLibUnbindRule(const AclRuleRecord *rule, std::uint8_t unbindFlag,
                              std::uint16_t unbindKey) noexcept {
  // Unlike elsewhere, a null argument is no error here: there is nothing to unbind.
  if (rule == nullptr) return acl::kSuccess;
  using Body = acl::UnbindRuleBody;
  std::array<std::byte, Body::size> bytes;
  acl::BodyWriter<Body> body(bytes);
  body.put(Body::code, acl::kMsgUnbindRule);
  body.put(Body::unbindKey, unbindKey);
  body.put(Body::ruleName, rule->ruleName);
  body.put(Body::policyFlag, rule->policyFlag);
  body.put(Body::unbindFlag, unbindFlag);
  return aclLibSendMsg(acl::kTlvRequest, bytes.data(), bytes.size());
}

std::int32_t aclLibMoveApplAttribute(std::uint8_t attribute, std::uint8_t fromApplication,
                                     std::uint8_t toApplication,
                                     std::uint32_t moveCookie) noexcept {
  using Body = acl::MoveAttributeBody;
  std::array<std::byte, Body::size> bytes;
  acl::BodyWriter<Body> body(bytes);
  body.put(Body::code, acl::kMsgMoveAttribute);
  body.put(Body::fixedWord, Body::kFixedWord);
  body.put(Body::moveCookie, moveCookie);
  body.put(Body::attribute, attribute);
  body.put(Body::fromApplication, fromApplication);
  body.put(Body::toApplication, toApplication);
  return aclLibSendMsg(acl::kTlvRequest, bytes.data(), bytes.size());
}

std::int32_t aclLibCleanClientRules(const AclClientId *client) noexcept {
  if (client == nullptr) return acl::kInvalidArgument;
  using Body = acl::CleanClientBody;
  std::array<std::byte, Body::size> bytes;
  acl::BodyWriter<Body> body(bytes);
  body.put(Body::code, acl::kMsgCleanClientRules);
  body.put(Body::word2, client->word2);
  body.put(Body::clientNumber, client->clientNumber);
  body.put(Body::word1, client->word1);
  return aclLibSendMsg(acl::kTlvRequest, bytes.data(), bytes.size());
}

std::int32_t aclLibCheckPolicy(const AclPolicyEntry *entries, std::uint32_t count,
                               std::uint32_t checkCookie) noexcept {
  using Body = acl::CheckPolicyBody;
  if (count > Body::kMaxEntries || (entries == nullptr && count != 0)) {
    return acl::kInvalidArgument;
  }
  std::array<std::byte, Body::size> bytes;
  acl::BodyWriter<Body> body(bytes);
  body.put(Body::code, acl::kMsgCheckPolicy);
  body.put(Body::fixedWord, Body::kFixedWord);
  body.put(Body::count, count);
  body.put(Body::checkCookie, checkCookie);
  constexpr std::size_t kEntrySize = acl::PolicyEntryBody::size;
  std::byte *out = bytes.data() + Body::entries.offset;
  for (std::uint32_t i = 0; i < count; ++i, out += kEntrySize) {
    acl::writeEntry(std::span<std::byte, kEntrySize>(out, kEntrySize), entries[i]);
  }
  return aclLibSendMsg(acl::kTlvRequest, bytes.data(), bytes.size());
}

}  // extern "C"
