/*
 * Client library of the access-control-list (ACL) service.
 *
 * An application describes packet filters as policies: named lists of rules, each with match
 * conditions and actions. The library encodes them, sends them to the ACL manager, and hands the
 * manager's answers to the callback given to aclLibConnect().
 *
 *   aclLibConnect(callback);                      once per process
 *   policy = aclLibNewPolicy("edge-in");
 *   rule = aclLibNewRule(policy, "ssh", 1);       open a rule,
 *   aclLibAddRuleCond...(policy, rule, ...);      give it all of its conditions,
 *   aclLibConfigAction...(policy, rule, ...);     then all of its actions
 *   aclLibEndRule(policy);                        once, after the last rule
 *   while (aclLibSendProcessInfo("me") != 0) ...  until the connection is up
 *   aclLibConfigPolicy(policy, vlan, port, 0, NULL);   download and apply it
 *
 * What the ACL manager makes of the requests, and the statuses, numbers and layouts that are its
 * own, stand in docs/manager.md.
 *
 * Results, unless a function says otherwise: 0 success; -1 transport failure, no connection or no
 * memory; -2 invalid argument or handle. What a call refuses changes nothing, unless it says
 * otherwise.
 *
 * Handles. Any integer may be given as a policy handle. Valid are those of policies that the
 * library created and that still live, and of a caller's own records (see AclPolicy); any other one
 * is reported on standard output as "<call>: Invalid policy handle <handle>" and gives -2. A rule
 * handle that is not the id of the rule being built (also when none is) is reported as "Invalid
 * rule handle <rule> for policy handle <policy>" and gives -2.
 *
 * Byte order. Bytes behind a data pointer are copied as they are: numbers inside them are
 * big-endian (network order). Numbers passed by value, and the fields of records declared here, are
 * in host byte order.
 *
 * Threads. A policy is built and sent by one thread at a time. Everything that sends may be called
 * from any thread. Callbacks run on the platform's dispatcher thread.
 */
#ifndef ACL_LIB_H
#define ACL_LIB_H

#include <pthread.h>
#include <stdint.h>

#include "platform/evlog.h"
#include "platform/kvtree.h"
#include "platform/linkage.h"
#include "platform/pktbuf.h"
#include "platform/tlv.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Types ---------------------------------------------------------------------------------- */

/* Address of an AclPolicy; 0: no memory, -2: bad argument. */
typedef intptr_t AclPolicyHandle;

/*
 * Sends one request: what aclLibSendMsg() does.
 *   type    TLV object type
 *   body    `length` bytes, borrowed for the call
 * Returns 0 when sent, else a negative result.
 */
typedef int32_t (*AclSendFn)(uint16_t type, const void *body, uint16_t length);

/*
 * Told about the answers of the ACL manager, on the dispatcher's thread, with no lock held: once
 * about every reply, except those of the codes 0x300B and 0x300C. They come once for each pending
 * request that they answer, under that request's own code (aclLibSendClientConfigReply(),
 * aclLibSendClientUnconfigReply()), and not at all when they answer none.
 *   body  one reply, big-endian: message code (unsigned 16-bit) at 0, status (signed 16-bit) at 2;
 *         valid during the call only. The library may have written into it. A reply that came
 *         without a whole status is continued with zeros, so that both may always be read.
 */
typedef void (*AclMsgCallback)(void *body);

/*
 * Told about the connection to the ACL manager, on the dispatcher's thread.
 *   peerId  the manager's peer, 0 when the connection was lost
 *   event   -121 connected, -112 lost
 * A loss passes two more arguments, which a handler that is written for four gets to see: the lost
 * peer (uint32_t) and the packet that came with the event (PktBuf *, mostly null, not the handler's
 * to free). The result is not used.
 */
typedef int32_t (*AclConnectionHandler)(uint32_t peerId, int32_t event);

/* Head and links of a circular doubly linked list; an empty one points at itself. */
typedef struct AclListHead {
  struct AclListHead *next, *prev;
} AclListHead;

/*
 * A policy. Host byte order. One that aclLibNewPolicy() created is the library's: callers may read
 * it, the library writes and frees it.
 *
 * A caller may also keep a record of his own, zero-filled but for the fields he sets, and give its
 * address as the handle: it is a policy while selfCheck holds that address, which must be aligned
 * for an AclPolicy. The record and its buffer stay the caller's, who frees both; selfCheck must be
 * cleared before the record ends. The library believes the fields:
 *   Sending reads usedSize bytes of ruleBuffer; dumping as many as the larger of usedSize and
 *   bufferSize.
 *   Building rules makes a buffer where ruleBuffer is null, whatever the sizes say, by malloc().
 *   Any other ruleBuffer must come from malloc(), calloc() or realloc(), since realloc() is called
 *   on it. 1536 more bytes, zero-filled, must lie behind the larger of usedSize and bufferSize.
 *   openRule must be null or lie at most usedSize bytes behind ruleBuffer.
 */
typedef struct AclPolicy {
  KvNode node;                 /* links of the policy store */
  char policyName[33];         /* NUL-terminated */
  uint32_t usedSize;           /* bytes of ruleBuffer taken by closed rules: the encoded size */
  uint32_t bufferSize;         /* capacity of ruleBuffer, 0 until the first rule */
  uint16_t ruleCount;          /* rules opened since creation or the last clear */
  uint16_t policyAttr;         /* a second count, copied into policy messages as it is */
  uint8_t *ruleBuffer;         /* encoded rules, null until the first rule */
  uint32_t stateFlags;         /* bit 1 (value 2): configured once, and downloaded for it */
  struct AclPolicy *selfCheck; /* this record's own address while the handle is valid */
  uint8_t *openRule;           /* the record being built inside ruleBuffer, null when none is */
  AclListHead lists[7];        /* kept for the ACL service, initialised empty */
  uint32_t reserved[2];
  AclListHead lastList; /* as lists */
} AclPolicy;

/* A connection's request framing: one partly filled packet. Callers may read it. */
typedef struct TransHandle {
  pthread_mutex_t lock; /* held while appending and sending */
  uint32_t peerId;      /* the ACL manager's peer, 0 for none */
  PktBuf *packet;       /* packet being filled */
  TlvBuilder builder;   /* lies over the packet's data area of 8128 bytes */
  uint16_t connected;   /* 1 when peerId is not 0 */
  uint8_t *data;        /* the packet's data area */
  uint32_t spare[2];    /* zero */
} TransHandle;

/* Trace settings, reached through aclState. */
typedef struct {
  int32_t debugLevel; /* level-8 lines reach the trace buffer when this is 3 or more */
  int32_t printLevel; /* highest level that may be printed on standard output */
  int32_t cliHandle;  /* management CLI connection that lines are pushed to, 0 for none */
} AclTraceState;

/* One counter of a statistics table; a table ends with a null name. */
typedef struct {
  const char *name;
  uint32_t id;
} AclStatName;

/* ---- Policies and rules --------------------------------------------------------------------- */

/*
 * Creates an empty policy.
 *   name  NUL-terminated; its first 32 characters are kept
 * Returns the handle; 0 when memory is exhausted; -2 for a null or empty name. The library keeps
 * the policy. One that is in the policy store (aclBtreeInsertPolicy()) ends, and is freed, when the
 * ACL manager confirms its deletion; any other one lives as long as the process, and
 * aclLibClearRule() makes it ready for other rules.
 */
SWITCH_API AclPolicyHandle aclLibNewPolicy(const char *name) SWITCH_NOEXCEPT;

/*
 * Opens a new rule behind the policy's last one, which is closed by it.
 *   name    NUL-terminated, its first 32 characters are kept; not inside this policy's ruleBuffer,
 *           which may move; null: "def-rule-<number of the rule>"
 *   ruleId  the rule's index, and the rule handle of the calls below
 * Returns ruleId as it is, so that 0xFFFFFFFF and 0xFFFFFFFE read as -1 and -2; -1 when memory is
 * exhausted or the rules would pass 4 GiB (nothing changed); -2 for an invalid handle.
 * A rule's record should stay within 512 bytes. Longer ones are neither refused nor unsafe, but the
 * lengths in a record have 10 bits: beyond 1023 bytes they wrap, and the rule is garbled.
 */
SWITCH_API int32_t aclLibNewRule(AclPolicyHandle policy, const char *name,
                                 uint32_t ruleId) SWITCH_NOEXCEPT;

/*
 * Makes a rule record empty: no conditions, no actions; the other bits of its rule word are kept.
 *   ruleRecord  48 bytes or more of an encoded rule; null is a no-op
 */
SWITCH_API void aclEncodeInitRule(void *ruleRecord) SWITCH_NOEXCEPT;

/*
 * Closes the last rule and gives spare memory back. To be called once, after the last rule: the
 * rule stays open, so that a second call, or opening another rule, counts its length again. Returns
 * 0, also when no rule is open, whatever the handle; -1 when memory is exhausted or the rules would
 * pass 4 GiB (nothing changed; only where more than bufferSize is used); -2 for an invalid handle.
 */
SWITCH_API int32_t aclLibEndRule(AclPolicyHandle policy) SWITCH_NOEXCEPT;

/* Forgets all rules of the policy and keeps its memory. Returns 0; -2 for an invalid handle. */
SWITCH_API int32_t aclLibClearRule(AclPolicyHandle policy) SWITCH_NOEXCEPT;

/*
 * Tells how an action folds into the word of a group action (type 9) that leads a rule's actions.
 *   type        action type
 *   data        the action's data; its first byte is read for type 14 only (null reads as 0)
 *   groupBit, groupValue, setFlag
 *               outputs, not null; untouched for types that do not fold (all but 1 to 6 and 14)
 */
SWITCH_API void aclGetAction4Group(uint32_t type, const void *data, uint32_t *groupBit,
                                   uint32_t *groupValue, uint32_t *setFlag) SWITCH_NOEXCEPT;

/*
 * Prints a policy as text: a summary line on standard output, its rules on standard error.
 * An invalid handle prints nothing.
 */
SWITCH_API void aclLibDumpRules(AclPolicyHandle policy) SWITCH_NOEXCEPT;

