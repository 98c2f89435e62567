#include "manager/decode/dynamic_rule_requests.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/manager/decode/decoding.h"
#include "tests/manager/dynamic_rule_bytes.h"

namespace aclmgr {
namespace {

using test_support::addRuleBody;
using test_support::Bytes;
using test_support::bytesOf;
using test_support::counterBody;
using test_support::countingRule;
using test_support::deleteRuleBody;
using test_support::encodedRule;
using test_support::expectOneLength;
using test_support::hex;
using test_support::join;
using test_support::putAt;
using test_support::refusalOf;
using test_support::roomFor;
using test_support::ruleBindingBody;
using test_support::unbindRuleBody;
using test_support::zeros;

const std::string kLongest(32, 'n');
const std::string kUnterminated(33, 'n');
constexpr const char *kNotTerminated = "-3 the name is not terminated";
constexpr const char *kEmptyRule = "-3 the rule's name is empty";

TEST(DecodeAddRule, EveryFieldIsRead) {
  const Bytes body = addRuleBody("guard", encodedRule("inner", 7), 0x01020304);
  const auto decoded = decodeAddRule(body);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().ruleName, "guard");
  EXPECT_EQ(decoded.value().appId, 0x01020304U);
  EXPECT_TRUE(std::ranges::equal(decoded.value().encodedRule, roomFor(encodedRule("inner", 7))));
}

TEST(DecodeAddRule, OtherLengthsThan1456AreRefused) {
  expectOneLength(decodeAddRule, addRuleBody("guard", encodedRule("inner", 7)));
}

TEST(DecodeAddRule, BadNamesAndFixedWordsAreRefused) {
  const Bytes rule = encodedRule("inner", 7);
  EXPECT_EQ(refusalOf(decodeAddRule, addRuleBody(kLongest, rule)), "");
  EXPECT_EQ(refusalOf(decodeAddRule, addRuleBody(kUnterminated, rule)), kNotTerminated);
  EXPECT_EQ(refusalOf(decodeAddRule, addRuleBody("", rule)), kEmptyRule);
  Bytes body = addRuleBody("guard", rule);
  putAt(body, 632, hex("00000002"));
  EXPECT_EQ(refusalOf(decodeAddRule, body), "-3 the fixed word is 2, 1 expected");
}

Outcome<DynamicRule> ruleIn(const Bytes &record) {
  const Bytes body = addRuleBody("guard", record, 3);
  const auto decoded = decodeAddRule(body);
  return dynamicRuleOf(decoded.value());
}

TEST(DynamicRuleOf, RecordAtTheStartIsTheRuleWhateverLiesBehindIt) {
  const auto rule = ruleIn(countingRule("hits", 7));
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule.value().name, "guard");
  EXPECT_EQ(rule.value().owner, 3U);
  EXPECT_EQ(rule.value().rule.name, "inner");
  EXPECT_EQ(rule.value().rule.id, 7U);
  EXPECT_EQ(rule.value().rule.conditions.size(), 1U);
  EXPECT_EQ(rule.value().rule.actions.size(), 2U);
  EXPECT_EQ(rule.value().counterNames, std::vector<std::string>{"hits"});
}

TEST(DynamicRuleOf, RecordOf816BytesIsTakenAndALongerOneRefused) {
  // 48 bytes of header and entries without data, 4 bytes each.
  std::string entries;
  for (int i = 0; i < 192; ++i) entries += "0001 0000";
  ASSERT_EQ(encodedRule("inner", 7, "", entries).size(), 816U);
  const auto longest = ruleIn(encodedRule("inner", 7, "", entries));
  ASSERT_TRUE(longest);
  EXPECT_EQ(longest.value().rule.actions.size(), 192U);
  const auto longer = ruleIn(encodedRule("inner", 7, "", entries + "0001 0000"));
  ASSERT_FALSE(longer);
  EXPECT_EQ(longer.refusal().status, Status::kInvalidRule);
  EXPECT_EQ(longer.refusal().reason,
            "rule at byte 0: rule length 820, but only 816 bytes are left");
}

TEST(DynamicRuleOf, MalformedRecordsAndCounterNamesAreInvalidRules) {
  for (const Bytes &record : {Bytes(816), encodedRule("inner", 7, "003D 0000"),
                              encodedRule(kUnterminated, 7), countingRule(kUnterminated)}) {
    const auto rule = ruleIn(record);
    ASSERT_FALSE(rule);
    EXPECT_EQ(rule.refusal().status, Status::kInvalidRule);
  }
}

TEST(DecodeDeleteRule, NameAndApplicationAreRead) {
  const Bytes body = deleteRuleBody("guard", 0x01020304);
  const auto decoded = decodeDeleteRule(body);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().ruleName, "guard");
  EXPECT_EQ(decoded.value().appId, 0x01020304U);
}

TEST(DecodeDeleteRule, OtherLengthsThan1456AndBadNamesAreRefused) {
  expectOneLength(decodeDeleteRule, deleteRuleBody("guard"));
  EXPECT_EQ(refusalOf(decodeDeleteRule, deleteRuleBody(kUnterminated)), kNotTerminated);
  EXPECT_EQ(refusalOf(decodeDeleteRule, deleteRuleBody("")), kEmptyRule);
}

