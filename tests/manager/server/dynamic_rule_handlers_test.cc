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
using test_support::bigEndian;
using test_support::bindingBody;
using test_support::Bytes;
using test_support::bytesOf;
using test_support::counterBody;
using test_support::countingRule;
using test_support::deleteRuleBody;
using test_support::encodedRule;
using test_support::hex;
using test_support::join;
using test_support::policyBody;
using test_support::putAt;
using test_support::ruleBindingBody;
using test_support::unbindRuleBody;
using test_support::zeros;

constexpr std::uint16_t kCounterCodes[] = {0x3010, 0x3019};
constexpr BindingPoint kPoint{.port = 0x00030007, .vlan = 10, .direction = 1};

class DynamicRuleHandlersTest : public testing::Test, protected test_support::ServedRequests {
 protected:
  // Adds rules of application 3 that deny what comes from 10.0.0.1 and count it.
  template <typename... Names>
  void add(Names... names) {
    for (const char *name : {names...}) ASSERT_EQ(serve(addRuleBody(name, countingRule())), 0);
  }

  int bind(std::string_view name, std::string_view beside = "", std::int32_t priority = 0) {
    return serve(ruleBindingBody({.name = name, .relativeName = beside, .priority = priority}));
  }
};

TEST_F(DynamicRuleHandlersTest, EveryCodeHasItsName) {
  EXPECT_EQ(handlerOf(0x3001).codeName, "ACL_MSG_ADD_DYN_RULE");
  EXPECT_EQ(handlerOf(0x3002).codeName, "ACL_MSG_DELETE_DYN_RULE");
  EXPECT_EQ(handlerOf(0x3003).codeName, "ACL_MSG_CONFIG_DYN_RULE");
  EXPECT_EQ(handlerOf(0x3004).codeName, "ACL_MSG_UNCONFIG_DYN_RULE");
  EXPECT_EQ(handlerOf(0x300A).codeName, "ACL_MSG_UNBIND_RULE");
  EXPECT_EQ(handlerOf(0x3010).codeName, "ACL_MSG_GET_DYN_RULE_COUNTER");
  EXPECT_EQ(handlerOf(0x3019).codeName, "ACL_MSG_CLEAR_COUNTER");
}

TEST_F(DynamicRuleHandlersTest, AddedRuleIsKeptAndShown) {
  EXPECT_EQ(serve(addRuleBody("guard", countingRule())), 0);
  ASSERT_NE(state.dynamicRules.find("guard"), nullptr);
  EXPECT_EQ(state.dynamicRules.find("guard")->owner, 3U);
  EXPECT_EQ(text.fields, "dynamic rule \"guard\", application 3");
  EXPECT_EQ(text.rules,
            "  Rule Name: inner Index: 2571\n    CONDITION: SRCADDR 0xa000001/0xffffffff \n"
            "    ACTION: Deny \n    ACTION: COUNT 7 \n");
}

TEST_F(DynamicRuleHandlersTest, AddReplyHas640BytesWithContextNameAndApplication) {
  serve(addRuleBody("guard", Bytes(816)));
  Bytes expected = zeros(640);
  putAt(expected, 0, hex("3001 FFEA"));  // -22
  putAt(expected, 588, hex("0C0D0E0F"));
  putAt(expected, 592, bytesOf("guard"));
  putAt(expected, 628, hex("00000003"));
  EXPECT_EQ(reply, expected);
}

TEST_F(DynamicRuleHandlersTest, SameRuleAgainIsOkAndAnyOtherOfItsNameExists) {
  EXPECT_EQ(serve(addRuleBody("guard", countingRule())), 0);
  EXPECT_EQ(serve(addRuleBody("guard", countingRule())), 0);
  EXPECT_EQ(serve(addRuleBody("guard", countingRule("others"))), -21);
  EXPECT_EQ(serve(addRuleBody("guard", countingRule(), 4)), -21);
  EXPECT_EQ(state.dynamicRules.size(), 1U);
}

TEST_F(DynamicRuleHandlersTest, WhatLiesBehindTheRecordDoesNotMakeAnotherRule) {
  serve(addRuleBody("guard", countingRule()));
  Bytes body = addRuleBody("guard", countingRule());
  putAt(body, 1455, hex("00"));
  EXPECT_EQ(serve(body), 0);
}