/* ---- Match conditions ------------------------------------------------------------------------
 *
 * Each call adds one condition to the open rule. All conditions of a rule come before its first
 * action: a condition added later overwrites the first action.
 *
 *   policy, rule  the handles, checked in this order
 *   type          the condition's type code, where the call serves several
 *   data          the condition's value, copied as it is: as many bytes as stated, big-endian; not
 *                 where the entry is written, at the end of the open rule's conditions or actions
 *
 * All return 0; -2 for a bad handle (with the message above), a type the call does not accept or
 * null data (silently). A policy is built by one thread at a time; data is not retained.
 */

/* IPv4 address. type: 0 source, 1 destination, 34, 35, 40 ARP target, 41 ARP sender; no other.
 * data: 8 bytes: address (4), mask (4). */
SWITCH_API int32_t aclLibAddRuleCondIPAddr(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                           const void *data) SWITCH_NOEXCEPT;

/* IPv6 address. type: 23 or 24; no other. data: 36 bytes in the layout of the ACL manager. */
SWITCH_API int32_t aclLibAddRuleCondIPv6Addr(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                             const void *data) SWITCH_NOEXCEPT;

/* IP protocol (type 3). data: 2 bytes: protocol, mask. */
SWITCH_API int32_t aclLibAddRuleCondProtocol(AclPolicyHandle policy, uint32_t rule,
                                             const void *data) SWITCH_NOEXCEPT;

/* TCP flags (type 14). data: 2 bytes: flags, mask. */
SWITCH_API int32_t aclLibAddRuleCondTcpFlags(AclPolicyHandle policy, uint32_t rule,
                                             const void *data) SWITCH_NOEXCEPT;

/* MAC address. type: 19 source, 20 destination, 36; no other. data: 12 bytes: address, mask. */
SWITCH_API int32_t aclLibAddRuleCondMacAddr(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                            const void *data) SWITCH_NOEXCEPT;

/* EtherType (type 18). data: 4 bytes: EtherType (2), mask (2). */
SWITCH_API int32_t aclLibAddRuleCondEtherType(AclPolicyHandle policy, uint32_t rule,
                                              const void *data) SWITCH_NOEXCEPT;

/* Class. type: 48, 49 or 50; no other. data: 12 bytes: kind (1) at 0, class id (4) at 4. */
SWITCH_API int32_t aclLibAddRuleCondClassId(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                            const void *data) SWITCH_NOEXCEPT;

/* LLC DSAP (type 37). data: 1 byte. */
SWITCH_API int32_t aclLibAddRuleCondDsap(AclPolicyHandle policy, uint32_t rule,
                                         const void *data) SWITCH_NOEXCEPT;

/* LLC SSAP (type 38). data: 1 byte. */
SWITCH_API int32_t aclLibAddRuleCondSsap(AclPolicyHandle policy, uint32_t rule,
                                         const void *data) SWITCH_NOEXCEPT;

/* SNAP type (type 39). data: 2 bytes. */
SWITCH_API int32_t aclLibAddRuleCondSnapType(AclPolicyHandle policy, uint32_t rule,
                                             const void *data) SWITCH_NOEXCEPT;

/* IP option (type 4). data: 4 bytes. */
SWITCH_API int32_t aclLibAddRuleCondIPOptions(AclPolicyHandle policy, uint32_t rule,
                                              const void *data) SWITCH_NOEXCEPT;

/* L4 match (type 55). data: 12 bytes in the layout of the ACL manager. */
SWITCH_API int32_t aclLibAddRuleCondL4Match(AclPolicyHandle policy, uint32_t rule,
                                            const void *data) SWITCH_NOEXCEPT;

/* Range of a VLAN or priority value. type, any: 21 VLAN id, 22 802.1p, 27 outer VLAN id, 28 inner
 * VLAN id, 29 IVID, 30 outer CoS, 31 inner CoS, 32 TOS, 33 DSEVC. data: 12 bytes: low value (4),
 * high value (4), mask (4). */
SWITCH_API int32_t aclLibAddRuleCondVidRange(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                             const void *data) SWITCH_NOEXCEPT;

/* Range of physical ports (type 26). data: 8 bytes: direction (1) at 0, slot (2) at 2, first port
 * (2) at 4, last port (2) at 6. */
SWITCH_API int32_t aclLibAddRuleCondSlotPortRange(AclPolicyHandle policy, uint32_t rule,
                                                  const void *data) SWITCH_NOEXCEPT;

/* Range of L4 ports. type: 12 source, 13 destination; no other. data: 6 bytes: low port (2), high
 * port (2), mask (2). */
SWITCH_API int32_t aclLibAddRuleCondPortRange(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                              const void *data) SWITCH_NOEXCEPT;

/* IP fragment. type: 10 or 11; no other. */
SWITCH_API int32_t aclLibAddRuleFragment(AclPolicyHandle policy, uint32_t rule,
                                         uint32_t type) SWITCH_NOEXCEPT;

/* Packet resolution. type, any: 42. resolution: code 255 to 275, a number in host byte order. */
SWITCH_API int32_t aclLibAddRulePktResolution(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                              uint32_t resolution) SWITCH_NOEXCEPT;

/* Next hop. type, any: 52 IPv4, with 4 bytes of data; every other one IPv6, with 16 bytes. */
SWITCH_API int32_t aclLibAddRuleNextHop(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                        const void *data) SWITCH_NOEXCEPT;

/* Lookup status (type 43). status: a number in host byte order. */
SWITCH_API int32_t aclLibAddRuleLookupStatus(AclPolicyHandle policy, uint32_t rule,
                                             uint32_t status) SWITCH_NOEXCEPT;

/* Any SDN VLAN (type 44). */
SWITCH_API int32_t aclLibAddRuleSdnVlanAny(AclPolicyHandle policy, uint32_t rule) SWITCH_NOEXCEPT;

/* Destination physical port (type 45). data: 4 bytes: slot (2), port (2). */
SWITCH_API int32_t aclLibAddRuleCondDstPhysPort(AclPolicyHandle policy, uint32_t rule,
                                                const void *data) SWITCH_NOEXCEPT;

/* Source physical port (type 46). data: 4 bytes: slot (2), port (2). */
SWITCH_API int32_t aclLibAddRuleCondSrcPhysPort(AclPolicyHandle policy, uint32_t rule,
                                                const void *data) SWITCH_NOEXCEPT;

/* List of source physical ports (type 47). data: 64 bytes: NUL-terminated text. */
SWITCH_API int32_t aclLibAddRuleCondSrcPhysPortList(AclPolicyHandle policy, uint32_t rule,
                                                    const void *data) SWITCH_NOEXCEPT;

/* DSCP (type 7), although the name says DCSP. data: 2 bytes: value, mask. */
SWITCH_API int32_t aclLibAddRuleCondDCSP(AclPolicyHandle policy, uint32_t rule,
                                         const void *data) SWITCH_NOEXCEPT;

/* VXLAN network identifier (type 54). data: 8 bytes: VNI (4), mask (4). */
SWITCH_API int32_t aclLibAddRuleCondVXLANVni(AclPolicyHandle policy, uint32_t rule,
                                             const void *data) SWITCH_NOEXCEPT;

/* Type of service (type 5). data: 2 bytes: value, mask. */
SWITCH_API int32_t aclLibAddRuleCondTOS(AclPolicyHandle policy, uint32_t rule,
                                        const void *data) SWITCH_NOEXCEPT;

/* Time to live (type 6). data: 2 bytes: value, mask. */
SWITCH_API int32_t aclLibAddRuleCondTTL(AclPolicyHandle policy, uint32_t rule,
                                        const void *data) SWITCH_NOEXCEPT;

/* VLAN format (type 51). data: 4 bytes: a code of the ACL manager. */
SWITCH_API int32_t aclLibAddRuleCondVlanFormat(AclPolicyHandle policy, uint32_t rule,
                                               const void *data) SWITCH_NOEXCEPT;

/* ICMP type (type 16). data: 2 bytes: type, mask. */
SWITCH_API int32_t aclLibAddRuleCondICMPType(AclPolicyHandle policy, uint32_t rule,
                                             const void *data) SWITCH_NOEXCEPT;

/* ICMP code (type 17). data: 2 bytes: code, mask. */
SWITCH_API int32_t aclLibAddRuleCondICMPCode(AclPolicyHandle policy, uint32_t rule,
                                             const void *data) SWITCH_NOEXCEPT;

/* IGMP type (type 15). data: 2 bytes: type, mask. */
SWITCH_API int32_t aclLibAddRuleCondIGMPType(AclPolicyHandle policy, uint32_t rule,
                                             const void *data) SWITCH_NOEXCEPT;

/* Bytes at an offset (type 25). data: 70 bytes: start offset (2), end offset (2), 32 pattern bytes,
 * 32 mask bytes, number of pattern bytes used (2). */
SWITCH_API int32_t aclLibAddRuleCondIpOffset(AclPolicyHandle policy, uint32_t rule,
                                             const void *data) SWITCH_NOEXCEPT;

/* OSPF (type 56). data: 2 bytes: version, packet type. */
SWITCH_API int32_t aclLibAddRuleCondOspf(AclPolicyHandle policy, uint32_t rule,
                                         const void *data) SWITCH_NOEXCEPT;

/* PIM (type 57). data: 1 byte: message type. */
SWITCH_API int32_t aclLibAddRuleCondPim(AclPolicyHandle policy, uint32_t rule,
                                        const void *data) SWITCH_NOEXCEPT;

/* Debug condition (type 58). data: 12 bytes: code (4), two parameters (4 each). */
SWITCH_API int32_t aclLibAddRuleDebugAcl(AclPolicyHandle policy, uint32_t rule,
                                         const void *data) SWITCH_NOEXCEPT;

/* Flow class (type 59). data: 8 bytes in the layout of the ACL manager. */
SWITCH_API int32_t aclLibAddRuleCondFlowClassId(AclPolicyHandle policy, uint32_t rule,
                                                const void *data) SWITCH_NOEXCEPT;

