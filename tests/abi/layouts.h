/* The layout of every record that crosses the public interface, as C and as C++. */
#ifndef TESTS_ABI_LAYOUTS_H
#define TESTS_ABI_LAYOUTS_H

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#include "acl_lib.h"
#include "platform/dirsvc.h"
#include "platform/dispatch.h"

/* ---- Records without pointers: the same on every target ------------------------------------- */

static_assert(sizeof(AclPolicyHandle) == sizeof(void *), "a handle holds an address");

static_assert(sizeof(AclTraceState) == 12, "AclTraceState");
static_assert(offsetof(AclTraceState, debugLevel) == 0, "debugLevel");
static_assert(offsetof(AclTraceState, printLevel) == 4, "printLevel");
static_assert(offsetof(AclTraceState, cliHandle) == 8, "cliHandle");

static_assert(sizeof(AclDynRuleRecord) == 1496, "AclDynRuleRecord");
static_assert(offsetof(AclDynRuleRecord, appId) == 0, "appId");
static_assert(offsetof(AclDynRuleRecord, ruleFlags) == 4, "ruleFlags");
static_assert(offsetof(AclDynRuleRecord, ruleName) == 8, "ruleName");
static_assert(offsetof(AclDynRuleRecord, relativeRuleName) == 41, "relativeRuleName");
static_assert(offsetof(AclDynRuleRecord, priority) == 140, "priority");
static_assert(offsetof(AclDynRuleRecord, ruleKind) == 144, "ruleKind");
static_assert(offsetof(AclDynRuleRecord, port) == 148, "port");
static_assert(offsetof(AclDynRuleRecord, rule) == 152, "rule");
static_assert(offsetof(AclDynRuleRecord, vlan) == 1468, "vlan");
static_assert(offsetof(AclDynRuleRecord, direction) == 1472, "direction");
static_assert(offsetof(AclDynRuleRecord, bindAttr) == 1484, "bindAttr");
static_assert(offsetof(AclDynRuleRecord, bindFlags) == 1488, "bindFlags");
static_assert(offsetof(AclDynRuleRecord, bindCookie) == 1492, "bindCookie");

static_assert(sizeof(AclCounterClearRecord) == 80, "AclCounterClearRecord");
static_assert(offsetof(AclCounterClearRecord, appId) == 0, "appId");
static_assert(offsetof(AclCounterClearRecord, port) == 4, "port");
static_assert(offsetof(AclCounterClearRecord, vlan) == 8, "vlan");
static_assert(offsetof(AclCounterClearRecord, direction) == 12, "direction");
static_assert(offsetof(AclCounterClearRecord, ruleName) == 13, "ruleName");
static_assert(offsetof(AclCounterClearRecord, counterName) == 46, "counterName");

static_assert(sizeof(AclRuleRecord) == 44, "AclRuleRecord");
static_assert(offsetof(AclRuleRecord, ruleName) == 0, "ruleName");
static_assert(offsetof(AclRuleRecord, policyFlag) == 36, "policyFlag");
static_assert(offsetof(AclRuleRecord, direction) == 40, "direction");
static_assert(offsetof(AclRuleRecord, attribute) == 41, "attribute");

static_assert(sizeof(AclClientId) == 12, "AclClientId");
static_assert(offsetof(AclClientId, clientNumber) == 0, "clientNumber");
static_assert(offsetof(AclClientId, word1) == 4, "word1");
static_assert(offsetof(AclClientId, word2) == 8, "word2");

static_assert(sizeof(AclPolicyEntry) == 44, "AclPolicyEntry");
static_assert(offsetof(AclPolicyEntry, type) == 0, "type");
static_assert(offsetof(AclPolicyEntry, value) == 4, "value");
static_assert(offsetof(AclPolicyEntry, policyName) == 8, "policyName");

static_assert(sizeof(AclMeterOwner) == 8, "AclMeterOwner");
static_assert(offsetof(AclMeterOwner, appId) == 0, "appId");
static_assert(offsetof(AclMeterOwner, meterContext) == 4, "meterContext");

