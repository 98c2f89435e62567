#include "manager/model/policy_store.h"

#include <gtest/gtest.h>

#include <string>

namespace aclmgr {
namespace {

Policy policyNamed(std::string name, std::uint32_t ruleId = 1) {
  return {.name = std::move(name), .attribute = 0, .rules = {{"r", ruleId, {}, {{1, {}}}}}};
}

constexpr BindingPoint kPoint{.port = 0x10005, .vlan = 10, .direction = 0};

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
  EXPECT_EQ(store_.replaceRules("dns", {}), Status::kOk);
  EXPECT_EQ(store_.find("dns")->attribute, 9);
  EXPECT_TRUE(store_.find("dns")->rules.empty());
  EXPECT_EQ(store_.replaceRules("none", {}), Status::kPolicyNotExist);
}

TEST_F(PolicyStoreTest, RemovedPolicyIsGone) {
  EXPECT_EQ(store_.remove("web"), Status::kOk);
  EXPECT_EQ(store_.find("web"), nullptr);
  EXPECT_EQ(store_.remove("web"), Status::kPolicyNotExist);
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

}  // namespace
}  // namespace aclmgr