/* Flow group (type 60). data: 8 bytes in the layout of the ACL manager. */
SWITCH_API int32_t aclLibAddRuleCondFlowGroupId(AclPolicyHandle policy, uint32_t rule,
                                                const void *data) SWITCH_NOEXCEPT;

/* A condition without data, of any type. */
SWITCH_API int32_t aclLibConfigRuleCond(AclPolicyHandle policy, uint32_t rule,
                                        uint32_t type) SWITCH_NOEXCEPT;

/*
 * Keeps the leading bits of an IPv6 address and clears the others.
 *   source        16 bytes, network order; not null
 *   prefixLength  bits to keep; 128 or more keeps all
 *   destination   16 bytes, not null; may be the same memory as source, or overlap it
 * Thread-safe.
 */
SWITCH_API void aclApplyIPv6Msk(const void *source, uint32_t prefixLength,
                                void *destination) SWITCH_NOEXCEPT;

/* Entry n is the byte with its n highest bits set. */
SWITCH_API extern const uint8_t gAclMaskBit[9];

/* ---- Rule actions ----------------------------------------------------------------------------
 *
 * Each call adds one action to the open rule, behind its conditions. Arguments and results are
 * those of the condition calls. Accept, deny, sample, mirror and QoS actions are folded into the
 * rule's first action when that is a group action (type 9).
 */

/* An action without data. type: 1 accept, 2 deny, 3 sample on, 4 sample off, 6 mirror off, 8 CPU
 * copy off, 10 log, 11 log raw, or 18, 19, 42, 43, 48, 49, 54, 56, 66, 67, 68; any other one is
 * reported on standard output and gives -2. */
SWITCH_API int32_t aclLibConfigRuleAction(AclPolicyHandle policy, uint32_t rule,
                                          int32_t type) SWITCH_NOEXCEPT;

/* Class. type: 62, 63 or 64; no other. data: 2 bytes: class id. */
SWITCH_API int32_t aclLibConfigActionClassId(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                             const void *data) SWITCH_NOEXCEPT;

/* Flow group (type 71). data: 4 bytes. */
SWITCH_API int32_t aclLibConfigActionFlowGroupId(AclPolicyHandle policy, uint32_t rule,
                                                 const void *data) SWITCH_NOEXCEPT;

/* Cookie (type 50). data: 2 bytes. */
SWITCH_API int32_t aclLibConfigActionCookie(AclPolicyHandle policy, uint32_t rule,
                                            const void *data) SWITCH_NOEXCEPT;

/* Count (type 12). data: 38 bytes: counter description, its first 2 bytes the counter number. */
SWITCH_API int32_t aclLibConfigActionCount(AclPolicyHandle policy, uint32_t rule,
                                           const void *data) SWITCH_NOEXCEPT;

/* Meter (type 13). data: 36 bytes: meter description, its first 2 bytes the meter number. */
SWITCH_API int32_t aclLibConfigActionMeter(AclPolicyHandle policy, uint32_t rule,
                                           const void *data) SWITCH_NOEXCEPT;

/* Mirror (type 5). data: 33 bytes: NUL-terminated mirror name. */
SWITCH_API int32_t aclLibConfigActionMirror(AclPolicyHandle policy, uint32_t rule,
                                            const void *data) SWITCH_NOEXCEPT;

/* Domain (type 35). data: 33 bytes: NUL-terminated name. */
SWITCH_API int32_t aclLibConfigActionDomain(AclPolicyHandle policy, uint32_t rule,
                                            const void *data) SWITCH_NOEXCEPT;

/* Traffic queue (type 34). data: 33 bytes: NUL-terminated name. */
SWITCH_API int32_t aclLibConfigActionTrafficQueue(AclPolicyHandle policy, uint32_t rule,
                                                  const void *data) SWITCH_NOEXCEPT;

/* Flood group (type 36). data: 66 bytes: its description. */
SWITCH_API int32_t aclLibConfigActionFloodGroup(AclPolicyHandle policy, uint32_t rule,
                                                const void *data) SWITCH_NOEXCEPT;

/* QoS queue (type 14). data: 1 byte: queue number. */
SWITCH_API int32_t aclLibConfigActionQos(AclPolicyHandle policy, uint32_t rule,
                                         const void *data) SWITCH_NOEXCEPT;

/* Unicast reverse-path check (type 15). data: 1 byte: mode. */
SWITCH_API int32_t aclLibConfigActionUrpf(AclPolicyHandle policy, uint32_t rule,
                                          const void *data) SWITCH_NOEXCEPT;

/* CPU copy with a queue (type 7). data: 1 byte: queue. */
SWITCH_API int32_t aclLibConfigActionCpuQos(AclPolicyHandle policy, uint32_t rule,
                                            const void *data) SWITCH_NOEXCEPT;

/* CPU copy to the snooping queue (type 70). data: 1 byte: queue. */
SWITCH_API int32_t aclLibConfigActionCpuQosToSnoop(AclPolicyHandle policy, uint32_t rule,
                                                   const void *data) SWITCH_NOEXCEPT;

/* CPU copy for SDN. data: 1 byte: queue. selector: 0 copy and drop on a miss (type 51), 1 copy and
 * drop on an action (type 52), 2 copy (type 53); any other one returns -1. */
SWITCH_API int32_t aclLibConfigActionCpuQosSDN(AclPolicyHandle policy, uint32_t rule,
                                               const void *data, uint32_t selector) SWITCH_NOEXCEPT;

/* Redirect. data: 4 bytes: target. selector: 179 for type 69, any other one for type 22. */
SWITCH_API int32_t aclLibConfigActionRedirect(AclPolicyHandle policy, uint32_t rule,
                                              const void *data, uint32_t selector) SWITCH_NOEXCEPT;

/* New destination MAC address (type 44). data: 6 bytes. */
SWITCH_API int32_t aclLibConfigActionReplaceMacda(AclPolicyHandle policy, uint32_t rule,
                                                  const void *data) SWITCH_NOEXCEPT;

/* New source MAC address (type 45). data: 6 bytes. */
SWITCH_API int32_t aclLibConfigActionReplaceMacsa(AclPolicyHandle policy, uint32_t rule,
                                                  const void *data) SWITCH_NOEXCEPT;

/* New VLAN id (type 46). data: 4 bytes. */
SWITCH_API int32_t aclLibConfigActionReplaceVid(AclPolicyHandle policy, uint32_t rule,
                                                const void *data) SWITCH_NOEXCEPT;

/* Push a VLAN tag (type 65). data: 4 bytes: VLAN id. */
SWITCH_API int32_t aclLibConfigActionAddVid(AclPolicyHandle policy, uint32_t rule,
                                            const void *data) SWITCH_NOEXCEPT;

/* 802.1p value (type 20). data: 4 bytes. */
SWITCH_API int32_t aclLibConfigActionDot1p(AclPolicyHandle policy, uint32_t rule,
                                           const void *data) SWITCH_NOEXCEPT;

/* The same as aclLibConfigActionDot1p(). */
SWITCH_API int32_t aclLibConfigActionDot1pReplaceValue(AclPolicyHandle policy, uint32_t rule,
                                                       const void *data) SWITCH_NOEXCEPT;

/* EtherType of the outer tag (type 21). data: 4 bytes. */
SWITCH_API int32_t aclLibConfigActionSVidEtherType(AclPolicyHandle policy, uint32_t rule,
                                                   const void *data) SWITCH_NOEXCEPT;

/* VLAN id. type, any: 23 outer, 24 inner, 25 tunnel. data: 4 bytes. */
SWITCH_API int32_t aclLibConfigActionVid(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                         const void *data) SWITCH_NOEXCEPT;

/* LAG hash selector. type, any: 39. data: 4 bytes. */
SWITCH_API int32_t aclLibConfigActionLagHash(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                             const void *data) SWITCH_NOEXCEPT;

/* Flood list. type, any: 40 define, 41 use. data: 4 bytes: list id. */
SWITCH_API int32_t aclLibConfigActionFloodList(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                               const void *data) SWITCH_NOEXCEPT;

/* Link. type: any. data: 6 bytes. */
SWITCH_API int32_t aclLibConfigActionLink(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                          const void *data) SWITCH_NOEXCEPT;

/* Port set. type: any. data: 8 bytes. */
SWITCH_API int32_t aclLibConfigActionPorts(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                           const void *data) SWITCH_NOEXCEPT;

/* Port list. type: any. data: 64 bytes: text. */
SWITCH_API int32_t aclLibConfigActionPortList(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                              const void *data) SWITCH_NOEXCEPT;

/* 802.1ah encapsulation. type, any: 37. data: 33 bytes: NUL-terminated service VLAN name. */
SWITCH_API int32_t aclLibConfigActionDot1ahEncap(AclPolicyHandle policy, uint32_t rule,
                                                 uint32_t type, const void *data) SWITCH_NOEXCEPT;

/* 802.1ah decapsulation. type, any: 38. data: 33 bytes: NUL-terminated service VLAN name. */
SWITCH_API int32_t aclLibConfigActionDot1ahDecap(AclPolicyHandle policy, uint32_t rule,
                                                 uint32_t type, const void *data) SWITCH_NOEXCEPT;

/* New DSCP (type 17). data: 1 byte. */
SWITCH_API int32_t aclLibConfigActionDscpReplaceValue(AclPolicyHandle policy, uint32_t rule,
                                                      const void *data) SWITCH_NOEXCEPT;

/* Redirect to a named target (type 47). data: 33 bytes: NUL-terminated name. */
SWITCH_API int32_t aclLibConfigActionRedirectName(AclPolicyHandle policy, uint32_t rule,
                                                  const void *data) SWITCH_NOEXCEPT;

/* Do not learn the source address (type 58). */
SWITCH_API int32_t aclLibConfigActionDoNotLearn(AclPolicyHandle policy,
                                                uint32_t rule) SWITCH_NOEXCEPT;

/* ---- Transaction handles ---------------------------------------------------------------------
 *
 * Requests travel as TLV objects in packets of 8128 bytes. A handle's mutex serialises appending
 * and sending and is held across the messaging service's send; all calls are thread-safe. A null
 * handle given to transHandleSetPeer(), transHandleSend() or transHandleCommit() aborts the
 * process.
 */

