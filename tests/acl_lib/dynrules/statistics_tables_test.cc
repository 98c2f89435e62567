#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "acl_lib.h"

namespace {

struct ExpectedCounter {
  std::string_view name;
  std::uint32_t id;
};

void expectTable(std::span<const AclStatName> table, const std::vector<ExpectedCounter> &expected,
                 std::uint32_t endId) {
  ASSERT_EQ(table.size(), expected.size() + 1);
  for (std::size_t row = 0; row < expected.size(); ++row) {
    SCOPED_TRACE("row " + std::to_string(row));
    ASSERT_NE(table[row].name, nullptr);
    EXPECT_EQ(table[row].name, expected[row].name);
    EXPECT_EQ(table[row].id, expected[row].id);
  }
  EXPECT_EQ(table.back().name, nullptr);
  EXPECT_EQ(table.back().id, endId);
}

TEST(StatisticsTablesTest, IpTableIsComplete) {
  expectTable(
      aclIpStats,
      {
          {"sys_IpInReceives", 1},    {"sys_IpInHdrErrors", 7},      {"sys_IpInAddrErrors", 10},
          {"sys_IpForwDatagrams", 4}, {"sys_IpInUnknownProtos", 11}, {"sys_IpInDiscards", 13},
          {"sys_IpInDelivers", 3},    {"sys_IpOutRequests", 5},      {"sys_IpOutDiscards", 14},
          {"sys_IpOutNoRoutes", 15},  {"sys_IpReasmTimeout", 16},    {"sys_IpReasmReqds", 17},
          {"sys_IpReasmOKs", 18},     {"sys_IpReasmFails", 19},      {"sys_IpFragOKs", 20},
          {"sys_IpFragFails", 21},    {"sys_IpFragCreates", 22},     {"sys_IpInMulticast", 23},
          {"sys_IpInBroadcast", 25},  {"sys_IpInBadChkSum", 31},     {"sys_IpInNoRoutes", 9},
      },
      0xFFFF);
}

TEST(StatisticsTablesTest, IcmpTableIsComplete) {
  expectTable(aclIcmpStats,
              {
                  {"sys_IcmpInMsgs", 1},           {"sys_IcmpInErrors", 2},
                  {"sys_IcmpInDestUnreachs", 3},   {"sys_IcmpInTimeExcds", 4},
                  {"sys_IcmpInParmProbs", 5},      {"sys_IcmpInSrcQuenchs", 6},
                  {"sys_IcmpInRedirects", 7},      {"sys_IcmpInEchos", 8},
                  {"sys_IcmpInEchoReps", 9},       {"sys_IcmpInTimestamps", 10},
                  {"sys_IcmpInTimestampReps", 11}, {"sys_IcmpInAddrMasks", 12},
                  {"sys_IcmpInAddrMaskReps", 13},  {"sys_IcmpOutMsgs", 14},
                  {"sys_IcmpOutErrors", 15},       {"sys_IcmpOutDestUnreachs", 16},
                  {"sys_IcmpOutTimeExcds", 17},    {"sys_IcmpOutParmProbs", 18},
                  {"sys_IcmpOutSrcQuenchs", 19},   {"sys_IcmpOutRedirects", 20},
                  {"sys_IcmpOutEchos", 21},        {"sys_IcmpOutEchoReps", 22},
                  {"sys_IcmpOutTimestamps", 23},   {"sys_IcmpOutTimestampReps", 24},
                  {"sys_IcmpOutAddrMasks", 25},    {"sys_IcmpOutAddrMaskReps", 26},
                  {"sys_IcmpInBadChksum", 27},
              },
              0xFFFF);
}

TEST(StatisticsTablesTest, IgmpTableAloneEndsWithIdSeven) {
  expectTable(aclIgmpStats,
              {
                  {"sys_IgmpInQueries", 0},
                  {"sys_IgmpInReports", 1},
                  {"sys_IgmpInLeaves", 2},
                  {"sys_IgmpInErrors", 3},
                  {"sys_IgmpOutQueries", 4},
                  {"sys_IgmpOutReports", 5},
                  {"sys_IgmpOutLeaves", 6},
              },
              7);
}

TEST(StatisticsTablesTest, IpPropertyTableIsComplete) {
  expectTable(aclIPropStats,
              {
                  {"sys_IpInUnicast", 0},
                  {"sys_IpInShortPkt", 1},
                  {"sys_IpInBadPktLen", 2},
                  {"sys_IpInBadVersion", 3},
                  {"sys_IpInShortHdrLen", 4},
                  {"sys_IpInBadHdrLen", 5},
              },
              0xFFFF);
}

}  // namespace
