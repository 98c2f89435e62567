// What every exported call does when memory or packets run out: each allocation that it makes in
// the arranged library fails once. The table has a row for every call of acl_lib.h;
// tests/check/allocation_table.py sees to that. Not among them: those by which now and then
// aclLibNewPolicy() makes the table of live policies grow, which this library has too few policies
// for; tests/acl_lib/encoding/allocation_failure_test.cc lets them fail.
#include <csignal>
#include <span>
#include <sstream>

#include "tests/acl_lib/allocation_rows.h"

namespace {

using namespace acl_test;

// ---- What the calls are given

constexpr std::array<std::uint8_t, 816> kData{};

// Calls that add an entry to the open rule.
template <auto call>
std::int32_t addEntry() {
  return call(arranged->policy, kRule, kData.data());
}
template <auto call, std::uint32_t type>
std::int32_t addEntryOfType() {
  return call(arranged->policy, kRule, type, kData.data());
}
template <auto call, std::uint32_t selector>
std::int32_t addEntryWithSelector() {
  return call(arranged->policy, kRule, kData.data(), selector);
}
template <auto call, auto... arguments>
std::int32_t addPlainEntry() {
  return call(arranged->policy, kRule, arguments...);
}

const AclDynRuleRecord kDynamicRule = dynamicRule();
constexpr AclCounterClearRecord kCounter{4, 1, 2, 0, "rule-a", "counter"};
constexpr AclRuleRecord kRuleRecord{"rule-a", 0, 0, 0};
constexpr AclMeterOwner kMeterOwner{4, 1};
constexpr AclClientId kClient{1, 2, 3};
constexpr AclPolicyEntry kPolicyEntry{1, 2, "stored"};
constexpr AclSliceRequest kSliceRequest{0, 1, 2, 0x03000000, 0, 4};

const AclAppPolicyRequest *appPolicyRequest() {
  static AclAppPolicyRequest request{};
  request.ruleCount = 1;
  return &request;
}

AclClientEntry *firstRule() {
  return gClientEntryList.first;
}
AclApplInfo *waitingApplication() {
  return gaclApplReqList.first;
}
AclApplReq *firstRequest() {
  return aclFindFirstApplReq(waitingApplication());
}

// A reply to the first pending request: its application, kind, tag and range.
void *configReply() {
  static Bytes reply;
  const test_support::AllocationExemption exemption;
  reply = join(hex("300b 0000"), Bytes(588), hex("04 02 0000 00000003 00000001 00000001"));
  return reply.data();
}
void *unconfigReply() {
  static Bytes reply;
  const test_support::AllocationExemption exemption;
  reply = join(hex("300c 0000"), Bytes(584), hex("00000001 00 04"));
  return reply.data();
}

// Leaves less room than another rule needs.
void fillBuffer() {
  arranged->fillOpenRule(600);
}

// Two rules that together are longer than the buffer.
void overfillBuffer() {
  arranged->fillOpenRule(512);
  arranged->rule = 2;
  aclLibNewRule(arranged->policy, "long", arranged->rule);
  arranged->fillOpenRule(1020);
}

// ---- What the calls come to

std::string sizesOf(const AclPolicy &policy) {
  std::ostringstream text;
  text << policy.ruleCount << " rules, " << policy.usedSize << " of " << policy.bufferSize
       << " bytes";
  return text.str();
}
std::string storedPolicy() {
  return sizesOf(*acl::findPolicy(arranged->policy));
}
std::string otherPolicy() {
  return sizesOf(*acl::findPolicy(arranged->emptyPolicy));
}
std::string keptPolicy() {
  return sizesOf(arranged->keptPolicy());
}

// The codes of the requests that the handle and the synchronous channel have sent.
std::string sentCodes() {
  std::string codes;
  for (const swplat_fake::SentObject &object : fake().sentObjects()) {
    if (!codes.empty()) codes += ", ";
    codes += test_support::hexText(std::span(object.value).first(2));
  }
  return codes;
}

// The same, and the sequence numbers of requests about application policies.
std::string sentCodesAndNumbers() {
  std::string text = sentCodes();
  for (const swplat_fake::SentObject &object : fake().sentObjects()) {
    text += " number ";
    text += std::to_string(wordAt(object.value, 588));
  }
  return text;
}

std::string connection() {
  std::string text = aclHandle == nullptr ? "no handle, " : "handle, ";
  text += std::to_string(fake().clients().size());
  return text + " clients";
}

// ---- The table

const std::vector<Row> kPolicyRows = {
    // Policies and rules
    needsMemory("aclLibNewPolicy", [] { return arranged->keep(aclLibNewPolicy("new")); }, 1,
                {refuses(0)}),
    // The first rule makes the buffer, and others let it grow.
    needsMemory("aclLibNewRule", [] { return aclLibNewRule(arranged->emptyPolicy, "new", 7); }, 7,
                {refuses(-1)}),
    needsMemory(
        "aclLibNewRule", [] { return aclLibNewRule(arranged->policy, "new", 7); }, 7, {refuses(-1)},
        fillBuffer),
    needsNothing("aclEncodeInitRule",
                 [] {
                   std::array<std::uint8_t, 48> record{};
                   aclEncodeInitRule(record.data());
                 }),
    // Spare memory that cannot be given back stays; room that is missing must be there.
    needsMemory("aclLibEndRule", [] { return aclLibEndRule(arranged->policy); }, 0,
                {goesOn(storedPolicy, "1 rules, 48 of 1024 bytes")}),
    needsMemory(
        "aclLibEndRule", [] { return aclLibEndRule(arranged->policy); }, 0, {refuses(-1)},
        overfillBuffer),
    needsNothing("aclLibClearRule", [] { return aclLibClearRule(arranged->policy); }),
    needsNothing(
        "aclGetAction4Group",
        [] {
          std::uint32_t bit = 0, value = 0, flag = 0;
          aclGetAction4Group(1, nullptr, &bit, &value, &flag);
          return bit;
        },
        0x20),
    needsNothing("aclLibDumpRules", [] { aclLibDumpRules(arranged->policy); }),
};

const std::vector<Row> kConditionRows = {
    // Match conditions
    needsNothing("aclLibAddRuleCondIPAddr", addEntryOfType<aclLibAddRuleCondIPAddr, 0>),
    needsNothing("aclLibAddRuleCondIPv6Addr", addEntryOfType<aclLibAddRuleCondIPv6Addr, 23>),
    needsNothing("aclLibAddRuleCondProtocol", addEntry<aclLibAddRuleCondProtocol>),
    needsNothing("aclLibAddRuleCondTcpFlags", addEntry<aclLibAddRuleCondTcpFlags>),
    needsNothing("aclLibAddRuleCondMacAddr", addEntryOfType<aclLibAddRuleCondMacAddr, 19>),
    needsNothing("aclLibAddRuleCondEtherType", addEntry<aclLibAddRuleCondEtherType>),
    needsNothing("aclLibAddRuleCondClassId", addEntryOfType<aclLibAddRuleCondClassId, 48>),
    needsNothing("aclLibAddRuleCondDsap", addEntry<aclLibAddRuleCondDsap>),
    needsNothing("aclLibAddRuleCondSsap", addEntry<aclLibAddRuleCondSsap>),
    needsNothing("aclLibAddRuleCondSnapType", addEntry<aclLibAddRuleCondSnapType>),
    needsNothing("aclLibAddRuleCondIPOptions", addEntry<aclLibAddRuleCondIPOptions>),
    needsNothing("aclLibAddRuleCondL4Match", addEntry<aclLibAddRuleCondL4Match>),
    needsNothing("aclLibAddRuleCondVidRange", addEntryOfType<aclLibAddRuleCondVidRange, 21>),
    needsNothing("aclLibAddRuleCondSlotPortRange", addEntry<aclLibAddRuleCondSlotPortRange>),
    needsNothing("aclLibAddRuleCondPortRange", addEntryOfType<aclLibAddRuleCondPortRange, 12>),
    needsNothing("aclLibAddRuleFragment", addPlainEntry<aclLibAddRuleFragment, 10>),
    needsNothing("aclLibAddRulePktResolution", addPlainEntry<aclLibAddRulePktResolution, 10, 255>),
    needsNothing("aclLibAddRuleNextHop", addEntryOfType<aclLibAddRuleNextHop, 52>),
    needsNothing("aclLibAddRuleLookupStatus", addPlainEntry<aclLibAddRuleLookupStatus, 1>),
    needsNothing("aclLibAddRuleSdnVlanAny", addPlainEntry<aclLibAddRuleSdnVlanAny>),
    needsNothing("aclLibAddRuleCondDstPhysPort", addEntry<aclLibAddRuleCondDstPhysPort>),
    needsNothing("aclLibAddRuleCondSrcPhysPort", addEntry<aclLibAddRuleCondSrcPhysPort>),
    needsNothing("aclLibAddRuleCondSrcPhysPortList", addEntry<aclLibAddRuleCondSrcPhysPortList>),
    needsNothing("aclLibAddRuleCondDCSP", addEntry<aclLibAddRuleCondDCSP>),
    needsNothing("aclLibAddRuleCondVXLANVni", addEntry<aclLibAddRuleCondVXLANVni>),
    needsNothing("aclLibAddRuleCondTOS", addEntry<aclLibAddRuleCondTOS>),
    needsNothing("aclLibAddRuleCondTTL", addEntry<aclLibAddRuleCondTTL>),
    needsNothing("aclLibAddRuleCondVlanFormat", addEntry<aclLibAddRuleCondVlanFormat>),
    needsNothing("aclLibAddRuleCondICMPType", addEntry<aclLibAddRuleCondICMPType>),
    needsNothing("aclLibAddRuleCondICMPCode", addEntry<aclLibAddRuleCondICMPCode>),
    needsNothing("aclLibAddRuleCondIGMPType", addEntry<aclLibAddRuleCondIGMPType>),
    needsNothing("aclLibAddRuleCondIpOffset", addEntry<aclLibAddRuleCondIpOffset>),
    needsNothing("aclLibAddRuleCondOspf", addEntry<aclLibAddRuleCondOspf>),
    needsNothing("aclLibAddRuleCondPim", addEntry<aclLibAddRuleCondPim>),
    needsNothing("aclLibAddRuleDebugAcl", addEntry<aclLibAddRuleDebugAcl>),
    needsNothing("aclLibAddRuleCondFlowClassId", addEntry<aclLibAddRuleCondFlowClassId>),
    needsNothing("aclLibAddRuleCondFlowGroupId", addEntry<aclLibAddRuleCondFlowGroupId>),
    needsNothing("aclLibConfigRuleCond", addPlainEntry<aclLibConfigRuleCond, 10>),
    needsNothing("aclApplyIPv6Msk",
                 [] {
                   std::array<std::uint8_t, 16> masked;
                   aclApplyIPv6Msk(kData.data(), 64, masked.data());
                 }),
};

const std::vector<Row> kActionRows = {
    // Rule actions
    needsNothing("aclLibConfigRuleAction", addPlainEntry<aclLibConfigRuleAction, 1>),
    needsNothing("aclLibConfigActionClassId", addEntryOfType<aclLibConfigActionClassId, 62>),
    needsNothing("aclLibConfigActionFlowGroupId", addEntry<aclLibConfigActionFlowGroupId>),
    needsNothing("aclLibConfigActionCookie", addEntry<aclLibConfigActionCookie>),
    needsNothing("aclLibConfigActionCount", addEntry<aclLibConfigActionCount>),
    needsNothing("aclLibConfigActionMeter", addEntry<aclLibConfigActionMeter>),
    needsNothing("aclLibConfigActionMirror", addEntry<aclLibConfigActionMirror>),
    needsNothing("aclLibConfigActionDomain", addEntry<aclLibConfigActionDomain>),
    needsNothing("aclLibConfigActionTrafficQueue", addEntry<aclLibConfigActionTrafficQueue>),
    needsNothing("aclLibConfigActionFloodGroup", addEntry<aclLibConfigActionFloodGroup>),
    needsNothing("aclLibConfigActionQos", addEntry<aclLibConfigActionQos>),
    needsNothing("aclLibConfigActionUrpf", addEntry<aclLibConfigActionUrpf>),
    needsNothing("aclLibConfigActionCpuQos", addEntry<aclLibConfigActionCpuQos>),
    needsNothing("aclLibConfigActionCpuQosToSnoop", addEntry<aclLibConfigActionCpuQosToSnoop>),
    needsNothing("aclLibConfigActionCpuQosSDN",
                 addEntryWithSelector<aclLibConfigActionCpuQosSDN, 0>),
    needsNothing("aclLibConfigActionRedirect", addEntryWithSelector<aclLibConfigActionRedirect, 0>),
    needsNothing("aclLibConfigActionReplaceMacda", addEntry<aclLibConfigActionReplaceMacda>),
    needsNothing("aclLibConfigActionReplaceMacsa", addEntry<aclLibConfigActionReplaceMacsa>),
    needsNothing("aclLibConfigActionReplaceVid", addEntry<aclLibConfigActionReplaceVid>),
    needsNothing("aclLibConfigActionAddVid", addEntry<aclLibConfigActionAddVid>),
    needsNothing("aclLibConfigActionDot1p", addEntry<aclLibConfigActionDot1p>),
    needsNothing("aclLibConfigActionDot1pReplaceValue",
                 addEntry<aclLibConfigActionDot1pReplaceValue>),
    needsNothing("aclLibConfigActionSVidEtherType", addEntry<aclLibConfigActionSVidEtherType>),
    needsNothing("aclLibConfigActionVid", addEntryOfType<aclLibConfigActionVid, 23>),
    needsNothing("aclLibConfigActionLagHash", addEntryOfType<aclLibConfigActionLagHash, 39>),
    needsNothing("aclLibConfigActionFloodList", addEntryOfType<aclLibConfigActionFloodList, 40>),
    needsNothing("aclLibConfigActionLink", addEntryOfType<aclLibConfigActionLink, 28>),
    needsNothing("aclLibConfigActionPorts", addEntryOfType<aclLibConfigActionPorts, 29>),
    needsNothing("aclLibConfigActionPortList", addEntryOfType<aclLibConfigActionPortList, 30>),
    needsNothing("aclLibConfigActionDot1ahEncap",
                 addEntryOfType<aclLibConfigActionDot1ahEncap, 37>),
    needsNothing("aclLibConfigActionDot1ahDecap",
                 addEntryOfType<aclLibConfigActionDot1ahDecap, 38>),
    needsNothing("aclLibConfigActionDscpReplaceValue",
                 addEntry<aclLibConfigActionDscpReplaceValue>),
    needsNothing("aclLibConfigActionRedirectName", addEntry<aclLibConfigActionRedirectName>),
    needsNothing("aclLibConfigActionDoNotLearn", addPlainEntry<aclLibConfigActionDoNotLearn>),
};

const std::vector<Row> kTransportRows = {
    // Transaction handles
    needsPackets("transHandleCreate",
                 [] {
                   TransHandle *const handle = transHandleCreate();
                   transHandleFree(handle);
                   return handle;
                 },
                 1, {refuses(0)}, {refuses(0)}),
    needsNothing("transHandleFree",
                 [] { transHandleFree(std::exchange(arranged->spareHandle, nullptr)); }),
    needsNothing("transHandleSetPeer", [] { return transHandleSetPeer(aclHandle, kPeer); }),
    sendsAPacket("transHandleSend",
                 [] { return transHandleSend(aclHandle, 0x1002, kData.data(), 8, 1); }),
    sendsAPacket(
        "transHandleCommit",
        [] {
          transHandleSend(aclHandle, 0x1002, kData.data(), 8, 0);
          return transHandleCommit(aclHandle) > 0;
        },
        1),
    sendsAPacket("aclLibSendMsg", [] { return aclLibSendMsg(0x1002, kData.data(), 8); }),
    sendsAPacket("aclLibSendMsg2", [] { return aclLibSendMsg2(0x1002, kData.data(), 8, 1); }),
    // Start-up and connection. Without memory for its handle aclLibConnect() goes on.
    needsNothing("aclLibInit", [] { return aclLibInit(); }),
    needsPackets("aclLibConnect",
                 [] {
                   transHandleFree(std::exchange(aclHandle, nullptr));
                   return aclLibConnect(nullptr);
                 },
                 0, {goesOn(connection, "no handle, 1 clients"), fails(-1)},
                 {goesOn(connection, "no handle, 1 clients")}),
    needsMemory("aclLibInitClients", [] { return aclLibInitClients(nullptr, nullptr); }, 0,
                {refuses(-1)}),
    needsNothing("aclLibConnectionEvent", [] { return aclLibConnectionEvent(kPeer, -121); }),
    needsNothing("aclClosePeer", [] { return aclClosePeer(); }),
    needsNothing("aclSetPeerOptions", [] { return aclSetPeerOptions(kPeer); }),
    sendsAPacket("aclLibSendProcessInfo", [] { return aclLibSendProcessInfo("name"); }),
    needsNothing("aclLibPeerIdCurrentQueueSize", [] { return aclLibPeerIdCurrentQueueSize(); }),
};

const std::vector<Row> kPolicyRequestRows = {
    // Policies at the ACL manager. A binding is sent although the download before it is not.
    sendsAPacket("aclLibAddPolicy", [] { return aclLibAddPolicy(arranged->policy); }, 0,
                 {refuses(-1)}),
    sendsAPacket("aclLibRefreshPolicy", [] { return aclLibRefreshPolicy(arranged->policy); }, 0,
                 {refuses(-1)}),
    sendsAPacket("aclLibConfigPolicy",
                 [] { return aclLibConfigPolicy(arranged->policy, 1, 2, 0, nullptr); }, 0,
                 {goesOn(sentCodes, "20 04")}),
    sendsAPacket("aclLibUnconfigPolicy",
                 [] { return aclLibUnconfigPolicy(arranged->policy, 1, 2, 0, nullptr); }),
    sendsAPacket("aclLibDeletePolicy",
                 [] { return aclLibDeletePolicy(arranged->policy, nullptr); }),
    needsMemory("aclSendPolicy",
                [] { return aclSendPolicy(arranged->policy, 0x2001, RecordingSend::send); }, 0,
                {refuses(-1)}),
    needsMemory("aclSendModifyRule",
                [] {
                  return aclSendModifyRule("stored", 1, 2, 3, 4, kData.data(), 8, nullptr,
                                           RecordingSend::send);
                },
                0, {refuses(-1)}),
};

const std::vector<Row> kStoreRows = {
    // Policy store
    needsNothing("aclBtreeReadLock",
                 [] {
                   const std::int64_t result = aclBtreeReadLock();
                   aclBtreeUnlock();
                   return result;
                 }),
    needsNothing("aclBtreeWriteLock",
                 [] {
                   const std::int64_t result = aclBtreeWriteLock();
                   aclBtreeUnlock();
                   return result;
                 }),
    needsNothing("aclBtreeUnlock",
                 [] {
                   aclBtreeReadLock();
                   return aclBtreeUnlock();
                 }),
    needsNothing("aclBtreeInsertPolicy",
                 [] { return aclBtreeInsertPolicy(arranged->emptyPolicy); }),
    needsNothing("aclBtreeDeletePolicy", [] { return aclBtreeDeletePolicy(arranged->policy); }),
    needsNothing(
        "aclFindPolicy", [] { return aclFindPolicy("stored") == arranged->policy; }, 1),
    needsNothing(
        "aclFindFirstPolicy", [] { return aclFindFirstPolicy() == arranged->policy; }, 1),
    needsNothing("aclGetNextPolicy", [] { return aclGetNextPolicy(arranged->policy); }),
    // Test policies. Rules for which there is no memory are missing.
    needsMemory("aclLibCreateTestPolicy",
                [] { return arranged->keep(aclLibCreateTestPolicy("test")); }, 1,
                {refuses(0), goesOn(keptPolicy, "5 rules, 328 of 512 bytes"),
                 goesOn(keptPolicy, "6 rules, 416 of 1024 bytes")}),
    needsMemory(
        "aclLibModifyTestPolicy",
        [] { return aclLibModifyTestPolicy(arranged->emptyPolicy) == arranged->emptyPolicy; }, 1,
        {goesOn(otherPolicy, "9 rules, 792 of 1024 bytes"),
         goesOn(otherPolicy, "9 rules, 792 of 1024 bytes"),
         goesOn(otherPolicy, "10 rules, 880 of 2048 bytes")}),
};

const std::vector<Row> kRuleRequestRows = {
    // Dynamic rules
    sendsAPacket("aclLibAddDynRule", [] { return aclLibAddDynRule("rule-a", kData.data(), 4, 1); }),
    sendsAPacket("aclLibDelDynRule", [] { return aclLibDelDynRule("rule-a", 4); }),
    sendsAPacket("aclLibConfigDynRule", [] { return aclLibConfigDynRule(&kDynamicRule); }),
    sendsAPacket("aclLibUnconfigDynRule", [] { return aclLibUnconfigDynRule(&kDynamicRule); }),
    sendsAPacket("aclLibGetDynRuleCounter",
                 [] { return aclLibGetDynRuleCounter("rule-a", "counter", 1, 2, 0, 4, 1); }),
    sendsAPacket("aclLibClearCounter", [] { return aclLibClearCounter(&kCounter, 1); }),
    sendsAPacket("aclLibClearCounterWrapper",
                 [] { return aclLibClearCounterWrapper("rule-a", "counter", 1, 2, 0, 4, 1); }),
    sendsAPacket("aclLibConfigDynRuleBatch",
                 [] { return aclLibConfigDynRuleBatch(&kDynamicRule, 1); }),
    sendsAPacket("aclLibUnconfigDynRuleBatch",
                 [] { return aclLibUnconfigDynRuleBatch(&kDynamicRule, 1); }),
    sendsAPacket("aclLibAddDynRuleBatch",
                 [] { return aclLibAddDynRuleBatch("rule-a", kData.data(), 4, 1, 1); }),
    sendsAPacket("aclLibDelDynRuleBatch", [] { return aclLibDelDynRuleBatch("rule-a", 4, 1); }),
    // Requests about a whole client
    sendsAPacket("aclLibUnbindRule", [] { return aclLibUnbindRule(&kRuleRecord, 1, 2); }),
    sendsAPacket("aclLibMoveApplAttribute", [] { return aclLibMoveApplAttribute(1, 2, 3, 4); }),
    sendsAPacket("aclLibCleanClientRules", [] { return aclLibCleanClientRules(&kClient); }),
    sendsAPacket("aclLibCheckPolicy", [] { return aclLibCheckPolicy(&kPolicyEntry, 1, 1); }),
    // Meters
    sendsAPacket("aclLibCreateMeter", [] { return aclLibCreateMeter("meter", &kMeterOwner); }),
    sendsAPacket("aclLibDeleteMeter", [] { return aclLibDeleteMeter("meter", &kMeterOwner); }),
    sendsAPacket("aclLibConfigMeter",
                 [] { return aclLibConfigMeter("meter", 1, 2, 3, 4, 5, 6, 7, &kMeterOwner); }),
};

const std::vector<Row> kOtherRows = {
    // Synchronous channel. Without a packet for the request its answer is waited for all the same;
    // without one for the answer there is no way to go on.
    needsPackets("aclLibBindMeter",
                 [] {
                   ArrangedLibrary::queueAnswer();
                   return aclLibBindMeter("meter", 1);
                 },
                 0, {}, {goesOn(sentCodes, ""), aborts()}),
    needsPackets("aclLibUnbindMeter",
                 [] {
                   ArrangedLibrary::queueAnswer();
                   return aclLibUnbindMeter("meter", 1);
                 },
                 0, {}, {goesOn(sentCodes, ""), aborts()}),
    needsPackets("aclLibSendAndRecvFromAclMgr",
                 [] {
                   std::array<std::byte, 8> body{};
                   ArrangedLibrary::queueAnswer();
                   return aclLibSendAndRecvFromAclMgr(body.data(), body.size());
                 },
                 0, {}, {goesOn(sentCodes, ""), aborts()}),
    needsNothing("initAclLibSyncConfigLib", [] { return initAclLibSyncConfigLib(); }),
    // Tracing, status codes
    needsNothing(
        "aclTrace", [] { return aclTrace(7, "text\n"); }, 1),
    needsNothing(
        "aclStatusText", [] { return aclStatusText(-12345); }, 1),
};

const std::vector<Row> kRuleTableRows = {
    // Rule table
    needsNothing(
        "aclLibGetRuleCount", [] { return aclLibGetRuleCount(); }, 2),
    needsNothing(
        "aclLibGetFirstRule", [] { return aclLibGetFirstRule(); }, 1),
    needsNothing(
        "aclLibFindNextRule", [] { return aclLibFindNextRule("rule-a"); }, 1),
    needsNothing(
        "aclLibFindClientEntry", [] { return aclLibFindClientEntry("rule-b"); }, 1),
    needsMemory("aclLibCreateRule", [] { return aclLibCreateRule("rule-c", "rule-a", 1); }, 1,
                {refuses(0)}),
    needsNothing("aclLibDeleteRule", [] { aclLibDeleteRule("rule-a"); }),
    needsNothing("aclLibCopyDynRule", [] { aclLibCopyDynRule(firstRule(), 0, 0); }),
    needsNothing(
        "aclLibCopyRuleToDisplay",
        [] {
          std::array<char, 31> text;
          return aclLibCopyRuleToDisplay(text.data());
        },
        26),
    needsNothing(
        "aclLibGetRuleStats",
        [] {
          std::uint64_t permits = 0, denials = 0;
          return aclLibGetRuleStats("rule-a", &permits, &denials);
        },
        1),
    needsNothing("aclLibClearClientCounters", [] { aclLibClearClientCounters(); }),
    needsNothing("aclLibUpdateCounter", [] { aclLibUpdateCounter(firstRule(), 1); }),
    needsNothing("aclEgressSupported", [] { return aclEgressSupported(0); }),
    // The table has no memory, or it has the rule and the request cannot go on.
    sendsAPacket("aclLibConfigAppRule",
                 [] { return aclLibConfigAppRule(0, "rule-c", "rule-a", 0, 1, 1); }, 1,
                 {refuses(0)}),
    needsNothing("aclUnconfigAppRule",
                 [] { return aclUnconfigAppRule(1, "rule-a", 0, RecordingSend::send); }),
    sendsAPacket("aclLibUnconfigAppRule", [] { return aclLibUnconfigAppRule(1, "rule-a", 0); }),
    sendsAPacket("aclLibCheckRuleValidity",
                 [] { return aclLibCheckRuleValidity(&kRuleRecord, nullptr, 0, 1, 1); }),
    needsNothing(
        "aclLibEvaluateRule",
        [] {
          const AclEvalPacket packet{};
          std::uint32_t action = 0;
          aclLibEvaluateRule(0, 3, &packet, &action);
          return action;
        },
        2),
};

const std::vector<Row> kApplicationRows = {
    // Applications and pending requests. Both the application's and the request's record may fail;
    // the application's stays when the request's does.
    needsNothing("aclLibGetApplCount", [] { return aclLibGetApplCount(); }),
    needsMemory("aclLibFindApplInfo", [] { return aclLibFindApplInfo(kNewApplication, 1); }, 1,
                {refuses(0)}),
    needsMemory("aclLibGetClientSeqNo",
                [] { return aclLibGetClientSeqNo(kNewApplication, 0x300B, 1, "name", 2, 3) != 0; },
                1, {refuses(0), fails(0)}),
    needsNothing("aclApplReqCmpFuncBySeqNo",
                 [] { return aclApplReqCmpFuncBySeqNo(firstRequest(), firstRequest()); }),
    needsNothing("aclInsertApplReq",
                 [] {
                   AclApplReq request{};
                   KvNode *tree = nullptr;
                   return aclInsertApplReq(&request, &tree);
                 }),
    needsNothing("aclDeleteApplReq",
                 [] {
                   AclApplReq *const request = firstRequest();
                   const std::int64_t result = aclDeleteApplReq(request, waitingApplication());
                   std::free(request);
                   return result;
                 }),
    needsNothing(
        "aclFindFirstApplReq", [] { return aclFindFirstApplReq(waitingApplication()); }, 1),
    needsNothing(
        "aclFindNextApplReq", [] { return aclFindNextApplReq(firstRequest()); }, 1),
    needsNothing(
        "aclFindApplReqBySeqNo",
        [] { return aclFindApplReqBySeqNo(0, 2, &waitingApplication()->requests); }, 1),
    // Application policies and slices. Without a pending request its sequence number is 0.
    sendsAPacket("aclLibApplyAppPolicy",
                 [] { return aclLibApplyAppPolicy(appPolicyRequest(), kNewApplication, 2, 1); }, 0,
                 {goesOn(sentCodesAndNumbers, "30 0b number 0")}),
    sendsAPacket("aclLibUnApplyAppPolicy",
                 [] { return aclLibUnApplyAppPolicy(appPolicyRequest(), kNewApplication, 2, 1); },
                 0, {goesOn(sentCodesAndNumbers, "30 0c number 0")}),
    needsNothing(
        "aclGetRuleActionString", [] { return aclGetRuleActionString(1); }, 1),
    sendsAPacket("aclLibSliceConfig", [] { return aclLibSliceConfig(&kSliceRequest, 1); }),
    // Messages from the ACL manager
    needsNothing(
        "aclLibSendClientConfigReply",
        [] {
          aclLibSendClientConfigReply(configReply());
          return aclFindFirstApplReq(waitingApplication())->seqNo;
        },
        2),
    needsNothing(
        "aclLibSendClientUnconfigReply",
        [] {
          aclLibSendClientUnconfigReply(unconfigReply());
          return aclFindFirstApplReq(waitingApplication())->seqNo;
        },
        2),
    needsNothing("aclMsgHandler", [] { aclMsgHandler(kPeer, arranged->message, 8, nullptr); }),
    needsNothing(
        "aclLibCallback",
        [] { aclLibCallback(1, nullptr, kPeer, std::exchange(arranged->message, nullptr), 8); }),
};

std::vector<Row> allRows() {
  std::vector<Row> rows;
  for (const auto &part :
       {kPolicyRows, kConditionRows, kActionRows, kTransportRows, kPolicyRequestRows, kStoreRows,
        kRuleRequestRows, kOtherRows, kRuleTableRows, kApplicationRows}) {
    rows.insert(rows.end(), part.begin(), part.end());
  }
  return rows;
}

// ---- The test

// The fixture's own library is not used: each run has a fresh one.
class AllocationFailureTest : public LibraryTest, public testing::WithParamInterface<Row> {
 protected:
  // What a run of the row's call came to.
  struct Run {
    std::int64_t result;
    bool wasAsked;  // for the thing that is not there
    std::string before, after;
  };

