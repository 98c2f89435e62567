#include "manager/decode/entry_widths.h"

#include <algorithm>
#include <array>
#include <span>

#include "acl_lib/encoding/action_codes.h"
#include "acl_lib/encoding/condition_codes.h"

namespace aclmgr {
namespace {

namespace action = acl::action;
namespace condition = acl::condition;

struct WidthRow {
  std::uint32_t type;
  std::size_t width;
};

// The IPv6 form of a next hop: the call that writes it leaves the code to its caller, and this is
// the one beside the IPv4 form's that no other condition has.
constexpr std::uint32_t kNextHopIPv6 = 53;

constexpr auto kConditionWidths = std::to_array<WidthRow>({
    {condition::kSourceIPv4, 8},
    {condition::kDestinationIPv4, 8},
    {condition::kProtocol, 2},
    {condition::kIPOptions, 4},
    {condition::kTos, 2},
    {condition::kTtl, 2},
    {condition::kDscp, 2},
    {condition::kFragment10, 0},
    {condition::kFragment11, 0},
    {condition::kL4SourcePort, 6},
    {condition::kL4DestinationPort, 6},
    {condition::kTcpFlags, 2},
    {condition::kIgmpType, 2},
    {condition::kIcmpType, 2},
    {condition::kIcmpCode, 2},
    {condition::kEtherType, 4},
    {condition::kSourceMac, 12},
    {condition::kDestinationMac, 12},
    {condition::kVlanId, 12},
    {condition::kDot1p, 12},
    {condition::kIPv6First, 36},
    {condition::kIPv6Second, 36},
    {condition::kIpOffset, 70},
    {condition::kSlotPortRange, 8},
    {condition::kOuterVlanId, 12},
    {condition::kInnerVlanId, 12},
    {condition::kIvid, 12},
    {condition::kOuterCos, 12},
    {condition::kInnerCos, 12},
    {condition::kTosRange, 12},
    {condition::kDsevc, 12},
    {condition::kIPv4Unlabelled1, 8},
    {condition::kIPv4Unlabelled2, 8},
    {condition::kMacUnlabelled, 12},
    {condition::kDsap, 1},
    {condition::kSsap, 1},
    {condition::kSnapType, 2},
    {condition::kArpTargetAddress, 8},
    {condition::kArpSenderAddress, 8},
    {condition::kPacketResolution, 4},
    {condition::kLookupStatus, 4},
    {condition::kSdnVlanAny, 0},
    {condition::kDestinationPhysicalPort, 4},
    {condition::kSourcePhysicalPort, 4},
    {condition::kSourcePhysicalPortList, 64},
    {condition::kClassId, 12},
    {condition::kClassId2, 12},
    {condition::kClassId3, 12},
    {condition::kVlanFormat, 4},
    {condition::kNextHopIPv4, 4},
    {kNextHopIPv6, 16},
    {condition::kVxlanVni, 8},
    {condition::kL4Match, 12},
    {condition::kOspf, 2},
    {condition::kPim, 1},
    {condition::kDebugAcl, 12},
    {condition::kFlowClassId, 8},
    {condition::kFlowGroupId, 8},
});

constexpr auto kActionWidths = std::to_array<WidthRow>({
    {action::kAccept, 0},
    {action::kDeny, 0},
    {action::kSampleOn, 0},
    {action::kSampleOff, 0},
    {action::kMirrorOn, 33},
    {action::kMirrorOff, 0},
    {action::kCpuCopyOn, 1},
    {action::kCpuCopyOff, 0},
    {action::kGroup, 4},
    {action::kLog, 0},
    {action::kLogRaw, 0},
    {action::kCount, 38},
    {action::kMeter, 36},
    {action::kQos, 1},
    {action::kUrpf, 1},
    {action::kDscpReplace, 1},
    {action::kDot1p, 4},
    {action::kOuterTagEtherType, 4},
    {action::kRedirect, 4},
    {action::kOuterVlan, 4},
    {action::kInnerVlan, 4},
    {action::kTunnelVlan, 4},
    {action::kTrafficQueue, 33},
    {action::kDomain, 33},
    {action::kFloodGroup, 66},
    {action::kDot1ahEncap, 33},
    {action::kDot1ahDecap, 33},
    {action::kLagHash, 4},
    {action::kFloodListDefine, 4},
    {action::kFloodListUse, 4},
    {action::kReplaceDestinationMac, 6},
    {action::kReplaceSourceMac, 6},
    {action::kReplaceVlan, 4},
    {action::kRedirectName, 33},
    {action::kCookie, 2},
    {action::kCpuCopyDropSdnMiss, 1},
    {action::kCpuCopyDropSdnAction, 1},
    {action::kCpuCopySdn, 1},
    {action::kMirrorCpuQueue, 0},
    {action::kDoNotLearn, 0},
    {action::kClassId1, 2},
    {action::kClassId2, 2},
    {action::kClassId3, 2},
    {action::kAddVlan, 4},
    {action::kRedirect69, 4},
    {action::kCpuQosToSnoop, 1},
    {action::kFlowGroupId, 4},
    // Actions without a value that have no name of their own.
    {18, 0},
    {19, 0},
    {42, 0},
    {43, 0},
    {48, 0},
    {49, 0},
    {54, 0},
    {56, 0},
    {66, 0},
    {67, 0},
    {68, 0},
});

std::optional<std::size_t> widthIn(std::span<const WidthRow> table, std::uint32_t type) noexcept {
  const auto row = std::ranges::find(table, type, &WidthRow::type);
  if (row == table.end()) return std::nullopt;
  return row->width;
}

}  // namespace

std::optional<std::size_t> conditionWidth(std::uint32_t type) noexcept {
  return widthIn(kConditionWidths, type);
}

std::optional<std::size_t> actionWidth(std::uint32_t type) noexcept {
  return widthIn(kActionWidths, type);
}

}  // namespace aclmgr