/* Creates an unconnected handle. Returns it, owned by the caller; null when memory is exhausted. */
SWITCH_API TransHandle *transHandleCreate(void) SWITCH_NOEXCEPT;

/*
 * Frees a handle and its packet; requests that were not sent are lost. Null is a no-op. No other
 * thread may be using the handle.
 */
SWITCH_API void transHandleFree(TransHandle *handle) SWITCH_NOEXCEPT;

/* Gives the handle its peer; 0 takes it away. Requests already appended are kept. Returns 0. */
SWITCH_API int32_t transHandleSetPeer(TransHandle *handle, uint32_t peerId) SWITCH_NOEXCEPT;

/*
 * Appends one object, sending the packet first when the object does not fit.
 *   type    TLV object type
 *   data    `length` bytes, copied; may be null when length is 0
 *   length  bytes; an object of more than 65535 is dropped without an error
 *   flush   non-zero: send the packet at once
 * Returns 0 when the object was appended (and sent, where asked for), also when the packet is
 * queued; -1 without a peer or without a packet, else -2 for null data with a length, with nothing
 * appended; or the negative result of the messaging service, where -1 and -115 have dropped the
 * packet with every request in it. That packet is the one sent last: when one call sends twice, the
 * result is that of the second packet; when it sends only to make room (flush 0), the result is
 * that of the former packet, and the object waits in the next one whatever the result. Aborts when
 * there is no memory for a new packet.
 */
SWITCH_API int32_t transHandleSend(TransHandle *handle, uint16_t type, const void *data,
                                   uint32_t length, int32_t flush) SWITCH_NOEXCEPT;

/*
 * Sends what has been appended.
 * Returns 0 when nothing had been; -1 without a peer or without a packet; otherwise the messaging
 * service's result as it is: a positive byte count, -116 for a packet that was queued, or a failure
 * (-1 and -115 have dropped the packet). Aborts when there is no memory for a new packet.
 */
SWITCH_API int32_t transHandleCommit(TransHandle *handle) SWITCH_NOEXCEPT;

/*
 * Sends one request to the ACL manager at once: transHandleSend(aclHandle, type, data, length, 1).
 * Returns its result; -1 before aclLibConnect().
 */
SWITCH_API int32_t aclLibSendMsg(uint16_t type, const void *data, uint16_t length) SWITCH_NOEXCEPT;

/* The same with the caller's choice of sending at once (flush not 0) or with a later request. */
SWITCH_API int32_t aclLibSendMsg2(uint16_t type, const void *data, uint16_t length,
                                  int32_t flush) SWITCH_NOEXCEPT;

/* The library's handle, null before aclLibConnect(). */
SWITCH_API extern TransHandle *aclHandle;

/* ---- Start-up and connection ----------------------------------------------------------------- */

/*
 * Initialises the policy lock and opens the trace buffer. May be called again while no thread holds
 * the lock. Returns 0, also without a trace buffer; -1 when the lock cannot be initialised (the
 * trace buffer is then not opened). aclLibConnect() calls it.
 */
SWITCH_API int32_t aclLibInit(void) SWITCH_NOEXCEPT;

/*
 * Makes the library usable: to be called once per process, before any other call that sends. The
 * connection comes up later; until then requests return -1. A second call makes a second handle;
 * the first one is never freed.
 *   callback  told about every answer; null for none
 * Returns the result of aclLibInitClients(). Without memory for aclHandle the result is not
 * different, and every request returns -1.
 */
SWITCH_API int32_t aclLibConnect(AclMsgCallback callback) SWITCH_NOEXCEPT;

/*
 * Registers the process as a client of the ACL manager, with aclLibCallback() as its receive entry.
 *   ignored  not used
 *   handler  told about the connection; null keeps the handler there is
 * Returns 0; -1 when the messaging service refuses the client or memory is exhausted. A dispatcher
 * that does not take the registration yet gives 0 too: it is repeated every second, and given up
 * only when not even the repetition can be scheduled.
 */
SWITCH_API int32_t aclLibInitClients(void *ignored, AclConnectionHandler handler) SWITCH_NOEXCEPT;

/*
 * The connection handler that aclLibConnect() installs. On event -121 it sets the peer's options
 * and gives the peer to aclHandle. Returns 0; -121 for any other event, without doing anything:
 * after a loss the handle keeps its old peer until the next connection.
 */
SWITCH_API int32_t aclLibConnectionEvent(uint32_t peerId, int32_t event) SWITCH_NOEXCEPT;

/*
 * Closes the connection to the ACL manager. The dispatcher connects again by itself, under a new
 * peer, which the connection handler is told; until then sending returns -1. Returns 0 whatever
 * happened.
 */
SWITCH_API int32_t aclClosePeer(void) SWITCH_NOEXCEPT;

/* Sets the messaging options of a peer: 2 to 1, 8 to 2, 3 to 100000. Returns the last result. */
SWITCH_API int32_t aclSetPeerOptions(uint32_t peerId) SWITCH_NOEXCEPT;

/*
 * Announces this process to the ACL manager.
 *   name  NUL-terminated; its first 32 characters are sent; null is sent as the empty name
 * Returns the result of aclLibSendMsg().
 */
SWITCH_API int32_t aclLibSendProcessInfo(const char *name) SWITCH_NOEXCEPT;

/*
 * Tells how many packets wait for the ACL manager to read on. Returns the count; 0 before
 * aclLibConnect(); 100000 when the messaging service cannot tell.
 */
SWITCH_API int32_t aclLibPeerIdCurrentQueueSize(void) SWITCH_NOEXCEPT;

SWITCH_API extern uint32_t aclPeerId;            /* the manager's peer while connected, else 0 */
SWITCH_API extern uint32_t aclTraceBufferHandle; /* trace buffer "acl", 0 before aclLibInit() */

/*
 * The handler that is told about the connection; aclLibConnect() installs aclLibConnectionEvent().
 * An application that wants to know, for example to send its policies again to a manager that was
 * started anew, sets its own after aclLibConnect() and calls aclLibConnectionEvent() from it first.
 */
SWITCH_API extern AclConnectionHandler aclConnectionHandler;

SWITCH_API extern AclMsgCallback aclMsgCallback; /* as given to aclLibConnect() */

/* Guards the policy store; usable before aclLibInit() too. Strict C has its type only where
 * _POSIX_C_SOURCE asks for it. */
#ifdef PTHREAD_RWLOCK_INITIALIZER
SWITCH_API extern pthread_rwlock_t aclPolicyLock;
#endif

/* ---- Policies at the ACL manager -------------------------------------------------------------
 *
 * These calls send a request; the manager's answer comes to the callback. An invalid policy handle
 * is reported on standard output and gives -2. A policy must not be changed while it is being sent.
 *
 *   vlan    VLAN id
 *   port    slot in bits 16 to 23, port number in bits 0 to 15
 *   header  592 bytes that travel with the request and come back with its answer, copied as they
 *           are (the first two are replaced by the message code), or null for zeros
 */

/*
 * Downloads a policy's rules, in as many requests as its size needs. Returns 0, whether or not they
 * could be sent; -1 when memory is exhausted. Does not spare aclLibConfigPolicy() its own download.
 */
SWITCH_API int32_t aclLibAddPolicy(AclPolicyHandle policy) SWITCH_NOEXCEPT;

/* Replaces the rules of a policy that was added. Results are those of aclLibAddPolicy(). */
SWITCH_API int32_t aclLibRefreshPolicy(AclPolicyHandle policy) SWITCH_NOEXCEPT;

/*
 * Applies a policy to a port and VLAN; a policy that was never configured is downloaded first.
 *   applyFlags  0 or 2; with any other bit the result is -2 and nothing but that download is sent
 * Returns the result of the send. The download's own result is ignored, and the policy counts as
 * downloaded from then on.
 */
SWITCH_API int32_t aclLibConfigPolicy(AclPolicyHandle policy, uint32_t vlan, uint32_t port,
                                      uint32_t applyFlags, const void *header) SWITCH_NOEXCEPT;

/* Takes a policy off a port and VLAN; arguments and results as above, but nothing is downloaded. */
SWITCH_API int32_t aclLibUnconfigPolicy(AclPolicyHandle policy, uint32_t vlan, uint32_t port,
                                        uint32_t applyFlags, const void *header) SWITCH_NOEXCEPT;

/*
 * Asks the manager to delete a policy. The policy stays valid until the manager has agreed.
 * Returns the result of the send.
 */
SWITCH_API int32_t aclLibDeletePolicy(AclPolicyHandle policy, const void *header) SWITCH_NOEXCEPT;

/*
 * Sends a policy's rules in chunks of at most 7872 bytes, each behind a head of 652 bytes.
 *   code  message code: 0x2001 add, 0x2003 refresh
 *   send  called once per chunk as send(0x1002, body, length); its results are ignored
 * Returns 0; -1 when memory is exhausted; -2 for an invalid handle (without a message) or a null
 * send function.
 */
SWITCH_API int32_t aclSendPolicy(AclPolicyHandle policy, uint16_t code,
                                 AclSendFn send) SWITCH_NOEXCEPT;

/*
 * Replaces rules of a policy in place.
 *   name         the policy's name; its first 32 characters are sent
 *   arg1, arg2, arg8bit, arg3
 *                passed on to the manager
 *   rules        `rulesLength` bytes of encoded rules, copied; may be null when rulesLength is 0
 *   rulesLength  bytes; the length given to `send` is 652 more, cut to 16 bits
 *   send         called once as send(0x1002, body, length)
 * Returns what `send` returned; -1 when memory is exhausted; -2 for a null send function or null
 * rules with a length.
 */
SWITCH_API int32_t aclSendModifyRule(const char *name, uint32_t arg1, uint32_t arg2,
                                     uint8_t arg8bit, uint32_t arg3, const void *rules,
                                     uint32_t rulesLength, const void *header,
                                     AclSendFn send) SWITCH_NOEXCEPT;

