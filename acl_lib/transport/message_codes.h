// The envelope of messages between clients and the ACL manager, and their codes.
//
// A packet carries TLV objects. A request is one object of type kTlvRequest whose value is the
// request's body; a reply or notification is one object of type kTlvReply. Every body begins with
// its 16-bit code; replies carry a signed 16-bit status at offset 2.
#ifndef ACL_LIB_TRANSPORT_MESSAGE_CODES_H
#define ACL_LIB_TRANSPORT_MESSAGE_CODES_H

#include <cstddef>
#include <cstdint>

namespace acl {

inline constexpr std::uint16_t kTlvRequest = 0x1002;
inline constexpr std::uint16_t kTlvReply = 0x1003;

inline constexpr std::size_t kCodeOffset = 0;
inline constexpr std::size_t kStatusOffset = 2;

// Every request is answered by the manager: under its own code, unless the line names another one.
// One reply may answer several requests: the chunks of a policy, or a range of kMsgApplyAppPolicy;
// a kMsgUnapplyAppPolicy that such a request replaces gets none. Only kMsgSynchronousMeter travels
// on the synchronous channel.
//
// The lengths are those of the requests' bodies. Replies have the lengths of their own tables:
// acl_lib/client/reply_bodies.h has those that the library reads, manager/server/reply_bodies.h
// those that it hands on. A kMsgSynchronousMeter and its reply look the same.
//
//                                                              request      its reply's code
inline constexpr std::uint16_t kMsgProcessInfo = 0x2000;        // 628
inline constexpr std::uint16_t kMsgAddPolicy = 0x2001;          // 652 + chunk
inline constexpr std::uint16_t kMsgDeletePolicy = 0x2002;       // 652
inline constexpr std::uint16_t kMsgRefreshPolicy = 0x2003;      // 652 + chunk
inline constexpr std::uint16_t kMsgConfigPolicy = 0x2004;       // 2096
inline constexpr std::uint16_t kMsgUnconfigPolicy = 0x2005;     // 2096
inline constexpr std::uint16_t kMsgModifyRule = 0x2006;         // 652 + rules
inline constexpr std::uint16_t kMsgAddDynRule = 0x3001;         // 1456
inline constexpr std::uint16_t kMsgDeleteDynRule = 0x3002;      // 1456
inline constexpr std::uint16_t kMsgConfigDynRule = 0x3003;      // 2096
inline constexpr std::uint16_t kMsgUnconfigDynRule = 0x3004;    // 2096
inline constexpr std::uint16_t kMsgConfigAppRule = 0x3007;      // 2096
inline constexpr std::uint16_t kMsgUnconfigAppRule = 0x3008;    // 2096
inline constexpr std::uint16_t kMsgCheckRuleValidity = 0x3009;  // 640
inline constexpr std::uint16_t kMsgUnbindRule = 0x300A;         // 640
inline constexpr std::uint16_t kMsgApplyAppPolicy = 0x300B;     // 2360
inline constexpr std::uint16_t kMsgUnapplyAppPolicy = 0x300C;   // 2360
inline constexpr std::uint16_t kMsgMoveAttribute = 0x300D;      // 2600
inline constexpr std::uint16_t kMsgCheckPolicy = 0x300F;        // 5004
inline constexpr std::uint16_t kMsgGetDynRuleCounter = 0x3010;  // 672          kMsgCounterReply
inline constexpr std::uint16_t kMsgCounterReply = 0x3011;       // reply only
inline constexpr std::uint16_t kMsgCreateMeter = 0x3012;        // 632
inline constexpr std::uint16_t kMsgConfigMeter = 0x3013;        // 664
inline constexpr std::uint16_t kMsgDeleteMeter = 0x3014;        // 632
inline constexpr std::uint16_t kMsgCleanClientRules = 0x3018;   // 604
inline constexpr std::uint16_t kMsgClearCounter = 0x3019;       // 672
inline constexpr std::uint16_t kMsgSliceConfig = 0x301C;        // 616          kMsgSliceReply
inline constexpr std::uint16_t kMsgSliceReply = 0x301D;         // reply only
inline constexpr std::uint16_t kMsgBindMeter = 0x301E;          // sub-code of kMsgSynchronousMeter
inline constexpr std::uint16_t kMsgUnbindMeter = 0x301F;        // sub-code of kMsgSynchronousMeter
inline constexpr std::uint16_t kMsgSynchronousMeter = 0x3020;   // 632

}  // namespace acl

#endif  // ACL_LIB_TRANSPORT_MESSAGE_CODES_H