  // Runs `run` in an arranged library that is there for this run alone.
  template <typename TestedRun>
  void inArrangedLibrary(TestedRun run) {
    LibraryTest::SetUp();
    connectHandle();
    {
      ArrangedLibrary library;
      arranged = &library;
      if (GetParam().prepare != nullptr) GetParam().prepare();
      run();
      arranged = nullptr;
    }
    LibraryTest::TearDown();
  }

  // Makes the call without allocation `number`, or with all of them when it is 0.
  static Run runWithoutAllocation(unsigned number) {
    OutputCapture output;
    Run run{0, false, arranged->state(), ""};
    {
      const FailAllocation guard(number);
      run.result = GetParam().call();
      run.wasAsked = guard.failed();
    }
    run.after = arranged->state();
    return run;
  }

  // Makes the call without packet `number`.
  static Run runWithoutPacket(std::size_t number) {
    OutputCapture output;
    Run run{0, true, arranged->state(), ""};
    refusePacket(number);
    run.result = GetParam().call();
    run.after = arranged->state();
    return run;
  }

  // Makes the call with all packets. Returns how many it asked for.
  static std::size_t runWithPackets() {
    const std::size_t before = packetsAskedFor();
    const Run run = runWithoutAllocation(0);
    EXPECT_EQ(run.result, GetParam().expected);
    return packetsAskedFor() - before;
  }