static_assert(sizeof(AclRuleTerm) == 84, "AclRuleTerm");
static_assert(offsetof(AclRuleTerm, lead) == 0, "lead");
static_assert(offsetof(AclRuleTerm, type) == 12, "type");
static_assert(offsetof(AclRuleTerm, pad1) == 16, "pad1");
static_assert(offsetof(AclRuleTerm, wildcard) == 32, "wildcard");
static_assert(offsetof(AclRuleTerm, pad2) == 36, "pad2");
static_assert(offsetof(AclRuleTerm, matchData) == 44, "matchData");
static_assert(offsetof(AclRuleTerm, prefixLen) == 60, "prefixLen");
static_assert(offsetof(AclRuleTerm, pad3) == 64, "pad3");

static_assert(sizeof(AclEvalPacket) == 40, "AclEvalPacket");
static_assert(offsetof(AclEvalPacket, lead) == 0, "lead");
static_assert(offsetof(AclEvalPacket, field) == 20, "field");
static_assert(offsetof(AclEvalPacket, prefixLen) == 36, "prefixLen");

static_assert(sizeof(AclAppPolicyEntry) == 44, "AclAppPolicyEntry");
static_assert(offsetof(AclAppPolicyEntry, ruleName) == 0, "ruleName");
static_assert(offsetof(AclAppPolicyEntry, ruleAttr) == 36, "ruleAttr");

static_assert(sizeof(AclAppPolicyRequest) == 1928, "AclAppPolicyRequest");
static_assert(offsetof(AclAppPolicyRequest, ruleCount) == 0, "ruleCount");
static_assert(offsetof(AclAppPolicyRequest, policyAttr) == 2, "policyAttr");
static_assert(offsetof(AclAppPolicyRequest, requestWord0) == 4, "requestWord0");
static_assert(offsetof(AclAppPolicyRequest, requestWord1) == 8, "requestWord1");
static_assert(offsetof(AclAppPolicyRequest, requestWord2) == 12, "requestWord2");
static_assert(offsetof(AclAppPolicyRequest, requestWord3) == 16, "requestWord3");
static_assert(offsetof(AclAppPolicyRequest, match1Type) == 32, "match1Type");
static_assert(offsetof(AclAppPolicyRequest, match1Value) == 40, "match1Value");
static_assert(offsetof(AclAppPolicyRequest, match2Type) == 88, "match2Type");
static_assert(offsetof(AclAppPolicyRequest, match2Value) == 96, "match2Value");
static_assert(offsetof(AclAppPolicyRequest, policyName) == 132, "policyName");
static_assert(offsetof(AclAppPolicyRequest, entries) == 168, "entries");

#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
static_assert(offsetof(AclAppPolicyRequest, matchCount) == 3, "matchCount");
#else
static_assert(offsetof(AclAppPolicyRequest, matchCount) == 2, "matchCount");
#endif
static_assert(sizeof(((AclAppPolicyRequest *)0)->match1Value) == 48, "match1Value");
static_assert(sizeof(((AclAppPolicyRequest *)0)->match2Value) == 36, "match2Value");

static_assert(sizeof(AclSliceRequest) == 24, "AclSliceRequest");
static_assert(offsetof(AclSliceRequest, unreserve) == 0, "unreserve");
static_assert(offsetof(AclSliceRequest, stage) == 4, "stage");
static_assert(offsetof(AclSliceRequest, sliceType) == 8, "sliceType");
static_assert(offsetof(AclSliceRequest, sliceCount) == 12, "sliceCount");
static_assert(offsetof(AclSliceRequest, doubleWide) == 16, "doubleWide");
static_assert(offsetof(AclSliceRequest, appId) == 20, "appId");

