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

// The length is that of the body; "in" codes come from the manager. Bodies that only come in are at
// least as long as what they carry reaches: a counter's value begins at 680, a slice type at 600.
inline constexpr std::uint16_t kMsgProcessInfo = 0x2000;        // out      628
inline constexpr std::uint16_t kMsgAddPolicy = 0x2001;          // out      652 + chunk
inline constexpr std::uint16_t kMsgDeletePolicy = 0x2002;       // out, in  652
inline constexpr std::uint16_t kMsgRefreshPolicy = 0x2003;      // out      652 + chunk
inline constexpr std::uint16_t kMsgConfigPolicy = 0x2004;       // out      2096
inline constexpr std::uint16_t kMsgUnconfigPolicy = 0x2005;     // out      2096
inline constexpr std::uint16_t kMsgModifyRule = 0x2006;         // out      652 + length
inline constexpr std::uint16_t kMsgAddDynRule = 0x3001;         // out, in  1456
inline constexpr std::uint16_t kMsgDeleteDynRule = 0x3002;      // out, in  1456
inline constexpr std::uint16_t kMsgConfigDynRule = 0x3003;      // out, in  2096
inline constexpr std::uint16_t kMsgUnconfigDynRule = 0x3004;    // out, in  2096
inline constexpr std::uint16_t kMsgConfigAppRule = 0x3007;      // out, in  2096
inline constexpr std::uint16_t kMsgUnconfigAppRule = 0x3008;    // out      2096
inline constexpr std::uint16_t kMsgCheckRuleValidity = 0x3009;  // out, in  640
inline constexpr std::uint16_t kMsgUnbindRule = 0x300A;         // out      640
inline constexpr std::uint16_t kMsgApplyAppPolicy = 0x300B;     // out, in  2360
inline constexpr std::uint16_t kMsgUnapplyAppPolicy = 0x300C;   // out, in  2360
inline constexpr std::uint16_t kMsgMoveAttribute = 0x300D;      // out      2600
inline constexpr std::uint16_t kMsgCheckPolicy = 0x300F;        // out      5004
inline constexpr std::uint16_t kMsgGetDynRuleCounter = 0x3010;  // out      672
inline constexpr std::uint16_t kMsgCounterReply = 0x3011;       // in       688
inline constexpr std::uint16_t kMsgCreateMeter = 0x3012;        // out      632
inline constexpr std::uint16_t kMsgConfigMeter = 0x3013;        // out      664
inline constexpr std::uint16_t kMsgDeleteMeter = 0x3014;        // out      632
inline constexpr std::uint16_t kMsgCleanClientRules = 0x3018;   // out      604
inline constexpr std::uint16_t kMsgClearCounter = 0x3019;       // out      672
inline constexpr std::uint16_t kMsgSliceConfig = 0x301C;        // out      616
inline constexpr std::uint16_t kMsgSliceReply = 0x301D;         // in       604
inline constexpr std::uint16_t kMsgBindMeter = 0x301E;          // sub-code of 0x3020
inline constexpr std::uint16_t kMsgUnbindMeter = 0x301F;        // sub-code of 0x3020
inline constexpr std::uint16_t kMsgSynchronousMeter = 0x3020;   // out, in  632

}  // namespace acl

#endif  // ACL_LIB_TRANSPORT_MESSAGE_CODES_H