  // Checks a run without thing `number` against the row, and that the call works afterwards.
  static void checkRun(const Run &run, const Outcomes &outcomes, std::size_t number) {
    if (!run.wasAsked) {
      EXPECT_EQ(run.result, GetParam().expected);
      return;
    }
    ASSERT_FALSE(outcomes.empty()) << "asked for what the table does not say";
    const Outcome &outcome = outcomeOf(outcomes, number);
    EXPECT_EQ(run.result, outcome.ending == Ending::kGoesOn ? GetParam().expected : outcome.result);
    if (outcome.ending == Ending::kRefuses) {
      EXPECT_EQ(run.after, run.before);
    }
    if (outcome.ending == Ending::kGoesOn) {
      EXPECT_EQ(outcome.observe(), outcome.effect);
    }
    EXPECT_EQ(runWithoutAllocation(0).result, GetParam().expected) << "afterwards";
  }

  // Runs the call without packet `number` and checks it.
  static void checkWithoutPacket(std::size_t number) {
    const Outcomes &outcomes = GetParam().packets;
    if (outcomeOf(outcomes, number).ending != Ending::kAborts) {
      return checkRun(runWithoutPacket(number), outcomes, number);
    }
    const auto call = [number] {
      refusePacket(number);
      GetParam().call();
    };
    EXPECT_EXIT(call(), testing::KilledBySignal(SIGABRT), "");
  }