static_assert(sizeof(DirsvcRecord) == 52, "DirsvcRecord");
static_assert(offsetof(DirsvcRecord, name) == 0, "name");
static_assert(sizeof(((DirsvcRecord *)0)->name) == 34, "name");
static_assert(offsetof(DirsvcRecord, chassis) == 34, "chassis");
static_assert(offsetof(DirsvcRecord, slot) == 35, "slot");
static_assert(offsetof(DirsvcRecord, address) == 36, "address");
static_assert(sizeof(((DirsvcRecord *)0)->address) == 8, "address");
static_assert(offsetof(DirsvcRecord, port) == 44, "port");

static_assert(sizeof(DispatchDelay) == 8, "DispatchDelay");
static_assert(offsetof(DispatchDelay, seconds) == 0, "seconds");
static_assert(offsetof(DispatchDelay, fraction) == 4, "fraction");

/* Holds one pointer, in eight bytes of room: the size is the same on every target. */
static_assert(sizeof(DispatchClientRecord) == 164, "DispatchClientRecord");
static_assert(offsetof(DispatchClientRecord, service) == 0, "service");
static_assert(offsetof(DispatchClientRecord, name) == 4, "name");
static_assert(sizeof(((DispatchClientRecord *)0)->name) == 34, "name");
static_assert(offsetof(DispatchClientRecord, chassis) == 38, "chassis");
static_assert(offsetof(DispatchClientRecord, slot) == 39, "slot");
static_assert(offsetof(DispatchClientRecord, callback) == 56, "callback");
static_assert(offsetof(DispatchClientRecord, context) == 64, "context");
static_assert(offsetof(DispatchClientRecord, callbackName) == 80, "callbackName");
static_assert(sizeof(((DispatchClientRecord *)0)->callbackName) == 80, "callbackName");

/* ---- Exported tables ------------------------------------------------------------------------ */

static_assert(sizeof(gAclMaskBit) == 9, "gAclMaskBit");
static_assert(sizeof(aclTimerList) == 92, "aclTimerList");
static_assert(sizeof(aclStatusStringBuff) == 100, "aclStatusStringBuff");
static_assert(sizeof(aclGlobalApps) / sizeof(AclGlobalApp) == 30, "aclGlobalApps");
static_assert(sizeof(aclIpStats) / sizeof(AclStatName) == 22, "aclIpStats");
static_assert(sizeof(aclIcmpStats) / sizeof(AclStatName) == 28, "aclIcmpStats");
static_assert(sizeof(aclIgmpStats) / sizeof(AclStatName) == 8, "aclIgmpStats");
static_assert(sizeof(aclIPropStats) / sizeof(AclStatName) == 7, "aclIPropStats");
static_assert(sizeof(_evlog_ACL_ConditionDesc) / sizeof(EvlogConditionDesc) == 20, "conditions");

/* ---- Order of the fields of a policy -------------------------------------------------------- */

static_assert(offsetof(AclPolicy, node) == 0, "node");
static_assert(offsetof(AclPolicy, policyName) == sizeof(KvNode), "policyName");
static_assert(sizeof(((AclPolicy *)0)->policyName) == 33, "policyName");
static_assert(offsetof(AclPolicy, usedSize) == sizeof(KvNode) + 36, "usedSize");
static_assert(offsetof(AclPolicy, bufferSize) == sizeof(KvNode) + 40, "bufferSize");
static_assert(offsetof(AclPolicy, ruleCount) == sizeof(KvNode) + 44, "ruleCount");
static_assert(offsetof(AclPolicy, policyAttr) == sizeof(KvNode) + 46, "policyAttr");
static_assert(offsetof(AclPolicy, ruleBuffer) == sizeof(KvNode) + 48, "ruleBuffer");
static_assert(offsetof(AclPolicy, stateFlags) > offsetof(AclPolicy, ruleBuffer), "stateFlags");
static_assert(offsetof(AclPolicy, selfCheck) > offsetof(AclPolicy, stateFlags), "selfCheck");
static_assert(offsetof(AclPolicy, openRule) > offsetof(AclPolicy, selfCheck), "openRule");
static_assert(offsetof(AclPolicy, lists) > offsetof(AclPolicy, openRule), "lists");
static_assert(sizeof(((AclPolicy *)0)->lists) == 7 * sizeof(AclListHead), "lists");
static_assert(offsetof(AclPolicy, lastList) > offsetof(AclPolicy, lists), "lastList");

