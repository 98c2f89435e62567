// The event component "ACL" and its catalogue of conditions, as the event log publishes them.

#include <cstddef>
#include <cstdint>

#include "acl_lib.h"

namespace acl {
namespace {

constexpr std::uint32_t kConditionCount = 20;

// Kinds of parameters, in the code of the event log.
constexpr std::uint32_t kText = 0x00050602;
constexpr std::uint32_t kSummaryText = 0x00050604;
constexpr std::uint32_t kPort = 0x00080607;
constexpr std::uint32_t kInteger4 = 0x00020401;
constexpr std::uint32_t kInteger2 = 0x00020201;

// One row: the class bit, the message, and the kinds of its parameters in order. The number of
// parameters follows from them.
template <typename... Kinds>
constexpr EvlogConditionDesc condition(const char *name, std::uint32_t classBit, const char *format,
                                       Kinds... kinds) noexcept {
  static_assert(sizeof...(kinds) <= 16);
  return {name,
          format,
          classBit << 24 | static_cast<std::uint32_t>(sizeof...(kinds)) << 16,
          {kinds...}};
}

}  // namespace

// The words the event log reads, as one record of 24 bytes and 20 of 76 where pointers have 32
// bits.
static_assert(sizeof(void *) != 4 || sizeof(EvlogComponentDesc) == 24);
static_assert(sizeof(void *) != 4 || sizeof(EvlogConditionDesc) == 76);
static_assert(sizeof(void *) != 4 || sizeof(_evlog_ACL_ConditionDesc) == 1520);

}  // namespace acl

EvlogComponentDesc _evlog_ACL_ComponentDesc = {
    "ACL", "ACL", 0x00110001, 0x008103FF, 0x10000000 | acl::kConditionCount, 0};

std::uint32_t _evlog_ACL_ComponentHandle = 0;

// A published catalogue: its slips are part of it (the missing blank in "direction%4%", the VLAN
// that is a text in one row, the directions of two sizes, meters named before ports they follow).
using acl::condition, acl::kText, acl::kSummaryText, acl::kPort, acl::kInteger4, acl::kInteger2;
constinit EvlogConditionDesc _evlog_ACL_ConditionDesc[acl::kConditionCount] = {
    condition("DebugSummary", 0x20, "%0%", kSummaryText),
    condition("BndNetZonePlcy", 0x08, "Network zone %0% got bound to policy %1%", kText, kText),
    condition("AddNetZoneAttr", 0x80, "Network zone %0% - Added %1% mask %2%", kText, kText, kText),
    condition("DelNetZoneAttr", 0x80, "Network zone %0% - Removed %1% mask %2%", kText, kText,
              kText),
    condition("AddNetZonePlcyAttr", 0x80,
              "Entry %0% with %1% %2% mask %3% is added to policy %4%. Original entry : %5% "
              "Network zone : %6%",
              kText, kText, kText, kText, kText, kText, kText),
    condition("DelNetZonePlcyAttr", 0x80,
              "Entry %0% with %1% %2% mask %3% is removed from policy %4%. Original entry : %5% "
              "Network zone : %6%",
              kText, kText, kText, kText, kText, kText, kText),
    condition("UnbndNetZonePlcy", 0x08, "Network zone %0% got unbound from policy %1%", kText,
              kText),
    condition("ChkPlcyForAppFail", 0x02,
              "Check policy %0% for application %1% failed. Policy has %2%.", kText, kText, kText),
    condition("CfgDynACL", 0x40, "Configure %0% in port %1% VLAN %2% direction %3%", kText, kPort,
              kInteger4, kInteger4),
    condition("UncfgDynACL", 0x40, "Unconfigure rule %0% from port %1% VLAN %2% in direction %3%",
              kText, kPort, kInteger4, kInteger4),
    condition("RecvCfgReq", 0x80,
              "Receive request from client %0% for configuring %1% %2% %3% %4% in port %5% VLAN "
              "%6% direction %7%",
              kText, kText, kText, kText, kText, kPort, kInteger4, kInteger4),
    condition("RecvUncfgReq", 0x80,
              "Received unconfig request from application %0% for %1% %2% in port %3% VLAN %4% "
              "direction %5%",
              kText, kText, kText, kPort, kInteger4, kInteger4),
    condition("RecvRspns", 0x40,
              "Receive a response from HAL for %0% of %1% %2% in port %3% VLAN %4%. Status - %5%",
              kText, kText, kText, kPort, kInteger4, kText),
    condition("AddReqToPendQue", 0x80,
              "Added %0% request for rule %1% for port %2% VLAN %3% direction%4%.", kText, kText,
              kPort, kInteger4, kInteger4),
    condition("RemReqFmPendQue", 0x80,
              "Removed %0% request for rule %1% for port %2% VLAN %3% direction %4%.", kText, kText,
              kPort, kInteger4, kInteger2),
    condition("SendClntRspns", 0x80,
              "Send reply for %0% to client %1% for %2% %3% port %4% VLAN %5% direction %6%. "
              "Status - %7%",
              kText, kText, kText, kText, kPort, kText, kInteger2, kText),
    condition("IngrMeterOutActLogEvent", 0x08,
              "Ingress Traffic on port %1% exceeded the configured rate of meter %0% resulting in "
              "change of out-of-profile status to true.",
              kText, kPort),
    condition(
        "IngrMeterOutActDsblPort", 0x08,
        "Port %1% disabled by Ingress meter %0% because the traffic exceeded the configured rate.",
        kText, kPort),
    condition("EgrMeterOutActLogEvent", 0x08,
              "Egress Traffic on port %1% exceeded the configured rate of meter %0% resulting in "
              "change of out-of-profile status to true.",
              kText, kPort),
    condition(
        "EgrMeterOutActDsblPort", 0x08,
        "Port %1% disabled by Egress meter %0% because the traffic exceeded the configured rate.",
        kText, kPort),
};

// Its users lay their own records over it.
alignas(std::max_align_t) std::uint8_t aclTimerList[92] = {};
