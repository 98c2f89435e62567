#include <optional>
#include <sstream>

#include "acl_lib/encoding/policy_handle.h"
#include "tests/acl_lib/library_test.h"

namespace {

using namespace acl_test;

const AclPolicy &recordOf(AclPolicyHandle policy) {
  return *reinterpret_cast<const AclPolicy *>(policy);
}

Bytes rulesOf(AclPolicyHandle policy) {
  return test_support::copyOf(recordOf(policy).ruleBuffer, recordOf(policy).usedSize);
}

// What a call returned and printed.
struct Printed {
  AclPolicyHandle policy;
  std::string output, error;
};

template <typename Call>
Printed printedBy(Call call) {
  OutputCapture capture;
  const AclPolicyHandle policy = call();
  capture.finish();
  return {policy, capture.standardOutput(), capture.standardError()};
}

Printed create(const char *name = "edge-in") {
  return printedBy([name] { return aclLibCreateTestPolicy(name); });
}

Printed modify(AclPolicyHandle policy) {
  return printedBy([policy] { return aclLibModifyTestPolicy(policy); });
}

constexpr char kDenyAndSample[] =
    "ACTION: Deny \n"
    "ACTION: Sample on \n"
    "\n";

// Rules with zeros for the bytes that no call writes, which keep what lay there before, for rules
// of 88 bytes: what is behind the name, the reserved word, the upper bits of the rule word, and
// what the protocol is filled up with.
Bytes writtenBytesOf(Bytes rules) {
  constexpr std::size_t kUnwritten[] = {33, 34, 35, 40, 41, 42, 43, 44, 66, 67};
  for (std::size_t rule = 0; rule + 88 <= rules.size(); rule += 88) {
    for (const std::size_t offset : kUnwritten) rules[rule + offset] = std::byte{0};
    rules[rule + 45] &= std::byte{0x0F};
  }
  return rules;
}

// What a rule's calls report when it is not there: three conditions and two actions.
std::string reportsOfAMissingRule(int rule, AclPolicyHandle policy) {
  std::ostringstream text;
  for (int call = 0; call < 5; ++call) {
    text << "Invalid rule handle " << rule << " for policy handle " << std::hex << policy << '\n';
  }
  return text.str();
}

// The names of rules whose lengths are given.
std::vector<std::string> ruleNamesOf(AclPolicyHandle policy,
                                     const std::vector<std::size_t> &lengths) {
  const Bytes rules = rulesOf(policy);
  std::vector<std::string> names;
  std::size_t offset = 0;
  for (const std::size_t length : lengths) {
    names.emplace_back(reinterpret_cast<const char *>(&rules.at(offset)));
    offset += length;
  }
  EXPECT_EQ(offset, rules.size());
  return names;
}

std::string modifiedRulesText() {
  std::string text;
  for (int rule = 0; rule < 10; ++rule) {
    text += "Rule Name: rule-" + std::to_string(rule);
    text += " Index: " + std::to_string(rule + 1);
    text +=
        "\n"
        "CONDITION: SRCADDR 0xa010200/0xffffff00 \n"
        "CONDITION: PROTO 2 MASK 0x00 \n"
        "CONDITION: DSTADDR 0xef140a00/0xfffffff0 \n";
    text += kDenyAndSample;
  }
  return text;
}

class TestPoliciesTest : public LibraryTest {
 protected:
  void TearDown() override {
    for (const AclPolicyHandle policy : policies_) acl::destroyPolicy(acl::findPolicy(policy));
    LibraryTest::TearDown();
  }

  // Ends a policy with the test.
  AclPolicyHandle keep(AclPolicyHandle policy) {
    policies_.push_back(policy);
    return policy;
  }

