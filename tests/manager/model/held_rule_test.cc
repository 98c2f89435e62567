#include "manager/model/held_rule.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace aclmgr {
namespace {

DynamicRule ruleNamed(std::string name) {
  return {.name = std::move(name), .owner = 3, .rule = {}, .counterNames = {}};
}

class HeldRuleTest : public testing::Test {
 protected:
  void SetUp() override {
    rules_.add(ruleNamed("r"));
    policies_.add({.name = "p", .rules = {}});
  }

  std::optional<HeldRule> hold(std::string_view name) {
    return HeldRule::hold(name, rules_, policies_);
  }

  DynamicRuleStore rules_;
  PolicyStore policies_;
};

TEST_F(HeldRuleTest, HeldRuleIsNotRemoved) {
  {
    const auto held = hold("r");
    ASSERT_TRUE(held);
    EXPECT_EQ(rules_.remove("r", 3), Status::kRuleInUse);
  }
  EXPECT_EQ(rules_.remove("r", 3), Status::kOk);
}

TEST_F(HeldRuleTest, HeldPolicyIsNotRemoved) {
  {
    const auto held = hold("p");
    ASSERT_TRUE(held);
    EXPECT_EQ(policies_.remove("p"), Status::kPolicyInUse);
  }
  EXPECT_EQ(policies_.remove("p"), Status::kOk);
}

TEST_F(HeldRuleTest, NameOfNeitherIsNotHeld) {
  EXPECT_FALSE(hold("x"));
}

TEST_F(HeldRuleTest, DynamicRuleIsHeldBeforeAPolicyOfTheSameName) {
  policies_.add({.name = "r", .rules = {}});
  const auto held = hold("r");
  EXPECT_EQ(rules_.remove("r", 3), Status::kRuleInUse);
  EXPECT_EQ(policies_.remove("r"), Status::kOk);
}

TEST_F(HeldRuleTest, WhatWasHeldIsReleasedWhateverHasTheNameSince) {
  auto ofPolicy = hold("p");
  rules_.add(ruleNamed("p"));
  const auto ofRule = hold("p");
  ofPolicy.reset();
  EXPECT_EQ(policies_.remove("p"), Status::kOk);
  EXPECT_EQ(rules_.remove("p", 3), Status::kRuleInUse);
}

TEST_F(HeldRuleTest, RuleIsFreeOnlyAfterItsLastHold) {
  auto first = hold("r");
  auto second = hold("r");
  first.reset();
  EXPECT_EQ(rules_.remove("r", 3), Status::kRuleInUse);
  second.reset();
  EXPECT_EQ(rules_.remove("r", 3), Status::kOk);
}

TEST_F(HeldRuleTest, MovedHoldIsReleasedOnce) {
  std::vector<HeldRule> all;
  all.push_back(std::move(*hold("r")));
  all.push_back(std::move(*hold("p")));
  all.push_back(std::move(*hold("r")));
  all.erase(all.begin());
  EXPECT_EQ(rules_.remove("r", 3), Status::kRuleInUse);
  EXPECT_EQ(policies_.remove("p"), Status::kPolicyInUse);
  all.erase(all.begin());
  EXPECT_EQ(policies_.remove("p"), Status::kOk);
  all.clear();
  EXPECT_EQ(rules_.remove("r", 3), Status::kOk);
}

TEST_F(HeldRuleTest, AssigningToItselfKeepsTheHold) {
  auto held = hold("r");
  HeldRule &same = *held;
  *held = std::move(same);
  EXPECT_EQ(rules_.remove("r", 3), Status::kRuleInUse);
}

}  // namespace
}  // namespace aclmgr
