#include "acl_lib/client/reply_handlers.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

#include "acl_lib.h"
#include "acl_lib/client/reply_view.h"
#include "acl_lib/client/rule_description.h"
#include "acl_lib/dynrules/request_trace.h"
#include "acl_lib/encoding/policy_handle.h"
#include "acl_lib/transport/message_codes.h"
#include "platform/process.h"

namespace acl {
namespace {

template <typename Body>
bool failed(const ReplyView<Body> &reply) noexcept {
  return reply.get(Body::status) != 0;
}

template <typename Body>
const char *statusText(const ReplyView<Body> &reply) noexcept {
  return aclStatusText(reply.get(Body::status));
}

// ---- Policies

// Takes a policy whose deletion the manager has confirmed out of the store, and ends it.
void dropPolicy(const char *name) noexcept {
  aclBtreeWriteLock();
  const AclPolicyHandle policy = aclFindPolicy(name);
  if (policy != 0) aclBtreeDeletePolicy(policy);
  aclBtreeUnlock();
  if (policy != 0) destroyPolicy(reinterpret_cast<AclPolicy *>(policy));
}

void handleDeletePolicy(void *body) noexcept {
  using Body = PolicyReplyBody;
  const ReplyView<Body> reply(body);
  if (!failed(reply)) dropPolicy(reply.get(Body::policyName).text());
}

// ---- Dynamic rules

// Puts the name of the rule that a failure is about where the application looks for it.
template <typename Body>
void nameFailedRule(ReplyView<Body> &reply) noexcept {
  if (failed(reply)) reply.put(Body::failedRuleName, reply.get(Body::ruleName).text());
}

void handleAddDynRule(void *body) noexcept {
  using Body = DynRuleReplyBody;
  ReplyView<Body> reply(body);
  nameFailedRule(reply);
  aclTrace(kRequestTraceLevel,
           Sprintf("Reply: Add dynamic rule \"%s\" returned status \"%s\" from ACL manager\n",
                   reply.get(Body::ruleName).text(), statusText(reply)));
}

// Its line says "returned" where those of the others say "returned status".
void handleDeleteDynRule(void *body) noexcept {
  using Body = DynRuleReplyBody;
  ReplyView<Body> reply(body);
  nameFailedRule(reply);
  aclTrace(kRequestTraceLevel,
           Sprintf("Reply: Delete dynamic rule \"%s\" returned \"%s\" from ACL manager\n",
                   reply.get(Body::ruleName).text(), statusText(reply)));
}

void traceBinding(const ReplyView<DynRuleBindingReplyBody> &reply, const char *action,
                  const char *preposition) noexcept {
  using Body = DynRuleBindingReplyBody;
  const std::uint32_t port = reply.get(Body::port);
  aclTrace(kRequestTraceLevel,
           Sprintf("Reply: %s dynamic Rule \"%s\" %s vlan = %d, port %d:%d, drIndex = %d, "
                   "priority = %d, direction = %d returned status \"%s\" from ACL manager\n",
                   action, reply.get(Body::ruleName).text(), preposition, reply.get(Body::vlan),
                   static_cast<int>(slotOf(port)), static_cast<int>(portNumberOf(port)),
                   reply.get(Body::ruleIndex), reply.get(Body::priority),
                   reply.get(Body::direction), statusText(reply)));
}

void copyDescription(std::span<const std::byte, RuleDescriptionBody::size> description) noexcept {
  const AclClientEntry entry = decodeRuleDescription(description);
  aclLibCopyDynRule(&entry, 0, 0);
}

void handleConfigDynRule(void *body) noexcept {
  ReplyView<DynRuleBindingReplyBody> reply(body);
  // Also when the rule could not be configured: the manager describes what it knows.
  copyDescription(reply.get(DynRuleBindingReplyBody::description));
  nameFailedRule(reply);
  traceBinding(reply, "Config", "to");
}

void handleUnconfigDynRule(void *body) noexcept {
  ReplyView<DynRuleBindingReplyBody> reply(body);
  nameFailedRule(reply);
  traceBinding(reply, "Unconfigure", "from");
}

// ---- Rules of applications

void handleConfigAppRule(void *body) noexcept {
  using Body = AppRuleReplyBody;
  const ReplyView<Body> reply(body);
  // Whatever the status: a reply that describes no rule takes the rule away, failure or not.
  const auto description = reply.get(Body::description);
  const bool isDescribed =
      !BodyReader<RuleDescriptionBody>(description).get(RuleDescriptionBody::name).empty();
  if (isDescribed) {
    copyDescription(description);
  } else {
    aclLibDeleteRule(reply.get(Body::ruleName).text());
  }
}

void handleRuleValidity(void *body) noexcept {
  using Body = RuleValidityReplyBody;
  const ReplyView<Body> reply(body);
  aclTrace(kRequestTraceLevel, Sprintf("Reply for verifying %s %s : %s\n",
                                       reply.get(Body::policyFlag) != 0 ? "policy" : "dynamic rule",
                                       reply.get(Body::ruleName).text(), statusText(reply)));
}

// ---- Pending requests of applications

void handleApply(void *body) noexcept {
  using Body = ApplyReplyBody;
  // Before the callback gets the reply and may change it.
  const std::int16_t status = ReplyView<Body>(body).get(Body::status);
  // The line about the reply comes behind those about the requests that it answers.
  aclLibSendClientConfigReply(body);
  aclTrace(kRequestTraceLevel,
           Sprintf("Reply for applying set of rules and policies : %s\n", aclStatusText(status)));
}

void handleUnapply(void *body) noexcept {
  aclLibSendClientUnconfigReply(body);
}

// ---- Counters

void handleCounter(void *body) noexcept {
  using Body = CounterReplyBody;
  const ReplyView<Body> reply(body);
  const unsigned long long value =
      static_cast<unsigned long long>(reply.get(Body::valueHigh)) << 32 | reply.get(Body::valueLow);
  // The two blanks are part of the text.
  aclTrace(kRequestTraceLevel, Sprintf("Reply: counter get Response  counter name \"%s\" "
                                       "returned \"%llu\" from ACL manager\n",
                                       reply.get(Body::counterName).text(), value));
}

// ---- Slices

// The names of slice types, by type.
constexpr const char *kSliceTypeNames[] = {
    "unknown", "unknown", "Profile ID VLAN", "VFP Shared", "Permit / Deny", "CoS", "Acl Style"};

const char *sliceTypeName(std::uint32_t type) noexcept {
  return type < std::size(kSliceTypeNames) ? kSliceTypeNames[type] : "unknown";
}

void handleSlice(void *body) noexcept {
  using Body = SliceReplyBody;
  ReplyView<Body> reply(body);
  const bool isUnreserve = reply.get(Body::unreserve) != 0;
  if (failed(reply)) {
    reply.put(Body::failedAction, isUnreserve ? "unreserve" : "reserve");
    reply.put(Body::failedSliceType, sliceTypeName(reply.get(Body::sliceType)));
  }
  // "Error" also for the status that elsewhere reads "Pending".
  aclTrace(kRequestTraceLevel,
           Sprintf("Reply: Slice %s returned %s\n", isUnreserve ? "Unreserve" : "Reserve",
                   failed(reply) ? "Error" : "Success"));
}

// ---- The table

template <typename Body>
constexpr ReplyHandler row(std::uint16_t code, void (*handle)(void *body) noexcept,
                           AfterReply after = AfterReply::kCallback) noexcept {
  return {code, Body::handledSize, after, handle};
}

constexpr ReplyHandler kHandlers[] = {
    row<PolicyReplyBody>(kMsgDeletePolicy, handleDeletePolicy),
    row<DynRuleReplyBody>(kMsgAddDynRule, handleAddDynRule),
    row<DynRuleReplyBody>(kMsgDeleteDynRule, handleDeleteDynRule),
    row<DynRuleBindingReplyBody>(kMsgConfigDynRule, handleConfigDynRule),
    row<DynRuleBindingReplyBody>(kMsgUnconfigDynRule, handleUnconfigDynRule),
    row<AppRuleReplyBody>(kMsgConfigAppRule, handleConfigAppRule),
    row<RuleValidityReplyBody>(kMsgCheckRuleValidity, handleRuleValidity),
    row<ApplyReplyBody>(kMsgApplyAppPolicy, handleApply, AfterReply::kEndOfMessage),
    row<UnapplyReplyBody>(kMsgUnapplyAppPolicy, handleUnapply, AfterReply::kEndOfMessage),
    row<CounterReplyBody>(kMsgCounterReply, handleCounter),
    row<SliceReplyBody>(kMsgSliceReply, handleSlice),
};
static_assert(std::ranges::all_of(kHandlers, [](const ReplyHandler &handler) {
  return handler.handledSize <= kLargestHandledSize;
}));

void handleNothing(void * /*body*/) noexcept {}

// What every callback may read of a reply: its code and its status.
constexpr std::size_t kCodeAndStatus = kStatusOffset + kStatusWidth;
constexpr ReplyHandler kOtherReplies{0, kCodeAndStatus, AfterReply::kCallback, handleNothing};

}  // namespace

const ReplyHandler &replyHandlerOf(std::uint16_t code) noexcept {
  const auto *handler = std::ranges::find(kHandlers, code, &ReplyHandler::code);
  return handler != std::end(kHandlers) ? *handler : kOtherReplies;
}

}  // namespace acl
