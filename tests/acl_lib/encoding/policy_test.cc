#include <cstring>

#include "tests/acl_lib/encoding/encoding_test.h"

namespace {

using namespace encoding_test;

// ---- New policies -------------------------------------------------------------------------------

TEST(NewPolicy, NullNameIsRefused) {
  EXPECT_EQ(aclLibNewPolicy(nullptr), -2);
}

TEST(NewPolicy, EmptyNameIsRefused) {
  EXPECT_EQ(aclLibNewPolicy(""), -2);
}

TEST(NewPolicy, HandleIsTheAddressThatSelfCheckHolds) {
  const TestPolicy policy;
  EXPECT_EQ(policy->selfCheck, &policy.record());
}

TEST(NewPolicy, StartsWithoutRulesAndBuffer) {
  const TestPolicy policy("edge");
  EXPECT_STREQ(policy->policyName, "edge");
  EXPECT_EQ(policy->usedSize, 0U);
  EXPECT_EQ(policy->bufferSize, 0U);
  EXPECT_EQ(policy->ruleCount, 0);
  EXPECT_EQ(policy->policyAttr, 0);
  EXPECT_EQ(policy->ruleBuffer, nullptr);
  EXPECT_EQ(policy->stateFlags, 0U);
  EXPECT_EQ(policy->openRule, nullptr);
}

TEST(NewPolicy, AllEightListsAreEmpty) {
  const TestPolicy policy;
  for (const AclListHead &list : policy->lists) {
    EXPECT_EQ(list.next, &list);
    EXPECT_EQ(list.prev, &list);
  }
  EXPECT_EQ(policy->lastList.next, &policy->lastList);
  EXPECT_EQ(policy->lastList.prev, &policy->lastList);
}

TEST(NewPolicy, NameOf32CharactersIsKept) {
  const TestPolicy policy("abcdefghijklmnopqrstuvwxyz012345");
  EXPECT_STREQ(policy->policyName, "abcdefghijklmnopqrstuvwxyz012345");
}

TEST(NewPolicy, NameOf40CharactersIsCutTo32) {
  const TestPolicy policy("abcdefghijklmnopqrstuvwxyz0123456789ABCD");
  EXPECT_STREQ(policy->policyName, "abcdefghijklmnopqrstuvwxyz012345");
}

TEST(NewPolicy, NameIsReadAtMost32BytesFar) {
  const Bytes unended(32, std::byte{'x'});
  const TestPolicy policy(reinterpret_cast<const char *>(unended.data()));
  EXPECT_EQ(std::strlen(policy->policyName), 32U);
}

// ---- Opening rules ------------------------------------------------------------------------------

TEST(NewRule, InvalidPolicyIsReported) {
  OutputCapture capture;
  EXPECT_EQ(aclLibNewRule(-2, "rule", 1), -2);
  EXPECT_EQ(capture.standardOutput(), invalidPolicyMessage("aclLibNewRule", -2));
  EXPECT_EQ(capture.standardError(), "");
}

TEST(NewRule, ReturnsItsRuleId) {
  const TestPolicy policy;
  EXPECT_EQ(aclLibNewRule(policy.handle(), "rule", 77), 77);
  EXPECT_EQ(aclLibNewRule(policy.handle(), "rule", 0), 0);
  EXPECT_EQ(aclLibNewRule(policy.handle(), "rule", 0x80000000), INT32_MIN);
  EXPECT_EQ(policy->ruleCount, 3);
}

TEST(NewRule, IdsThatReadAsErrorsAreReturnedAndUsableLikeAllOthers) {
  const TestPolicy policy;
  EXPECT_EQ(aclLibNewRule(policy.handle(), "rule", 0xFFFFFFFF), -1);
  EXPECT_EQ(aclLibConfigRuleAction(policy.handle(), 0xFFFFFFFF, 1), 0);
  EXPECT_EQ(aclLibNewRule(policy.handle(), "rule", 0xFFFFFFFE), -2);
  EXPECT_EQ(aclLibConfigRuleAction(policy.handle(), 0xFFFFFFFE, 1), 0);
  EXPECT_EQ(policy->ruleCount, 2);
}

TEST(NewRule, RuleWithoutEntriesIs48Bytes) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "ssh", 0x01020304);
  EXPECT_EQ(copyOf(policy->openRule, 48),
            join(bytesOf("ssh"), Bytes(33), hex("01020304"), hex("00000000"), hex("0000c030")));
  EXPECT_EQ(policy->usedSize, 0U);
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_EQ(policy->usedSize, 48U);
}