TEST_F(DynamicRuleHandlersTest, InvalidRulesAreRefusedAndNotKept) {
  EXPECT_EQ(serve(addRuleBody("guard", encodedRule("r", 1, "003D 0000"))), -22);
  EXPECT_EQ(reason, "rule at byte 0: condition 61 at 48: unknown type");
  EXPECT_EQ(serve(addRuleBody("guard", countingRule(std::string(33, 'c')))), -22);
  EXPECT_EQ(state.dynamicRules.size(), 0U);
}

TEST_F(DynamicRuleHandlersTest, RulesBeyondTheLimitAreRefusedForMemory) {
  state.dynamicRules = DynamicRuleStore({.rules = 1});
  add("a");
  EXPECT_EQ(serve(addRuleBody("b", countingRule())), -18);
  EXPECT_EQ(kMaxDynamicRules, 8192U);
  EXPECT_EQ(kMaxRuleBindings, 4096U);
}

TEST_F(DynamicRuleHandlersTest, DeleteRemovesARuleOfItsOwner) {
  add("guard");
  EXPECT_EQ(serve(deleteRuleBody("none")), -19);
  EXPECT_EQ(serve(deleteRuleBody("guard", 4)), -19);
  EXPECT_EQ(serve(deleteRuleBody("guard")), 0);
  EXPECT_EQ(text.fields, "dynamic rule \"guard\", application 3");
  EXPECT_EQ(state.dynamicRules.size(), 0U);
}

TEST_F(DynamicRuleHandlersTest, DeleteReplyHas640BytesWithNameAndApplication) {
  serve(deleteRuleBody("guard"));
  Bytes expected = zeros(640);
  putAt(expected, 0, hex("3002 FFED"));  // -19
  putAt(expected, 592, bytesOf("guard"));
  putAt(expected, 628, hex("00000003"));
  EXPECT_EQ(reply, expected);
}

TEST_F(DynamicRuleHandlersTest, RuleThatIsBoundOrInstalledIsNotDeleted) {
  add("guard");
  bind("guard");
  EXPECT_EQ(serve(deleteRuleBody("guard")), -20);
  EXPECT_EQ(reason, "bound at port 3:7, vlan 10, direction 1");
  serve(unbindRuleBody("guard"));
  serve(appRuleBody(0x3007, "guard"));
  EXPECT_EQ(serve(deleteRuleBody("guard")), -20);
  EXPECT_EQ(reason, "installed by a client");
  serve(appRuleBody(0x3008, "guard"));
  EXPECT_EQ(serve(deleteRuleBody("guard")), 0);
}

TEST_F(DynamicRuleHandlersTest, ConfigureBindsARuleOnce) {
  EXPECT_EQ(bind("guard"), -19);
  add("guard", "other");
  EXPECT_EQ(serve(ruleBindingBody({.name = "guard", .appId = 4})), -19);
  EXPECT_EQ(bind("guard"), 0);
  EXPECT_EQ(text.fields,
            "dynamic rule \"guard\", application 3, port 3:7, vlan 10, direction 1, priority 0");
  EXPECT_EQ(bind("guard"), 0);
  EXPECT_EQ(bind("guard", "", 1), -20);
  EXPECT_EQ(reason, "bound there with other attributes");
  EXPECT_EQ(bind("other", "none"), -19);
  EXPECT_EQ(bind("other", "guard", 1), 0);
  EXPECT_EQ(text.fields,
            "dynamic rule \"other\", application 3, port 3:7, vlan 10, direction 1, priority 1, "
            "beside \"guard\"");
  EXPECT_EQ(state.dynamicRules.indexAt("other", kPoint), 1U);
  EXPECT_EQ(state.dynamicRules.bindingCount(), 2U);
}

TEST_F(DynamicRuleHandlersTest, BindingsBeyondTheTableAreRefusedForHardware) {
  state.dynamicRules = DynamicRuleStore({.bindings = 1});
  add("a", "b");
  EXPECT_EQ(bind("a"), 0);
  EXPECT_EQ(bind("b"), -41);
  EXPECT_EQ(state.dynamicRules.bindingCount(), 1U);
}

TEST_F(DynamicRuleHandlersTest, BatchedBindingIsTheSameAsTheSingleOneWithItsFields) {
  add("guard");
  bind("guard");
  Bytes batched = ruleBindingBody({.name = "guard"});
  putAt(batched, 16, zeros(33));
  putAt(batched, 2092, hex("00000000"));
  EXPECT_EQ(serve(batched), 0);
  putAt(batched, 744, hex("01"));
  EXPECT_EQ(serve(batched), -20);
}