/* ---- Policy store ----------------------------------------------------------------------------
 *
 * The policies that an application has registered, by name. A policy is in the store from
 * aclBtreeInsertPolicy() until aclBtreeDeletePolicy(), or until the ACL manager confirms its
 * deletion, which the library takes as both: it is removed and freed.
 *
 * No call here takes the lock by itself, so that a walk sees one state: readers (find, first, next)
 * bracket their use with aclBtreeReadLock(), writers (insert, delete) with aclBtreeWriteLock(),
 * both with aclBtreeUnlock(). A found policy may be freed by the dispatcher's thread as soon as the
 * lock is released.
 *
 * Handles are checked as those of all calls, but a bad one is not reported on standard output. A
 * caller's own record with the right selfCheck is a policy here, too; it must stay while it is in
 * the store.
 */

/* Take aclPolicyLock for reading, take it for writing, release it. Return the result of the pthread
 * call: 0, or an error number. */
SWITCH_API int32_t aclBtreeReadLock(void) SWITCH_NOEXCEPT;
SWITCH_API int32_t aclBtreeWriteLock(void) SWITCH_NOEXCEPT;
SWITCH_API int32_t aclBtreeUnlock(void) SWITCH_NOEXCEPT;

/* Registers a policy under its name. Returns 0; -1 when one of that name is there already (nothing
 * changed); -2 for an invalid handle. */
SWITCH_API int32_t aclBtreeInsertPolicy(AclPolicyHandle policy) SWITCH_NOEXCEPT;

/* Takes a policy out of the store and leaves it alive. Returns 0; -1 when it is not in the store;
 * -2 for an invalid handle. */
SWITCH_API int32_t aclBtreeDeletePolicy(AclPolicyHandle policy) SWITCH_NOEXCEPT;

/* Finds a policy. name: NUL-terminated, its first 32 characters count; null is the empty name.
 * Returns its handle, 0 when there is none. */
SWITCH_API AclPolicyHandle aclFindPolicy(const char *name) SWITCH_NOEXCEPT;

/* Returns the first policy in the order of names (by bytes), 0 when the store is empty. */
SWITCH_API AclPolicyHandle aclFindFirstPolicy(void) SWITCH_NOEXCEPT;

/* Returns the policy that follows one in the store; 0 after the last one, and for an invalid
 * handle. */
SWITCH_API AclPolicyHandle aclGetNextPolicy(AclPolicyHandle policy) SWITCH_NOEXCEPT;

/* The root of the store, null when it is empty. */
SWITCH_API extern KvNode *aclPolicyTree;

/* ---- Test policies ---------------------------------------------------------------------------
 *
 * Fixed policies that try the whole road from encoding to the ACL manager. Neither call sends: the
 * caller adds or refreshes the policy. Both print it as aclLibDumpRules() does. A rule that memory
 * does not suffice for is missing from it, and the calls that were to fill it report so.
 */

/* Creates a policy of six rules, "rule-0" to "rule-5". name: as for aclLibNewPolicy(). Returns the
 * handle; 0 when memory is exhausted; -2 for a null or empty name. In both cases nothing is
 * printed. */
SWITCH_API AclPolicyHandle aclLibCreateTestPolicy(const char *name) SWITCH_NOEXCEPT;

/* Replaces the rules of a policy by ten others, "rule-0" to "rule-9". Returns `policy` as it is; a
 * bad one is neither reported nor touched. */
SWITCH_API AclPolicyHandle aclLibModifyTestPolicy(AclPolicyHandle policy) SWITCH_NOEXCEPT;

/* ---- Dynamic rules ---------------------------------------------------------------------------
 *
 * Dynamic rules are named rules that an application adds and binds to a port and VLAN at run time,
 * outside any policy. Each call sends one request and returns the result of the send; the manager's
 * answer comes to the callback. Any thread. The calls that end in Batch may leave their request
 * waiting (flush 0) so that several travel in one packet: with the last one, sent with flush not 0,
 * or with transHandleCommit(aclHandle); they write no trace line.
 *
 *   ruleName, counterName  NUL-terminated, the first 32 characters are sent; null is the empty name
 *   encodedRule            816 bytes, copied as they are: the record of a rule as it lies in a
 *                          policy's ruleBuffer, and whatever follows it there; null gives -2.
 *                          The usual way: a policy of one rule, ended with aclLibEndRule(); its
 *                          ruleBuffer then holds the record and can be read that far. The policy's
 *                          name, and the rule's name and id in it, mean nothing here
 *   appId                  application: a row of aclGlobalApps; traces show any other one as row 0
 *   context                comes back with the answer
 *   vlan                   VLAN id, or number of a VLAN interface
 *   port                   slot in bits 16 to 23, port number in bits 0 to 15
 *   direction              ingress or egress, as the ACL manager numbers them; its low byte is sent
 *   record                 borrowed; null gives -2
 */

/* What a dynamic rule is bound to, and how. Host byte order. */
typedef struct AclDynRuleRecord {
  uint32_t appId;
  uint32_t ruleFlags;        /* passed on to the manager */
  char ruleName[33];         /* NUL-terminated */
  char relativeRuleName[33]; /* the rule this one is placed before or behind; may be empty */
  uint8_t reserved1[66];
  int32_t priority;
  uint8_t ruleKind; /* passed on by aclLibConfigDynRuleBatch() only */
  uint8_t reserved2[3];
  uint32_t port;
  uint8_t rule[1316]; /* room for the rule itself; not read by this library */
  int32_t vlan;
  uint8_t direction;
  uint8_t reserved3[11];
  uint16_t bindAttr;   /* passed on */
  uint32_t bindFlags;  /* passed on */
  uint32_t bindCookie; /* comes back with the answer */
} AclDynRuleRecord;

/* Which counter is to be cleared. Host byte order. */
typedef struct AclCounterClearRecord {
  uint32_t appId;
  uint32_t port;
  uint32_t vlan;
  uint8_t direction;
  char ruleName[33];    /* NUL-terminated */
  char counterName[33]; /* NUL-terminated */
} AclCounterClearRecord;

/* A rule by its name. Host byte order. */
typedef struct AclRuleRecord {
  char ruleName[33];   /* NUL-terminated */
  uint32_t policyFlag; /* not 0: the name is a policy's, 0: a dynamic rule's */
  uint8_t direction;   /* 1: egress */
  uint8_t attribute;   /* passed on */
} AclRuleRecord;

/* An application, as the ACL manager knows it. Host byte order. */
typedef struct AclClientId {
  uint16_t clientNumber; /* the application: a row of aclGlobalApps */
  uint32_t word1;        /* passed on */
  uint32_t word2;        /* passed on */
} AclClientId;

/* One entry of a list of policies to be checked. Host byte order. */
typedef struct AclPolicyEntry {
  uint8_t type;        /* passed on */
  uint32_t value;      /* passed on */
  char policyName[33]; /* NUL-terminated */
} AclPolicyEntry;

/* Adds a dynamic rule; it filters nothing until it is configured. */
SWITCH_API int32_t aclLibAddDynRule(const char *ruleName, const void *encodedRule, uint32_t appId,
                                    uint32_t context) SWITCH_NOEXCEPT;

/* Deletes a dynamic rule. */
SWITCH_API int32_t aclLibDelDynRule(const char *ruleName, uint32_t appId) SWITCH_NOEXCEPT;

/* Binds a dynamic rule. */
SWITCH_API int32_t aclLibConfigDynRule(const AclDynRuleRecord *record) SWITCH_NOEXCEPT;

/* Takes a dynamic rule off. relativeRuleName, priority and bindAttr are not sent. */
SWITCH_API int32_t aclLibUnconfigDynRule(const AclDynRuleRecord *record) SWITCH_NOEXCEPT;

/* Asks for a counter of a dynamic rule. The answer, code 0x3011, carries its name (33 bytes) at 634
 * and its value in two 32-bit words, the upper one at 680, the lower one at 684. */
SWITCH_API int32_t aclLibGetDynRuleCounter(const char *ruleName, const char *counterName,
                                           uint32_t vlan, uint32_t port, uint32_t direction,
                                           uint32_t appId, uint32_t context) SWITCH_NOEXCEPT;

/* Sets a counter of a dynamic rule to 0. */
SWITCH_API int32_t aclLibClearCounter(const AclCounterClearRecord *record,
                                      uint32_t context) SWITCH_NOEXCEPT;

/* The same, from single arguments. */
SWITCH_API int32_t aclLibClearCounterWrapper(const char *ruleName, const char *counterName,
                                             uint32_t vlan, uint32_t port, uint32_t direction,
                                             uint32_t appId, uint32_t context) SWITCH_NOEXCEPT;

/* As aclLibConfigDynRule(). Sends ruleKind, but no priority, bindAttr nor bindFlags: the manager
 * takes the priority for 0, so that rules of a batch stand in the order in which they are sent, and
 * one with a relative rule stands behind it. */
SWITCH_API int32_t aclLibConfigDynRuleBatch(const AclDynRuleRecord *record,
                                            int32_t flush) SWITCH_NOEXCEPT;

/* As aclLibUnconfigDynRule(). Sends no bindCookie nor bindFlags. */
SWITCH_API int32_t aclLibUnconfigDynRuleBatch(const AclDynRuleRecord *record,
                                              int32_t flush) SWITCH_NOEXCEPT;

/* As aclLibAddDynRule(). Five such requests fill a packet. */
SWITCH_API int32_t aclLibAddDynRuleBatch(const char *ruleName, const void *encodedRule,
                                         uint32_t appId, int32_t flush,
                                         uint32_t context) SWITCH_NOEXCEPT;

/* As aclLibDelDynRule(). */
SWITCH_API int32_t aclLibDelDynRuleBatch(const char *ruleName, uint32_t appId,
                                         int32_t flush) SWITCH_NOEXCEPT;

/* ---- Requests about what applications have installed -----------------------------------------
 *
 * Each sends one request at once and returns the result of the send. Any thread.
 */

/*
 * Takes a rule off everywhere it is bound.
 *   rule        its name and policyFlag are sent; null gives 0, and nothing is sent
 *   unbindFlag, unbindKey
 *               passed on to the manager
 */
