// The bodies of the ACL manager's replies that the library reads, as far as they are not the
// requests' own.
//
// `handledSize` is as far as the library reads and writes a reply. What lies behind is for the
// application. A manager sends `size` bytes.
#ifndef ACL_LIB_CLIENT_REPLY_BODIES_H
#define ACL_LIB_CLIENT_REPLY_BODIES_H

#include "acl_lib/client/rule_description_bodies.h"
#include "acl_lib/encoding/message_body.h"

namespace acl {

// What a reply echoes of the request's 592-byte header: all of it behind code and status.
inline constexpr std::size_t kStatusWidth = 2;
using EchoedHeader = Bytes<RequestHeader::width - kStatusWidth>;

// kMsgDeletePolicy, which the library reads; and kMsgAddPolicy, kMsgRefreshPolicy and
// kMsgModifyRule, which it hands on.
struct PolicyReplyBody {
  static constexpr std::size_t size = 652;
  // As far as the library reads and writes.
  static constexpr std::size_t handledSize = 625;

  static constexpr Field<PolicyReplyBody, std::uint16_t> code{0, "code"};
  static constexpr Field<PolicyReplyBody, std::int16_t> status{2, "status"};
  // The caller's request header, behind the status.
  static constexpr Field<PolicyReplyBody, EchoedHeader> header{4, "header"};
  static constexpr Field<PolicyReplyBody, Name> policyName{592, "policyName"};

  static constexpr FieldTable table{code, status, header, policyName};
};
static_assert(isWellFormed<PolicyReplyBody>());

// kMsgAddDynRule and kMsgDeleteDynRule.
struct DynRuleReplyBody {
  static constexpr std::size_t size = 640;
  // As far as the library reads and writes.
  static constexpr std::size_t handledSize = 625;

  static constexpr Field<DynRuleReplyBody, std::uint16_t> code{0, "code"};
  static constexpr Field<DynRuleReplyBody, std::int16_t> status{2, "status"};
  // Written by the library.
  static constexpr Field<DynRuleReplyBody, Name> failedRuleName{16, "failedRuleName"};
  static constexpr Field<DynRuleReplyBody, std::uint32_t> context{588, "context"};
  static constexpr Field<DynRuleReplyBody, Name> ruleName{592, "ruleName"};
  static constexpr Field<DynRuleReplyBody, std::uint32_t> appId{628, "appId"};

  static constexpr FieldTable table{code, status, failedRuleName, context, ruleName, appId};
};
static_assert(isWellFormed<DynRuleReplyBody>());

// kMsgConfigDynRule and kMsgUnconfigDynRule. The direction is wider than in the request.
struct DynRuleBindingReplyBody {
  static constexpr std::size_t size = 2096;
  // As far as the library reads and writes.
  static constexpr std::size_t handledSize = 2080;

  static constexpr Field<DynRuleBindingReplyBody, std::uint16_t> code{0, "code"};
  static constexpr Field<DynRuleBindingReplyBody, std::int16_t> status{2, "status"};
  // Written by the library.
  static constexpr Field<DynRuleBindingReplyBody, Name> failedRuleName{16, "failedRuleName"};
  // A RuleDescriptionBody; without a name when there is nothing to describe.
  static constexpr Field<DynRuleBindingReplyBody, Bytes<RuleDescriptionBody::size>> description{
      80, "description"};
  static constexpr Field<DynRuleBindingReplyBody, std::uint32_t> bindCookie{588, "bindCookie"};
  static constexpr Field<DynRuleBindingReplyBody, std::uint32_t> appId{600, "appId"};
  static constexpr Field<DynRuleBindingReplyBody, std::uint32_t> ruleFlags{604, "ruleFlags"};
  static constexpr Field<DynRuleBindingReplyBody, Name> ruleName{608, "ruleName"};
  static constexpr Field<DynRuleBindingReplyBody, Name> relativeRuleName{641, "relativeRuleName"};
  static constexpr Field<DynRuleBindingReplyBody, std::int32_t> priority{740, "priority"};
  static constexpr Field<DynRuleBindingReplyBody, std::uint32_t> port{748, "port"};
  static constexpr Field<DynRuleBindingReplyBody, std::int32_t> vlan{2068, "vlan"};
  static constexpr Field<DynRuleBindingReplyBody, std::int32_t> direction{2072, "direction"};
  static constexpr Field<DynRuleBindingReplyBody, std::int32_t> ruleIndex{2076, "ruleIndex"};
  static constexpr Field<DynRuleBindingReplyBody, std::uint16_t> bindAttr{2084, "bindAttr"};
  static constexpr Field<DynRuleBindingReplyBody, std::uint32_t> bindFlags{2088, "bindFlags"};

