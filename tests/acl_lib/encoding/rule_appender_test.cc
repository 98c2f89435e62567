#include "acl_lib/encoding/rule_appender.h"

#include <array>
#include <cstring>

#include "tests/acl_lib/encoding/encoding_test.h"

namespace {

using namespace encoding_test;

// A record alone in memory of the size that the encoder may rely on.
struct Record {
  std::array<std::byte, 2048> bytes{};

  explicit Record(std::string_view ruleWordHex) {
    const Bytes word = hex(ruleWordHex);
    std::memcpy(bytes.data() + 44, word.data(), 4);
  }
  Bytes ruleWord() const { return copyOf(bytes.data() + 44, 4); }
  Bytes at(std::size_t offset, std::size_t length) const {
    return copyOf(bytes.data() + offset, length);
  }
};

TEST(RuleAppender, ConditionMovesBothLengths) {
  Record record("0000c030");
  const Bytes data = hex("06ff");
  acl::appendCondition<2>(record.bytes.data(), 3, data.data());
  EXPECT_EQ(record.ruleWord(), hex("0000e038"));  // 56 << 10 | 56
  EXPECT_EQ(record.at(48, 8), hex("0003 0004 06ff 0000"));
}

TEST(RuleAppender, ActionMovesRuleLengthOnly) {
  Record record("0000c030");
  const Bytes data = hex("0102030405");
  acl::appendAction<5>(record.bytes.data(), 35, data.data());
  EXPECT_EQ(record.ruleWord(), hex("0000c03c"));  // 48 << 10 | 60
  EXPECT_EQ(record.at(48, 12), hex("0023 0008 0102030405 000000"));
}

TEST(RuleAppender, PaddingIsNotWritten) {
  Record record("0000c030");
  std::memset(record.bytes.data() + 48, 0xEE, 16);
  const Bytes data = hex("aa");
  acl::appendCondition<1>(record.bytes.data(), 37, data.data());
  EXPECT_EQ(record.at(48, 9), hex("0025 0004 aa eeeeee ee"));
}

TEST(RuleAppender, EntryWithoutDataReadsNone) {
  Record record("0000c030");
  acl::appendCondition<0>(record.bytes.data(), 44, nullptr);
  EXPECT_EQ(record.ruleWord(), hex("0000d034"));  // 52 << 10 | 52
  EXPECT_EQ(record.at(48, 4), hex("002c 0000"));
}

TEST(RuleAppender, UnassignedBitsOfTheRuleWordAreKept) {
  Record conditions("fff0c030");
  acl::appendCondition<0>(conditions.bytes.data(), 44, nullptr);
  EXPECT_EQ(conditions.ruleWord(), hex("fff0d034"));

  Record actions("a5f0c030");
  acl::appendAction<0>(actions.bytes.data(), 10, nullptr);
  EXPECT_EQ(actions.ruleWord(), hex("a5f0c034"));
}

TEST(RuleAppender, LengthsWrapModulo1024WithoutTouchingOtherBits) {
  Record conditions("fffff3fc");  // both 1020: 0xFF3FC
  std::memcpy(conditions.bytes.data() + 44, hex("fffff3fc").data(), 4);
  acl::appendCondition<0>(conditions.bytes.data(), 44, nullptr);
  EXPECT_EQ(conditions.ruleWord(), hex("fff00000"));
  EXPECT_EQ(conditions.at(1020, 4), hex("002c 0000"));

  Record actions("a00003fc");  // actionOffset 0, ruleLength 1020
  acl::appendAction<4>(actions.bytes.data(), 50, hex("01020304").data());
  EXPECT_EQ(actions.ruleWord(), hex("a0000004"));
}

TEST(RuleAppender, OneLengthMayWrapWithoutTheOther) {
  Record record("0007fbfc");  // actionOffset 510, ruleLength 1020
  acl::appendCondition<4>(record.bytes.data(), 18, hex("01020304").data());
  EXPECT_EQ(record.ruleWord(), hex("00081804"));  // 518 << 10 | 4
  EXPECT_EQ(record.at(510, 8), hex("0012 0004 01020304"));
}

TEST(RuleAppender, LengthsRunOnPast512) {
  Record record("0007f1fc");  // both 508
  acl::appendCondition<4>(record.bytes.data(), 18, hex("01020304").data());
  EXPECT_EQ(record.ruleWord(), hex("00081204"));  // 516 << 10 | 516
}

TEST(RuleAppender, TypeIsStoredAs16Bits) {
  Record record("0000c030");
  acl::appendCondition<0>(record.bytes.data(), 0xABCD1234, nullptr);
  EXPECT_EQ(record.at(48, 4), hex("1234 0000"));
}

TEST(RuleAppender, ConditionAfterAnActionOverwritesThatAction) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  aclLibConfigRuleAction(policy.handle(), 1, 10);
  aclLibConfigRuleAction(policy.handle(), 1, 11);
  const Bytes data = hex("06ff");
  aclLibAddRuleCondProtocol(policy.handle(), 1, data.data());
  // Conditions end at 56, the rule at 64: what was the second action lies under the condition.
  EXPECT_EQ(copyOf(policy->openRule + 44, 4), hex("0000e040"));
  EXPECT_EQ(copyOf(policy->openRule + 48, 8), hex("0003 0004 06ff 0000"));
}

}  // namespace