SWITCH_API int32_t aclLibUnbindRule(const AclRuleRecord *rule, uint8_t unbindFlag,
                                    uint16_t unbindKey) SWITCH_NOEXCEPT;

/*
 * Moves an attribute from one application to another.
 *   attribute   a number of the ACL manager
 *   fromApplication, toApplication
 *               rows of aclGlobalApps
 *   moveCookie  comes back with the answer
 */
SWITCH_API int32_t aclLibMoveApplAttribute(uint8_t attribute, uint8_t fromApplication,
                                           uint8_t toApplication,
                                           uint32_t moveCookie) SWITCH_NOEXCEPT;

/* Removes everything an application has installed. client: borrowed; null gives -2. */
SWITCH_API int32_t aclLibCleanClientRules(const AclClientId *client) SWITCH_NOEXCEPT;

/*
 * Asks whether policies exist.
 *   entries      `count` entries, borrowed; may be null when count is 0
 *   count        at most 100; more, or a null array with a count, gives -2
 *   checkCookie  comes back with the answer
 */
SWITCH_API int32_t aclLibCheckPolicy(const AclPolicyEntry *entries, uint32_t count,
                                     uint32_t checkCookie) SWITCH_NOEXCEPT;

/* ---- Meters ----------------------------------------------------------------------------------
 *
 * A meter is a named rate limiter that an application owns in the ACL manager. Creating,
 * configuring and deleting send a request whose answer comes to the callback, and return 0 when it
 * was sent, -1 otherwise. Any thread.
 *
 *   meterName  NUL-terminated, the first 31 characters are sent (32 for the calls that bind); null
 *              is the empty name
 *   owner      borrowed, not null
 */

/* Whose meter it is. Host byte order. */
typedef struct AclMeterOwner {
  uint16_t appId;        /* a row of aclGlobalApps */
  uint32_t meterContext; /* comes back with the answer */
} AclMeterOwner;

/* Creates a meter. */
SWITCH_API int32_t aclLibCreateMeter(const char *meterName,
                                     const AclMeterOwner *owner) SWITCH_NOEXCEPT;

/* Deletes a meter. */
SWITCH_API int32_t aclLibDeleteMeter(const char *meterName,
                                     const AclMeterOwner *owner) SWITCH_NOEXCEPT;

/*
 * Sets a meter's rates. All numbers are passed on as they are, in the manager's units and codes.
 *   cirRate, cirBurstSize  committed information rate and burst size
 *   peakRate, burstSize    peak rate and burst size
 *   outAction              what becomes of packets that are out of profile
 *   dscpVal                DSCP that such packets get, where outAction says so
 *   extra                  passed on
 */
SWITCH_API int32_t aclLibConfigMeter(const char *meterName, uint32_t cirRate, uint32_t cirBurstSize,
                                     uint32_t peakRate, uint32_t burstSize, uint32_t outAction,
                                     uint32_t dscpVal, uint32_t extra,
                                     const AclMeterOwner *owner) SWITCH_NOEXCEPT;

/*
 * Bind a meter to a client and take it off, over the synchronous channel: they wait for the
 * manager, if need be for ever, and what is said of that channel below holds for them.
 *   meterName  up to 31 characters, as long as the manager can know it; 32 are sent
 *   target     a number of the manager; its low byte is sent
 * Return the manager's status (aclStatusText()); -1 when the request could not be sent at once or
 * the answer carries no object. Abort when there is no memory for the answer. One thread at a time.
 */
SWITCH_API int32_t aclLibBindMeter(const char *meterName, uint32_t target) SWITCH_NOEXCEPT;
SWITCH_API int32_t aclLibUnbindMeter(const char *meterName, uint32_t target) SWITCH_NOEXCEPT;

/* ---- Synchronous channel ---------------------------------------------------------------------
 *
 * A second connection to the ACL manager, for requests whose caller waits for the answer. One
 * request at a time: two threads at once could take each other's answers. Must not be used on the
 * dispatcher's thread.
 *
 * Nothing here gives up. Without a manager the set-up waits until there is one. A request waits
 * until an answer comes, and for ever when none will: when the manager ended after it took the
 * request, whether or not another one was started, and when there was no memory for the request,
 * which then was not sent.
 */

/*
 * Looks the manager up and connects. The first request does it by itself. Every call makes another
 * peer in place of the former one; where the messaging service does not make it, a line on standard
 * output says so, and the former peer is connected.
 * Returns 0 when connected; -109 when the manager refuses. The id of the refused peer then stays,
 * so that no request sets the channel up again: each one returns -1 until this is called again.
 */
SWITCH_API int32_t initAclLibSyncConfigLib(void) SWITCH_NOEXCEPT;

/*
 * Sends one request and waits for its answer.
 *   body    `length` bytes, big-endian, a message code first; overwritten by as many bytes of the
 *           answer, zeros behind a shorter one
 *   length  at most 65535
 * Returns the answer's status; -1, with the body unchanged, when the request could not be sent at
 * once or the answer carries no object; -2 for a null body or a longer one. Aborts when there is no
 * memory for the answer. A request that the bus has queued gives -1 too, and is answered all the
 * same: the next call may take that answer for its own. Without memory for the request nothing is
 * sent, and the call waits for an answer all the same.
 */
SWITCH_API int32_t aclLibSendAndRecvFromAclMgr(void *body, uint32_t length) SWITCH_NOEXCEPT;

SWITCH_API extern uint32_t
    aclLibSyncConfigService; /* the channel's message-bus client, 0 for none */
SWITCH_API extern uint32_t
    aclLibSyncConfigPeerId; /* the manager's peer on it, 0 before its set-up */

/* ---- Tracing and events ---------------------------------------------------------------------- */

/*
 * Writes one trace line.
 *   flags  bits 0 to 3: level (1 critical, 2 error, 3 warning, 4 to 15 informational and debug);
 *          0x10: print it on standard output as well, when printLevel allows; 0x40: push it to the
 *          management CLI as well, when one is set
 *   text   NUL-terminated; an empty one writes nothing; null is treated as empty
 * Returns text. The trace buffer and the CLI receive the text as it is; on standard output the
 * lines of levels 1 to 3 stand behind their prefix: "***Critical: ", "***Error: ", "***Warning: ".
 * Level-8 lines reach the trace buffer only with a debugLevel of 3 or more. Thread-safe.
 */
SWITCH_API const char *aclTrace(uint32_t flags, const char *text) SWITCH_NOEXCEPT;

/* Trace settings; null until the first aclTrace(), which points it at a record of zeros. An
 * application may point it at a record of its own, and change either one at any time. */
SWITCH_API extern AclTraceState *aclState;

/* The event component "ACL", its handle, and its catalogue of conditions. */
SWITCH_API extern EvlogComponentDesc _evlog_ACL_ComponentDesc;
SWITCH_API extern uint32_t _evlog_ACL_ComponentHandle;
SWITCH_API extern EvlogConditionDesc _evlog_ACL_ConditionDesc[20];

/* Names and ids of statistics counters; each table ends with a null name. */
SWITCH_API extern const AclStatName aclIpStats[22];
SWITCH_API extern const AclStatName aclIcmpStats[28];
SWITCH_API extern const AclStatName aclIgmpStats[8];
SWITCH_API extern const AclStatName aclIPropStats[7];

/* A slot for the library's users: the library never touches it. Zero at load. */
SWITCH_API extern uint8_t aclTimerList[92];

/* ---- Status codes ---------------------------------------------------------------------------- */

/*
 * Puts a status of the ACL manager into words. Returns a constant text, or for a status without one
 * aclStatusStringBuff, which every call overwrites. For the thread that handles messages, and for
 * others only while that one does not map a status.
 */
SWITCH_API const char *aclStatusText(int16_t status) SWITCH_NOEXCEPT;

/* The text of the last status if it had no fixed one, else empty. */
SWITCH_API extern char aclStatusStringBuff[100];

/* ---- Rule table ------------------------------------------------------------------------------
 *
 * The dynamic rules that this process keeps for itself: a ring of named entries, in the order in
 * which they are evaluated. The first entry of a name is meant wherever several have it; of a name
 * the first 32 characters count.
 *
 * Calls may come from any thread. Pointers to entries and names are borrowed from the table and end
 * with the entry, which an answer to aclLibConfigAppRule() may delete too (code 0x3007); a thread
 * that uses them keeps others from deleting it. Every call takes borrowed names, also that of the
 * rule which it deletes. Answers (aclLibCopyDynRule()) and evaluations write the words, terms and
 * counters of an entry on their own threads; other threads read the counters with
 * aclLibGetRuleStats().
 */

/* A condition or an action of a rule. Host byte order. */
typedef struct AclRuleTerm {
  uint32_t lead[3]; /* not used */
  uint32_t type;    /* 1 permit, 2 deny, 3 value under a mask, 4 IPv6 prefix */
  uint32_t pad1[4];
  uint32_t wildcard; /* types 3 and 4: 1 matches any value */
  uint32_t pad2[2];
  uint8_t
      matchData[16];  /* type 3: value, mask (two uint32_t); type 4: the address, network order */
  uint32_t prefixLen; /* type 4: bits of the prefix */
  uint32_t pad3[5];
} AclRuleTerm;

/* One rule of the table. Host byte order. */
typedef struct AclClientEntry {
  struct AclClientEntry *next, *prev; /* the ring; written by the table only */
  uint32_t ruleWord;                  /* as the manager described the rule */
  char name[33];                      /* NUL-terminated; written by the table only */
  uint32_t attrA, attrB;              /* as the manager described the rule */
  AclRuleTerm terms[5];
  int32_t termCount;   /* terms in use, 0 to 5 */
  uint32_t permitHits; /* evaluations that ended in permit; wraps */
  uint32_t denyHits;   /* evaluations that ended in deny; wraps */
} AclClientEntry;

/* The head of the table. */
typedef struct AclClientEntryList {
  AclClientEntry *first; /* null when the table is empty */
  int32_t count;
} AclClientEntryList;

