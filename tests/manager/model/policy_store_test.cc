#include "manager/model/policy_store.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <utility>

#include "tests/support/failing_allocator.h"

namespace aclmgr {
namespace {

Policy policyNamed(std::string name, std::uint32_t ruleId = 1) {
  return {.name = std::move(name), .attribute = 0, .rules = {{"r", ruleId, {}, {{1, {}}}}}};
}

constexpr BindingPoint kPoint{.port = 0x10005, .vlan = 10, .direction = 0};

Policy policyOfBytes(std::string name, std::size_t encodedBytes) {
  Policy policy = policyNamed(std::move(name));
  policy.encodedBytes = encodedBytes;
  return policy;
}

class PolicyStoreTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(store_.add(policyNamed("web")), Status::kOk); }

  PolicyStore store_;
};

TEST_F(PolicyStoreTest, AddedPolicyIsFoundByItsName) {
  ASSERT_NE(store_.find("web"), nullptr);
  EXPECT_EQ(*store_.find("web"), policyNamed("web"));
  EXPECT_EQ(store_.find("we"), nullptr);
  EXPECT_EQ(store_.size(), 1U);
}

TEST_F(PolicyStoreTest, AddingTheSamePolicyAgainIsOk) {
  EXPECT_EQ(store_.add(policyNamed("web")), Status::kOk);
  EXPECT_EQ(store_.size(), 1U);
}

TEST_F(PolicyStoreTest, AddingAnotherPolicyOfTheNameIsRefusedAndChangesNothing) {
  EXPECT_EQ(store_.add(policyNamed("web", 2)), Status::kPolicyExist);
  Policy otherAttribute = policyNamed("web");
  otherAttribute.attribute = 1;
  EXPECT_EQ(store_.add(otherAttribute), Status::kPolicyExist);
  EXPECT_EQ(*store_.find("web"), policyNamed("web"));
}

TEST_F(PolicyStoreTest, ReplacingTakesTheNewPolicyAndKeepsBindings) {
  store_.bind("web", kPoint, 0);
  EXPECT_EQ(store_.replace(policyNamed("web", 2)), Status::kOk);
  EXPECT_EQ(*store_.find("web"), policyNamed("web", 2));
  EXPECT_EQ(store_.remove("web"), Status::kPolicyInUse);
}

TEST_F(PolicyStoreTest, ReplacingAnUnknownPolicyIsRefused) {
  EXPECT_EQ(store_.replace(policyNamed("dns")), Status::kPolicyNotExist);
  EXPECT_EQ(store_.find("dns"), nullptr);
}

TEST_F(PolicyStoreTest, ReplacingTheRulesKeepsTheAttribute) {
  Policy policy = policyNamed("dns");
  policy.attribute = 9;
  store_.add(policy);
  EXPECT_EQ(store_.replaceRules("dns", {}, 0), Status::kOk);
  EXPECT_EQ(store_.find("dns")->attribute, 9);
  EXPECT_TRUE(store_.find("dns")->rules.empty());
  EXPECT_EQ(store_.replaceRules("none", {}, 0), Status::kPolicyNotExist);
}

TEST_F(PolicyStoreTest, RemovedPolicyIsGone) {
  EXPECT_EQ(store_.remove("web"), Status::kOk);
  EXPECT_EQ(store_.find("web"), nullptr);
  EXPECT_EQ(store_.remove("web"), Status::kPolicyNotExist);
}

TEST_F(PolicyStoreTest, FirstPointOfAPolicyIsTheSmallestWhereItIsBound) {
  EXPECT_EQ(store_.firstPointOf("none"), nullptr);
  EXPECT_EQ(store_.firstPointOf("web"), nullptr);
  store_.bind("web", {2, 1, 0}, 0);
  store_.bind("web", {1, 9, 1}, 0);
  ASSERT_NE(store_.firstPointOf("web"), nullptr);
  EXPECT_EQ(*store_.firstPointOf("web"), (BindingPoint{1, 9, 1}));
  store_.unbindAll("web");
  EXPECT_EQ(store_.firstPointOf("web"), nullptr);
}

TEST_F(PolicyStoreTest, BoundPolicyIsRemovedOnlyAfterItsLastBinding) {
  constexpr BindingPoint other{.port = 0x10005, .vlan = 11, .direction = 0};
  store_.bind("web", kPoint, 0);
  store_.bind("web", other, 0);
  EXPECT_EQ(store_.remove("web"), Status::kPolicyInUse);
  EXPECT_EQ(store_.unbind("web", kPoint), Status::kOk);
  EXPECT_EQ(store_.remove("web"), Status::kPolicyInUse);
  EXPECT_EQ(store_.unbind("web", other), Status::kOk);
  EXPECT_EQ(store_.remove("web"), Status::kOk);
}

TEST_F(PolicyStoreTest, UnknownPolicyIsNeitherBoundNorUnbound) {
  EXPECT_EQ(store_.bind("dns", kPoint, 0), Status::kPolicyNotExist);
  EXPECT_EQ(store_.unbind("dns", kPoint), Status::kPolicyNotExist);
  EXPECT_TRUE(store_.bindings().empty());
}