TEST(DecodeRuleBinding, EveryFieldOfASingleRequestIsRead) {
  const Bytes body = ruleBindingBody({.name = "guard",
                                      .port = 0x00030011,
                                      .vlan = 4094,
                                      .direction = 0xFE,
                                      .relativeName = "other",
                                      .priority = -2,
                                      .bindAttr = 0x0102,
                                      .bindFlags = 0x03040506,
                                      .ruleFlags = 0x0708090A,
                                      .appId = 0x0B0C0D0E});
  const auto decoded = decodeRuleBinding(body);
  ASSERT_TRUE(decoded);
  const RuleBindingRequest &binding = decoded.value();
  EXPECT_EQ(binding.ruleName, "guard");
  EXPECT_EQ(binding.appId, 0x0B0C0D0EU);
  EXPECT_EQ(binding.point, (BindingPoint{0x00030011, 4094, 0xFE}));
  EXPECT_EQ(binding.attributes, (BindingAttributes{.relativeRuleName = "other",
                                                   .priority = -2,
                                                   .ruleFlags = 0x0708090A,
                                                   .ruleKind = 0,
                                                   .bindAttr = 0x0102,
                                                   .bindFlags = 0x03040506}));
}

TEST(DecodeRuleBinding, BatchedRequestHasNoLeadingNameAndAKind) {
  Bytes body = zeros(2096);
  putAt(body, 0, hex("3003"));
  putAt(body, 608, bytesOf("guard"));
  putAt(body, 744, hex("05"));
  const auto decoded = decodeRuleBinding(body);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().ruleName, "guard");
  EXPECT_EQ(decoded.value().attributes, (BindingAttributes{.relativeRuleName = "", .ruleKind = 5}));
}

TEST(DecodeRuleBinding, NameAt608CountsWhateverTheLeadingOne) {
  Bytes body = ruleBindingBody({.name = "guard"});
  putAt(body, 16, bytesOf("other"));
  EXPECT_EQ(decodeRuleBinding(body).value().ruleName, "guard");
}

TEST(DecodeRuleBinding, OtherLengthsThan2096AndBadNamesAreRefused) {
  expectOneLength(decodeRuleBinding, ruleBindingBody({.name = "guard"}));
  EXPECT_EQ(refusalOf(decodeRuleBinding, ruleBindingBody({.name = ""})), kEmptyRule);
  for (const std::size_t offset : {16U, 608U, 641U}) {
    Bytes body = ruleBindingBody({.name = "guard"});
    putAt(body, offset, bytesOf(kLongest));
    EXPECT_EQ(refusalOf(decodeRuleBinding, body), "") << offset;
    putAt(body, offset, bytesOf(kUnterminated));
    EXPECT_EQ(refusalOf(decodeRuleBinding, body), kNotTerminated) << offset;
  }
}

TEST(DecodeUnbindRule, AnyPolicyFlagButZeroMakesTheNameAPolicys) {
  for (const std::uint32_t flag : {0U, 1U, 0x80000000U}) {
    const Bytes body = unbindRuleBody("guard", flag);
    const auto decoded = decodeUnbindRule(body);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded.value().name, "guard");
    EXPECT_EQ(decoded.value().isPolicy, flag != 0);
  }
}

TEST(DecodeUnbindRule, OtherLengthsThan640AndBadNamesAreRefused) {
  expectOneLength(decodeUnbindRule, unbindRuleBody("guard"));
  EXPECT_EQ(refusalOf(decodeUnbindRule, unbindRuleBody(kLongest)), "");
  EXPECT_EQ(refusalOf(decodeUnbindRule, unbindRuleBody(kUnterminated)), kNotTerminated);
  EXPECT_EQ(refusalOf(decodeUnbindRule, unbindRuleBody("")), kEmptyRule);
  EXPECT_EQ(refusalOf(decodeUnbindRule, unbindRuleBody("", 1)), "-3 the policy's name is empty");
}

TEST(DecodeCounter, EveryFieldIsRead) {
  const Bytes body = counterBody({.ruleName = "guard",
                                  .counterName = "hits",
                                  .port = 0x00030011,
                                  .vlan = 4094,
                                  .direction = 0xFE,
                                  .appId = 0x01020304});
  const auto decoded = decodeCounter(body);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().ruleName, "guard");
  EXPECT_EQ(decoded.value().counterName, "hits");
  EXPECT_EQ(decoded.value().appId, 0x01020304U);
  EXPECT_EQ(decoded.value().point, (BindingPoint{0x00030011, 4094, 0xFE}));
}

TEST(DecodeCounter, OtherLengthsThan672AndBadNamesAreRefused) {
  expectOneLength(decodeCounter, counterBody({}));
  EXPECT_EQ(refusalOf(decodeCounter, counterBody({.ruleName = ""})), kEmptyRule);
  EXPECT_EQ(refusalOf(decodeCounter, counterBody({.counterName = ""})),
            "-3 the counter's name is empty");
  EXPECT_EQ(refusalOf(decodeCounter, counterBody({.counterName = kLongest})), "");
  EXPECT_EQ(refusalOf(decodeCounter, counterBody({.counterName = kUnterminated})), kNotTerminated);
  Bytes body = counterBody({});
  putAt(body, 605, bytesOf(kUnterminated));
  EXPECT_EQ(refusalOf(decodeCounter, body), kNotTerminated);
}

}  // namespace
}  // namespace aclmgr
