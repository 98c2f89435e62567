// Requests to install an application policy and to remove it.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <span>

#include "acl_lib.h"
#include "acl_lib/apppolicy/app_policy_bodies.h"
#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/encoding/message_body.h"
#include "acl_lib/transport/message_codes.h"

namespace acl {
namespace {

using Body = AppPolicyBody;
using EntryBody = AppPolicyEntryBody;

// ---- Match values

// What any type uses of either value lies in the bytes that both have.
using MatchValue = AclAppMatch2;

// A value as it travels; zero before it is written.
using EncodedMatch = std::span<std::byte, sizeof(MatchValue)>;
using EncodeMatch = void (*)(const MatchValue &value, EncodedMatch bytes);

constexpr std::size_t kAddressWidth = sizeof(AclMacMatch::address);

void encodeName(const MatchValue &value, EncodedMatch bytes) noexcept {
  copyText(bytes.data(), kNameWidth, value.name);
}

void encodeWords(const MatchValue &value, EncodedMatch bytes) noexcept {
  storeBig(bytes.data(), value.words[0]);
  storeBig(bytes.data() + sizeof(value.words[0]), value.words[1]);
}

void encodeAddress(const MatchValue &value, EncodedMatch bytes) noexcept {
  std::memcpy(bytes.data(), value.mac.address, kAddressWidth);
}

void encodeAddressAndMask(const MatchValue &value, EncodedMatch bytes) noexcept {
  encodeAddress(value, bytes);
  std::memcpy(bytes.data() + kAddressWidth, value.mac.mask, kAddressWidth);
}

// A match of any other type is not sent. What removing a policy sends of the first match is less
// than what applying it does, and that is meant: null for nothing.
struct MatchType {
  std::uint8_t type;
  EncodeMatch applied;
  EncodeMatch unapplied;
};
constexpr MatchType kMatchTypes[] = {
    {app_match::kName, encodeName, nullptr},
    {app_match::kWords, encodeWords, encodeWords},
    {app_match::kMac, encodeAddressAndMask, encodeAddress},
    {app_match::kMac2, encodeAddressAndMask, encodeAddress},
};

// Returns how a request encodes values of a type; null when it does not send them.
EncodeMatch encodingOf(std::uint8_t type, EncodeMatch MatchType::*request) noexcept {
  const auto *row = std::ranges::find(kMatchTypes, type, &MatchType::type);
  return row == std::end(kMatchTypes) ? nullptr : row->*request;
}

// Where a body keeps a match whose value is a `Value`.
template <typename Value>
struct MatchFields {
  const Field<Body, std::uint8_t> &type;
  const Field<Body, Bytes<sizeof(Value)>> &value;
};
constexpr MatchFields<AclAppMatch1> kMatch1{Body::match1Type, Body::match1Value};
constexpr MatchFields<AclAppMatch2> kMatch2{Body::match2Type, Body::match2Value};

template <typename Value>
void putMatch(BodyWriter<Body> &body, const MatchFields<Value> &fields, std::uint8_t type,
              const Value &value, EncodeMatch MatchType::*request) noexcept {
  static_assert(sizeof(Value) >= sizeof(MatchValue));
  const EncodeMatch encode = encodingOf(type, request);
  if (encode == nullptr) return;
  MatchValue native;
  std::memcpy(&native, &value, sizeof(native));
  std::array<std::byte, sizeof(Value)> bytes{};
  encode(native, std::span(bytes).template first<sizeof(MatchValue)>());
  body.put(fields.type, type);
  body.put(fields.value, std::span<const std::byte, sizeof(Value)>(bytes));
}

// ---- Requests

struct Caller {
  std::uint32_t appId, flags, callerRef;
};

bool hasEntries(const AclAppPolicyRequest *request) noexcept {
  return request != nullptr && request->ruleCount >= 1 && request->ruleCount <= Body::kMaxEntries;
}

void putEntries(BodyWriter<Body> &body, const AclAppPolicyRequest &request) noexcept {
  std::array<std::byte, Body::kMaxEntries * EntryBody::size> bytes{};
  for (std::size_t i = 0; i < request.ruleCount; ++i) {
    BodyWriter<EntryBody> entry(
        std::span<std::byte, EntryBody::size>(&bytes[i * EntryBody::size], EntryBody::size));
    entry.put(EntryBody::ruleName, request.entries[i].ruleName);
    entry.put(EntryBody::ruleAttr, request.entries[i].ruleAttr);
  }
  body.put(Body::entries, std::span<const std::byte, bytes.size()>(bytes));
}

// Writes what both requests send, after registering the request that is to be answered. Where that
// cannot be registered the sequence number is 0 and the request is sent all the same: the manager
// does what it asks for, although the answer then finds nobody to go to. The other way round, on
// purpose too, a request whose send fails stays registered: its caller learns of the failure by the
// result, and nothing takes the registration back.
void putCommonFields(BodyWriter<Body> &body, std::uint16_t code, const AclAppPolicyRequest &request,
                     const Caller &caller) noexcept {
  const auto kind = static_cast<std::uint8_t>(caller.flags);
  body.put(Body::code, code);
  body.put(Body::fixedWord, Body::kFixedWord);
  // A pending request has one name, which is that of the first rule.
  body.put(Body::seqNo,
           aclLibGetClientSeqNo(caller.appId, code, caller.callerRef, request.entries[0].ruleName,
                                kind, request.requestWord2));
  body.put(Body::ruleCount, static_cast<std::uint8_t>(request.ruleCount));
  body.put(Body::appId, static_cast<std::uint8_t>(caller.appId));
  body.put(Body::flags, kind);
  body.put(Body::requestWord2, request.requestWord2);
  body.put(Body::requestWord3, request.requestWord3);
  putEntries(body, request);
}

// The number of match values: a number in an attribute, not the byte that lies behind it.
std::uint32_t matchCountOf(const AclAppPolicyRequest &request) noexcept {
  return request.policyAttr & 0xFF;
}

void putAppliedFields(BodyWriter<Body> &body, const AclAppPolicyRequest &request) noexcept {
  body.put(Body::policyAttr, request.policyAttr);
  body.put(Body::requestWord1, static_cast<std::uint8_t>(request.requestWord1));
  body.put(Body::policyName, request.policyName);
  body.put(Body::requestWord0, request.requestWord0);
  if (matchCountOf(request) >= 1) {
    putMatch(body, kMatch1, request.match1Type, request.match1Value, &MatchType::applied);
  }
  if (matchCountOf(request) >= 2) {
    putMatch(body, kMatch2, request.match2Type, request.match2Value, &MatchType::applied);
  }
}

}  // namespace
}  // namespace acl

