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
 *   aclLibAddPolicy(policy);                      download it
 *   aclLibConfigPolicy(policy, vlan, port, 0, NULL);
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
 * Told about every answer of the ACL manager, on the dispatcher's thread, with no lock held.
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
  uint32_t stateFlags;         /* bit 1 (value 2): the policy has been added to the ACL manager */
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
 * the policy until the ACL manager confirms its deletion.
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
 * could be sent; -1 when memory is exhausted.
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

/* ---- Messages from the ACL manager ----------------------------------------------------------- */

/*
 * Handles the TLV objects of one message: each reply is handed to aclMsgCallback.
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