 private:
  static void refusePacket(std::size_t number) {
    for (std::size_t i = 1; i < number; ++i) fake().queueResults("pktbufAllocPacket", {1});
    fake().queueResults("pktbufAllocPacket", {0});
  }

  static std::size_t packetsAskedFor() { return fake().calls({"pktbufAllocPacket"}).size(); }
};

using AllocationFailureDeathTest = AllocationFailureTest;

TEST_P(AllocationFailureTest, EndsAsTheTableSaysWithoutMemory) {
  unsigned number = 0;
  for (bool wasAsked = true; wasAsked;) {
    ++number;
    SCOPED_TRACE("without allocation " + std::to_string(number));
    inArrangedLibrary([&] {
      const Run run = runWithoutAllocation(number);
      wasAsked = run.wasAsked;
      checkRun(run, GetParam().memory, number);
    });
  }
  EXPECT_GT(number, GetParam().memory.size()) << "the table names more than the call asks for";
}

TEST_P(AllocationFailureDeathTest, EndsAsTheTableSaysWithoutPackets) {
  std::size_t packets = 0;
  inArrangedLibrary([&packets] { packets = runWithPackets(); });
  ASSERT_EQ(packets == 0, GetParam().packets.empty());
  for (std::size_t number = 1; number <= packets; ++number) {
    SCOPED_TRACE("without packet " + std::to_string(number));
    inArrangedLibrary([number] { checkWithoutPacket(number); });
  }
}

INSTANTIATE_TEST_SUITE_P(Calls, AllocationFailureTest, testing::ValuesIn(allRows()), rowName);
INSTANTIATE_TEST_SUITE_P(Calls, AllocationFailureDeathTest, testing::ValuesIn(allRows()), rowName);

}  // namespace