  static constexpr FieldTable table{
      code,      status,    failedRuleName,   description, bindCookie, appId,
      ruleFlags, ruleName,  relativeRuleName, priority,    port,       vlan,
      direction, ruleIndex, bindAttr,         bindFlags};
};
static_assert(isWellFormed<DynRuleBindingReplyBody>());

// kMsgConfigAppRule and kMsgUnconfigAppRule.
struct AppRuleReplyBody {
  static constexpr std::size_t size = 2096;
  // As far as the library reads and writes.
  static constexpr std::size_t handledSize = 641;

  static constexpr Field<AppRuleReplyBody, std::uint16_t> code{0, "code"};
  static constexpr Field<AppRuleReplyBody, std::int16_t> status{2, "status"};
  // A RuleDescriptionBody; without a name when the rule is to be dropped.
  static constexpr Field<AppRuleReplyBody, Bytes<RuleDescriptionBody::size>> description{
      80, "description"};
  static constexpr Field<AppRuleReplyBody, std::uint32_t> cookie{588, "cookie"};
  static constexpr Field<AppRuleReplyBody, std::uint32_t> flags{600, "flags"};
  static constexpr Field<AppRuleReplyBody, std::uint32_t> position{604, "position"};
  static constexpr Field<AppRuleReplyBody, Name> ruleName{608, "ruleName"};
  static constexpr Field<AppRuleReplyBody, Name> refName{641, "refName"};

  static constexpr FieldTable table{code,  status,   description, cookie,
                                    flags, position, ruleName,    refName};
};
static_assert(isWellFormed<AppRuleReplyBody>());

// kMsgCheckRuleValidity.
struct RuleValidityReplyBody {
  static constexpr std::size_t size = 640;
  // As far as the library reads and writes.
  static constexpr std::size_t handledSize = 632;

  static constexpr Field<RuleValidityReplyBody, std::uint16_t> code{0, "code"};
  static constexpr Field<RuleValidityReplyBody, std::int16_t> status{2, "status"};
  static constexpr Field<RuleValidityReplyBody, std::uint32_t> cookie{588, "cookie"};
  static constexpr Field<RuleValidityReplyBody, std::uint16_t> argument{592, "argument"};
  static constexpr Field<RuleValidityReplyBody, Name> ruleName{594, "ruleName"};
  static constexpr Field<RuleValidityReplyBody, std::uint32_t> policyFlag{628, "policyFlag"};

  static constexpr FieldTable table{code, status, cookie, argument, ruleName, policyFlag};
};
static_assert(isWellFormed<RuleValidityReplyBody>());

// kMsgApplyAppPolicy: answers every pending request of a range of sequence numbers.
struct ApplyReplyBody {
  static constexpr std::size_t size = 608;
  // As far as the library reads and writes.
  static constexpr std::size_t handledSize = 608;

  static constexpr Field<ApplyReplyBody, std::uint16_t> code{0, "code"};
  static constexpr Field<ApplyReplyBody, std::int16_t> status{2, "status"};
  // Written by the library.
  static constexpr Field<ApplyReplyBody, std::uint32_t> cookie{588, "cookie"};
  static constexpr Field<ApplyReplyBody, std::uint8_t> appId{592, "appId"};
  static constexpr Field<ApplyReplyBody, std::uint8_t> kind{593, "kind"};
  static constexpr Field<ApplyReplyBody, std::uint32_t> tag{596, "tag"};
  static constexpr Field<ApplyReplyBody, std::uint32_t> firstSeqNo{600, "firstSeqNo"};
  static constexpr Field<ApplyReplyBody, std::uint32_t> lastSeqNo{604, "lastSeqNo"};

