#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "acl_lib.h"

namespace {

constexpr std::uint32_t kText = 0x00050602;
constexpr std::uint32_t kSummaryText = 0x00050604;
constexpr std::uint32_t kPort = 0x00080607;
constexpr std::uint32_t kInteger4 = 0x00020401;
constexpr std::uint32_t kInteger2 = 0x00020201;

struct ExpectedCondition {
  const char *name;
  std::uint32_t classWord;
  std::vector<std::uint32_t> parameters;
  const char *format;
};

const ExpectedCondition kExpected[20] = {
    {"DebugSummary", 0x20010000, {kSummaryText}, "%0%"},
    {"BndNetZonePlcy", 0x08020000, {kText, kText}, "Network zone %0% got bound to policy %1%"},
    {"AddNetZoneAttr", 0x80030000, {kText, kText, kText}, "Network zone %0% - Added %1% mask %2%"},
    {"DelNetZoneAttr",
     0x80030000,
     {kText, kText, kText},
     "Network zone %0% - Removed %1% mask %2%"},
    {"AddNetZonePlcyAttr",
     0x80070000,
     {kText, kText, kText, kText, kText, kText, kText},
     "Entry %0% with %1% %2% mask %3% is added to policy %4%. Original entry : %5% Network zone : "
     "%6%"},
    {"DelNetZonePlcyAttr",
     0x80070000,
     {kText, kText, kText, kText, kText, kText, kText},
     "Entry %0% with %1% %2% mask %3% is removed from policy %4%. Original entry : %5% Network "
     "zone : %6%"},
    {"UnbndNetZonePlcy",
     0x08020000,
     {kText, kText},
     "Network zone %0% got unbound from policy %1%"},
    {"ChkPlcyForAppFail",
     0x02030000,
     {kText, kText, kText},
     "Check policy %0% for application %1% failed. Policy has %2%."},
    {"CfgDynACL",
     0x40040000,
     {kText, kPort, kInteger4, kInteger4},
     "Configure %0% in port %1% VLAN %2% direction %3%"},
    {"UncfgDynACL",
     0x40040000,
     {kText, kPort, kInteger4, kInteger4},
     "Unconfigure rule %0% from port %1% VLAN %2% in direction %3%"},
    {"RecvCfgReq",
     0x80080000,
     {kText, kText, kText, kText, kText, kPort, kInteger4, kInteger4},
     "Receive request from client %0% for configuring %1% %2% %3% %4% in port %5% VLAN %6% "
     "direction %7%"},
    {"RecvUncfgReq",
     0x80060000,
     {kText, kText, kText, kPort, kInteger4, kInteger4},
     "Received unconfig request from application %0% for %1% %2% in port %3% VLAN %4% direction "
     "%5%"},
    {"RecvRspns",
     0x40060000,
     {kText, kText, kText, kPort, kInteger4, kText},
     "Receive a response from HAL for %0% of %1% %2% in port %3% VLAN %4%. Status - %5%"},
    {"AddReqToPendQue",
     0x80050000,
     {kText, kText, kPort, kInteger4, kInteger4},
     "Added %0% request for rule %1% for port %2% VLAN %3% direction%4%."},
    {"RemReqFmPendQue",
     0x80050000,
     {kText, kText, kPort, kInteger4, kInteger2},
     "Removed %0% request for rule %1% for port %2% VLAN %3% direction %4%."},
    {"SendClntRspns",
     0x80080000,
     {kText, kText, kText, kText, kPort, kText, kInteger2, kText},
     "Send reply for %0% to client %1% for %2% %3% port %4% VLAN %5% direction %6%. Status - %7%"},
    {"IngrMeterOutActLogEvent",
     0x08020000,
     {kText, kPort},
     "Ingress Traffic on port %1% exceeded the configured rate of meter %0% resulting in change of "
     "out-of-profile status to true."},
    {"IngrMeterOutActDsblPort",
     0x08020000,
     {kText, kPort},
     "Port %1% disabled by Ingress meter %0% because the traffic exceeded the configured rate."},
    {"EgrMeterOutActLogEvent",
     0x08020000,
     {kText, kPort},
     "Egress Traffic on port %1% exceeded the configured rate of meter %0% resulting in change of "
     "out-of-profile status to true."},
    {"EgrMeterOutActDsblPort",
     0x08020000,
     {kText, kPort},
     "Port %1% disabled by Egress meter %0% because the traffic exceeded the configured rate."},
};

TEST(EventCatalogueTest, ComponentIsAclWithTwentyConditions) {
  EXPECT_STREQ(_evlog_ACL_ComponentDesc.name, "ACL");
  EXPECT_STREQ(_evlog_ACL_ComponentDesc.title, "ACL");
  EXPECT_EQ(_evlog_ACL_ComponentDesc.word2, 0x00110001U);
  EXPECT_EQ(_evlog_ACL_ComponentDesc.word3, 0x008103FFU);
  EXPECT_EQ(_evlog_ACL_ComponentDesc.word4, 0x10000014U);
  EXPECT_EQ(_evlog_ACL_ComponentDesc.word5, 0U);
}

TEST(EventCatalogueTest, ComponentHasNoHandleAtLoad) {
  EXPECT_EQ(_evlog_ACL_ComponentHandle, 0U);
}

TEST(EventCatalogueTest, EveryConditionIsAsPublished) {
  for (std::size_t row = 0; row < std::size(kExpected); ++row) {
    SCOPED_TRACE("condition " + std::to_string(row));
    const EvlogConditionDesc &actual = _evlog_ACL_ConditionDesc[row];
    const ExpectedCondition &expected = kExpected[row];
    EXPECT_STREQ(actual.name, expected.name);
    EXPECT_STREQ(actual.format, expected.format);
    EXPECT_EQ(actual.classWord, expected.classWord);
    std::vector<std::uint32_t> parameters = expected.parameters;
    parameters.resize(16, 0);
    EXPECT_TRUE(std::ranges::equal(actual.parameter, parameters));
  }
}

TEST(EventCatalogueTest, PublishedSlipsOfTheCatalogueAreKept) {
  EXPECT_NE(std::strstr(_evlog_ACL_ConditionDesc[13].format, "direction%4%."), nullptr);
  EXPECT_EQ(_evlog_ACL_ConditionDesc[13].parameter[4], kInteger4);
  EXPECT_EQ(_evlog_ACL_ConditionDesc[14].parameter[4], kInteger2);
  EXPECT_EQ(_evlog_ACL_ConditionDesc[15].parameter[5], kText);
  EXPECT_EQ(_evlog_ACL_ConditionDesc[15].parameter[6], kInteger2);
  for (std::size_t row = 16; row < 20; ++row) {
    const char *format = _evlog_ACL_ConditionDesc[row].format;
    EXPECT_LT(std::strstr(format, "%1%"), std::strstr(format, "%0%")) << row;
  }
}

TEST(EventCatalogueTest, DescriptorsHaveTheirSizesWherePointersHave32Bits) {
  if (sizeof(void *) != 4) GTEST_SKIP() << "pointers have 64 bits";
  EXPECT_EQ(sizeof(_evlog_ACL_ComponentDesc), 24U);
  EXPECT_EQ(sizeof(_evlog_ACL_ConditionDesc[0]), 76U);
  EXPECT_EQ(sizeof(_evlog_ACL_ConditionDesc), 1520U);
}

TEST(EventCatalogueTest, TimerListIs92ZeroBytes) {
  EXPECT_EQ(sizeof(aclTimerList), 92U);
  EXPECT_TRUE(std::ranges::all_of(aclTimerList, [](std::uint8_t byte) { return byte == 0; }));
}

}  // namespace