// What the reply to a binding echoes.
Bytes echoedBinding() {
  Bytes expected = zeros(2096);
  putAt(expected, 588, hex("C00C1E01"));
  putAt(expected, 600, hex("00000003"));
  putAt(expected, 604, hex("0708090A"));
  putAt(expected, 608, bytesOf("guard"));
  putAt(expected, 641, bytesOf("other"));
  putAt(expected, 740, hex("FFFFFFFE"));
  putAt(expected, 748, hex("00030007"));
  putAt(expected, 2068, hex("0000000A"));
  putAt(expected, 2072, hex("000000FE"));  // the request has one byte
  putAt(expected, 2084, hex("0102"));
  putAt(expected, 2088, hex("03040506"));
  return expected;
}

constexpr test_support::RuleBindingFields kFullBinding{.name = "guard",
                                                       .direction = 0xFE,
                                                       .relativeName = "other",
                                                       .priority = -2,
                                                       .bindAttr = 0x0102,
                                                       .bindFlags = 0x03040506,
                                                       .ruleFlags = 0x0708090A};

TEST_F(DynamicRuleHandlersTest, ConfigureReplyHas2096BytesWithPlaceAndDescription) {
  add("guard", "other");
  serve(ruleBindingBody({.name = "other", .direction = 0xFE}));
  EXPECT_EQ(serve(ruleBindingBody(kFullBinding)), 0);
  Bytes expected = echoedBinding();
  putAt(expected, 0, hex("3003 0000"));
  putAt(expected, 2076, hex("00000002"));    // behind the other
  putAt(expected, 80 + 8, hex("00000A0B"));  // the rule's id
  putAt(expected, 80 + 12, bytesOf("guard"));
  putAt(expected, 80 + 48, hex("0708090A"));  // flags
  putAt(expected, 80 + 52, hex("00000002"));  // its place
  putAt(expected, 80 + 68, hex("00000003"));  // a value under a mask
  putAt(expected, 80 + 100, hex("0A000001 FFFFFFFF"));
  putAt(expected, 80 + 152, hex("00000002"));  // deny
  putAt(expected, 80 + 476, hex("00000002"));  // two terms
  EXPECT_EQ(reply, expected);
}

TEST_F(DynamicRuleHandlersTest, RefusedConfigureReplyHasNeitherPlaceNorDescription) {
  EXPECT_EQ(serve(ruleBindingBody(kFullBinding)), -19);
  Bytes expected = echoedBinding();
  putAt(expected, 0, hex("3003 FFED"));
  EXPECT_EQ(reply, expected);
}

TEST_F(DynamicRuleHandlersTest, RuleThatCannotBeDescribedIsBoundWithoutADescription) {
  serve(addRuleBody("guard", encodedRule("inner", 1, "0003 0004 0600 0000", "0001 0000")));
  EXPECT_EQ(bind("guard"), 0);
  EXPECT_EQ(Bytes(reply.begin() + 80, reply.begin() + 560), zeros(480));
  EXPECT_EQ(Bytes(reply.begin() + 2076, reply.begin() + 2080), hex("00000001"));
}

TEST_F(DynamicRuleHandlersTest, UnconfigureTakesARuleOffOnePoint) {
  EXPECT_EQ(serve(ruleBindingBody({.code = 0x3004, .name = "guard"})), -19);
  add("guard");
  EXPECT_EQ(serve(ruleBindingBody({.code = 0x3004, .name = "guard"})), -14);
  bind("guard");
  EXPECT_EQ(serve(ruleBindingBody({.code = 0x3004, .name = "guard", .vlan = 11})), -14);
  EXPECT_EQ(serve(ruleBindingBody({.code = 0x3004, .name = "guard", .appId = 4})), -19);
  EXPECT_EQ(serve(ruleBindingBody({.code = 0x3004, .name = "guard", .ruleFlags = 9})), 0);
  EXPECT_EQ(text.fields, "dynamic rule \"guard\", application 3, port 3:7, vlan 10, direction 1");
  EXPECT_EQ(state.dynamicRules.bindingCount(), 0U);
}

