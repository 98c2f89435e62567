#include "manager/server/handler_tables.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

#include "tests/manager/dynamic_rule_bytes.h"
#include "tests/manager/server/served_requests.h"
#include "tests/support/failing_allocator.h"

namespace aclmgr {
namespace {

using test_support::addRuleBody;
using test_support::appRuleBody;
using test_support::Bytes;
using test_support::bytesOf;
using test_support::countActionHex;
using test_support::countingRule;
using test_support::deleteRuleBody;
using test_support::encodedRule;
using test_support::hex;
using test_support::join;
using test_support::policyBody;
using test_support::putAt;
using test_support::ruleBindingBody;
using test_support::ruleValidityBody;
using test_support::zeros;

class AppRuleHandlersTest : public testing::Test, protected test_support::ServedRequests {
 protected:
  void add(std::string_view name) { ASSERT_EQ(serve(addRuleBody(name, countingRule())), 0); }
};

TEST_F(AppRuleHandlersTest, EveryCodeHasItsName) {
  EXPECT_EQ(handlerOf(0x3007).codeName, "ACL_MSG_CONFIG_APP_RULE");
  EXPECT_EQ(handlerOf(0x3008).codeName, "ACL_MSG_UNCONFIG_APP_RULE");
  EXPECT_EQ(handlerOf(0x3009).codeName, "ACL_MSG_CHECK_RULE_VALIDITY");
}

TEST_F(AppRuleHandlersTest, InstallingNeedsADynamicRule) {
  EXPECT_EQ(serve(appRuleBody(0x3007, "guard")), -19);
  add("guard");
  EXPECT_EQ(serve(appRuleBody(0x3007, "guard", 5, 2, "other")), 0);
  EXPECT_EQ(text.fields, "dynamic rule \"guard\", flags 5, position 2, beside \"other\"");
  EXPECT_TRUE(state.dynamicRules.isInstalled("guard"));
  EXPECT_EQ(serve(appRuleBody(0x3007, "guard", 6, 1)), 0);
}

// What the reply echoes.
Bytes echoedAppRule() {
  Bytes expected = zeros(2096);
  putAt(expected, 588, hex("0A0B0C0D"));
  putAt(expected, 600, hex("00000005"));
  putAt(expected, 604, hex("00000002"));
  putAt(expected, 608, bytesOf("guard"));
  putAt(expected, 641, bytesOf("other"));
  return expected;
}

TEST_F(AppRuleHandlersTest, InstallReplyHas2096BytesAndDescribesTheRule) {
  add("guard");
  EXPECT_EQ(serve(appRuleBody(0x3007, "guard", 5, 2, "other")), 0);
  Bytes expected = echoedAppRule();
  putAt(expected, 0, hex("3007 0000"));
  putAt(expected, 80 + 8, hex("00000A0B"));  // the rule's id
  putAt(expected, 80 + 12, bytesOf("guard"));
  putAt(expected, 80 + 48, hex("00000005"));
  putAt(expected, 80 + 52, hex("00000002"));
  putAt(expected, 80 + 68, hex("00000003"));  // a value under a mask
  putAt(expected, 80 + 100, hex("0A000001 FFFFFFFF"));
  putAt(expected, 80 + 152, hex("00000002"));  // deny
  putAt(expected, 80 + 476, hex("00000002"));  // two terms
  EXPECT_EQ(reply, expected);
}

TEST_F(AppRuleHandlersTest, RefusedInstallReplyHasNoDescriptionSoThatTheClientDropsItsRule) {
  EXPECT_EQ(serve(appRuleBody(0x3007, "guard", 5, 2, "other")), -19);
  Bytes expected = echoedAppRule();
  putAt(expected, 0, hex("3007 FFED"));
  EXPECT_EQ(reply, expected);
}

TEST_F(AppRuleHandlersTest, RuleThatCannotBeDescribedIsNotInstalled) {
  const std::string source = "0000 0008 0A000001 FFFFFFFF";
  const std::string destination = "0001 0008 0B000001 FFFFFFFF";
  serve(addRuleBody("one", encodedRule("inner", 1, source, "0001 0000")));
  EXPECT_EQ(serve(appRuleBody(0x3007, "one")), 0);
  serve(addRuleBody("two", encodedRule("inner", 1, source + destination, "0001 0000")));
  EXPECT_EQ(serve(appRuleBody(0x3007, "two")), -17);
  EXPECT_EQ(reason, "2 conditions, 1 can be told");
  EXPECT_EQ(Bytes(reply.begin() + 80, reply.begin() + 560), zeros(480));
  EXPECT_FALSE(state.dynamicRules.isInstalled("two"));
  serve(addRuleBody("counts", encodedRule("inner", 1, source, countActionHex("hits"))));
  EXPECT_EQ(serve(appRuleBody(0x3007, "counts")), -17);
  EXPECT_EQ(reason, "the rule neither accepts nor denies");
}

TEST_F(AppRuleHandlersTest, UninstallingNeedsAnInstalledRule) {
  EXPECT_EQ(serve(appRuleBody(0x3008, "guard")), -19);
  add("guard");
  EXPECT_EQ(serve(appRuleBody(0x3008, "guard")), -14);
  serve(appRuleBody(0x3007, "guard"));
  EXPECT_EQ(serve(appRuleBody(0x3008, "guard")), 0);
  EXPECT_EQ(text.fields, "dynamic rule \"guard\", flags 5, position 2");
  EXPECT_FALSE(state.dynamicRules.isInstalled("guard"));
}

TEST_F(AppRuleHandlersTest, RuleIsInstalledForEveryConnectionOnItsOwn) {
  add("guard");
  EXPECT_EQ(serve(appRuleBody(0x3007, "guard"), 1), 0);
  EXPECT_EQ(serve(appRuleBody(0x3007, "guard"), 2), 0);
  EXPECT_EQ(serve(appRuleBody(0x3008, "guard"), 3), -14);
  EXPECT_EQ(serve(appRuleBody(0x3008, "guard"), 1), 0);
  EXPECT_EQ(serve(appRuleBody(0x3008, "guard"), 1), -14);
  EXPECT_EQ(serve(deleteRuleBody("guard")), -20);
  EXPECT_EQ(serve(appRuleBody(0x3008, "guard"), 2), 0);
  EXPECT_EQ(serve(deleteRuleBody("guard")), 0);
}

TEST_F(AppRuleHandlersTest, UninstallReplyHas2096BytesWithoutADescription) {
  add("guard");
  serve(appRuleBody(0x3007, "guard"));
  EXPECT_EQ(serve(appRuleBody(0x3008, "guard", 5, 2, "other")), 0);
  Bytes expected = echoedAppRule();
  putAt(expected, 0, hex("3008 0000"));
  EXPECT_EQ(reply, expected);
}

TEST_F(AppRuleHandlersTest, RuleIsValidWhenItExistsAndTheTableHasRoom) {
  state.dynamicRules = DynamicRuleStore({.bindings = 1});
  EXPECT_EQ(serve(ruleValidityBody("guard")), -19);
  add("guard");
  EXPECT_EQ(serve(ruleValidityBody("guard")), 0);
  EXPECT_EQ(text.fields, "dynamic rule \"guard\", direction 1");
  serve(ruleBindingBody({.name = "guard"}));
  EXPECT_EQ(serve(ruleValidityBody("guard")), -41);
  EXPECT_EQ(serve(ruleValidityBody("none")), -19);
}

TEST_F(AppRuleHandlersTest, PolicyIsValidWhenItExistsWhateverTheTableOfRules) {
  state.dynamicRules = DynamicRuleStore({.bindings = 0});
  add("web");
  EXPECT_EQ(serve(ruleValidityBody("web", 1)), -11);
  serve(policyBody(0x2001, "web", encodedRule("r", 1), 1));
  EXPECT_EQ(serve(ruleValidityBody("web", 1)), 0);
  EXPECT_EQ(text.fields, "policy \"web\", direction 1");
}

TEST_F(AppRuleHandlersTest, ValidityReplyHas640BytesWithWhatWasAsked) {
  serve(ruleValidityBody("guard", 0x80000000));
  Bytes expected = zeros(640);
  putAt(expected, 0, hex("3009 FFF5"));  // -11
  putAt(expected, 588, hex("0A0B0C0D"));
  putAt(expected, 592, hex("1122"));
  putAt(expected, 594, bytesOf("guard"));
  putAt(expected, 628, hex("80000000"));
  EXPECT_EQ(reply, expected);
}

TEST_F(AppRuleHandlersTest, MalformedBodiesChangeNothing) {
  add("guard");
  serve(appRuleBody(0x3007, "guard"));
  for (const char *code : {"3007", "3008", "3009"}) {
    EXPECT_EQ(serve(hex(code)), -3) << code;
    EXPECT_EQ(serve(join(hex(code), Bytes(60))), -3) << code;
    EXPECT_EQ(serve(join(hex(code), Bytes(3000))), -3) << code;
  }
  EXPECT_TRUE(state.dynamicRules.isInstalled("guard"));
}

TEST_F(AppRuleHandlersTest, ExhaustedMemoryInstallsNothing) {
  add("guard");
  const Bytes body = appRuleBody(0x3007, "guard");
  const unsigned failures = test_support::forEachAllocationFailure([&] {
    bool isAnswered = false;
    try {
      isAnswered = serve(body) == 0;
    } catch (const std::bad_alloc &) {
    }
    const test_support::AllocationExemption exemption;
    EXPECT_EQ(state.dynamicRules.isInstalled("guard"), isAnswered);
    serve(appRuleBody(0x3008, "guard"));
  });
  EXPECT_GT(failures, 0U);
}

}  // namespace
}  // namespace aclmgr
