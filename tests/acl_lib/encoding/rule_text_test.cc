#include "acl_lib/encoding/rule_text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "tests/support/bytes.h"

namespace {

using test_support::Bytes;
using test_support::bytesOf;
using test_support::hex;
using test_support::join;

using Printer = void (*)(std::FILE *, std::uint32_t, std::span<const std::byte>);

// What a printer prints for data in a heap block of exactly its size.
std::string printed(Printer print, std::uint32_t type, const Bytes &data) {
  char *text = nullptr;
  std::size_t length = 0;
  std::FILE *out = ::open_memstream(&text, &length);
  const auto block = std::make_unique<std::byte[]>(data.size());
  std::copy(data.begin(), data.end(), block.get());
  print(out, type, {block.get(), data.size()});
  std::fclose(out);
  std::string result(text, length);
  std::free(text);
  return result;
}

std::string conditionText(std::uint32_t type, const Bytes &data) {
  return printed(acl::printConditionText, type, data);
}

std::string actionText(std::uint32_t type, const Bytes &data) {
  return printed(acl::printActionText, type, data);
}

Bytes zeros(std::size_t count) {
  return Bytes(count);
}

struct TextCase {
  std::uint32_t type;
  const char *data;  // hex
  const char *text;
};

std::string caseName(const testing::TestParamInfo<TextCase> &info) {
  return "type" + std::to_string(info.param.type);
}

class ConditionTextTest : public testing::TestWithParam<TextCase> {};

TEST_P(ConditionTextTest, PrintsItsText) {
  EXPECT_EQ(conditionText(GetParam().type, hex(GetParam().data)), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    EveryLabel, ConditionTextTest,
    testing::Values(
        TextCase{0, "0a000001 ffffff00", "CONDITION: SRCADDR 0xa000001/0xffffff00 "},
        TextCase{1, "c0a80a01 ffffffff", "CONDITION: DSTADDR 0xc0a80a01/0xffffffff "},
        TextCase{3, "06 0f 0000", "CONDITION: PROTO 6 MASK 0x0f "},
        TextCase{4, "fffffffe", "CONDITION: option -2"},
        TextCase{12, "0050 ffff 00ff 0000", "CONDITION: SRC_PORT [80 65535] MASK 0x00ff"},
        TextCase{13, "01bb 01bc ffff 0000", "CONDITION: DST_PORT [443 444] MASK 0xffff"},
        TextCase{14, "24 3f 0000", "CONDITION: TCP_FLAGS 0x24 MASK 0x3f "},
        TextCase{15, "16 ff 0000", "CONDITION: IGMP_TYPE 0x16 MASK 0xff"},
        TextCase{16, "08 ff 0000", "CONDITION: ICMP_TYPE 0x08 MASK 0xff"},
        TextCase{17, "03 0f 0000", "CONDITION: ICMP_CODE 0x03 MASK 0x0f"},
        TextCase{18, "0806 0fff", "CONDITION: ETH_TYPE 0x0806 MASK 0x0fff "},
        TextCase{19, "000102030a0b ffffffffff00",
                 "CONDITION: SRC_MAC 00:01:02:03:0a:0b/ff:ff:ff:ff:ff:00 "},
        TextCase{20, "aabbccddeeff 000000000000",
                 "CONDITION: DEST_MAC aa:bb:cc:dd:ee:ff/00:00:00:00:00:00 "},
        TextCase{21, "00000001 00000fff 00000ff0", "CONDITION: VIDvid[0] 1 vid[1] 4095 mask 4080 "},
        TextCase{22, "00000002 00000003 00000007", "CONDITION: DOT1Pvid[0] 2 vid[1] 3 mask 7 "},
        TextCase{27, "0000000a 0000000b ffffffff", "CONDITION: SVID vid[0] 10 vid[1] 11 mask -1 "},
        TextCase{28, "0000000c 0000000d 00000000", "CONDITION: CVID vid[0] 12 vid[1] 13 mask 0 "},
        TextCase{29, "00000001 00000002 00000003", "CONDITION: IVIDvid[0] 1 vid[1] 2 mask 3 "},
        TextCase{30, "00000001 00000002 00000003", "CONDITION: SCOSvid[0] 1 vid[1] 2 mask 3 "},
        TextCase{31, "00000001 00000002 00000003", "CONDITION: CCOSvid[0] 1 vid[1] 2 mask 3 "},
        TextCase{32, "00000001 00000002 00000003", "CONDITION: TOSvid[0] 1 vid[1] 2 mask 3 "},
        TextCase{33, "00000001 00000002 00000003", "CONDITION: DSEVCvid[0] 1 vid[1] 2 mask 3 "},
        TextCase{26, "01 00 0003 0009 000c",
                 "CONDITION: SLOT_PORT dir 1 slot3 ports[0] 9 ports[1] 12 "},
        TextCase{40, "0a000002 ffffffff", "CONDITION: ARPDSTADDR 0xa000002/0xffffffff "},
        TextCase{41, "0a000003 00000000", "CONDITION: ARPSRCADDR 0xa000003/0x0 "},
        TextCase{42, "00000101", "CONDITION: PKTRES BPDU "},
        TextCase{43, "0000beef", "CONDITION: LOOKUPSTATUS 0xbeef "},
        TextCase{44, "", "CONDITION: SDN_VLAN_ANY "},
        TextCase{45, "0002 0030", "CONDITION: DST_PHYS_PORT slot:port 2:48 "},
        TextCase{46, "ffff ffff", "CONDITION: SRC_PHYS_PORT slot:port 65535:65535 "},
        TextCase{48, "02 000000 00000063 00000000", "CONDITION: clss-id 99 type 2"},
        TextCase{54, "00001388 00ffffff", "CONDITION: VXLANVNI 0x1388/0xffffff "},
        TextCase{56, "03 04 0000", "CONDITION: OSPF version 3 type 4"},
        TextCase{57, "ff 000000", "CONDITION: PIM type 255"},
        TextCase{58, "00000007 0000000a ffffffff", "DEBUG-CONDITION: 7, p1 0xa, p2 0xffffffff"}),
    caseName);

class ActionTextTest : public testing::TestWithParam<TextCase> {};

TEST_P(ActionTextTest, PrintsItsText) {
  EXPECT_EQ(actionText(GetParam().type, hex(GetParam().data)), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    EveryLabel, ActionTextTest,
    testing::Values(
        TextCase{1, "", "ACTION: Accept "}, TextCase{2, "", "ACTION: Deny "},
        TextCase{3, "", "ACTION: Sample on "}, TextCase{4, "", "ACTION: Sample off "},
        TextCase{5, "6d310000", "ACTION: Mirror on "}, TextCase{6, "", "ACTION: Mirror off "},
        TextCase{7, "05000000", "ACTION: CPU-copy on "}, TextCase{8, "", "ACTION: CPU-copy off "},
        TextCase{9, "00000000", "ACTION: GROUP 00000000 []"}, TextCase{10, "", "ACTION: log "},
        TextCase{11, "", "ACTION: log raw "}, TextCase{12, "ffff0000", "ACTION: COUNT 65535 "},
        TextCase{13, "00070000", "ACTION: METER 7 "}, TextCase{14, "05000000", "ACTION: QOS qp5 "},
        TextCase{23, "0064ffff", "ACTION: SVID 100 "},
        TextCase{24, "00650000", "ACTION: CVID 101 "},
        TextCase{25, "00660000", "ACTION: TVID 102 "},
        TextCase{37, "73766c616e310000", "ACTION: ENCAP for svlan svlan1 "},
        TextCase{38, "73766c616e320000", "ACTION: DECAP for svlan svlan2 "},
        TextCase{39, "ffffffff", "ACTION: LAG_HASH -1 "},
        TextCase{40, "00010002", "ACTION: FLOOD_LIST_DEFINE 65538 "},
        TextCase{41, "00000003", "ACTION: FLOOD_LIST_USE 3 "},
        TextCase{47, "6e65787400000000", "ACTION: redirect-name next "},
        TextCase{51, "01000000", "ACTION: CPU-copy and drop SDN miss on"},
        TextCase{52, "01000000", "ACTION: CPU-copy and drop SDN action on"},
        TextCase{53, "01000000", "ACTION: CPU-copy SDN on"}),
    caseName);

TEST(ConditionText, PortListIsPrintedAsText) {
  const Bytes data = join(bytesOf("1:1-4,2:7"), zeros(55));
  EXPECT_EQ(conditionText(47, data), "CONDITION: SRC_PHYS_PORT_LIST port_list 1:1-4,2:7 ");
}

TEST(ConditionText, PortListWithoutNulEndsWithItsData) {
  const Bytes data = bytesOf(std::string(64, 'p'));
  EXPECT_EQ(conditionText(47, data),
            "CONDITION: SRC_PHYS_PORT_LIST port_list " + std::string(64, 'p') + " ");
}

TEST(ConditionText, IpOffsetPrintsAsManyPatternAndMaskBytesAsItsCountSays) {
  const Bytes data =
      join(hex("0010 0020 0123ab"), zeros(29), hex("ff0ff0"), zeros(29), hex("0003"), zeros(2));
  EXPECT_EQ(conditionText(25, data), "CONDITION: IP-OFFSET 16 -> 32 Data 0x0123ab Mask 0xff0ff0");
}

TEST(ConditionText, IpOffsetWithoutPatternBytesPrintsEmptyNumbers) {
  EXPECT_EQ(conditionText(25, zeros(72)), "CONDITION: IP-OFFSET 0 -> 0 Data 0x Mask 0x");
}

std::string repeated(const std::string &text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

TEST(ConditionText, IpOffsetCountAbove32PrintsThe32PatternBytes) {
  const auto dataWithCount = [](const char *count) {
    return join(hex("0001 0002"), Bytes(32, std::byte{0x11}), Bytes(32, std::byte{0x22}),
                hex(count), zeros(2));
  };
  const std::string full =
      "CONDITION: IP-OFFSET 1 -> 2 Data 0x" + repeated("11", 32) + " Mask 0x" + repeated("22", 32);
  EXPECT_EQ(conditionText(25, dataWithCount("0020")), full);
  EXPECT_EQ(conditionText(25, dataWithCount("0021")), full);
  EXPECT_EQ(conditionText(25, dataWithCount("ffff")), full);
}

TEST(ConditionText, EveryPacketResolutionHasItsName) {
  const char *const names[] = {
      "BASE",       "CONTROL",       "BPDU",          "L2BC",         "L2UC_KNOWN", "L2UC_UNKNOWN",
      "L2MC_KNOWN", "L2MC_UNKNOWN",  "L3UC_KNOWN",    "L3UC_UNKNOWN", "L3MC_KNOWN", "L3MC_UNKNOWN",
      "MPLS_KNOWN", "MPLS_L3_KNOWN", "MPLS_L2_KNOWN", "MPLS_UNKNOWN", "BFD",        "ICNM",
      "IEEE1588",   "L2GRE_KNOWN",   "VXLAN_KNOWN"};
  int value = 255;
  for (const char *name : names) {
    const Bytes data = {std::byte{0}, std::byte{0}, static_cast<std::byte>(value >> 8),
                        static_cast<std::byte>(value & 0xff)};
    EXPECT_EQ(conditionText(42, data), std::string("CONDITION: PKTRES ") + name + " ");
    ++value;
  }
  EXPECT_EQ(value, 276);
}

TEST(ConditionText, UnknownPacketResolutionPrintsNothing) {
  for (const char *value : {"00000000", "000000fe", "00000114", "000100ff", "ffffffff"}) {
    EXPECT_EQ(conditionText(42, hex(value)), "") << value;
  }
}

TEST(ConditionText, OnlyTheOuterAndInnerVlanLabelsEndWithABlank) {
  EXPECT_EQ(conditionText(27, zeros(12)), "CONDITION: SVID vid[0] 0 vid[1] 0 mask 0 ");
  EXPECT_EQ(conditionText(28, zeros(12)), "CONDITION: CVID vid[0] 0 vid[1] 0 mask 0 ");
  EXPECT_EQ(conditionText(21, zeros(12)), "CONDITION: VIDvid[0] 0 vid[1] 0 mask 0 ");
}

TEST(ConditionText, SlotIsPrintedWithoutABlankBeforeItsNumber) {
  EXPECT_EQ(conditionText(26, zeros(8)), "CONDITION: SLOT_PORT dir 0 slot0 ports[0] 0 ports[1] 0 ");
}

TEST(ConditionText, ClassIdIsSpelledWithoutItsAAndShownBeforeItsType) {
  EXPECT_EQ(conditionText(48, hex("01 000000 00000002 00000000")), "CONDITION: clss-id 2 type 1");
}

TEST(ConditionText, NumbersWithTheirHighestBitSetAreNegativeInDecimalOnly) {
  EXPECT_EQ(conditionText(48, hex("01 000000 80000000 00000000")),
            "CONDITION: clss-id -2147483648 type 1");
  EXPECT_EQ(conditionText(58, hex("ffffffff 80000000 ffffffff")),
            "DEBUG-CONDITION: -1, p1 0x80000000, p2 0xffffffff");
  EXPECT_EQ(conditionText(43, hex("80000000")), "CONDITION: LOOKUPSTATUS 0x80000000 ");
}

TEST(ConditionText, SomeConditionsEndWithABlankAndSomeDoNot) {
  EXPECT_EQ(conditionText(14, zeros(4)), "CONDITION: TCP_FLAGS 0x00 MASK 0x00 ");
  EXPECT_EQ(conditionText(15, zeros(4)), "CONDITION: IGMP_TYPE 0x00 MASK 0x00");
}

TEST(ConditionText, CodesWithoutALabelPrintNothing) {
  for (const std::uint32_t type :
       {2u,  5u,  6u,  7u,  8u,  9u,  10u, 11u, 23u, 24u, 34u, 35u,    36u,    37u,
        38u, 39u, 49u, 50u, 51u, 52u, 53u, 55u, 59u, 60u, 61u, 65535u, 65536u, 0xFFFFFFFFu}) {
    EXPECT_EQ(conditionText(type, zeros(72)), "") << type;
  }
}

TEST(ConditionText, DataShorterThanItsTextNeedsIsReadAsIfZerosFollowed) {
  EXPECT_EQ(conditionText(0, {}), "CONDITION: SRCADDR 0x0/0x0 ");
  EXPECT_EQ(conditionText(0, hex("0a0000")), "CONDITION: SRCADDR 0xa000000/0x0 ");
  EXPECT_EQ(conditionText(0, hex("0a000001ff")), "CONDITION: SRCADDR 0xa000001/0xff000000 ");
  EXPECT_EQ(conditionText(12, hex("0050")), "CONDITION: SRC_PORT [80 0] MASK 0x0000");
  EXPECT_EQ(conditionText(19, hex("0a")),
            "CONDITION: SRC_MAC 0a:00:00:00:00:00/00:00:00:00:00:00 ");
  EXPECT_EQ(conditionText(47, {}), "CONDITION: SRC_PHYS_PORT_LIST port_list  ");
  EXPECT_EQ(conditionText(42, hex("0000")), "");
}

// AddressSanitizer judges: the data lie in a block of exactly their size.
TEST(ConditionText, NoTextReadsBeyondItsDataWhateverItsLength) {
  for (std::uint32_t type = 0; type < 61; ++type) {
    for (std::size_t length = 0; length <= 80; ++length) {
      conditionText(type, Bytes(length, std::byte{0xff}));
    }
  }
}

TEST(ActionText, GroupPrintsTheWordsOfItsBits) {
  EXPECT_EQ(actionText(9, hex("00000235")), "ACTION: GROUP 00000235 [Permit SampleOff QP5 ]");
  EXPECT_EQ(actionText(9, hex("00000660")), "ACTION: GROUP 00000660 [Deny SampleOn ]");
  EXPECT_EQ(actionText(9, hex("00000180")), "ACTION: GROUP 00000180 [MirrorOn ]");
  EXPECT_EQ(actionText(9, hex("00000080")), "ACTION: GROUP 00000080 [MirrorOff ]");
  EXPECT_EQ(actionText(9, hex("00000010")), "ACTION: GROUP 00000010 [QP0 ]");
  EXPECT_EQ(actionText(9, hex("0000001f")), "ACTION: GROUP 0000001f [QP15 ]");
}

TEST(ActionText, GroupPairWithoutItsPresentBitPrintsNothing) {
  EXPECT_EQ(actionText(9, hex("0000154f")), "ACTION: GROUP 0000154f []");
}

TEST(ActionText, SecondGroupPairIsShownWithTheMirrorWords) {
  EXPECT_EQ(actionText(9, hex("00000a35")),
            "ACTION: GROUP 00000a35 [Permit SampleOff MirrorOff QP5 ]");
  EXPECT_EQ(actionText(9, hex("00001800")), "ACTION: GROUP 00001800 [MirrorOn ]");
  EXPECT_EQ(actionText(9, hex("00001980")), "ACTION: GROUP 00001980 [MirrorOn MirrorOn ]");
}

TEST(ActionText, MirrorToCpuQueueEndsWithTwoBlanks) {
  EXPECT_EQ(actionText(57, {}), "ACTION: mirror-cpu-q  ");
}

TEST(ActionText, SdnCpuCopiesEndWithoutABlank) {
  EXPECT_EQ(actionText(53, zeros(4)), "ACTION: CPU-copy SDN on");
}

TEST(ActionText, NameWithoutNulEndsWithItsData) {
  EXPECT_EQ(actionText(47, bytesOf(std::string(36, 'n'))),
            "ACTION: redirect-name " + std::string(36, 'n') + " ");
}

TEST(ActionText, CodesWithoutALabelPrintNothing) {
  for (const std::uint32_t type :
       {0u,  15u, 16u, 17u, 18u, 19u, 20u, 21u, 22u, 26u, 34u, 35u, 36u,    42u,    43u,        44u,
        45u, 46u, 48u, 50u, 54u, 56u, 58u, 62u, 65u, 69u, 70u, 71u, 65535u, 65536u, 0xFFFFFFFFu}) {
    EXPECT_EQ(actionText(type, zeros(72)), "") << type;
  }
}

TEST(ActionText, DataShorterThanItsTextNeedsIsReadAsIfZerosFollowed) {
  EXPECT_EQ(actionText(9, {}), "ACTION: GROUP 00000000 []");
  EXPECT_EQ(actionText(12, hex("01")), "ACTION: COUNT 256 ");
  EXPECT_EQ(actionText(14, {}), "ACTION: QOS qp0 ");
  EXPECT_EQ(actionText(37, {}), "ACTION: ENCAP for svlan  ");
}

// AddressSanitizer judges: the data lie in a block of exactly their size.
TEST(ActionText, NoTextReadsBeyondItsDataWhateverItsLength) {
  for (std::uint32_t type = 0; type < 72; ++type) {
    for (std::size_t length = 0; length <= 80; ++length) {
      actionText(type, Bytes(length, std::byte{0xff}));
    }
  }
}

}  // namespace
