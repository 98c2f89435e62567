// Records beyond 512 bytes, for which nothing makes room: they stay inside the block all the same.
#include "tests/acl_lib/encoding/rule_buffer_test.h"

namespace {

using namespace encoding_test;

TEST(LongRecords, RecordsOf512Bytes516BytesAnd1020BytesAreKeptWhole) {
  for (const std::uint32_t length : {512U, 516U, 1020U}) {
    const TestPolicy policy;
    policy.addRule(256);
    policy.addRule(256);
    policy.addRule(length, 3);
    EXPECT_EQ(ruleLength(policy->openRule), length);
    EXPECT_EQ(actionOffset(policy->openRule), length);
    EXPECT_EQ(copyOf(policy->openRule + length - 4, 4), hex("002c 0000"));
    EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
    EXPECT_EQ(policy->usedSize, 512 + length);
    expectWholeBlock(policy.record());
  }
}

TEST(LongRecords, RecordThatRunsBeyondBufferSizeIsNotTrimmedAway) {
  const TestPolicy policy;
  policy.addRule(512);
  policy.addRule(1020, 2);
  const Bytes rules = copyOf(policy->ruleBuffer, 1532);
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_EQ(policy->usedSize, 1532U);
  EXPECT_EQ(policy->bufferSize, 1024U);
  EXPECT_EQ(copyOf(policy->ruleBuffer, 1532), rules);
  EXPECT_TRUE(isZero(policy->ruleBuffer + 1532, kTail));
  policy.addRule(48, 3);
  EXPECT_EQ(policy->usedSize, 2552U);
  EXPECT_EQ(policy->bufferSize, 2048U);
  EXPECT_EQ(policy->openRule, policy->ruleBuffer + 2552);
  expectWholeBlock(policy.record());
}

TEST(LongRecords, RecordOf1024BytesWrapsToLength0) {
  const TestPolicy policy;
  policy.addRule(1024);
  EXPECT_EQ(copyOf(policy->openRule + 44, 4), hex("00000000"));
  policy.addRule(48, 2);
  EXPECT_EQ(policy->openRule, policy->ruleBuffer);
}

TEST(LongRecords, RecordOf1028BytesWrapsToLength4) {
  const TestPolicy policy;
  policy.addRule(1028);
  EXPECT_EQ(ruleLength(policy->openRule), 4U);
  EXPECT_EQ(actionOffset(policy->openRule), 4U);
}

// AddressSanitizer judges the writing, here and in the next test.
TEST(LongRecords, LargestConditionsWrapInsideTheBlockAtItsVeryEnd) {
  const Bytes data = numberedBytes(70);
  const TestPolicy policy;
  policy.addRule(512);
  policy.addRule(48, 0x01020304);
  for (int entry = 0; entry < 200; ++entry) {
    // Once wrapped, entries lie over the header, and so over the rule's id.
    for (int i = 0; i < 4; ++i) policy->openRule[36 + i] = static_cast<std::uint8_t>(i + 1);
    EXPECT_EQ(aclLibAddRuleCondIpOffset(policy.handle(), 0x01020304, data.data()), 0);
  }
  expectWholeBlock(policy.record());
}

TEST(LongRecords, AnyLengthsInARecordAtTheEndOfATrimmedBufferStayInsideTheBlock) {
  const Bytes data = numberedBytes(70);
  const TestPolicy policy;
  policy.addRule(252);
  aclLibEndRule(policy.handle());
  ASSERT_EQ(policy->bufferSize, 256U);
  for (std::uint32_t length = 0; length < 1024; ++length) {
    const std::uint32_t word = length << 10 | length;
    for (unsigned i = 0; i < 4; ++i) {
      policy->openRule[44 + i] = static_cast<std::uint8_t>(word >> (24 - 8 * i));
      policy->openRule[36 + i] = 0;
    }
    EXPECT_EQ(aclLibConfigActionPortList(policy.handle(), 0, 1, data.data()), 0);
    std::fill_n(policy->openRule + 36, 4, std::uint8_t{0});
    EXPECT_EQ(aclLibAddRuleCondIpOffset(policy.handle(), 0, data.data()), 0);
  }
  expectWholeBlock(policy.record());
}

}  // namespace
