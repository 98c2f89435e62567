#include "manager/server/handler_tables.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/manager/app_policy_bytes.h"
#include "tests/manager/dynamic_rule_bytes.h"
#include "tests/manager/server/served_requests.h"

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

class AppPolicyHandlersTest : public testing::Test, protected test_support::ServedRequests {
 protected:
  void SetUp() override {
    for (const char *name : {"a", "b"}) {
      ASSERT_EQ(serve(addRuleBody(name, encodedRule("inner", 1, "", "00010000"))), 0);
    }
    ASSERT_EQ(serve(policyBody(0x2001, "web", {}, 0)), 0);
  }
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
  EXPECT_EQ(serve(body), 0);
  EXPECT_EQ(state.applicationPolicies.size(), 1U);
  EXPECT_EQ(text.fields,
            "number 9, application 5, kind 2, tag 7, word 8, match words 1 2, policy \"guard\", "
            "second match name \"zo\\\"ne\", 2 rules, attribute 258, words 4 3");
  EXPECT_EQ(text.rules, "  Rule \"a\" attribute 100\n  Rule \"web\" attribute 101\n");
}

TEST_F(AppPolicyHandlersTest, AddressesAreShownWithTheirMasks) {
  EXPECT_EQ(serve(appPolicyBody(
                {.rules = {"a"}, .match1Type = 62, .match1 = hex("0A0B0C0D0E0F FFFFFFFFFF00")})),
            0);
  EXPECT_NE(text.fields.find("match type 62 0a:0b:0c:0d:0e:0f/ff:ff:ff:ff:ff:00, "),
            std::string::npos);
  EXPECT_NE(text.fields.find("second match nothing, "), std::string::npos);
}

TEST_F(AppPolicyHandlersTest, RulesAreNotShownWhereNobodyWantsThem) {
  const Bytes body = appPolicyBody({.rules = {"a"}});
  handlerOf(0x300B).handle(state, Request{1, 0x300B, body, false}, text);
  EXPECT_EQ(text.rules, "");
}

TEST_F(AppPolicyHandlersTest, RuleThatDoesNotExistIsRefusedByItsName) {
  EXPECT_EQ(serve(appPolicyBody({.rules = {"a", "x", "y"}})), -19);
  EXPECT_EQ(reason, "\"x\"");
  EXPECT_EQ(state.applicationPolicies.size(), 0U);
  EXPECT_EQ(serve(deleteRuleBody("a")), 0);
}

TEST_F(AppPolicyHandlersTest, RefusalForAnotherReasonNamesNoRule) {
  for (int name = 0; name < 64; ++name) {
    ASSERT_EQ(serve(appPolicyBody(
                  {.rules = {"a"}, .match1Type = 26, .match1 = bytesOf(std::to_string(name))})),
              0);
  }
  EXPECT_EQ(serve(appPolicyBody({.rules = {"a"}})), -18);
  EXPECT_EQ(reason, "");
  EXPECT_EQ(serve(appPolicyBody({.rules = {"y"}})), -19);
  EXPECT_EQ(reason, "\"y\"");
}

TEST_F(AppPolicyHandlersTest, WhatAnApplicationPolicyNamesIsNotDeleted) {
  EXPECT_EQ(serve(appPolicyBody({.rules = {"a", "web"}})), 0);
  EXPECT_EQ(serve(deleteRuleBody("a")), -20);
  EXPECT_EQ(reason, "named by an application policy");
  EXPECT_EQ(serve(deleteBody("web")), -13);
  EXPECT_EQ(reason, "named by an application policy");
  EXPECT_EQ(serve(deleteRuleBody("b")), 0);
  EXPECT_EQ(serve(unapplyBody({.rules = {"a", "web"}})), 0);
  EXPECT_EQ(serve(deleteRuleBody("a")), 0);
  EXPECT_EQ(serve(deleteBody("web")), 0);
}

TEST_F(AppPolicyHandlersTest, OneMoreThan4096PoliciesIsRefusedForMemory) {
  for (std::uint32_t tag = 1; tag <= 4096; ++tag) {
    ASSERT_EQ(serve(appPolicyBody({.tag = tag, .rules = {"a"}})), 0);
  }
  EXPECT_EQ(serve(appPolicyBody({.tag = 4097, .rules = {"a"}})), -18);
  EXPECT_EQ(serve(appPolicyBody({.tag = 4096, .rules = {"b"}})), 0);
}

TEST_F(AppPolicyHandlersTest, UnapplyTakesRulesAwayAndTellsOfIt) {
  serve(appPolicyBody({.tag = 7, .word3 = 8, .rules = {"a", "b"}}));
  EXPECT_EQ(serve(unapplyBody({.seqNo = 10, .tag = 7, .word3 = 8, .rules = {"b"}})), 0);
  EXPECT_EQ(text.fields, "number 10, application 5, kind 2, tag 7, word 8, match nothing, 1 rules");
  EXPECT_EQ(text.rules, "  Rule \"b\" attribute 100\n");
  EXPECT_EQ(serve(unapplyBody({.tag = 7, .word3 = 8, .rules = {"b"}})), -14);
  EXPECT_EQ(serve(unapplyBody({.tag = 7, .word3 = 8, .rules = {"a"}})), 0);
  EXPECT_EQ(serve(unapplyBody({.tag = 7, .word3 = 8, .rules = {"a"}})), -14);
  EXPECT_EQ(state.applicationPolicies.size(), 0U);
}

TEST_F(AppPolicyHandlersTest, MalformedBodiesChangeNothing) {
  serve(appPolicyBody({.rules = {"a"}}));
  const Bytes bodies[] = {appPolicyBody({.tag = 1, .rules = {"a"}}), unapplyBody({.rules = {"a"}})};
  for (const Bytes &body : bodies) {
    for (std::size_t length = 2; length < body.size(); ++length) {
      const Bytes cut(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(length));
      ASSERT_EQ(serve(cut), -3) << length;
    }
  }
  EXPECT_EQ(serve(appPolicyBody({.rules = {}})), -2);
  EXPECT_EQ(serve(unapplyBody({.rules = {}})), -2);
  EXPECT_EQ(state.applicationPolicies.size(), 1U);
}

}  // namespace
}  // namespace aclmgr
