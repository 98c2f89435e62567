#include "acl_lib/encoding/rule_buffer.h"

#include <malloc.h>

#include <cstdlib>

#include "tests/acl_lib/encoding/rule_buffer_test.h"

namespace {

using namespace encoding_test;

// ---- Growth -------------------------------------------------------------------------------------

TEST(RuleBuffer, FirstRuleAllocates1024Bytes) {
  const TestPolicy policy;
  policy.addRule(48);
  EXPECT_EQ(policy->bufferSize, 1024U);
  EXPECT_EQ(policy->openRule, policy->ruleBuffer);
  EXPECT_TRUE(isZero(policy->ruleBuffer + 48, 1024 - 48 + kTail));
}

TEST(RuleBuffer, OwnRecordWithoutABufferGetsOneWhateverItsSizesSay) {
  for (const std::uint32_t bufferSize : {0U, 511U, 512U, 1024U, 0xFFFFFFFFU}) {
    for (const std::uint32_t usedSize : {0U, 300U, 5000U}) {
      AclPolicy own{};
      own.selfCheck = &own;
      own.bufferSize = bufferSize;
      own.usedSize = usedSize;
      EXPECT_EQ(aclLibNewRule(reinterpret_cast<AclPolicyHandle>(&own), "rule", 1), 1);
      ASSERT_NE(own.ruleBuffer, nullptr);
      EXPECT_EQ(own.openRule, own.ruleBuffer);
      EXPECT_EQ(own.bufferSize, 1024U);
      EXPECT_EQ(own.usedSize, 0U);
      expectWholeBlock(own);
      std::free(own.ruleBuffer);
    }
  }
}

TEST(RuleBuffer, With600BytesUsedItGrowsTo2048) {
  const TestPolicy policy;
  policy.addRule(300);
  policy.addRule(300);
  const Bytes before = copyOf(policy->ruleBuffer, 600);
  policy.addRule(48);
  EXPECT_EQ(policy->usedSize, 600U);
  EXPECT_EQ(policy->bufferSize, 2048U);
  EXPECT_EQ(policy->openRule, policy->ruleBuffer + 600);
  EXPECT_EQ(copyOf(policy->ruleBuffer, 600), before);
  EXPECT_TRUE(isZero(policy->ruleBuffer + 648, 2048 - 648 + kTail));
}

TEST(RuleBuffer, With512BytesFreeItDoesNotGrow) {
  const TestPolicy policy;
  policy.addRule(256);
  policy.addRule(256);
  policy.addRule(48);
  EXPECT_EQ(policy->usedSize, 512U);
  EXPECT_EQ(policy->bufferSize, 1024U);
}

TEST(RuleBuffer, With511BytesFreeItGrows) {
  const TestPolicy policy;
  policy.addRule(512);
  policy->usedSize = 1;
  policy.addRule(48);
  EXPECT_EQ(policy->usedSize, 513U);
  EXPECT_EQ(policy->bufferSize, 2048U);
}

TEST(RuleBuffer, GrowsByOneStepAtATime) {
  const TestPolicy policy;
  for (std::uint32_t rule = 1; rule <= 40; ++rule) {
    policy.addRule(512);
    // 512 bytes fit into what the rules before left free, or into the step that was just made.
    EXPECT_EQ(policy->bufferSize, (rule + 1) / 2 * 1024);
  }
  EXPECT_EQ(policy->usedSize, 39U * 512);
  expectWholeBlock(policy.record());
}

TEST(RuleBuffer, TrimmedBufferGrowsForTheRuleAfterAClear) {
  const TestPolicy policy;
  policy.addRule(48);
  aclLibEndRule(policy.handle());
  EXPECT_EQ(policy->bufferSize, 256U);
  aclLibClearRule(policy.handle());
  policy.addRule(48);
  EXPECT_EQ(policy->bufferSize, 1280U);
  EXPECT_EQ(policy->openRule, policy->ruleBuffer);
}

TEST(RuleBuffer, RulesThatWouldPass32BitsAreRefused) {
  const TestPolicy policy;
  policy.addRule(100);
  policy->usedSize = 0xFFFFFFFF - 99;
  const Snapshot before = snapshotOf(policy.record());
  EXPECT_EQ(aclLibNewRule(policy.handle(), "next", 2), -1);
  EXPECT_EQ(snapshotOf(policy.record()), before);
  EXPECT_EQ(aclLibEndRule(policy.handle()), -1);
  EXPECT_EQ(snapshotOf(policy.record()), before);
}

TEST(RuleBuffer, BufferThatWouldPass32BitsIsRefused) {
  const TestPolicy policy;
  policy.addRule(100);
  policy->bufferSize = 0xFFFFFC00;
  policy->usedSize = 0xFFFFFC00 - 611;
  EXPECT_EQ(aclLibNewRule(policy.handle(), "next", 2), -1);
  EXPECT_EQ(policy->bufferSize, 0xFFFFFC00U);
  EXPECT_EQ(policy->usedSize, 0xFFFFFC00U - 611);
  EXPECT_EQ(policy->openRule, policy->ruleBuffer);
  EXPECT_EQ(policy->ruleCount, 1);
}

// ---- Trimming -----------------------------------------------------------------------------------

TEST(RuleBuffer, With300BytesUsedItIsTrimmedTo512) {
  const TestPolicy policy;
  policy.addRule(300);
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_EQ(policy->usedSize, 300U);
  EXPECT_EQ(policy->bufferSize, 512U);
}

TEST(RuleBuffer, With800BytesUsedItIsLeftAlone) {
  const TestPolicy policy;
  policy.addRule(400);
  policy.addRule(400);
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_EQ(policy->usedSize, 800U);
  EXPECT_EQ(policy->bufferSize, 1024U);
}

TEST(RuleBuffer, With256BytesSpareItIsLeftAlone) {
  const TestPolicy policy;
  policy.addRule(384);
  policy.addRule(384);
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_EQ(policy->usedSize, 768U);
  EXPECT_EQ(policy->bufferSize, 1024U);
}

TEST(RuleBuffer, With257BytesSpareItIsTrimmed) {
  const TestPolicy policy;
  policy.addRule(384);
  policy.addRule(384);
  policy->usedSize = 383;
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_EQ(policy->usedSize, 767U);
  EXPECT_EQ(policy->bufferSize, 768U);
}

TEST(RuleBuffer, WholeUnitsUsedLeaveOneUnitMore) {
  const TestPolicy policy;
  policy.addRule(256);
  policy.addRule(256);
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_EQ(policy->bufferSize, 768U);
}

TEST(RuleBuffer, TrimmingGivesMemoryBackAndKeepsTheRules) {
  const TestPolicy policy;
  for (int rule = 0; rule < 200; ++rule) policy.addRule(512);
  const std::size_t before = malloc_usable_size(policy->ruleBuffer);
  aclLibClearRule(policy.handle());
  policy.addRule(100);
  const Bytes rule = copyOf(policy->ruleBuffer, 100);
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_EQ(policy->bufferSize, 256U);
  EXPECT_LT(malloc_usable_size(policy->ruleBuffer), before / 10);
  EXPECT_EQ(copyOf(policy->ruleBuffer, 100), rule);
}

TEST(RuleBuffer, TrimmingLeavesZerosBehindBufferSize) {
  const TestPolicy policy;
  for (int rule = 0; rule < 10; ++rule) policy.addRule(512);
  aclLibClearRule(policy.handle());
  policy.addRule(100);
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_TRUE(isZero(policy->ruleBuffer + 256, kTail));
}

TEST(RuleBuffer, OpenRuleKeepsItsPlaceInABlockThatMoves) {
  const TestPolicy policy;
  for (std::uint32_t rule = 1; rule <= 100; ++rule) policy.addRule(200, rule);
  const std::ptrdiff_t place = policy->openRule - policy->ruleBuffer;
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_EQ(policy->openRule - policy->ruleBuffer, place);
  EXPECT_EQ(aclLibConfigRuleAction(policy.handle(), 100, 1), 0);
  EXPECT_EQ(ruleLength(policy->openRule), 204U);
}

// ---- Calls that are not expected ----------------------------------------------------------------

TEST(RuleBuffer, EndingTheLastRuleAgainCountsItAgain) {
  const TestPolicy policy;
  policy.addRule(300);
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_EQ(policy->usedSize, 600U);
  EXPECT_EQ(policy->bufferSize, 512U);
  EXPECT_TRUE(isZero(policy->ruleBuffer + 512, 88 + kTail));
  expectWholeBlock(policy.record());
}

TEST(RuleBuffer, EndingTheLastRuleManyTimesStaysInsideTheBlock) {
  const TestPolicy policy;
  policy.addRule(512);
  for (std::uint32_t time = 1; time <= 100; ++time) {
    EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
    EXPECT_EQ(policy->usedSize, time * 512);
    expectWholeBlock(policy.record());
  }
  EXPECT_EQ(policy->openRule, policy->ruleBuffer);
}

TEST(RuleBuffer, RuleOpenedAfterTheLastOneCountsThatOneTwice) {
  const TestPolicy policy;
  policy.addRule(100, 1);
  aclLibEndRule(policy.handle());
  EXPECT_EQ(policy->bufferSize, 256U);
  policy.addRule(60, 2);
  // The buffer had to grow: the new rule is placed behind what counts as used.
  EXPECT_EQ(policy->usedSize, 200U);
  EXPECT_EQ(policy->bufferSize, 1280U);
  EXPECT_EQ(policy->openRule, policy->ruleBuffer + 200);
  aclLibEndRule(policy.handle());
  EXPECT_EQ(policy->usedSize, 260U);
  expectWholeBlock(policy.record());
}

TEST(RuleBuffer, EndingAndOpeningInTurnStaysInsideTheBlock) {
  const TestPolicy policy;
  for (std::uint32_t rule = 1; rule <= 50; ++rule) {
    policy.addRule(512, rule);
    EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
    EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
    expectWholeBlock(policy.record());
    EXPECT_EQ(aclLibConfigRuleAction(policy.handle(), rule, 1), 0);
  }
}

TEST(RuleBuffer, ClearedAfterUsedSizePassedBufferSizeItGrowsByOneStep) {
  const TestPolicy policy;
  policy.addRule(512);
  for (int time = 0; time < 20; ++time) aclLibEndRule(policy.handle());
  aclLibClearRule(policy.handle());
  const std::uint32_t bufferSize = policy->bufferSize;
  policy.addRule(600);
  policy.addRule(48, 2);
  EXPECT_EQ(policy->bufferSize, bufferSize + 1024);
  EXPECT_EQ(policy->usedSize, 600U);
  expectWholeBlock(policy.record());
}

}  // namespace
