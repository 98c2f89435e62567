#include "manager/server/handler_tables.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

#include "tests/manager/app_policy_bytes.h"
#include "tests/manager/dynamic_rule_bytes.h"
#include "tests/manager/server/served_requests.h"

namespace aclmgr {
namespace {

using test_support::addRuleBody;
using test_support::appPolicyBody;
using test_support::Bytes;
using test_support::checkBody;
using test_support::cleanBody;
using test_support::encodedRule;
using test_support::hex;
using test_support::meterBindingBody;
using test_support::meterBody;
using test_support::moveBody;
using test_support::policyBody;
using test_support::putAt;
using test_support::ruleBindingBody;
using test_support::sliceBody;
using test_support::zeros;

class ClientHandlersTest : public testing::Test, protected test_support::ServedRequests {
 protected:
  int addRule(std::string_view name, std::uint32_t appId) {
    return serve(addRuleBody(name, encodedRule("inner", 1, "", "00010000"), appId));
  }

  void expectRefusedAtEveryShorterLength(const Bytes &body) {
    for (std::size_t length = 2; length < body.size(); ++length) {
      const Bytes cut(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(length));
      ASSERT_EQ(serve(cut), -3) << length;
    }
  }
};

TEST_F(ClientHandlersTest, CodesHaveTheirNames) {
  EXPECT_EQ(handlerOf(0x300D).codeName, "ACL_MSG_MOVE_ATTRIBUTE");
  EXPECT_EQ(handlerOf(0x300F).codeName, "ACL_MSG_CHECK_POLICY");
  EXPECT_EQ(handlerOf(0x3018).codeName, "ACL_MSG_CLEAN_CLIENT_RULES");
}

TEST_F(ClientHandlersTest, MoveGivesPoliciesToTheOtherApplication) {
  addRule("r", 3);
  EXPECT_EQ(serve(moveBody(2, 5, 6)), -14);
  EXPECT_EQ(text.fields, "kind 2, from application 5 to 6");
  serve(appPolicyBody({}));
  EXPECT_EQ(serve(moveBody(2, 5, 6)), 0);
  EXPECT_EQ(serve(moveBody(2, 5, 6)), -14);
  serve(appPolicyBody({}));
  EXPECT_EQ(serve(moveBody(2, 5, 6)), -33);
  EXPECT_EQ(state.applicationPolicies.size(), 2U);
  EXPECT_EQ(serve(moveBody(2, 5, 7)), 0);
  expectRefusedAtEveryShorterLength(moveBody(2, 6, 5));
  EXPECT_EQ(serve(moveBody(2, 6, 5)), 0);
}

TEST_F(ClientHandlersTest, MoveReplyHas596BytesWithCookieKindAndApplications) {
  Bytes request = moveBody(7, 8, 9);
  putAt(request, 4, hex("EEEE"));
  putAt(request, 595, hex("EE"));
  Bytes expected = zeros(596);
  putAt(expected, 0, hex("300D FFDF"));  // -33
  putAt(expected, 588, hex("0A0B0C0D 07 08 09"));
  EXPECT_EQ(handlerOf(0x300D).makeReply(request, Status::kPolicyHasAttribute), expected);
}

TEST_F(ClientHandlersTest, CheckFindsTheFirstPolicyThatDoesNotExist) {
  EXPECT_EQ(serve(checkBody({})), 0);
  serve(policyBody(0x2001, "web", {}, 0));
  addRule("rule", 3);  // which is no policy
  EXPECT_EQ(serve(checkBody({"web", "web"})), 0);
  EXPECT_EQ(text.fields, "2 policies");
  EXPECT_EQ(text.rules,
            "  Policy \"web\" type 3 value 65538\n  Policy \"web\" type 3 value 65538\n");
  EXPECT_EQ(serve(checkBody({"web", "rule", "other"})), -11);
  EXPECT_EQ(reason, "\"rule\"");
  EXPECT_EQ(serve(checkBody(std::vector<std::string_view>(100, "web"))), 0);
  EXPECT_EQ(serve(checkBody(std::vector<std::string_view>(101, "web"))), -2);
  expectRefusedAtEveryShorterLength(checkBody({"web"}));
}

TEST_F(ClientHandlersTest, CheckReplyHas600BytesWithCountAndCookie) {
  Bytes request = checkBody({"web", "dns"});
  putAt(request, 588, hex("EEEEEEEE"));
  Bytes expected = zeros(600);
  putAt(expected, 0, hex("300F FFF5"));  // -11
  putAt(expected, 592, hex("00000002 0A0B0C0D"));
  EXPECT_EQ(handlerOf(0x300F).makeReply(request, Status::kPolicyNotExist), expected);
}

TEST_F(ClientHandlersTest, CleanRemovesAllThatAnApplicationHasAndNothingOfOthers) {
  for (const std::uint32_t appId : {5U, 6U}) {
    const std::string rule = "rule" + std::to_string(appId);
    const std::string meter = "meter" + std::to_string(appId);
    ASSERT_EQ(addRule(rule, appId), 0);
    ASSERT_EQ(serve(ruleBindingBody({.name = rule, .appId = appId})), 0);
    ASSERT_EQ(serve(meterBody(0x3012, meter, appId)), 0);
    ASSERT_EQ(serve(meterBindingBody(0x301E, meter, 1)), 0);
    ASSERT_EQ(serve(sliceBody({.count = 3, .appId = appId})), 0);
    ASSERT_EQ(serve(appPolicyBody({.appId = static_cast<std::uint8_t>(appId), .rules = {rule}})),
              0);
  }
  EXPECT_EQ(serve(cleanBody(5)), 0);
  EXPECT_EQ(text.fields, "application 5, words 16909060 168496141");
  EXPECT_EQ(text.rules, "  1 application policies, 1 dynamic rules, 1 meters, 3 slices\n");
  EXPECT_EQ(state.applicationPolicies.size(), 1U);
  EXPECT_EQ(state.dynamicRules.find("rule5"), nullptr);
  EXPECT_NE(state.dynamicRules.find("rule6"), nullptr);
  EXPECT_EQ(state.dynamicRules.bindingCount(), 1U);
  EXPECT_EQ(state.meters.find("meter5"), nullptr);
  EXPECT_NE(state.meters.find("meter6"), nullptr);
  EXPECT_EQ(state.slices.freeIn(1), 13U);
}

TEST_F(ClientHandlersTest, CleanOfAnApplicationThatHasNothingIsOk) {
  EXPECT_EQ(serve(cleanBody(5)), 0);
  EXPECT_EQ(serve(cleanBody(5)), 0);
  EXPECT_EQ(serve(cleanBody(0xFFFF)), 0);
}

TEST_F(ClientHandlersTest, CleanTakesClientNumbersAsTheyAreAndNotTheirLowByte) {
  addRule("r", 5);
  serve(appPolicyBody({.appId = 5}));
  EXPECT_EQ(serve(cleanBody(0x0105)), 0);
  EXPECT_EQ(state.applicationPolicies.size(), 1U);
  EXPECT_NE(state.dynamicRules.find("r"), nullptr);
}

TEST_F(ClientHandlersTest, CleanKeepsRulesThatPoliciesOfOtherApplicationsName) {
  addRule("r", 5);
  serve(ruleBindingBody({.name = "r", .appId = 5}));
  serve(appPolicyBody({.appId = 6}));
  EXPECT_EQ(serve(cleanBody(5)), 0);
  EXPECT_NE(state.dynamicRules.find("r"), nullptr);
  EXPECT_EQ(state.dynamicRules.bindingCount(), 0U);
  EXPECT_EQ(serve(cleanBody(6)), 0);
  EXPECT_EQ(serve(cleanBody(5)), 0);
  EXPECT_EQ(state.dynamicRules.find("r"), nullptr);
}

TEST_F(ClientHandlersTest, CleanWithoutMemoryRemovesNothing) {
  const Bytes body = cleanBody(5);
  const unsigned failures = test_support::forEachAllocationFailure([&] {
    {
      const test_support::AllocationExemption exemption;
      addRule("r", 5);
    }
    bool isCarriedOut = false;
    try {
      isCarriedOut = serve(body) == 0;
    } catch (const std::bad_alloc &) {
    }
    const test_support::AllocationExemption exemption;
    EXPECT_EQ(state.dynamicRules.find("r") == nullptr, isCarriedOut);
  });
  EXPECT_GT(failures, 0U);
}

TEST_F(ClientHandlersTest, MalformedCleanRemovesNothing) {
  addRule("r", 5);
  expectRefusedAtEveryShorterLength(cleanBody(5));
  EXPECT_NE(state.dynamicRules.find("r"), nullptr);
}

TEST_F(ClientHandlersTest, CleanReplyHas600BytesWithTheClient) {
  Bytes request = cleanBody(0x0506);
  putAt(request, 4, hex("EEEE"));
  putAt(request, 594, hex("EE"));
  Bytes expected = zeros(600);
  putAt(expected, 0, hex("3018 0000"));
  putAt(expected, 588, hex("0A0B0C0D 0506 0000 01020304"));
  EXPECT_EQ(handlerOf(0x3018).makeReply(request, Status::kOk), expected);
}

TEST_F(ClientHandlersTest, ShortRequestsAreEchoedAsIfZerosFollowed) {
  Bytes move = zeros(596);
  putAt(move, 0, hex("300D FFFD"));
  EXPECT_EQ(handlerOf(0x300D).makeReply(hex("300D 1122"), Status::kInvalidMessage), move);
  Bytes check = zeros(600);
  putAt(check, 0, hex("300F FFFD"));
  EXPECT_EQ(handlerOf(0x300F).makeReply(hex("300F 1122"), Status::kInvalidMessage), check);
  Bytes clean = zeros(600);
  putAt(clean, 0, hex("3018 FFFD"));
  EXPECT_EQ(handlerOf(0x3018).makeReply(hex("3018 1122"), Status::kInvalidMessage), clean);
}

}  // namespace
}  // namespace aclmgr