 private:
  std::vector<AclPolicyHandle> policies_;
};

// ---- Creating

TEST_F(TestPoliciesTest, CreatedPolicyHasSixRules) {
  const AclPolicyHandle policy = keep(create().policy);
  ASSERT_NE(acl::findPolicy(policy), nullptr);
  EXPECT_STREQ(recordOf(policy).policyName, "edge-in");
  EXPECT_EQ(recordOf(policy).ruleCount, 6);
  EXPECT_EQ(recordOf(policy).usedSize, 416U);
  EXPECT_EQ(recordOf(policy).bufferSize, 512U);
  EXPECT_TRUE(matchesGolden(rulesOf(policy), "policy/created_test_policy.golden"));
}

TEST_F(TestPoliciesTest, CreatedPolicyIsPrinted) {
  const Printed created = create();
  keep(created.policy);
  EXPECT_EQ(created.output, "ACL: edge-in Rules: 6 Size = 416 \n");
  std::string expected =
      "Rule Name: rule-0 Index: 1\n"
      "CONDITION: SRCADDR 0xc0a87900/0xffffff00 \n"
      "CONDITION: PROTO 2 MASK 0x00 \n"
      "CONDITION: DSTADDR 0xef140a00/0xfffffff0 \n";
  expected += kDenyAndSample;
  expected +=
      "Rule Name: rule-1 Index: 2\n"
      "CONDITION: SRCADDR 0xc0a87900/0xffffff00 \n"
      "CONDITION: PROTO 2 MASK 0x00 \n"
      "CONDITION: DSTADDR 0xef140a00/0xfffffff0 \n";
  expected += kDenyAndSample;
  expected +=
      "Rule Name: rule-2 Index: 3\n"
      "CONDITION: SRC_PORT [1200 1200] MASK 0x0000\n"
      "ACTION: Deny \n"
      "\n"
      "Rule Name: rule-3 Index: 4\n"
      "CONDITION: DST_PORT [120 1200] MASK 0x0000\n"
      "ACTION: Deny \n"
      "\n"
      "Rule Name: rule-4 Index: 5\n"
      "CONDITION: TCP_FLAGS 0x24 MASK 0x24 \n"
      "ACTION: Accept \n"
      "\n"
      "Rule Name: rule-5 Index: 6\n"
      "ACTION: Accept \n"
      "\n";
  EXPECT_EQ(created.error, expected);
}

TEST_F(TestPoliciesTest, RuleNumberNIsNamedRuleNMinus1) {
  const AclPolicyHandle created = keep(create().policy);
  const Bytes rules = rulesOf(created);
  constexpr std::size_t kRuleOffsets[] = {0, 88, 176, 240, 304, 364};
  std::uint32_t number = 0;
  for (const std::size_t offset : kRuleOffsets) {
    EXPECT_EQ(wordAt(rules, offset + 36), ++number);
    EXPECT_STREQ(reinterpret_cast<const char *>(&rules[offset]),
                 ("rule-" + std::to_string(number - 1)).c_str());
  }
}

TEST_F(TestPoliciesTest, NothingIsSentByEither) {
  connectHandle();
  modify(keep(create().policy));
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(TestPoliciesTest, CreatedPolicyIsAPolicyLikeAnyOther) {
  connectHandle();
  const AclPolicyHandle policy = keep(create().policy);
  EXPECT_EQ(aclLibAddPolicy(policy), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  const Bytes body = sentBodies()[0];
  EXPECT_TRUE(matchesGolden(std::span(body).subspan(652), "policy/created_test_policy.golden"));
}

TEST_F(TestPoliciesTest, NullAndEmptyNamesAreRefusedAndPrintNothing) {
  for (const char *name : {static_cast<const char *>(nullptr), ""}) {
    const Printed refused = create(name);
    EXPECT_EQ(refused.policy, -2);
    EXPECT_EQ(refused.output, "");
    EXPECT_EQ(refused.error, "");
  }
}

TEST_F(TestPoliciesTest, WithoutMemoryForThePolicyNothingIsPrinted) {
  const Printed failed = printedBy([] {
    const FailAllocation guard(1);
    return aclLibCreateTestPolicy("edge-in");
  });
  EXPECT_EQ(failed.policy, 0);
  EXPECT_EQ(failed.output, "");
  EXPECT_EQ(failed.error, "");
}

TEST_F(TestPoliciesTest, FirstRuleWithoutMemoryIsMissingAndTheCallsReportIt) {
  const Printed created = printedBy([] {
    const FailAllocation guard(2);
    return aclLibCreateTestPolicy("edge-in");
  });
  keep(created.policy);
  ASSERT_NE(acl::findPolicy(created.policy), nullptr);
  EXPECT_EQ(recordOf(created.policy).ruleCount, 5);
  EXPECT_THAT(ruleNamesOf(created.policy, {88, 64, 64, 60, 52}),
              ElementsAre("rule-1", "rule-2", "rule-3", "rule-4", "rule-5"));
  EXPECT_EQ(created.output,
            reportsOfAMissingRule(1, created.policy) + "ACL: edge-in Rules: 5 Size = 328 \n");
}

TEST_F(TestPoliciesTest, ProtocolAndPortsHaveAMaskOfZero) {
  const Bytes rules = rulesOf(keep(create().policy));
  EXPECT_EQ(wordAt(rules, 60), 0x00030004U);
  EXPECT_EQ(wordAt(rules, 64), 0x02000000U);
  EXPECT_EQ(wordAt(rules, 176 + 48), 0x000C0008U);
  EXPECT_EQ(wordAt(rules, 176 + 52), 0x04B004B0U);
  EXPECT_EQ(wordAt(rules, 176 + 56) >> 16, 0U);
  EXPECT_EQ(wordAt(rules, 240 + 48), 0x000D0008U);
  EXPECT_EQ(wordAt(rules, 240 + 52), 0x007804B0U);
  EXPECT_EQ(wordAt(rules, 240 + 56) >> 16, 0U);
}

// ---- Modifying

TEST_F(TestPoliciesTest, ModifiedPolicyHasTenRulesAndIsPrinted) {
  const AclPolicyHandle policy = keep(aclLibNewPolicy("edge-in"));
  const Printed modified = modify(policy);
  EXPECT_EQ(modified.policy, policy);
  EXPECT_EQ(recordOf(policy).ruleCount, 10);
  EXPECT_EQ(recordOf(policy).usedSize, 880U);
  EXPECT_EQ(recordOf(policy).bufferSize, 1024U);
  EXPECT_TRUE(matchesGolden(rulesOf(policy), "policy/modified_test_policy.golden"));
  EXPECT_EQ(modified.output, "ACL: edge-in Rules: 10 Size = 880 \n");
  EXPECT_EQ(modified.error, modifiedRulesText());
}

TEST_F(TestPoliciesTest, ModifiedPolicyHasExactlyTenRulesWhateverItHeldBefore) {
  const AclPolicyHandle created = keep(create().policy);
  // Twice: the second time it has held ten.
  for (int time = 0; time < 2; ++time) {
    const Printed modified = modify(created);
    EXPECT_EQ(modified.policy, created);
    EXPECT_EQ(recordOf(created).ruleCount, 10);
    EXPECT_EQ(recordOf(created).usedSize, 880U);
    EXPECT_TRUE(
        matchesGolden(writtenBytesOf(rulesOf(created)), "policy/modified_test_policy.golden"));
    EXPECT_EQ(modified.output, "ACL: edge-in Rules: 10 Size = 880 \n");
    EXPECT_EQ(modified.error, modifiedRulesText());
  }
}

TEST_F(TestPoliciesTest, RuleWithoutMemoryToGrowIsMissingAndTheCallsReportIt) {
  const AclPolicyHandle policy = keep(aclLibNewPolicy("edge-in"));
  // The first allocation makes the buffer, whose 1024 bytes have room for six rules.
  const Printed modified = printedBy([policy] {
    const FailAllocation guard(2);
    return aclLibModifyTestPolicy(policy);
  });
  EXPECT_EQ(modified.policy, policy);
  EXPECT_EQ(recordOf(policy).ruleCount, 9);
  EXPECT_THAT(ruleNamesOf(policy, std::vector<std::size_t>(9, 88)),
              ElementsAre("rule-0", "rule-1", "rule-2", "rule-3", "rule-4", "rule-5", "rule-7",
                          "rule-8", "rule-9"));
  EXPECT_EQ(modified.output,
            reportsOfAMissingRule(7, policy) + "ACL: edge-in Rules: 9 Size = 792 \n");
}

TEST_F(TestPoliciesTest, OpenRuleIsForgottenToo) {
  const AclPolicyHandle policy = keep(aclLibNewPolicy("edge-in"));
  ASSERT_EQ(aclLibNewRule(policy, "open", 77), 77);
  modify(policy);
  EXPECT_EQ(recordOf(policy).ruleCount, 10);
  EXPECT_EQ(recordOf(policy).usedSize, 880U);
}

TEST_F(TestPoliciesTest, PolicyKeepsItsNameAndItsState) {
  const AclPolicyHandle policy = keep(aclLibNewPolicy("edge-in"));
  acl::findPolicy(policy)->stateFlags = 2;
  modify(policy);
  EXPECT_STREQ(recordOf(policy).policyName, "edge-in");
  EXPECT_EQ(recordOf(policy).stateFlags, 2U);
}

TEST_F(TestPoliciesTest, HandleThatIsNoPolicyIsReturnedInSilence) {
  OwnPolicy own(0);
  own->selfCheck = nullptr;
  for (const AclPolicyHandle handle : {AclPolicyHandle{0}, AclPolicyHandle{-1}, AclPolicyHandle{-2},
                                       AclPolicyHandle{0x10}, own.handle(), own.handle() + 1}) {
    const Printed modified = modify(handle);
    EXPECT_EQ(modified.policy, handle);
    EXPECT_EQ(modified.output, "");
    EXPECT_EQ(modified.error, "");
  }
}

TEST_F(TestPoliciesTest, EndedPolicyIsReturnedInSilence) {
  const AclPolicyHandle policy = aclLibNewPolicy("edge-in");
  acl::destroyPolicy(acl::findPolicy(policy));
  const Printed modified = modify(policy);
  EXPECT_EQ(modified.policy, policy);
  EXPECT_EQ(modified.output, "");
  EXPECT_EQ(modified.error, "");
}

}  // namespace