TEST_F(DynamicRuleHandlersTest, UnconfigureReplyHas2096BytesWithThePlaceItHad) {
  add("guard", "other");
  bind("other");
  bind("guard");
  EXPECT_EQ(serve(ruleBindingBody({.code = 0x3004, .name = "guard"})), 0);
  Bytes expected = zeros(2096);
  putAt(expected, 0, hex("3004 0000"));
  putAt(expected, 588, hex("C00C1E01"));
  putAt(expected, 600, hex("00000003"));
  putAt(expected, 608, bytesOf("guard"));
  putAt(expected, 748, hex("00030007"));
  putAt(expected, 2068, hex("0000000A"));
  putAt(expected, 2072, hex("00000001"));
  putAt(expected, 2076, hex("00000002"));
  EXPECT_EQ(reply, expected);
  EXPECT_EQ(serve(ruleBindingBody({.code = 0x3004, .name = "guard"})), -14);
  putAt(expected, 0, hex("3004 FFF2"));
  putAt(expected, 2076, hex("00000000"));
  EXPECT_EQ(reply, expected);
}

TEST_F(DynamicRuleHandlersTest, UnbindTakesARuleOffEveryPoint) {
  EXPECT_EQ(serve(unbindRuleBody("guard")), -19);
  add("guard");
  EXPECT_EQ(serve(unbindRuleBody("guard")), -14);
  bind("guard");
  serve(ruleBindingBody({.name = "guard", .vlan = 11}));
  EXPECT_EQ(serve(unbindRuleBody("guard")), 0);
  EXPECT_EQ(text.fields, "dynamic rule \"guard\"");
  EXPECT_EQ(state.dynamicRules.bindingCount(), 0U);
}

TEST_F(DynamicRuleHandlersTest, UnbindWithThePolicyFlagTakesAPolicyOffEveryPoint) {
  EXPECT_EQ(serve(unbindRuleBody("web", 1)), -11);
  serve(policyBody(0x2001, "web", encodedRule("r", 1), 1));
  EXPECT_EQ(serve(unbindRuleBody("web", 1)), -14);
  serve(bindingBody(0x2004, "web", 1, 10));
  serve(bindingBody(0x2004, "web", 1, 11));
  EXPECT_EQ(serve(unbindRuleBody("web")), -19);
  EXPECT_EQ(serve(unbindRuleBody("web", 1)), 0);
  EXPECT_EQ(text.fields, "policy \"web\"");
  EXPECT_TRUE(state.policies.bindings().empty());
}

TEST_F(DynamicRuleHandlersTest, UnbindReplyHas640BytesWithKeyNameAndFlags) {
  serve(unbindRuleBody("guard", 1));
  Bytes expected = zeros(640);
  putAt(expected, 0, hex("300A FFF5"));  // -11
  putAt(expected, 592, hex("1234"));
  putAt(expected, 594, bytesOf("guard"));
  putAt(expected, 628, hex("00000001"));
  putAt(expected, 634, hex("56"));
  EXPECT_EQ(reply, expected);
}

TEST_F(DynamicRuleHandlersTest, CounterOfABindingIsReadAndCleared) {
  add("r");
  bind("r");
  state.dynamicRules.count("r", kPoint, 0x0102030405060708);
  EXPECT_EQ(serve(counterBody({})), 0);
  EXPECT_EQ(text.fields,
            "dynamic rule \"r\", application 3, counter \"hits\", port 3:7, vlan 10, direction 1");
  EXPECT_EQ(Bytes(reply.begin() + 680, reply.end()), hex("01020304 05060708"));
  EXPECT_EQ(serve(counterBody({.code = 0x3019})), 0);
  EXPECT_EQ(serve(counterBody({})), 0);
  EXPECT_EQ(Bytes(reply.begin() + 680, reply.end()), zeros(8));
}

TEST_F(DynamicRuleHandlersTest, CountersNeedTheRuleTheBindingAndTheCounter) {
  for (const std::uint16_t code : kCounterCodes) {
    EXPECT_EQ(serve(counterBody({.code = code, .ruleName = "none"})), -19);
  }
  add("r");
  for (const std::uint16_t code : kCounterCodes) {
    EXPECT_EQ(serve(counterBody({.code = code})), -14);
  }
  bind("r");
  for (const std::uint16_t code : kCounterCodes) {
    EXPECT_EQ(serve(counterBody({.code = code, .appId = 4})), -19);
    EXPECT_EQ(serve(counterBody({.code = code, .direction = 0})), -14);
    EXPECT_EQ(serve(counterBody({.code = code, .counterName = "hit"})), -42);
    EXPECT_EQ(serve(counterBody({.code = code})), 0);
  }
}