/* A packet field to be evaluated. Host byte order. */
typedef struct AclEvalPacket {
  uint32_t lead[5];   /* not read */
  uint8_t field[16];  /* type 3: the value (uint32_t); type 4: the address, network order */
  uint32_t prefixLen; /* type 4: bits of the address that are given */
} AclEvalPacket;

/* Returns how many rules there are. */
SWITCH_API int32_t aclLibGetRuleCount(void) SWITCH_NOEXCEPT;

/* Returns the name of the first rule, null when there is none. */
SWITCH_API const char *aclLibGetFirstRule(void) SWITCH_NOEXCEPT;

/* Returns the name of the rule behind the one named, null behind the last one and for an unknown
 * name; the first rule's name for a null name. Where two rules have one name, a walk by names comes
 * back to the first of them, again and again: walk gClientEntryList instead. */
SWITCH_API const char *aclLibFindNextRule(const char *name) SWITCH_NOEXCEPT;

/* Returns the entry of a name, null when there is none; the first entry for a null name. */
SWITCH_API AclClientEntry *aclLibFindClientEntry(const char *name) SWITCH_NOEXCEPT;

/*
 * Adds a rule. A second one of the same name is added like any other.
 *   name      NUL-terminated, the first 32 characters are kept; null is the empty name
 *   refName   the rule it is placed beside, null for the first one; not looked at in an empty table
 *   position  1 before it, anything else behind it
 * Returns 1; 0 when memory is exhausted or refName is unknown (nothing changed).
 */
SWITCH_API int32_t aclLibCreateRule(const char *name, const char *refName,
                                    int32_t position) SWITCH_NOEXCEPT;

/* Deletes a rule, or all for a null name. An unknown name is ignored, and so is every name while
 * gClientEntryList.count is 0. */
SWITCH_API void aclLibDeleteRule(const char *name) SWITCH_NOEXCEPT;

/*
 * Gives the rule of desc's name desc's words and terms, and counters of 0. Of each of the five
 * terms only what its type uses is copied. Ignored for a null desc and an unknown name.
 */
SWITCH_API void aclLibCopyDynRule(const AclClientEntry *desc, uint32_t ignored1,
                                  uint32_t ignored2) SWITCH_NOEXCEPT;

/* Writes "not set", "1 Dynamic rule configured" or "<n> Dynamic rules configured", of which 30
 * characters are kept. buf: 31 bytes or more, not null. Returns the length of the whole text. */
SWITCH_API int32_t aclLibCopyRuleToDisplay(char *buf) SWITCH_NOEXCEPT;

/* Reads the counters of a rule. Outputs not null. Returns 1; 0, with the outputs untouched, when
 * there is no such rule; a null name is the first one. */
SWITCH_API int32_t aclLibGetRuleStats(const char *name, uint64_t *permitOut,
                                      uint64_t *denyOut) SWITCH_NOEXCEPT;

/* Sets the counters of all rules to 0. */
SWITCH_API void aclLibClearClientCounters(void) SWITCH_NOEXCEPT;

/* Counts an evaluation: action 1 permit, 2 deny; anything else, and a null entry, counts nothing.
 */
SWITCH_API void aclLibUpdateCounter(AclClientEntry *entry, uint32_t action) SWITCH_NOEXCEPT;

/* Tells whether this card can filter on egress: not 0 when it can. x: not used. */
SWITCH_API int32_t aclEgressSupported(uint32_t x) SWITCH_NOEXCEPT;

/*
 * Adds a rule to the table and asks the ACL manager to install it (code 0x3007).
 *   ignored                  not used
 *   name, refName, position  as for aclLibCreateRule(), but a null name gives 0
 *   flags                    passed on to the manager
 *   cookie                   comes back with the answer
 * Returns 1 when the request was sent; 0 otherwise: the rule then is in the table all the same,
 * unless aclLibCreateRule() refused it.
 * The answer fills in the first rule of that name, or when it describes none (the manager refused,
 * for instance because it does not know the rule) deletes it. So a name should be in the table
 * once, and serve as refName of others only when its answer has come.
 */
SWITCH_API int32_t aclLibConfigAppRule(uint32_t ignored, const char *name, const char *refName,
                                       uint32_t flags, uint32_t position,
                                       uint32_t cookie) SWITCH_NOEXCEPT;

/*
 * Deletes a rule from the table and asks the ACL manager to remove it (code 0x3008), also when the
 * table has no such rule; with a null name, every rule that it deletes from the table.
 *   position, flags  passed on to the manager
 *   send             sends each request; null gives -2
 * Returns what `send` returned (0 when sent, unlike aclLibConfigAppRule()); 1 for a null name.
 */
SWITCH_API int32_t aclUnconfigAppRule(uint32_t position, const char *name, uint32_t flags,
                                      AclSendFn send) SWITCH_NOEXCEPT;

/* The same through aclLibSendMsg(). */
SWITCH_API int32_t aclLibUnconfigAppRule(uint32_t position, const char *name,
                                         uint32_t flags) SWITCH_NOEXCEPT;

/*
 * Asks the ACL manager whether a rule can be installed (code 0x3009).
 *   rule       borrowed
 *   ports      `portCount` ports; may be null when portCount is 0
 *   portCount  0 to 2
 *   arg        its low 16 bits are passed on
 *   cookie     comes back with the answer
 * Returns the result of the send. Nothing is sent, and the first of these that applies returned:
 * -1 for a null rule; -31 for an egress rule on a card that cannot filter on egress
 * (aclStatusText()); -1 for more ports; -2 for null ports with a count.
 */
SWITCH_API int32_t aclLibCheckRuleValidity(const AclRuleRecord *rule, const uint8_t *ports,
                                           uint32_t portCount, uint32_t arg,
                                           uint32_t cookie) SWITCH_NOEXCEPT;

/*
 * Decides one packet field by the rules of the table, without asking the ACL manager: the first
 * rule that has a term of the type and of which such a term matches decides, by the first permit or
 * deny behind that term. Fields of one type are not told apart: a table is for one kind of values,
 * such as IPv4 source addresses.
 *   ignored    not used
 *   fieldType  3 or 4; anything else matches nothing
 *   packet     borrowed, not null
 *   action     in and out, not null: 0 not set, 1 permit, 2 deny
 * Returns the name of the rule whose permit or deny decided; `action` is then set accordingly. Null
 * otherwise: without any rules (action untouched); when the matching rule has no action behind its
 * match (an action of 0 becomes 1, another one is kept); when nothing matched (action becomes 2).
 * Counts the decision at the matching rule. Any thread.
 */
SWITCH_API const char *aclLibEvaluateRule(uint32_t ignored, uint32_t fieldType,
                                          const AclEvalPacket *packet,
                                          uint32_t *action) SWITCH_NOEXCEPT;

/*
 * The table. Any thread may look whether it is empty and how many rules it has; its ring is
 * followed, and its head written, only while no other thread can be in a call about the table.
 * A program may
 *   - drop the table: set the head to {NULL, 0}. The entries are the program's then;
 *   - put in a ring of its own, or one that it dropped, with its count. The entries are the
 *     table's then, which deletes them with free();
 *   - make another entry of the ring the first.
 * After the last two, names are found by walking until the table is empty again. Nothing is deleted
 * while the count is 0, and a deletion that makes it 0 empties the table.
 *
 * A ring is known by the address of its first entry. To put in one that begins where the last one
 * did, call aclLibGetRuleCount() after dropping that. Linking entries into the library's ring by
 * hand, out of it, or in another order, is not supported.
 */
SWITCH_API extern AclClientEntryList gClientEntryList;

/* Not 0: evaluation prints a text, without a line end, on standard output where there are rules and
 * no rule's action decided. */
SWITCH_API extern uint32_t aclLibDebug;

/* ---- Applications and pending requests -------------------------------------------------------
 *
 * A request that an application wants answered under its own code and cookie is registered before
 * it is sent. The manager's answer finds it by its sequence number, and forgets it. Calls may come
 * from any thread; a record found is borrowed, and must not be used while another thread, or an
 * answer, may remove it.
 */

/* One application of the switch. */
typedef struct AclGlobalApp {
  uint32_t reserved;
  int32_t id;       /* its row */
  const char *name; /* shown in traces */
  int32_t appClass; /* -1 to 2 */
  int32_t number;
} AclGlobalApp;

/* An application that has registered a request; never freed. */
typedef struct AclApplInfo {
  struct AclApplInfo *next, *prev; /* the ring */
  uint8_t applId;
  uint8_t zero[3];
  KvNode *requests; /* tree of its AclApplReq, by sequence number */
} AclApplInfo;

/* The head of the ring of applications. */
typedef struct AclApplInfoList {
  AclApplInfo *first; /* null when the ring is empty */
  uint32_t count;     /* never changed by the library: always 0 */
} AclApplInfoList;

/* One pending request: a block of calloc(). */
typedef struct AclApplReq {
  KvNode node;
  uint16_t reqCode; /* the code that the answer is to show to the application */
  uint32_t seqNo;
  uint32_t cookie; /* the application's, comes back with the answer */
  char name[33];   /* NUL-terminated */
  uint8_t kind;
  uint32_t tag;
} AclApplReq;

/* Rows 0 to 28 are the applications, row 0 stands for all that are not listed; row 29 is zero. */
SWITCH_API extern const AclGlobalApp aclGlobalApps[30];

SWITCH_API extern AclApplInfoList gaclApplReqList;

/* The sequence number that was given out last. */
SWITCH_API extern uint32_t aclReqSeqCounter;

/* Returns the count word of gaclApplReqList, which is always 0, however many there are. */
SWITCH_API uint32_t aclLibGetApplCount(void) SWITCH_NOEXCEPT;

/*
 * Finds the record of an application.
 *   applId  0 is the first record of the ring, whichever it is, and never creates one; one above
 *           255 is never found, and creates a record of its low byte every time
 *   create  not 0: make the record when there is none
 *
 * Returns the record; null when there is none, or memory is exhausted.
 */
SWITCH_API AclApplInfo *aclLibFindApplInfo(uint32_t applId, uint32_t create) SWITCH_NOEXCEPT;

