// Type codes of condition entries. Codes without a name here may stand in a rule as well: the calls
// that take any code from the caller accept them.
#ifndef ACL_LIB_ENCODING_CONDITION_CODES_H
#define ACL_LIB_ENCODING_CONDITION_CODES_H

#include <cstdint>

namespace acl::condition {

inline constexpr std::uint32_t kSourceIPv4 = 0;
inline constexpr std::uint32_t kDestinationIPv4 = 1;
inline constexpr std::uint32_t kProtocol = 3;
inline constexpr std::uint32_t kIPOptions = 4;
inline constexpr std::uint32_t kTos = 5;
inline constexpr std::uint32_t kTtl = 6;
inline constexpr std::uint32_t kDscp = 7;
inline constexpr std::uint32_t kFragment10 = 10;
inline constexpr std::uint32_t kFragment11 = 11;
inline constexpr std::uint32_t kL4SourcePort = 12;
inline constexpr std::uint32_t kL4DestinationPort = 13;
inline constexpr std::uint32_t kTcpFlags = 14;
inline constexpr std::uint32_t kIgmpType = 15;
inline constexpr std::uint32_t kIcmpType = 16;
inline constexpr std::uint32_t kIcmpCode = 17;
inline constexpr std::uint32_t kEtherType = 18;
inline constexpr std::uint32_t kSourceMac = 19;
inline constexpr std::uint32_t kDestinationMac = 20;
inline constexpr std::uint32_t kVlanId = 21;
inline constexpr std::uint32_t kDot1p = 22;
inline constexpr std::uint32_t kIPv6First = 23;
inline constexpr std::uint32_t kIPv6Second = 24;
inline constexpr std::uint32_t kIpOffset = 25;
inline constexpr std::uint32_t kSlotPortRange = 26;
inline constexpr std::uint32_t kOuterVlanId = 27;
inline constexpr std::uint32_t kInnerVlanId = 28;
inline constexpr std::uint32_t kIvid = 29;
inline constexpr std::uint32_t kOuterCos = 30;
inline constexpr std::uint32_t kInnerCos = 31;
inline constexpr std::uint32_t kTosRange = 32;
inline constexpr std::uint32_t kDsevc = 33;
// Accepted by the IPv4 address call (34, 35) and the MAC call (36), without a label in the dump.
inline constexpr std::uint32_t kIPv4Unlabelled1 = 34;
inline constexpr std::uint32_t kIPv4Unlabelled2 = 35;
inline constexpr std::uint32_t kMacUnlabelled = 36;
inline constexpr std::uint32_t kDsap = 37;
inline constexpr std::uint32_t kSsap = 38;
inline constexpr std::uint32_t kSnapType = 39;
inline constexpr std::uint32_t kArpTargetAddress = 40;
inline constexpr std::uint32_t kArpSenderAddress = 41;
inline constexpr std::uint32_t kPacketResolution = 42;
inline constexpr std::uint32_t kLookupStatus = 43;
inline constexpr std::uint32_t kSdnVlanAny = 44;
inline constexpr std::uint32_t kDestinationPhysicalPort = 45;
inline constexpr std::uint32_t kSourcePhysicalPort = 46;
inline constexpr std::uint32_t kSourcePhysicalPortList = 47;
inline constexpr std::uint32_t kClassId = 48;
inline constexpr std::uint32_t kClassId2 = 49;
inline constexpr std::uint32_t kClassId3 = 50;
inline constexpr std::uint32_t kVlanFormat = 51;
inline constexpr std::uint32_t kNextHopIPv4 = 52;
inline constexpr std::uint32_t kVxlanVni = 54;
inline constexpr std::uint32_t kL4Match = 55;
inline constexpr std::uint32_t kOspf = 56;
inline constexpr std::uint32_t kPim = 57;
inline constexpr std::uint32_t kDebugAcl = 58;
inline constexpr std::uint32_t kFlowClassId = 59;
inline constexpr std::uint32_t kFlowGroupId = 60;

}  // namespace acl::condition

#endif  // ACL_LIB_ENCODING_CONDITION_CODES_H
