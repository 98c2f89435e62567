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

/* ---- Records with pointers, on 32-bit targets ------------------------------------------------ */

#if UINTPTR_MAX == 0xFFFFFFFF
static_assert(sizeof(KvNode) == 16, "KvNode");
static_assert(sizeof(TlvBuilder) == 12, "TlvBuilder");
static_assert(sizeof(AclListHead) == 8, "AclListHead");
static_assert(sizeof(AclStatName) == 8, "AclStatName");
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
