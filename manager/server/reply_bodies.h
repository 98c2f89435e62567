// The bodies of the manager's replies that clients' libraries hand on without reading them. Those
// that they read are in acl_lib/client/reply_bodies.h.
//
// A reply looks like its request: the code and the status stand over the first four bytes, and what
// identifies the request is echoed where it stood.
#ifndef MANAGER_SERVER_REPLY_BODIES_H
#define MANAGER_SERVER_REPLY_BODIES_H

#include "acl_lib/client/reply_bodies.h"
#include "acl_lib/dynrules/meter_bodies.h"
#include "acl_lib/encoding/message_body.h"

namespace aclmgr {

// To a client's announcement of itself.
struct ProcessInfoReplyBody {
  static constexpr std::size_t size = 628;

  static constexpr acl::Field<ProcessInfoReplyBody, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<ProcessInfoReplyBody, std::int16_t> status{2, "status"};
  static constexpr acl::Field<ProcessInfoReplyBody, acl::Name> processName{592, "processName"};

  static constexpr acl::FieldTable table{code, status, processName};
};
static_assert(acl::isWellFormed<ProcessInfoReplyBody>());

// To applying a policy and to taking it off.
struct BindingReplyBody {
  static constexpr std::size_t size = 2096;

  static constexpr acl::Field<BindingReplyBody, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<BindingReplyBody, std::int16_t> status{2, "status"};
  static constexpr acl::Field<BindingReplyBody, acl::EchoedHeader> header{4, "header"};
  static constexpr acl::Field<BindingReplyBody, acl::Name> policyName{608, "policyName"};
  static constexpr acl::Field<BindingReplyBody, std::uint8_t> applyFlags{744, "applyFlags"};
  static constexpr acl::Field<BindingReplyBody, std::uint32_t> port{748, "port"};
  static constexpr acl::Field<BindingReplyBody, std::uint32_t> vlan{2068, "vlan"};
  static constexpr acl::Field<BindingReplyBody, std::uint8_t> direction{2072, "direction"};

  static constexpr acl::FieldTable table{code,       status, header, policyName,
                                         applyFlags, port,   vlan,   direction};
};
static_assert(acl::isWellFormed<BindingReplyBody>());

// To taking a dynamic rule or a policy off everywhere.
struct UnbindRuleReplyBody {
  static constexpr std::size_t size = 640;

  static constexpr acl::Field<UnbindRuleReplyBody, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<UnbindRuleReplyBody, std::int16_t> status{2, "status"};
  static constexpr acl::Field<UnbindRuleReplyBody, std::uint16_t> unbindKey{592, "unbindKey"};
  static constexpr acl::Field<UnbindRuleReplyBody, acl::Name> ruleName{594, "ruleName"};
  static constexpr acl::Field<UnbindRuleReplyBody, std::uint32_t> policyFlag{628, "policyFlag"};
  static constexpr acl::Field<UnbindRuleReplyBody, std::uint8_t> unbindFlag{634, "unbindFlag"};

  static constexpr acl::FieldTable table{code, status, unbindKey, ruleName, policyFlag, unbindFlag};
};
static_assert(acl::isWellFormed<UnbindRuleReplyBody>());

// To clearing a counter of a dynamic rule. The reply to reading one is another (CounterReplyBody).
struct ClearCounterReplyBody {
  static constexpr std::size_t size = 672;

  static constexpr acl::Field<ClearCounterReplyBody, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<ClearCounterReplyBody, std::int16_t> status{2, "status"};
  static constexpr acl::Field<ClearCounterReplyBody, std::uint32_t> context{588, "context"};
  static constexpr acl::Field<ClearCounterReplyBody, std::uint32_t> appId{592, "appId"};
  static constexpr acl::Field<ClearCounterReplyBody, std::uint32_t> port{596, "port"};
  static constexpr acl::Field<ClearCounterReplyBody, std::uint32_t> vlan{600, "vlan"};
  static constexpr acl::Field<ClearCounterReplyBody, std::uint8_t> direction{604, "direction"};
  static constexpr acl::Field<ClearCounterReplyBody, acl::Name> ruleName{605, "ruleName"};
  static constexpr acl::Field<ClearCounterReplyBody, acl::Name> counterName{638, "counterName"};

