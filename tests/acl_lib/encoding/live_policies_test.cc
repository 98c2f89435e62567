#include "acl_lib/encoding/live_policies.h"

#include <array>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "tests/acl_lib/encoding/encoding_test.h"

namespace {

using namespace encoding_test;

std::vector<std::unique_ptr<TestPolicy>> makePolicies(std::size_t count) {
  std::vector<std::unique_ptr<TestPolicy>> policies(count);
  for (auto &policy : policies) policy = std::make_unique<TestPolicy>();
  return policies;
}

TEST(LivePolicies, RegisteredPolicyIsKnownUntilItIsForgotten) {
  AclPolicy record{};
  const auto handle = reinterpret_cast<AclPolicyHandle>(&record);
  EXPECT_FALSE(acl::isLivePolicy(handle));
  EXPECT_TRUE(acl::registerPolicy(&record));
  EXPECT_TRUE(acl::isLivePolicy(handle));
  EXPECT_TRUE(acl::forgetPolicy(&record));
  EXPECT_FALSE(acl::isLivePolicy(handle));
  EXPECT_FALSE(acl::isLivePolicyInFront(handle));
}

TEST(LivePolicies, PolicyRegisteredTwiceIsForgottenAtOnce) {
  AclPolicy record{};
  EXPECT_TRUE(acl::registerPolicy(&record));
  EXPECT_TRUE(acl::registerPolicy(&record));
  EXPECT_TRUE(acl::forgetPolicy(&record));
  EXPECT_FALSE(acl::forgetPolicy(&record));
  EXPECT_FALSE(acl::isLivePolicy(reinterpret_cast<AclPolicyHandle>(&record)));
}

TEST(LivePolicies, ForgettingWhatIsNotKnownChangesNothing) {
  const TestPolicy policy;
  AclPolicy record{};
  EXPECT_FALSE(acl::forgetPolicy(&record));
  EXPECT_FALSE(acl::forgetPolicy(nullptr));
  EXPECT_TRUE(acl::isLivePolicy(policy.handle()));
}

TEST(LivePolicies, SmallNumbersAreNeverKnownThoughTheNewestPolicyIsGone) {
  AclPolicy record{};
  ASSERT_TRUE(acl::registerPolicy(&record));
  ASSERT_TRUE(acl::forgetPolicy(&record));
  for (AclPolicyHandle handle = -16; handle <= 16; ++handle) {
    EXPECT_FALSE(acl::isLivePolicyInFront(handle)) << handle;
  }
}

TEST(LivePolicies, PolicyThatIsNotTheNewestIsKnownInTheFrontToo) {
  const TestPolicy older;
  const TestPolicy newer;
  EXPECT_TRUE(acl::isLivePolicyInFront(newer.handle()));
  EXPECT_TRUE(acl::isLivePolicy(older.handle()));
}

TEST(LivePolicies, NullIsNeverKnown) {
  EXPECT_FALSE(acl::isLivePolicyInFront(0));
  EXPECT_FALSE(acl::isLivePolicy(0));
}

// As for a reader that misses it in the table because a writer is moving it there.
TEST(LivePolicies, PolicyInTheFrontIsKnownAlthoughTheTableMissesIt) {
  AclPolicy record{};
  const auto handle = reinterpret_cast<AclPolicyHandle>(&record);
  const auto address = reinterpret_cast<std::uintptr_t>(&record);
  auto &slot = acl::livePolicyFront[acl::hashOfHandle(address, acl::kFrontBits)];
  const std::uintptr_t before = slot.exchange(address);
  const bool isKnown = acl::isLivePolicy(handle);
  slot = before;
  EXPECT_TRUE(isKnown);
  EXPECT_FALSE(acl::isLivePolicy(handle));
}

TEST(LivePolicies, ThousandsAreKnownWhileTheyLive) {
  const auto policies = makePolicies(3000);
  for (const auto &policy : policies) EXPECT_TRUE(acl::isLivePolicy(policy->handle()));

  for (std::size_t i = 0; i < policies.size(); i += 3) policies[i]->end();
  for (std::size_t i = 0; i < policies.size(); ++i) {
    EXPECT_EQ(acl::isLivePolicy(policies[i]->handle()), i % 3 != 0);
  }
}

TEST(LivePolicies, EachOfThousandsCanBeUsed) {
  const auto policies = makePolicies(3000);
  for (const auto &policy : policies) policy->addRule(52);
  for (const auto &policy : policies) EXPECT_EQ(aclLibEndRule(policy->handle()), 0);
}

// AddressSanitizer's leak checker judges, at the end of the program.
TEST(LivePolicies, PolicyThatNobodyDeletesIsNoLeak) {
  const AclPolicyHandle policy = aclLibNewPolicy("kept");
  EXPECT_EQ(aclLibNewRule(policy, "rule", 1), 1);
}

// ThreadSanitizer judges this one and the next, beside their expectations.
TEST(LivePolicies, PolicyIsValidWhileOtherThreadsComeAndGo) {
  const TestPolicy policy;
  std::atomic<bool> done = false;
  std::thread other([&done] {
    for (int round = 0; round < 20; ++round) makePolicies(100);
    done = true;
  });
  while (!done) {
    policy.addRule(52);
    ASSERT_EQ(aclLibClearRule(policy.handle()), 0);
  }
  other.join();
}

TEST(LivePolicies, ThreadsBuildTheirOwnPolicies) {
  std::array<std::thread, 4> threads;
  for (std::thread &thread : threads) {
    thread = std::thread([] {
      for (int round = 0; round < 50; ++round) {
        const TestPolicy policy;
        policy.addRule(52);
        EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
      }
    });
  }
  for (std::thread &thread : threads) thread.join();
}

}  // namespace