TEST_F(DynamicRuleHandlersTest, CounterReplyHas688BytesUnderACodeOfItsOwn) {
  add("r");
  bind("r");
  state.dynamicRules.count("r", kPoint, 0xFFFFFFFE00000001);
  serve(counterBody({}));
  Bytes expected = zeros(688);
  putAt(expected, 0, hex("3011 0000"));
  putAt(expected, 588, hex("0A0B0C0D"));
  putAt(expected, 592, hex("00030007"));
  putAt(expected, 596, hex("0000000A"));
  putAt(expected, 600, hex("01"));
  putAt(expected, 601, bytesOf("r"));
  putAt(expected, 634, bytesOf("hits"));
  putAt(expected, 680, hex("FFFFFFFE 00000001"));
  EXPECT_EQ(reply, expected);
}

TEST_F(DynamicRuleHandlersTest, RefusedCounterReplyHasTheSameCodeAndNoValue) {
  serve(counterBody({}));
  Bytes expected = zeros(688);
  putAt(expected, 0, hex("3011 FFED"));  // -19
  putAt(expected, 588, hex("0A0B0C0D"));
  putAt(expected, 592, hex("00030007"));
  putAt(expected, 596, hex("0000000A"));
  putAt(expected, 600, hex("01"));
  putAt(expected, 601, bytesOf("r"));
  putAt(expected, 634, bytesOf("hits"));
  EXPECT_EQ(reply, expected);
  serve(hex("3010"));
  EXPECT_EQ(reply, join(hex("3011 FFFD"), zeros(684)));
}

TEST_F(DynamicRuleHandlersTest, ClearReplyHas672BytesWithWhatIdentifiesTheCounter) {
  serve(counterBody({.code = 0x3019}));
  Bytes expected = zeros(672);
  putAt(expected, 0, hex("3019 FFED"));  // -19
  putAt(expected, 588, hex("0A0B0C0D"));
  putAt(expected, 592, hex("00000003"));
  putAt(expected, 596, hex("00030007"));
  putAt(expected, 600, hex("0000000A"));
  putAt(expected, 604, hex("01"));
  putAt(expected, 605, bytesOf("r"));
  putAt(expected, 638, bytesOf("hits"));
  EXPECT_EQ(reply, expected);
}

TEST_F(DynamicRuleHandlersTest, MalformedBodiesChangeNothing) {
  add("r");
  bind("r");
  for (const char *code : {"3001", "3002", "3003", "3004", "300A", "3010", "3019"}) {
    EXPECT_EQ(serve(hex(code)), -3) << code;
    EXPECT_EQ(serve(join(hex(code), Bytes(60))), -3) << code;
    EXPECT_EQ(serve(join(hex(code), Bytes(3000))), -3) << code;
  }
  EXPECT_EQ(state.dynamicRules.size(), 1U);
  EXPECT_EQ(state.dynamicRules.bindingCount(), 1U);
}

TEST_F(DynamicRuleHandlersTest, ExhaustedMemoryChangesNothing) {
  add("r");
  const Bytes addBody = addRuleBody("a name that does not stand in place", countingRule());
  const Bytes bindBody = ruleBindingBody({.name = "r"});
  const Bytes unbindBody = ruleBindingBody({.code = 0x3004, .name = "r"});
  // Whether a body is carried out; it is refused by an exception.
  const auto succeeds = [this](const Bytes &body) {
    try {
      return serve(body) == 0;
    } catch (const std::bad_alloc &) {
      return false;
    }
  };
  const unsigned failures = test_support::forEachAllocationFailure([&] {
    const bool isAdded = succeeds(addBody);
    const bool isKept = state.dynamicRules.size() == 2;
    const bool isBound = succeeds(bindBody);
    const std::size_t bindings = state.dynamicRules.bindingCount();
    const bool isUnbound = bindings == 1 && succeeds(unbindBody);
    const test_support::AllocationExemption exemption;
    EXPECT_TRUE(!isAdded || isKept);
    EXPECT_EQ(bindings, isBound ? 1U : 0U);
    EXPECT_EQ(state.dynamicRules.bindingCount(), isUnbound ? 0U : bindings);
    serve(unbindRuleBody("r"));
    serve(deleteRuleBody("a name that does not stand in place"));
  });
  EXPECT_GT(failures, 0U);
}

}  // namespace
}  // namespace aclmgr