  static constexpr acl::FieldTable table{code, status,    context,  appId,      port,
                                         vlan, direction, ruleName, counterName};
};
static_assert(acl::isWellFormed<ClearCounterReplyBody>());

// To creating, configuring and deleting a meter. Binding one is answered with a
// acl::MeterBindingBody.
struct MeterReplyBody {
  static constexpr std::size_t size = 632;

  static constexpr acl::Field<MeterReplyBody, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<MeterReplyBody, std::int16_t> status{2, "status"};
  static constexpr acl::Field<MeterReplyBody, std::uint32_t> meterContext{588, "meterContext"};
  static constexpr acl::Field<MeterReplyBody, acl::MeterName> meterName{592, "meterName"};
  static constexpr acl::Field<MeterReplyBody, std::uint32_t> appId{628, "appId"};

  static constexpr acl::FieldTable table{code, status, meterContext, meterName, appId};
};
static_assert(acl::isWellFormed<MeterReplyBody>());

// To moving an attribute from one application to another.
struct MoveAttributeReplyBody {
  static constexpr std::size_t size = 596;

  static constexpr acl::Field<MoveAttributeReplyBody, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<MoveAttributeReplyBody, std::int16_t> status{2, "status"};
  static constexpr acl::Field<MoveAttributeReplyBody, std::uint32_t> moveCookie{588, "moveCookie"};
  static constexpr acl::Field<MoveAttributeReplyBody, std::uint8_t> attribute{592, "attribute"};
  static constexpr acl::Field<MoveAttributeReplyBody, std::uint8_t> fromApplication{
      593, "fromApplication"};
  static constexpr acl::Field<MoveAttributeReplyBody, std::uint8_t> toApplication{594,
                                                                                  "toApplication"};

  static constexpr acl::FieldTable table{code,      status,          moveCookie,
                                         attribute, fromApplication, toApplication};
};
static_assert(acl::isWellFormed<MoveAttributeReplyBody>());

// To asking whether policies exist.
struct CheckPolicyReplyBody {
  static constexpr std::size_t size = 600;

  static constexpr acl::Field<CheckPolicyReplyBody, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<CheckPolicyReplyBody, std::int16_t> status{2, "status"};
  static constexpr acl::Field<CheckPolicyReplyBody, std::uint32_t> count{592, "count"};
  static constexpr acl::Field<CheckPolicyReplyBody, std::uint32_t> checkCookie{596, "checkCookie"};

  static constexpr acl::FieldTable table{code, status, count, checkCookie};
};
static_assert(acl::isWellFormed<CheckPolicyReplyBody>());

// To removing all that a client has.
struct CleanClientReplyBody {
  static constexpr std::size_t size = 600;

  static constexpr acl::Field<CleanClientReplyBody, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<CleanClientReplyBody, std::int16_t> status{2, "status"};
  static constexpr acl::Field<CleanClientReplyBody, std::uint32_t> word2{588, "word2"};
  static constexpr acl::Field<CleanClientReplyBody, std::uint16_t> clientNumber{592,
                                                                                "clientNumber"};
  static constexpr acl::Field<CleanClientReplyBody, std::uint32_t> word1{596, "word1"};

  static constexpr acl::FieldTable table{code, status, word2, clientNumber, word1};
};
static_assert(acl::isWellFormed<CleanClientReplyBody>());

// To a request whose code the manager does not know: the request's header, so that the application
// recognises its request.
struct UnknownCodeReplyBody {
  static constexpr std::size_t size = 592;

  static constexpr acl::Field<UnknownCodeReplyBody, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<UnknownCodeReplyBody, std::int16_t> status{2, "status"};
  static constexpr acl::Field<UnknownCodeReplyBody, acl::EchoedHeader> header{4, "header"};

  static constexpr acl::FieldTable table{code, status, header};
};
static_assert(acl::isWellFormed<UnknownCodeReplyBody>());

}  // namespace aclmgr

#endif  // MANAGER_SERVER_REPLY_BODIES_H