/* ---- Order of the fields of a transaction handle --------------------------------------------- */

static_assert(offsetof(TransHandle, lock) == 0, "lock");
static_assert(offsetof(TransHandle, peerId) == sizeof(pthread_mutex_t), "peerId");
static_assert(offsetof(TransHandle, packet) > offsetof(TransHandle, peerId), "packet");
static_assert(offsetof(TransHandle, builder) > offsetof(TransHandle, packet), "builder");
static_assert(offsetof(TransHandle, connected) > offsetof(TransHandle, builder), "connected");
static_assert(sizeof(((TransHandle *)0)->connected) == 2, "connected");
static_assert(offsetof(TransHandle, data) > offsetof(TransHandle, connected), "data");
static_assert(offsetof(TransHandle, spare) > offsetof(TransHandle, data), "spare");
static_assert(sizeof(((TransHandle *)0)->spare) == 8, "spare");

/* ---- Order of the fields of the rings' and trees' records ------------------------------------ */

static_assert(offsetof(AclClientEntry, next) == 0, "next");
static_assert(offsetof(AclClientEntry, prev) == sizeof(void *), "prev");
static_assert(offsetof(AclClientEntry, ruleWord) == 2 * sizeof(void *), "ruleWord");
static_assert(offsetof(AclClientEntry, name) == 2 * sizeof(void *) + 4, "name");
static_assert(offsetof(AclClientEntry, attrA) == 2 * sizeof(void *) + 40, "attrA");
static_assert(offsetof(AclClientEntry, attrB) == 2 * sizeof(void *) + 44, "attrB");
static_assert(offsetof(AclClientEntry, terms) == 2 * sizeof(void *) + 48, "terms");
static_assert(offsetof(AclClientEntry, termCount) == 2 * sizeof(void *) + 468, "termCount");
static_assert(offsetof(AclClientEntry, permitHits) == 2 * sizeof(void *) + 472, "permitHits");
static_assert(offsetof(AclClientEntry, denyHits) == 2 * sizeof(void *) + 476, "denyHits");
static_assert(offsetof(AclClientEntryList, first) == 0, "first");
static_assert(offsetof(AclClientEntryList, count) == sizeof(void *), "count");
static_assert(offsetof(AclApplInfo, next) == 0, "next");
static_assert(offsetof(AclApplInfo, prev) == sizeof(void *), "prev");
static_assert(offsetof(AclApplInfo, applId) == 2 * sizeof(void *), "applId");
static_assert(offsetof(AclApplInfo, requests) == 3 * sizeof(void *), "requests");
static_assert(offsetof(AclApplInfoList, first) == 0, "first");
static_assert(offsetof(AclApplInfoList, count) == sizeof(void *), "count");
static_assert(offsetof(AclApplReq, node) == 0, "node");
static_assert(offsetof(AclApplReq, reqCode) == sizeof(KvNode), "reqCode");
static_assert(offsetof(AclApplReq, seqNo) == sizeof(KvNode) + 4, "seqNo");
static_assert(offsetof(AclApplReq, cookie) == sizeof(KvNode) + 8, "cookie");
static_assert(offsetof(AclApplReq, name) == sizeof(KvNode) + 12, "name");
static_assert(offsetof(AclApplReq, kind) == sizeof(KvNode) + 45, "kind");
static_assert(offsetof(AclApplReq, tag) == sizeof(KvNode) + 48, "tag");
static_assert(offsetof(AclGlobalApp, id) == 4, "id");
static_assert(offsetof(AclGlobalApp, name) == 8, "name");
static_assert(offsetof(AclGlobalApp, appClass) == 8 + sizeof(void *), "appClass");
static_assert(offsetof(AclGlobalApp, number) == 12 + sizeof(void *), "number");