  static constexpr FieldTable table{code, status, cookie, appId, kind, tag, firstSeqNo, lastSeqNo};
};
static_assert(isWellFormed<ApplyReplyBody>());

// kMsgUnapplyAppPolicy: answers one. The application stands elsewhere than in a kMsgApplyAppPolicy.
struct UnapplyReplyBody {
  static constexpr std::size_t size = 608;
  // As far as the library reads and writes.
  static constexpr std::size_t handledSize = 594;

  static constexpr Field<UnapplyReplyBody, std::uint16_t> code{0, "code"};
  static constexpr Field<UnapplyReplyBody, std::int16_t> status{2, "status"};
  // The library overwrites it with the cookie of the pending request.
  static constexpr Field<UnapplyReplyBody, std::uint32_t> seqNo{588, "seqNo"};
  static constexpr Field<UnapplyReplyBody, std::uint8_t> appId{593, "appId"};

  static constexpr FieldTable table{code, status, seqNo, appId};
};
static_assert(isWellFormed<UnapplyReplyBody>());

// kMsgCounterReply. Unlike the request, it has no application, and a narrower place.
struct CounterReplyBody {
  static constexpr std::size_t size = 688;
  // As far as the library reads and writes.
  static constexpr std::size_t handledSize = 688;

  static constexpr Field<CounterReplyBody, std::uint16_t> code{0, "code"};
  static constexpr Field<CounterReplyBody, std::int16_t> status{2, "status"};
  static constexpr Field<CounterReplyBody, std::uint32_t> context{588, "context"};
  static constexpr Field<CounterReplyBody, std::uint32_t> port{592, "port"};
  static constexpr Field<CounterReplyBody, std::uint32_t> vlan{596, "vlan"};
  static constexpr Field<CounterReplyBody, std::uint8_t> direction{600, "direction"};
  static constexpr Field<CounterReplyBody, Name> ruleName{601, "ruleName"};
  static constexpr Field<CounterReplyBody, Name> counterName{634, "counterName"};
  static constexpr Field<CounterReplyBody, std::uint32_t> valueHigh{680, "valueHigh"};
  static constexpr Field<CounterReplyBody, std::uint32_t> valueLow{684, "valueLow"};

  static constexpr FieldTable table{code,      status,   context,     port,      vlan,
                                    direction, ruleName, counterName, valueHigh, valueLow};
};
static_assert(isWellFormed<CounterReplyBody>());

// kMsgSliceReply.
struct SliceReplyBody {
  static constexpr std::size_t size = 616;
  // As far as the library reads and writes.
  static constexpr std::size_t handledSize = 604;

  static constexpr Field<SliceReplyBody, std::uint16_t> code{0, "code"};
  static constexpr Field<SliceReplyBody, std::int16_t> status{2, "status"};
  // Written by the library.
  static constexpr Field<SliceReplyBody, Name> failedAction{16, "failedAction"};
  // Written by the library.
  static constexpr Field<SliceReplyBody, Text<30>> failedSliceType{49, "failedSliceType"};
  static constexpr Field<SliceReplyBody, std::uint32_t> context{588, "context"};
  static constexpr Field<SliceReplyBody, std::uint32_t> unreserve{592, "unreserve"};
  static constexpr Field<SliceReplyBody, std::uint32_t> stage{596, "stage"};
  static constexpr Field<SliceReplyBody, std::uint32_t> sliceType{600, "sliceType"};
  static constexpr Field<SliceReplyBody, std::uint32_t> sliceCount{604, "sliceCount"};
  static constexpr Field<SliceReplyBody, std::uint32_t> doubleWide{608, "doubleWide"};
  static constexpr Field<SliceReplyBody, std::uint32_t> appId{612, "appId"};

  static constexpr FieldTable table{code,       status,     failedAction, failedSliceType,
                                    context,    unreserve,  stage,        sliceType,
                                    sliceCount, doubleWide, appId};
};
static_assert(isWellFormed<SliceReplyBody>());

}  // namespace acl

#endif  // ACL_LIB_CLIENT_REPLY_BODIES_H