TEST(NewRule, OneConditionOfTwoBytesAddsEight) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "ssh", 1);
  const Bytes protocol = hex("06ff");
  aclLibAddRuleCondProtocol(policy.handle(), 1, protocol.data());
  EXPECT_EQ(ruleLength(policy->openRule), 56U);
  EXPECT_EQ(actionOffset(policy->openRule), 56U);
}

TEST(NewRule, ClosesTheRuleBeforeItAndFollowsItAtOnce) {
  const TestPolicy policy;
  policy.addRule(60);
  policy.addRule(48, 2);
  EXPECT_EQ(policy->usedSize, 60U);
  EXPECT_EQ(policy->openRule, policy->ruleBuffer + 60);
  EXPECT_EQ(policy->ruleCount, 2);
  EXPECT_EQ(copyOf(policy->ruleBuffer + 60 + 36, 4), hex("00000002"));
}

TEST(NewRule, NamesOfAnyLengthUpTo32AreKept) {
  const TestPolicy policy;
  const std::string longest = "abcdefghijklmnopqrstuvwxyz012345";
  for (std::size_t length = 0; length <= 32; ++length) {
    aclLibClearRule(policy.handle());
    aclLibNewRule(policy.handle(), longest.substr(0, length).c_str(), 1);
    EXPECT_EQ(copyOf(policy->openRule, 33),
              join(bytesOf(longest.substr(0, length)), Bytes(33 - length)));
  }
}

TEST(NewRule, NameOf40CharactersIsCutTo32) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "abcdefghijklmnopqrstuvwxyz0123456789ABCD", 1);
  EXPECT_EQ(copyOf(policy->openRule, 36),
            join(bytesOf("abcdefghijklmnopqrstuvwxyz012345"), Bytes(4)));
}

TEST(NewRule, NameIsReadAtMost32BytesFar) {
  const TestPolicy policy;
  const Bytes unended(32, std::byte{'x'});
  aclLibNewRule(policy.handle(), reinterpret_cast<const char *>(unended.data()), 1);
  EXPECT_EQ(copyOf(policy->openRule, 33), join(unended, Bytes(1)));
}

TEST(NewRule, EmptyNameIsKept) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "", 1);
  EXPECT_EQ(copyOf(policy->openRule, 33), Bytes(33));
}

TEST(NewRule, UnnamedThirdRuleIsDefRule3) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), nullptr, 10);
  EXPECT_STREQ(reinterpret_cast<char *>(policy->openRule), "def-rule-1");
  aclLibNewRule(policy.handle(), "named", 20);
  aclLibNewRule(policy.handle(), nullptr, 30);
  EXPECT_STREQ(reinterpret_cast<char *>(policy->openRule), "def-rule-3");
}

TEST(NewRule, UnnamedRuleAfterClearTakes1Again) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), nullptr, 1);
  aclLibNewRule(policy.handle(), nullptr, 2);
  aclLibClearRule(policy.handle());
  aclLibNewRule(policy.handle(), nullptr, 3);
  EXPECT_STREQ(reinterpret_cast<char *>(policy->openRule), "def-rule-1");
}

TEST(NewRule, LargestDefaultNameIsWhole) {
  const TestPolicy policy;
  policy->ruleCount = 65534;
  aclLibNewRule(policy.handle(), nullptr, 1);
  EXPECT_STREQ(reinterpret_cast<char *>(policy->openRule), "def-rule-65535");
}

TEST(NewRule, RuleCountWrapsAt16Bits) {
  const TestPolicy policy;
  policy->ruleCount = 65535;
  aclLibNewRule(policy.handle(), nullptr, 1);
  EXPECT_EQ(policy->ruleCount, 0);
  EXPECT_STREQ(reinterpret_cast<char *>(policy->openRule), "def-rule-0");
}

TEST(NewRule, KeepsAllBitsOfTheRuleWordButTheLengthsAndBit28) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "first", 1);
  std::memset(policy->openRule + 44, 0xFF, 4);
  aclLibClearRule(policy.handle());
  aclLibNewRule(policy.handle(), "second", 2);
  EXPECT_EQ(copyOf(policy->openRule + 44, 4), hex("eff0c030"));
}