/* ---- Records with pointers, on 32-bit targets ------------------------------------------------ */

#if UINTPTR_MAX == 0xFFFFFFFF
static_assert(sizeof(KvNode) == 16, "KvNode");
static_assert(sizeof(TlvBuilder) == 12, "TlvBuilder");
static_assert(sizeof(AclListHead) == 8, "AclListHead");
static_assert(sizeof(AclStatName) == 8, "AclStatName");
static_assert(sizeof(AclClientEntry) == 488, "AclClientEntry");
static_assert(sizeof(AclClientEntryList) == 8, "AclClientEntryList");
static_assert(sizeof(AclGlobalApp) == 20, "AclGlobalApp");
static_assert(sizeof(aclGlobalApps) == 600, "aclGlobalApps");
static_assert(sizeof(AclApplInfo) == 16, "AclApplInfo");
static_assert(sizeof(AclApplInfoList) == 8, "AclApplInfoList");
static_assert(sizeof(AclApplReq) == 68, "AclApplReq");
static_assert(sizeof(AclPolicy) == 152, "AclPolicy");
static_assert(offsetof(AclPolicy, ruleBuffer) == 64, "ruleBuffer");
static_assert(offsetof(AclPolicy, stateFlags) == 68, "stateFlags");
static_assert(offsetof(AclPolicy, selfCheck) == 72, "selfCheck");
static_assert(offsetof(AclPolicy, openRule) == 76, "openRule");
static_assert(offsetof(AclPolicy, lists) == 80, "lists");
static_assert(sizeof(EvlogComponentDesc) == 24, "EvlogComponentDesc");
static_assert(offsetof(EvlogComponentDesc, word2) == 8, "word2");
static_assert(offsetof(EvlogComponentDesc, word5) == 20, "word5");
static_assert(sizeof(EvlogConditionDesc) == 76, "EvlogConditionDesc");
static_assert(offsetof(EvlogConditionDesc, classWord) == 8, "classWord");
static_assert(offsetof(EvlogConditionDesc, parameter) == 12, "parameter");
static_assert(sizeof(_evlog_ACL_ConditionDesc) == 1520, "conditions");
#endif

/* ---- The same on 64-bit targets: only the pointers widen --------------------------------------
 */

#if UINTPTR_MAX == 0xFFFFFFFFFFFFFFFF
static_assert(sizeof(KvNode) == 32, "KvNode");
static_assert(sizeof(TlvBuilder) == 24, "TlvBuilder");
static_assert(sizeof(AclListHead) == 16, "AclListHead");
static_assert(sizeof(AclStatName) == 16, "AclStatName");
static_assert(sizeof(AclClientEntry) == 496, "AclClientEntry");
static_assert(sizeof(AclGlobalApp) == 24, "AclGlobalApp");
static_assert(sizeof(AclApplInfo) == 32, "AclApplInfo");
static_assert(sizeof(AclApplReq) == 88, "AclApplReq");
static_assert(offsetof(AclPolicy, ruleBuffer) == 80, "ruleBuffer");
static_assert(offsetof(AclPolicy, stateFlags) == 88, "stateFlags");
static_assert(offsetof(AclPolicy, selfCheck) == 96, "selfCheck");
static_assert(offsetof(AclPolicy, openRule) == 104, "openRule");
static_assert(offsetof(AclPolicy, lists) == 112, "lists");
static_assert(sizeof(EvlogComponentDesc) == 32, "EvlogComponentDesc");
static_assert(sizeof(EvlogConditionDesc) == 88, "EvlogConditionDesc");
#endif

#ifdef EXPECT_WRONG_SIZE
static_assert(sizeof(AclTraceState) == 13, "wrong on purpose: layouts.sh expects a refusal");
#endif

#endif /* TESTS_ABI_LAYOUTS_H */
