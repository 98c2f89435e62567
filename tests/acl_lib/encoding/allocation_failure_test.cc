// What building policies does when memory runs out: every allocation of every call fails once.
#include <cstring>

#include "tests/acl_lib/encoding/encoding_test.h"
#include "tests/support/failing_allocator.h"

namespace {

using namespace encoding_test;
using test_support::FailAllocation;

// Runs a call with its allocation number `number` failing; `failed` tells whether it asked for it.
template <typename Call>
auto withFailure(unsigned number, bool &failed, Call call) {
  FailAllocation guard(number);
  const auto result = call();
  failed = guard.failed();
  return result;
}

TEST(OutOfMemory, NewPolicyReturns0) {
  bool failed = false;
  EXPECT_EQ(withFailure(1, failed, [] { return aclLibNewPolicy("policy"); }), 0);
  EXPECT_TRUE(failed);
}

// Now and then a policy makes the table of live policies grow: two more allocations. How many that
// takes depends on the policies that lived before, so that they are made until both have failed.
TEST(OutOfMemory, NewPolicyReturns0WhenItCannotBeMadeKnown) {
  constexpr std::size_t kMostPolicies = 200000;
  std::vector<AclPolicyHandle> handles;
  unsigned failures = 0;
  while (failures < 2 && handles.size() < kMostPolicies) {
    bool failed = false;
    const AclPolicyHandle handle =
        withFailure(2 + failures, failed, [] { return aclLibNewPolicy("policy"); });
    ASSERT_EQ(handle == 0, failed);
    if (failed) ++failures;
    if (handle != 0) handles.push_back(handle);
  }
  EXPECT_EQ(failures, 2U);
  for (const AclPolicyHandle handle : handles) {
    EXPECT_EQ(aclLibClearRule(handle), 0);
    acl::destroyPolicy(acl::findPolicy(handle));
  }
}

TEST(OutOfMemory, FirstRuleReturnsMinus1AndLeavesNoBuffer) {
  const TestPolicy policy;
  const Snapshot before = snapshotOf(policy.record());
  bool failed = false;
  EXPECT_EQ(withFailure(1, failed, [&] { return aclLibNewRule(policy.handle(), "rule", 1); }), -1);
  EXPECT_TRUE(failed);
  EXPECT_EQ(snapshotOf(policy.record()), before);
  EXPECT_EQ(aclLibNewRule(policy.handle(), "rule", 1), 1);
}

TEST(OutOfMemory, RuleThatNeedsGrowthReturnsMinus1AndChangesNothing) {
  const TestPolicy policy;
  policy.addRule(400);
  policy.addRule(400, 2);
  const Snapshot before = snapshotOf(policy.record());
  bool failed = false;
  EXPECT_EQ(withFailure(1, failed, [&] { return aclLibNewRule(policy.handle(), "rule", 3); }), -1);
  EXPECT_TRUE(failed);
  EXPECT_EQ(snapshotOf(policy.record()), before);
  // The rule before it is still open, and the next attempt goes on from there.
  EXPECT_EQ(aclLibConfigRuleAction(policy.handle(), 2, 1), 0);
  EXPECT_EQ(aclLibNewRule(policy.handle(), "rule", 3), 3);
  EXPECT_EQ(policy->usedSize, 804U);
  EXPECT_EQ(policy->bufferSize, 2048U);
}

TEST(OutOfMemory, FailedTrimmingLeavesTheBufferAsItIs) {
  const TestPolicy policy;
  policy.addRule(300);
  const std::uint8_t *buffer = policy->ruleBuffer;
  bool failed = false;
  EXPECT_EQ(withFailure(1, failed, [&] { return aclLibEndRule(policy.handle()); }), 0);
  EXPECT_TRUE(failed);
  EXPECT_EQ(policy->usedSize, 300U);
  EXPECT_EQ(policy->bufferSize, 1024U);
  EXPECT_EQ(policy->ruleBuffer, buffer);
  EXPECT_EQ(policy->openRule, buffer);
}

// Only then is there room for a rule right behind the last one although that counts twice.
TEST(OutOfMemory, RuleAfterAFailedTrimmingFollowsTheLastOne) {
  const TestPolicy policy;
  policy.addRule(100);
  bool failed = false;
  withFailure(1, failed, [&] { return aclLibEndRule(policy.handle()); });
  ASSERT_TRUE(failed);
  policy.addRule(48, 2);
  EXPECT_EQ(policy->usedSize, 200U);
  EXPECT_EQ(policy->bufferSize, 1024U);
  EXPECT_EQ(policy->openRule, policy->ruleBuffer + 100);
}

TEST(OutOfMemory, EndRuleBeyondBufferSizeReturnsMinus1AndChangesNothing) {
  const TestPolicy policy;
  policy.addRule(512);
  policy.addRule(1020, 2);
  const Snapshot before = snapshotOf(policy.record());
  bool failed = false;
  EXPECT_EQ(withFailure(1, failed, [&] { return aclLibEndRule(policy.handle()); }), -1);
  EXPECT_TRUE(failed);
  EXPECT_EQ(snapshotOf(policy.record()), before);
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_EQ(policy->usedSize, 1532U);
}

TEST(OutOfMemory, EntriesAndRefusalsAllocateNothing) {
  const TestPolicy policy;
  policy.addRule(48);
  const Bytes data = numberedBytes(70);
  FailAllocation guard(0);
  aclLibAddRuleCondIpOffset(policy.handle(), 1, data.data());
  aclLibConfigActionQos(policy.handle(), 1, data.data());
  acl::findPolicy(-2);
  EXPECT_EQ(guard.allocationsMade(), 0U);
}

}  // namespace