/*
 * Registers a request.
 *   applId     as above
 *   reqCode    its low 16 bits: the code of the answer that the application gets
 *   cookie     comes back with the answer
 *   name       NUL-terminated, the first 32 characters are kept; null is the empty name
 *   kind, tag  an answer to requests of code 0x300B names those it is for
 * Returns the sequence number; 0 when memory is exhausted, when applId is 0 and no application has
 * registered yet, or when a request of the application still waits under the number that is next.
 * Where the request has no memory, a record of the application that was made for it stays.
 * The numbers wrap: after 4294967295 comes 0, which looks like a failure.
 */
SWITCH_API uint32_t aclLibGetClientSeqNo(uint32_t applId, int32_t reqCode, uint32_t cookie,
                                         const char *name, uint8_t kind,
                                         uint32_t tag) SWITCH_NOEXCEPT;

/* Orders two AclApplReq by sequence number: -1, 0 or 1. */
SWITCH_API int32_t aclApplReqCmpFuncBySeqNo(const void *a, const void *b) SWITCH_NOEXCEPT;

/* Adds a record to a tree. It leaves that of an application by aclDeleteApplReq() only. Returns 0;
 * -1 when one of its sequence number is there already; -2 for a null record or tree. */
SWITCH_API int32_t aclInsertApplReq(AclApplReq *req, KvNode **tree) SWITCH_NOEXCEPT;

/* Takes a record out of its application's tree; the caller frees it, with free(). Returns 0; -1
 * when it is not there or null; -2 for a null applInfo. */
SWITCH_API int32_t aclDeleteApplReq(AclApplReq *req, AclApplInfo *applInfo) SWITCH_NOEXCEPT;

/* Returns the record of the lowest sequence number, null when there is none or applInfo is null. */
SWITCH_API AclApplReq *aclFindFirstApplReq(AclApplInfo *applInfo) SWITCH_NOEXCEPT;

/* Returns the record of the next higher sequence number, null behind the last one and for a null
 * record. */
SWITCH_API AclApplReq *aclFindNextApplReq(AclApplReq *req) SWITCH_NOEXCEPT;

/* Returns the record of a sequence number, null when there is none or the tree is null. ignored:
 * not used. */
SWITCH_API AclApplReq *aclFindApplReqBySeqNo(uint32_t ignored, uint32_t seqNo,
                                             KvNode **tree) SWITCH_NOEXCEPT;

/* ---- Application policies and slices --------------------------------------------------------- */

/* One rule of an application policy. Host byte order. */
typedef struct AclAppPolicyEntry {
  char ruleName[33]; /* NUL-terminated */
  uint32_t ruleAttr; /* passed on to the manager */
  uint8_t reserved[4];
} AclAppPolicyEntry;

/* An address and which of its bits count. */
typedef struct AclMacMatch {
  uint8_t address[6], mask[6];
} AclMacMatch;

/* What the second of the two match values may be: 36 bytes. */
typedef union AclAppMatch2 {
  char name[33];     /* type 26 */
  uint32_t words[2]; /* type 39 */
  AclMacMatch mac;   /* types 62 and 63 */
  uint8_t raw[36];
} AclAppMatch2;

/* What the first one may be: 48 bytes. */
typedef union AclAppMatch1 {
  char name[33];
  uint32_t words[2];
  AclMacMatch mac;
  uint8_t raw[48];
} AclAppMatch1;

/* A set of rules that an application wants installed for one binding. Host byte order. */
typedef struct AclAppPolicyRequest {
  uint16_t ruleCount; /* 1 to 40 */
  union {
    uint16_t policyAttr; /* passed on; its low byte is the number of match values: 0, 1 or 2 */
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    __extension__ struct {
      uint8_t policyAttrHigh;
      uint8_t matchCount;
    };
#else
    uint8_t matchCount;
#endif
  };
  uint32_t requestWord0;
  uint32_t requestWord1; /* its low byte is sent */
  uint32_t requestWord2; /* the tag of the pending request, too */
  uint32_t requestWord3; /* passed on */
  uint8_t reserved1[12];
  uint8_t match1Type; /* 26, 39, 62 or 63; any other one is not sent, nor its value */
  uint8_t reserved2[7];
  AclAppMatch1 match1Value;
  uint8_t match2Type;
  uint8_t reserved3[7];
  AclAppMatch2 match2Value;
  char policyName[33]; /* NUL-terminated */
  uint8_t reserved4[3];
  AclAppPolicyEntry entries[40];
} AclAppPolicyRequest;

/* A reservation of classifier slices. Host byte order. */
typedef struct AclSliceRequest {
  uint32_t unreserve;  /* 0 reserve, anything else give back */
  uint32_t stage;      /* stage of the classifier, as the manager numbers them */
  uint32_t sliceType;  /* 2 profile ID VLAN, 3 VFP shared, 4 permit/deny, 5 CoS, 6 ACL style */
  uint32_t sliceCount; /* in the most significant byte */
  uint32_t doubleWide; /* not 0: slices of double width */
  uint32_t appId;      /* a row of aclGlobalApps */
} AclSliceRequest;

/*
 * Asks the ACL manager to install an application policy (code 0x300B), after registering the
 * request with aclLibGetClientSeqNo().
 *   request    borrowed
 *   appId      a row of aclGlobalApps; its low byte is sent
 *   flags      its low byte is sent, and is the kind of the pending request
 *   callerRef  the cookie that comes back with the answer
 * Returns the result of the send; 0, with nothing registered nor sent, for a null request or a
 * ruleCount of 0 or above 40. A request that cannot be registered is sent all the same, with
 * sequence number 0, and its answer finds nobody: where aclLibGetClientSeqNo() gives 0, which is
 * without memory, for appId 0 while no application has registered, and when a request still waits
 * under the number that is next. One that cannot be sent stays registered. Nothing is traced. Any
 * thread.
 */
SWITCH_API int32_t aclLibApplyAppPolicy(const AclAppPolicyRequest *request, uint32_t appId,
                                        uint32_t flags, uint32_t callerRef) SWITCH_NOEXCEPT;

/*
 * Asks for the removal of an application policy (code 0x300C); arguments and results as above.
 * Sends less: no policyName, policyAttr, requestWord0 nor requestWord1, no second match, and of the
 * first one, which it looks at whatever matchCount says, neither a name (type 26, of which not even
 * the type is sent) nor a mask. What goes is found by appId, flags, requestWord2, requestWord3 and
 * the first match, which therefore have to be those of the apply.
 */
SWITCH_API int32_t aclLibUnApplyAppPolicy(const AclAppPolicyRequest *request, uint32_t appId,
                                          uint32_t flags, uint32_t callerRef) SWITCH_NOEXCEPT;

/* Returns the name of what is done to a rule: a constant text, "unknown action" outside 1 to 8. The
 * names of 7 and 8 are those of 1 and 2. */
SWITCH_API const char *aclGetRuleActionString(int32_t action) SWITCH_NOEXCEPT;

/*
 * Reserves classifier slices for an application, or gives them back (code 0x301C, answered by
 * 0x301D).
 *   sliceRequest  borrowed; null gives -2
 *   context       comes back with the answer
 * Returns the result of the send; -1, with nothing sent, for an appId of 29 or more. Any thread. In
 * an answer that tells of a failure the library puts "reserve" or "unreserve" at 16 and the type of
 * the slices, in words, at 49, both NUL-terminated.
 */
SWITCH_API int32_t aclLibSliceConfig(const AclSliceRequest *sliceRequest,
                                     uint32_t context) SWITCH_NOEXCEPT;

/* ---- Messages from the ACL manager -----------------------------------------------------------
 *
 * These calls are for the dispatcher's thread, which makes them by itself once the library is
 * connected. A program that makes them, as tests do, must see to it that one thread at a time does:
 * they put statuses into words (aclStatusStringBuff). The callback may call the library, these
 * calls included.
 */

/*
 * Answers every pending request that a reply of code 0x300B covers: the callback gets the reply
 * once for each, in the order of the sequence numbers, with the request's own code at 0 and its
 * cookie at 588. A pending request of code 0x300C is removed without an answer.
 *   reply  608 bytes or more, rewritten; null is ignored. It names the application (1 byte at 592),
 *          kind (1 byte at 593), tag (596), first and last sequence number (600, 604).
 * A range whose last number is below its first one has wrapped; of the numbers from the first one
 * on, only those below 2147483648 then are covered. The callback may remove requests, the one that
 * it is told about too, and register others. The walk goes on by sequence number: a covered request
 * that is new is answered if its number is above the one just answered; it stays if it is below.
 */
SWITCH_API void aclLibSendClientConfigReply(void *reply) SWITCH_NOEXCEPT;

/*
 * Answers the one pending request of a reply of code 0x300C, in the same way; one of code 0x300C is
 * answered as well here.
 *   reply  594 bytes or more, rewritten; null is ignored. It names the sequence number (588) and
 * the application (1 byte at 593).
 */
SWITCH_API void aclLibSendClientUnconfigReply(void *reply) SWITCH_NOEXCEPT;

/*
 * Handles the replies of one message: brings the rule table and the policy store up to date, writes
 * a trace line, and hands each reply to aclMsgCallback. A reply that is shorter than its code needs
 * is handled on a copy that zeros continue. Behind a reply of code 0x300B or 0x300C nothing of the
 * message is read.
 *   buffer      the message, borrowed; null is ignored
 *   length      bytes; below 1 is ignored
 *   sameBuffer  the same packet again; not used
 */
SWITCH_API void aclMsgHandler(uint32_t peer, PktBuf *buffer, int32_t length,
                              PktBuf *sameBuffer) SWITCH_NOEXCEPT;

/*
 * The receive entry registered with the dispatcher: connection events and messages.
 *   packet  owned by this call; freed after a message was handled
 *   length  bytes of a message, or an event: -121 connected, -112 lost, -111 and -999 ignored; any
 *           other length below 1 aborts the process. Packets that come with an event are not freed.
 */
SWITCH_API void aclLibCallback(uint32_t service, void *context, uint32_t peer, PktBuf *packet,
                               int32_t length) SWITCH_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* ACL_LIB_H */