TEST_F(PolicyStoreTest, TheSameBindingAgainIsOkAndCountsOnce) {
  EXPECT_EQ(store_.bind("web", kPoint, 2), Status::kOk);
  EXPECT_EQ(store_.bind("web", kPoint, 2), Status::kOk);
  EXPECT_EQ(store_.bindings().size(), 1U);
  EXPECT_EQ(store_.unbind("web", kPoint), Status::kOk);
  EXPECT_EQ(store_.remove("web"), Status::kOk);
}

TEST_F(PolicyStoreTest, BindingAgainWithOtherFlagsIsRefused) {
  store_.bind("web", kPoint, 0);
  EXPECT_EQ(store_.bind("web", kPoint, 2), Status::kInstanceExist);
  EXPECT_EQ(store_.bindings().at(kPoint).applyFlags, 0);
}

TEST_F(PolicyStoreTest, PointOfAnotherPolicyIsInUse) {
  store_.add(policyNamed("dns"));
  store_.bind("web", kPoint, 0);
  EXPECT_EQ(store_.bind("dns", kPoint, 0), Status::kInstanceInUse);
  EXPECT_EQ(store_.unbind("dns", kPoint), Status::kInstanceNotExist);
  EXPECT_EQ(store_.bindings().at(kPoint).policyName, "web");
}

TEST_F(PolicyStoreTest, UnbindingAllTakesAPolicyOffEveryPointAndNoOther) {
  store_.add(policyNamed("dns"));
  EXPECT_EQ(store_.unbindAll("web"), Status::kInstanceNotExist);
  store_.bind("web", kPoint, 0);
  store_.bind("web", {1, 2, 0}, 0);
  store_.bind("dns", {1, 3, 0}, 0);
  EXPECT_EQ(store_.unbindAll("web"), Status::kOk);
  EXPECT_EQ(store_.bindings().size(), 1U);
  EXPECT_EQ(store_.unbindAll("web"), Status::kInstanceNotExist);
  EXPECT_EQ(store_.unbindAll("none"), Status::kPolicyNotExist);
  EXPECT_EQ(store_.remove("web"), Status::kOk);
}

TEST_F(PolicyStoreTest, HeldPolicyIsRemovedOnlyAfterItsLastRelease) {
  EXPECT_EQ(store_.hold("dns"), Status::kPolicyNotExist);
  EXPECT_EQ(store_.hold("web"), Status::kOk);
  EXPECT_EQ(store_.hold("web"), Status::kOk);
  store_.release("web");
  EXPECT_EQ(store_.remove("web"), Status::kPolicyInUse);
  EXPECT_EQ(store_.replace(policyNamed("web", 2)), Status::kOk);
  EXPECT_EQ(store_.remove("web"), Status::kPolicyInUse);
  store_.release("web");
  store_.release("web");
  store_.release("dns");
  EXPECT_EQ(store_.remove("web"), Status::kOk);
}

TEST_F(PolicyStoreTest, PortVlanAndDirectionEachMakeAnotherPoint) {
  EXPECT_EQ(store_.bind("web", {1, 2, 0}, 0), Status::kOk);
  EXPECT_EQ(store_.unbind("web", {2, 2, 0}), Status::kInstanceNotExist);
  EXPECT_EQ(store_.unbind("web", {1, 1, 0}), Status::kInstanceNotExist);
  EXPECT_EQ(store_.unbind("web", {1, 2, 1}), Status::kInstanceNotExist);
  EXPECT_EQ(store_.unbind("web", {1, 2, 0}), Status::kOk);
  EXPECT_EQ(store_.unbind("web", {1, 2, 0}), Status::kInstanceNotExist);
}

TEST(PolicyLimitsTest, LimitsAreThoseThatAreDocumented) {
  EXPECT_EQ(PolicyLimits{}.policies, 4096U);
  EXPECT_EQ(PolicyLimits{}.encodedBytes, 268435456U);
  EXPECT_EQ(PolicyLimits{}.bindings, 65536U);
}

TEST(PolicyLimitsTest, AsManyPoliciesAreKeptAsTheLimitAllows) {
  PolicyStore store({.policies = 2});
  EXPECT_EQ(store.add(policyNamed("a")), Status::kOk);
  EXPECT_EQ(store.add(policyNamed("b")), Status::kOk);
  EXPECT_EQ(store.add(policyNamed("c")), Status::kNoMemory);
  EXPECT_EQ(store.find("c"), nullptr);
  EXPECT_EQ(store.add(policyNamed("b")), Status::kOk);  // is there already
  EXPECT_EQ(store.replace(policyNamed("b", 2)), Status::kOk);
  EXPECT_EQ(store.remove("a"), Status::kOk);
  EXPECT_EQ(store.add(policyNamed("c")), Status::kOk);
}

