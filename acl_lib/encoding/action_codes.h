// Type codes of action entries. They are a code space of their own: whether an entry lies before or
// behind the record's actionOffset says which one applies.
#ifndef ACL_LIB_ENCODING_ACTION_CODES_H
#define ACL_LIB_ENCODING_ACTION_CODES_H

#include <cstdint>

namespace acl::action {

inline constexpr std::uint32_t kAccept = 1;
inline constexpr std::uint32_t kDeny = 2;
inline constexpr std::uint32_t kSampleOn = 3;
inline constexpr std::uint32_t kSampleOff = 4;
inline constexpr std::uint32_t kMirrorOn = 5;
inline constexpr std::uint32_t kMirrorOff = 6;
inline constexpr std::uint32_t kCpuCopyOn = 7;
inline constexpr std::uint32_t kCpuCopyOff = 8;
// Several actions folded into one word; no call writes it, it comes with rules made elsewhere.
inline constexpr std::uint32_t kGroup = 9;
inline constexpr std::uint32_t kLog = 10;
inline constexpr std::uint32_t kLogRaw = 11;
inline constexpr std::uint32_t kCount = 12;
inline constexpr std::uint32_t kMeter = 13;
inline constexpr std::uint32_t kQos = 14;
inline constexpr std::uint32_t kUrpf = 15;
inline constexpr std::uint32_t kDscpReplace = 17;
inline constexpr std::uint32_t kDot1p = 20;
inline constexpr std::uint32_t kOuterTagEtherType = 21;
inline constexpr std::uint32_t kRedirect = 22;
inline constexpr std::uint32_t kOuterVlan = 23;
inline constexpr std::uint32_t kInnerVlan = 24;
inline constexpr std::uint32_t kTunnelVlan = 25;
inline constexpr std::uint32_t kTrafficQueue = 34;
inline constexpr std::uint32_t kDomain = 35;
inline constexpr std::uint32_t kFloodGroup = 36;
inline constexpr std::uint32_t kDot1ahEncap = 37;
inline constexpr std::uint32_t kDot1ahDecap = 38;
inline constexpr std::uint32_t kLagHash = 39;
inline constexpr std::uint32_t kFloodListDefine = 40;
inline constexpr std::uint32_t kFloodListUse = 41;
inline constexpr std::uint32_t kReplaceDestinationMac = 44;
inline constexpr std::uint32_t kReplaceSourceMac = 45;
inline constexpr std::uint32_t kReplaceVlan = 46;
inline constexpr std::uint32_t kRedirectName = 47;
inline constexpr std::uint32_t kCookie = 50;
inline constexpr std::uint32_t kCpuCopyDropSdnMiss = 51;
inline constexpr std::uint32_t kCpuCopyDropSdnAction = 52;
inline constexpr std::uint32_t kCpuCopySdn = 53;
inline constexpr std::uint32_t kMirrorCpuQueue = 57;
inline constexpr std::uint32_t kDoNotLearn = 58;
inline constexpr std::uint32_t kClassId1 = 62;
inline constexpr std::uint32_t kClassId2 = 63;
inline constexpr std::uint32_t kClassId3 = 64;
inline constexpr std::uint32_t kAddVlan = 65;
inline constexpr std::uint32_t kRedirect69 = 69;
inline constexpr std::uint32_t kCpuQosToSnoop = 70;
inline constexpr std::uint32_t kFlowGroupId = 71;

// Bits of the word that a kGroup entry carries. A "present" bit says that its pair counts.
inline constexpr std::uint32_t kGroupVerdictPresent = 0x20;
inline constexpr std::uint32_t kGroupDeny = 0x40;
inline constexpr std::uint32_t kGroupSamplePresent = 0x200;
inline constexpr std::uint32_t kGroupSampleOn = 0x400;
inline constexpr std::uint32_t kGroupMirrorPresent = 0x80;
inline constexpr std::uint32_t kGroupMirrorOn = 0x100;
inline constexpr std::uint32_t kGroupSecondMirrorPresent = 0x800;
inline constexpr std::uint32_t kGroupSecondMirrorOn = 0x1000;
inline constexpr std::uint32_t kGroupQueuePresent = 0x10;
inline constexpr std::uint32_t kGroupQueueMask = 0x0F;

}  // namespace acl::action

#endif  // ACL_LIB_ENCODING_ACTION_CODES_H
