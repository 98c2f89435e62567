#include "manager/server/app_policy_handlers.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/manager/app_policy_bytes.h"
#include "tests/manager/dynamic_rule_bytes.h"

namespace aclmgr {
namespace {

using test_support::addRuleBody;
using test_support::appPolicyBody;
using test_support::Bytes;
using test_support::bytesOf;
using test_support::deleteBody;
using test_support::deleteRuleBody;
using test_support::encodedRule;
using test_support::hex;
using test_support::policyBody;
using test_support::putAt;
using test_support::unapplyBody;

class AppPolicyHandlersTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const char *name : {"a", "b"}) {
      ASSERT_EQ(handle(addRuleBody(name, encodedRule("inner", 1, "", "00010000"))), 0);
    }
    ASSERT_EQ(handle(policyBody(0x2001, "web", {}, 0)), 0);
  }

  // The status that a body is answered with.
  int handle(const Bytes &body, bool isSuperseded = false) {
    const auto code = static_cast<std::uint16_t>(std::to_integer<int>(body[0]) << 8 |
                                                 std::to_integer<int>(body[1]));
    text_ = {};
    const auto answer =
        handlerOf(code).handle(state_, Request{1, code, body, true, isSuperseded}, text_);
    reason_ = answer.value().reason;
    return static_cast<int>(answer.value().status);
  }

  ManagerState state_;
  RequestText text_;
  std::string reason_;
};

TEST_F(AppPolicyHandlersTest, CodesHaveTheirNames) {
  EXPECT_EQ(handlerOf(0x300B).codeName, "ACL_MSG_APPLY_APP_POLICY");
  EXPECT_EQ(handlerOf(0x300C).codeName, "ACL_MSG_UNAPPLY_APP_POLICY");
}

TEST_F(AppPolicyHandlersTest, ApplyInstallsThePolicyAndTellsOfIt) {
  Bytes body = appPolicyBody({.seqNo = 9,
                              .tag = 7,
                              .word3 = 8,
                              .rules = {"a", "web"},
                              .match1Type = 39,
                              .match1 = hex("00000001 00000002"),
                              .policyName = "guard"});
  putAt(body, 596, hex("0102 03"));
  putAt(body, 668, hex("1A"));
  putAt(body, 676, bytesOf("zo\"ne"));
  putAt(body, 756, hex("00000004"));
  EXPECT_EQ(handle(body), 0);
  EXPECT_EQ(state_.applicationPolicies.size(), 1U);
  EXPECT_EQ(text_.fields,
            "number 9, application 5, kind 2, tag 7, word 8, match words 1 2, policy \"guard\", "
            "second match name \"zo\\\"ne\", 2 rules, attribute 258, words 4 3");
  EXPECT_EQ(text_.rules, "  Rule \"a\" attribute 100\n  Rule \"web\" attribute 101\n");
}

TEST_F(AppPolicyHandlersTest, AddressesAreShownWithTheirMasks) {
  EXPECT_EQ(handle(appPolicyBody(
                {.rules = {"a"}, .match1Type = 62, .match1 = hex("0A0B0C0D0E0F FFFFFFFFFF00")})),
            0);
  EXPECT_NE(text_.fields.find("match type 62 0a:0b:0c:0d:0e:0f/ff:ff:ff:ff:ff:00, "),
            std::string::npos);
  EXPECT_NE(text_.fields.find("second match nothing, "), std::string::npos);
}

TEST_F(AppPolicyHandlersTest, RulesAreNotShownWhereNobodyWantsThem) {
  const Bytes body = appPolicyBody({.rules = {"a"}});
  handlerOf(0x300B).handle(state_, Request{1, 0x300B, body, false}, text_);
  EXPECT_EQ(text_.rules, "");
}

TEST_F(AppPolicyHandlersTest, RuleThatDoesNotExistIsRefusedByItsName) {
  EXPECT_EQ(handle(appPolicyBody({.rules = {"a", "x", "y"}})), -19);
  EXPECT_EQ(reason_, "\"x\"");
  EXPECT_EQ(state_.applicationPolicies.size(), 0U);
  EXPECT_EQ(handle(deleteRuleBody("a")), 0);
}

TEST_F(AppPolicyHandlersTest, WhatAnApplicationPolicyNamesIsNotDeleted) {
  EXPECT_EQ(handle(appPolicyBody({.rules = {"a", "web"}})), 0);
  EXPECT_EQ(handle(deleteRuleBody("a")), -20);
  EXPECT_EQ(handle(deleteBody("web")), -13);
  EXPECT_EQ(handle(deleteRuleBody("b")), 0);
  EXPECT_EQ(handle(unapplyBody({.rules = {"a", "web"}})), 0);
  EXPECT_EQ(handle(deleteRuleBody("a")), 0);
  EXPECT_EQ(handle(deleteBody("web")), 0);
}

TEST_F(AppPolicyHandlersTest, OneMoreThan4096PoliciesIsRefusedForMemory) {
  for (std::uint32_t tag = 1; tag <= 4096; ++tag) {
    ASSERT_EQ(handle(appPolicyBody({.tag = tag, .rules = {"a"}})), 0);
  }
  EXPECT_EQ(handle(appPolicyBody({.tag = 4097, .rules = {"a"}})), -18);
  EXPECT_EQ(handle(appPolicyBody({.tag = 4096, .rules = {"b"}})), 0);
}

TEST_F(AppPolicyHandlersTest, UnapplyTakesRulesAwayAndTellsOfIt) {
  handle(appPolicyBody({.tag = 7, .word3 = 8, .rules = {"a", "b"}}));
  EXPECT_EQ(handle(unapplyBody({.seqNo = 10, .tag = 7, .word3 = 8, .rules = {"b"}})), 0);
  EXPECT_EQ(text_.fields,
            "number 10, application 5, kind 2, tag 7, word 8, match nothing, 1 rules");
  EXPECT_EQ(text_.rules, "  Rule \"b\" attribute 100\n");
  EXPECT_EQ(handle(unapplyBody({.tag = 7, .word3 = 8, .rules = {"b"}})), -14);
  EXPECT_EQ(handle(unapplyBody({.tag = 7, .word3 = 8, .rules = {"a"}})), 0);
  EXPECT_EQ(handle(unapplyBody({.tag = 7, .word3 = 8, .rules = {"a"}})), -14);
  EXPECT_EQ(state_.applicationPolicies.size(), 0U);
}

TEST_F(AppPolicyHandlersTest, SupersededUnapplyIsNotCarriedOut) {
  handle(appPolicyBody({.rules = {"a"}}));
  EXPECT_EQ(handle(unapplyBody({.rules = {"a"}}), true), -43);
  EXPECT_EQ(reason_, "a request behind it applies the policy anew");
  EXPECT_EQ(state_.applicationPolicies.size(), 1U);
}

TEST_F(AppPolicyHandlersTest, MalformedBodiesChangeNothing) {
  handle(appPolicyBody({.rules = {"a"}}));
  const Bytes bodies[] = {appPolicyBody({.tag = 1, .rules = {"a"}}), unapplyBody({.rules = {"a"}})};
  for (const Bytes &body : bodies) {
    for (std::size_t length = 2; length < body.size(); ++length) {
      const Bytes cut(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(length));
      ASSERT_EQ(handle(cut), -3) << length;
    }
  }
  EXPECT_EQ(handle(appPolicyBody({.rules = {}})), -2);
  EXPECT_EQ(handle(unapplyBody({.rules = {}})), -2);
  EXPECT_EQ(state_.applicationPolicies.size(), 1U);
}

}  // namespace
}  // namespace aclmgr
