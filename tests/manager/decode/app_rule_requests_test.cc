#include "manager/decode/app_rule_requests.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/manager/decode/decoding.h"
#include "tests/manager/dynamic_rule_bytes.h"

namespace aclmgr {
namespace {

using test_support::appRuleBody;
using test_support::Bytes;
using test_support::bytesOf;
using test_support::expectOneLength;
using test_support::hex;
using test_support::putAt;
using test_support::refusalOf;
using test_support::ruleValidityBody;

constexpr const char *kNotTerminated = "-3 the name is not terminated";

TEST(DecodeAppRule, EveryFieldIsRead) {
  const Bytes body = appRuleBody(0x3007, "guard", 0x01020304, 0x05060708, "other");
  const auto decoded = decodeAppRule(body);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().ruleName, "guard");
  EXPECT_EQ(decoded.value().refName, "other");
  EXPECT_EQ(decoded.value().flags, 0x01020304U);
  EXPECT_EQ(decoded.value().position, 0x05060708U);
}

TEST(DecodeAppRule, OtherLengthsThan2096AndBadNamesAreRefused) {
  expectOneLength(decodeAppRule, appRuleBody(0x3008, "guard"));
  EXPECT_EQ(refusalOf(decodeAppRule, appRuleBody(0x3007, "")), "-3 the rule's name is empty");
  for (const std::size_t offset : {608U, 641U}) {
    Bytes body = appRuleBody(0x3007, "guard");
    putAt(body, offset, bytesOf(std::string(32, 'n')));
    EXPECT_EQ(refusalOf(decodeAppRule, body), "") << offset;
    putAt(body, offset, bytesOf(std::string(33, 'n')));
    EXPECT_EQ(refusalOf(decodeAppRule, body), kNotTerminated) << offset;
  }
}

TEST(DecodeRuleValidity, EveryFieldIsRead) {
  for (const std::uint32_t flag : {0U, 1U, 0x80000000U}) {
    const Bytes body = ruleValidityBody("guard", flag);
    const auto decoded = decodeRuleValidity(body);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded.value().name, "guard");
    EXPECT_EQ(decoded.value().isPolicy, flag != 0);
    EXPECT_EQ(decoded.value().direction, 1);
  }
}

TEST(DecodeRuleValidity, OtherLengthsThan640BadNamesAndFixedWordsAreRefused) {
  expectOneLength(decodeRuleValidity, ruleValidityBody("guard"));
  EXPECT_EQ(refusalOf(decodeRuleValidity, ruleValidityBody("")), "-3 the rule's name is empty");
  EXPECT_EQ(refusalOf(decodeRuleValidity, ruleValidityBody("", 1)),
            "-3 the policy's name is empty");
  EXPECT_EQ(refusalOf(decodeRuleValidity, ruleValidityBody(std::string(32, 'n'))), "");
  EXPECT_EQ(refusalOf(decodeRuleValidity, ruleValidityBody(std::string(33, 'n'))), kNotTerminated);
  Bytes body = ruleValidityBody("guard");
  putAt(body, 8, hex("00000001"));
  EXPECT_EQ(refusalOf(decodeRuleValidity, body), "-3 the fixed word is 1, 9 expected");
}

}  // namespace
}  // namespace aclmgr