extern "C" {

std::int32_t aclLibApplyAppPolicy(const AclAppPolicyRequest *request, std::uint32_t appId,
                                  std::uint32_t flags, std::uint32_t callerRef) noexcept {
  // Success, on purpose: there is nothing to install.
  if (!acl::hasEntries(request)) return 0;
  std::array<std::byte, acl::Body::size> bytes;
  acl::BodyWriter<acl::Body> body(bytes);
  acl::putCommonFields(body, acl::kMsgApplyAppPolicy, *request, {appId, flags, callerRef});
  acl::putAppliedFields(body, *request);
  return aclLibSendMsg(acl::kTlvRequest, bytes.data(), bytes.size());
}

std::int32_t aclLibUnApplyAppPolicy(const AclAppPolicyRequest *request, std::uint32_t appId,
                                    std::uint32_t flags, std::uint32_t callerRef) noexcept {
  if (!acl::hasEntries(request)) return 0;
  std::array<std::byte, acl::Body::size> bytes;
  acl::BodyWriter<acl::Body> body(bytes);
  acl::putCommonFields(body, acl::kMsgUnapplyAppPolicy, *request, {appId, flags, callerRef});
  // Whatever the number of match values, and no second one, on purpose.
  acl::putMatch(body, acl::kMatch1, request->match1Type, request->match1Value,
                &acl::MatchType::unapplied);
  return aclLibSendMsg(acl::kTlvRequest, bytes.data(), bytes.size());
}

}  // extern "C"