// ---- Empty records ------------------------------------------------------------------------------

TEST(InitRule, SetsTheLengthsAndKeepsTheOtherBits) {
  Bytes record(48, std::byte{0xFF});
  aclEncodeInitRule(record.data());
  EXPECT_EQ(record, join(Bytes(44, std::byte{0xFF}), hex("fff0c030")));

  record.assign(48, std::byte{0});
  aclEncodeInitRule(record.data());
  EXPECT_EQ(record, join(Bytes(44), hex("0000c030")));
}

TEST(InitRule, NullIsIgnored) {
  aclEncodeInitRule(nullptr);
}

// ---- Clearing -----------------------------------------------------------------------------------

TEST(ClearRule, ForgetsTheRulesAndKeepsTheBuffer) {
  const TestPolicy policy;
  policy.addRule(60);
  policy.addRule(48, 2);
  const std::uint8_t *buffer = policy->ruleBuffer;
  EXPECT_EQ(aclLibClearRule(policy.handle()), 0);
  EXPECT_EQ(policy->openRule, nullptr);
  EXPECT_EQ(policy->usedSize, 0U);
  EXPECT_EQ(policy->ruleCount, 0);
  EXPECT_EQ(policy->ruleBuffer, buffer);
  EXPECT_EQ(policy->bufferSize, 1024U);
}

TEST(ClearRule, NextRuleStartsAtTheBufferStart) {
  const TestPolicy policy;
  policy.addRule(60);
  policy.addRule(48, 2);
  aclLibClearRule(policy.handle());
  policy.addRule(48, 3);
  EXPECT_EQ(policy->openRule, policy->ruleBuffer);
  EXPECT_EQ(policy->usedSize, 0U);
  EXPECT_EQ(policy->ruleCount, 1);
}

TEST(ClearRule, PolicyWithoutRulesStaysAsItIs) {
  const TestPolicy policy;
  EXPECT_EQ(aclLibClearRule(policy.handle()), 0);
  EXPECT_EQ(policy->ruleBuffer, nullptr);
}

TEST(ClearRule, InvalidPolicyIsReported) {
  OutputCapture capture;
  EXPECT_EQ(aclLibClearRule(-1), -2);
  EXPECT_EQ(capture.standardOutput(), invalidPolicyMessage("aclLibClearRule", -1));
}

// ---- Ending the last rule -----------------------------------------------------------------------

TEST(EndRule, PolicyWithoutAnOpenRuleIsLeftAlone) {
  const TestPolicy policy;
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  policy.addRule(100);
  aclLibClearRule(policy.handle());
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_EQ(policy->usedSize, 0U);
  EXPECT_EQ(policy->bufferSize, 1024U);
}

TEST(EndRule, WithoutAnOpenRuleReturns0EvenForAnInvalidHandle) {
  TestPolicy policy;
  policy->selfCheck = nullptr;
  AclPolicy ownRecord{};
  OutputCapture capture;
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_EQ(aclLibEndRule(reinterpret_cast<AclPolicyHandle>(&ownRecord)), 0);
  for (const AclPolicyHandle handle : {0, -1, -2, 1, 4096}) EXPECT_EQ(aclLibEndRule(handle), 0);
  EXPECT_EQ(capture.standardOutput(), "");
}

TEST(EndRule, WithAnOpenRuleAnInvalidHandleIsReported) {
  TestPolicy policy;
  policy.addRule(100);
  policy->selfCheck = nullptr;
  const Snapshot before = snapshotOf(policy.record());
  OutputCapture capture;
  EXPECT_EQ(aclLibEndRule(policy.handle()), -2);
  EXPECT_EQ(capture.standardOutput(), invalidPolicyMessage("aclLibEndRule", policy.handle()));
  EXPECT_EQ(snapshotOf(policy.record()), before);
}

TEST(EndRule, RuleStaysOpenAndTakesMoreEntries) {
  const TestPolicy policy;
  policy.addRule(300);
  EXPECT_EQ(aclLibEndRule(policy.handle()), 0);
  EXPECT_EQ(policy->openRule, policy->ruleBuffer);
  EXPECT_EQ(aclLibConfigRuleAction(policy.handle(), 1, 1), 0);
  EXPECT_EQ(ruleLength(policy->openRule), 304U);
}

}  // namespace
