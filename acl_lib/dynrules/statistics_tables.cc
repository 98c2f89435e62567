// Names and ids of statistics counters, read by the platform's statistics displays.

#include <cstdint>

#include "acl_lib.h"

namespace {

// The id of the pair that ends a table.
constexpr std::uint32_t kEnd = 0xFFFF;

}  // namespace

const AclStatName aclIpStats[22] = {
    {"sys_IpInReceives", 1},       {"sys_IpInHdrErrors", 7},
    {"sys_IpInAddrErrors", 10},    {"sys_IpForwDatagrams", 4},
    {"sys_IpInUnknownProtos", 11}, {"sys_IpInDiscards", 13},
    {"sys_IpInDelivers", 3},       {"sys_IpOutRequests", 5},
    {"sys_IpOutDiscards", 14},     {"sys_IpOutNoRoutes", 15},
    {"sys_IpReasmTimeout", 16},    {"sys_IpReasmReqds", 17},
    {"sys_IpReasmOKs", 18},        {"sys_IpReasmFails", 19},
    {"sys_IpFragOKs", 20},         {"sys_IpFragFails", 21},
    {"sys_IpFragCreates", 22},     {"sys_IpInMulticast", 23},
    {"sys_IpInBroadcast", 25},     {"sys_IpInBadChkSum", 31},
    {"sys_IpInNoRoutes", 9},       {nullptr, kEnd},
};

const AclStatName aclIcmpStats[28] = {
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
    {"sys_IcmpInBadChksum", 27},     {nullptr, kEnd},
};

const AclStatName aclIgmpStats[8] = {
    {"sys_IgmpInQueries", 0},
    {"sys_IgmpInReports", 1},
    {"sys_IgmpInLeaves", 2},
    {"sys_IgmpInErrors", 3},
    {"sys_IgmpOutQueries", 4},
    {"sys_IgmpOutReports", 5},
    {"sys_IgmpOutLeaves", 6},
    {nullptr, 7},  // its users know this table's end by the number of its counters
};

const AclStatName aclIPropStats[7] = {
    {"sys_IpInUnicast", 0},    {"sys_IpInShortPkt", 1},    {"sys_IpInBadPktLen", 2},
    {"sys_IpInBadVersion", 3}, {"sys_IpInShortHdrLen", 4}, {"sys_IpInBadHdrLen", 5},
    {nullptr, kEnd},
};
