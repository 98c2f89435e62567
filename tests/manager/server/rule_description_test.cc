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

// Terms begin at 56 and have 84 bytes: type at 12, data at 44, prefix length at 60.
TEST(RuleDescription, HasTheNameTheIdBothAttributesAndTheTerms) {
  const Bytes address = hex("20010DB8 00000000 00000000 00000001");
  const DynamicRule rule = ruleOf(
      {{23, join(address, hex("FFFFFFFF FFFFFFFF 00000000 00000000"), zeros(4))}}, {{2, {}}});
  Bytes expected = zeros(480);
  putAt(expected, 8, hex("01020304"));
  putAt(expected, 12, bytesOf("guard"));
  putAt(expected, 48, hex("11111111"));
  putAt(expected, 52, hex("22222222"));
  putAt(expected, 68, hex("00000004"));
  putAt(expected, 100, address);
  putAt(expected, 116, hex("00000040"));
  putAt(expected, 152, hex("00000002"));
  putAt(expected, 476, hex("00000002"));
  EXPECT_EQ(bytesOf(describeRule(rule, 0x11111111, 0x22222222)), expected);
}

TEST(RuleDescription, OfARuleWithoutConditionsMatchesEverything) {
  Bytes expected = zeros(480);
  putAt(expected, 8, hex("01020304"));
  putAt(expected, 12, bytesOf(std::string(32, 'n')));
  putAt(expected, 68, hex("00000003"));
  putAt(expected, 152, hex("00000004"));
  putAt(expected, 236, hex("00000001"));
  putAt(expected, 476, hex("00000003"));
  EXPECT_EQ(bytesOf(describeRule(ruleOf({}, {{1, {}}}, std::string(32, 'n')), 0, 0)), expected);
}

TEST(RuleDescription, RuleThatCannotBeToldIsNotDescribedByHalf) {
  const auto description = describeRule(ruleOf({{0, Bytes(8)}, {1, Bytes(8)}}, {{1, {}}}), 0, 0);
  ASSERT_FALSE(description);
  EXPECT_EQ(description.refusal().status, Status::kConfigFailed);
  EXPECT_EQ(description.refusal().reason, "2 conditions, 1 can be told");
}

}  // namespace
}  // namespace aclmgr