TEST(PolicyLimitsTest, BytesOfAllPoliciesCountTogether) {
  PolicyStore store({.encodedBytes = 100});
  EXPECT_EQ(store.add(policyOfBytes("a", 101)), Status::kNoMemory);
  EXPECT_EQ(store.add(policyOfBytes("a", 60)), Status::kOk);
  EXPECT_EQ(store.add(policyOfBytes("b", 41)), Status::kNoMemory);
  EXPECT_EQ(store.find("b"), nullptr);
  EXPECT_EQ(store.add(policyOfBytes("b", 40)), Status::kOk);
  EXPECT_EQ(store.add(policyOfBytes("none", 0)), Status::kOk);
  EXPECT_EQ(store.encodedBytes(), 100U);
  EXPECT_EQ(store.remove("a"), Status::kOk);
  EXPECT_EQ(store.encodedBytes(), 40U);
  EXPECT_EQ(store.add(policyOfBytes("c", 60)), Status::kOk);
}

TEST(PolicyLimitsTest, ReplacingCountsTheNewBytesInPlaceOfTheOldOnes) {
  PolicyStore store({.encodedBytes = 100});
  store.add(policyOfBytes("a", 60));
  store.add(policyOfBytes("b", 30));
  Policy larger = policyNamed("a", 2);
  larger.encodedBytes = 71;
  EXPECT_EQ(store.replace(larger), Status::kNoMemory);
  EXPECT_EQ(store.find("a")->rules[0].id, 1U);
  larger.encodedBytes = 70;
  EXPECT_EQ(store.replace(larger), Status::kOk);
  EXPECT_EQ(store.find("a")->rules[0].id, 2U);
  EXPECT_EQ(store.replaceRules("b", {}, 31), Status::kNoMemory);
  EXPECT_EQ(store.find("b")->rules.size(), 1U);
  EXPECT_EQ(store.replaceRules("b", {}, 30), Status::kOk);
  EXPECT_EQ(store.encodedBytes(), 100U);
  EXPECT_EQ(store.replaceRules("b", {}, 0), Status::kOk);
  EXPECT_EQ(store.replace(policyOfBytes("a", 100)), Status::kOk);
  EXPECT_EQ(store.encodedBytes(), 100U);
}

TEST(PolicyLimitsTest, SamePolicyInMoreBytesIsTheSameAndKeepsItsOwn) {
  PolicyStore store({.encodedBytes = 100});
  store.add(policyOfBytes("a", 90));
  EXPECT_EQ(store.add(policyOfBytes("a", 101)), Status::kOk);
  EXPECT_EQ(store.encodedBytes(), 90U);
}

TEST(PolicyLimitsTest, BindingsOfAllPoliciesShareOneTable) {
  PolicyStore store({.bindings = 2});
  for (const char *name : {"a", "b"}) store.add(policyNamed(name));
  EXPECT_EQ(store.bind("a", {1, 1, 0}, 0), Status::kOk);
  EXPECT_EQ(store.bind("b", {1, 2, 0}, 0), Status::kOk);
  EXPECT_EQ(store.bind("b", {1, 3, 0}, 0), Status::kNoHardwareResource);
  EXPECT_EQ(store.bindings().size(), 2U);
  EXPECT_EQ(store.bind("a", {1, 1, 0}, 0), Status::kOk);  // is there already
  EXPECT_EQ(store.bind("b", {1, 1, 0}, 0), Status::kInstanceInUse);
  EXPECT_EQ(store.unbindAll("a"), Status::kOk);
  EXPECT_EQ(store.bind("b", {1, 3, 0}, 0), Status::kOk);
}

TEST_F(PolicyStoreTest, ExhaustedMemoryChangesNothing) {
  const Policy added = policyOfBytes("a policy with a name that is not kept in place", 64);
  const Policy replacing = policyOfBytes("web", 32);
  const unsigned failures = test_support::forEachAllocationFailure([&] {
    bool isAdded = false;
    bool isReplaced = false;
    bool isBound = false;
    try {
      isAdded = store_.add(added) == Status::kOk;
      isReplaced = store_.replace(replacing) == Status::kOk;
      isBound = store_.bind(added.name, kPoint, 2) == Status::kOk;
    } catch (const std::bad_alloc &) {
    }
    const test_support::AllocationExemption exemption;
    EXPECT_EQ(store_.find(added.name) != nullptr, isAdded);
    EXPECT_EQ(store_.encodedBytes(), (isAdded ? 64U : 0U) + (isReplaced ? 32U : 0U));
    EXPECT_EQ(store_.bindings().size(), isBound ? 1U : 0U);
    EXPECT_EQ(store_.unbindAll("web"), Status::kInstanceNotExist);
    if (isAdded && !isBound) {
      EXPECT_EQ(store_.unbindAll(added.name), Status::kInstanceNotExist);
    }
    store_.unbindAll(added.name);
    EXPECT_EQ(store_.remove(added.name), isAdded ? Status::kOk : Status::kPolicyNotExist);
    store_.replaceRules("web", policyNamed("web").rules, 0);
    EXPECT_EQ(store_.size(), 1U);
  });
  EXPECT_GT(failures, 0U);
}

}  // namespace
}  // namespace aclmgr
