#include "manager/server/rule_description.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/manager/request_bytes.h"

namespace aclmgr {
namespace {

using test_support::Bytes;
using test_support::bytesOf;
using test_support::hex;
using test_support::join;
using test_support::putAt;
using test_support::zeros;

DynamicRule ruleOf(std::vector<Entry> conditions, std::vector<Entry> actions,
                   std::string name = "guard") {
  return {
      std::move(name), 3, Rule{"inner", 0x01020304, std::move(conditions), std::move(actions)}, {}};
}

Bytes bytesOf(const Outcome<RuleDescription> &description) {
  return {description.value().begin(), description.value().end()};
}

TEST(RuleDescription, HasTheNameTheIdBothAttributesAndFiveTerms) {
  const Bytes address = hex("20010DB8 00000000 00000000 00000001");
  const DynamicRule rule =
      ruleOf({{0, hex("0A000001 FFFFFF00")},
              {23, join(address, hex("FFFFFFFF FFFFFFFF 00000000 00000000"), zeros(4))},
              {3, hex("0600")},  // no term
              {54, hex("00ABCDEF 00FFFFFF")}},
             {{2, {}}, {1, {}}});
  Bytes expected = zeros(480);
  putAt(expected, 8, hex("01020304"));
  putAt(expected, 12, bytesOf("guard"));
  putAt(expected, 48, hex("11111111"));
  putAt(expected, 52, hex("22222222"));
  // Terms begin at 56 and have 84 bytes: type at 12, data at 44, prefix length at 60.
  putAt(expected, 68, hex("00000003"));
  putAt(expected, 100, hex("0A000001 FFFFFF00"));
  putAt(expected, 152, hex("00000004"));
  putAt(expected, 184, address);
  putAt(expected, 200, hex("00000040"));
  putAt(expected, 236, hex("00000003"));
  putAt(expected, 268, hex("00ABCDEF 00FFFFFF"));
  putAt(expected, 320, hex("00000002"));
  putAt(expected, 404, hex("00000001"));
  putAt(expected, 476, hex("00000005"));
  EXPECT_EQ(bytesOf(describeRule(rule, 0x11111111, 0x22222222)), expected);
}

TEST(RuleDescription, OfARuleWithoutTermsHasANameAndNoTerms) {
  Bytes expected = zeros(480);
  putAt(expected, 8, hex("01020304"));
  putAt(expected, 12, bytesOf(std::string(32, 'n')));
  EXPECT_EQ(bytesOf(describeRule(ruleOf({}, {}, std::string(32, 'n')), 0, 0)), expected);
}

TEST(RuleDescription, RuleOfMoreThanFiveTermsIsNotDescribedByHalf) {
  const std::vector<Entry> five(5, Entry{1, {}});
  EXPECT_TRUE(describeRule(ruleOf({}, five), 0, 0));
  const auto six = describeRule(ruleOf({{0, Bytes(8)}}, five), 0, 0);
  ASSERT_FALSE(six);
  EXPECT_EQ(six.refusal().status, Status::kConfigFailed);
  EXPECT_EQ(six.refusal().reason, "6 terms do not fit into 5");
}

TEST(RuleDescription, RuleWithATermThatCannotBeToldIsNotDescribed) {
  const Bytes noPrefix = join(zeros(31), hex("01"), zeros(4));
  const auto description = describeRule(ruleOf({{23, noPrefix}}, {{1, {}}}), 0, 0);
  ASSERT_FALSE(description);
  EXPECT_EQ(description.refusal().status, Status::kConfigFailed);
}

}  // namespace
}  // namespace aclmgr
