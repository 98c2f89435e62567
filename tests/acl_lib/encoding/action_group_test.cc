#include "acl_lib/encoding/action_group.h"

#include "tests/acl_lib/encoding/encoding_test.h"

namespace {

using namespace encoding_test;

struct Answer {
  std::uint32_t groupBit, groupValue, setFlag;
  bool operator==(const Answer &) const = default;
};

constexpr Answer kUntouched{0xAAAAAAAA, 0xBBBBBBBB, 0xCCCCCCCC};

Answer answerFor(std::uint32_t type, const void *data = nullptr) {
  Answer answer = kUntouched;
  aclGetAction4Group(type, data, &answer.groupBit, &answer.groupValue, &answer.setFlag);
  return answer;
}

TEST(ActionGroup, TellsTheBitsOfEachGroupableAction) {
  EXPECT_EQ(answerFor(1), (Answer{0x20, 0x40, 0}));
  EXPECT_EQ(answerFor(2), (Answer{0x20, 0x40, 1}));
  EXPECT_EQ(answerFor(3), (Answer{0x200, 0x400, 1}));
  EXPECT_EQ(answerFor(4), (Answer{0x200, 0x400, 0}));
  EXPECT_EQ(answerFor(5), (Answer{0x80, 0x100, 1}));
  EXPECT_EQ(answerFor(6), (Answer{0x80, 0x100, 0}));
}

TEST(ActionGroup, QueueComesFromTheFirstDataByte) {
  const Bytes data = hex("f7 55");
  EXPECT_EQ(answerFor(14, data.data()), (Answer{0x10, 0xF7, 1}));
  EXPECT_EQ(answerFor(14, nullptr), (Answer{0x10, 0, 1}));
}

TEST(ActionGroup, OutputsAreUntouchedForOtherTypes) {
  for (std::uint32_t type = 0; type < 300; ++type) {
    if ((type >= 1 && type <= 6) || type == 14) continue;
    EXPECT_EQ(answerFor(type), kUntouched) << type;
  }
  for (const std::uint32_t type : {0x10001U, 0x1000EU, 0x80000001U, 0xFFFFFFFFU}) {
    EXPECT_EQ(answerFor(type), kUntouched) << type;
  }
}

// A rule whose first action is a group with the given word.
class GroupRule {
 public:
  explicit GroupRule(std::string_view wordHex) {
    aclLibNewRule(policy_.handle(), "rule", 1);
    const Bytes word = hex(wordHex);
    aclLibConfigActionVid(policy_.handle(), 1, 9, word.data());
  }

  Bytes entries() const { return policy_.entries(); }
  AclPolicyHandle handle() const { return policy_.handle(); }

 private:
  TestPolicy policy_;
};

Bytes group(std::string_view wordHex) {
  return join(hex("0009 0004"), hex(wordHex));
}

TEST(ActionGroup, AcceptSetsItsBitAndClearsDeny) {
  const GroupRule rule("ffffffdf");
  EXPECT_EQ(aclLibConfigRuleAction(rule.handle(), 1, 1), 0);
  EXPECT_EQ(rule.entries(), group("ffffffbf"));
}

TEST(ActionGroup, DenySetsBothBits) {
  const GroupRule rule("00000000");
  EXPECT_EQ(aclLibConfigRuleAction(rule.handle(), 1, 2), 0);
  EXPECT_EQ(rule.entries(), group("00000060"));
}

TEST(ActionGroup, SampleOnSetsBothBits) {
  const GroupRule rule("00000001");
  EXPECT_EQ(aclLibConfigRuleAction(rule.handle(), 1, 3), 0);
  EXPECT_EQ(rule.entries(), group("00000601"));
}

TEST(ActionGroup, SampleOffSetsItsBitAndClearsOn) {
  const GroupRule rule("00000401");
  EXPECT_EQ(aclLibConfigRuleAction(rule.handle(), 1, 4), 0);
  EXPECT_EQ(rule.entries(), group("00000201"));
}

TEST(ActionGroup, MirrorOnSetsBothBitsAndDropsTheName) {
  const GroupRule rule("00000000");
  const Bytes name = numberedBytes(33);
  EXPECT_EQ(aclLibConfigActionMirror(rule.handle(), 1, name.data()), 0);
  EXPECT_EQ(rule.entries(), group("00000180"));
}

TEST(ActionGroup, MirrorOffSetsItsBitAndClearsOn) {
  const GroupRule rule("00000180");
  EXPECT_EQ(aclLibConfigRuleAction(rule.handle(), 1, 6), 0);
  EXPECT_EQ(rule.entries(), group("00000080"));
}

TEST(ActionGroup, QueueReplacesTheLowBitsWithoutSayingThatThereIsOne) {
  const GroupRule rule("00000029");
  const Bytes queue = hex("f6");
  EXPECT_EQ(aclLibConfigActionQos(rule.handle(), 1, queue.data()), 0);
  EXPECT_EQ(rule.entries(), group("00000026"));
}

TEST(ActionGroup, QueueKeepsTheBitThatSaysThereIsOne) {
  const GroupRule rule("0000001f");
  const Bytes queue = hex("02");
  EXPECT_EQ(aclLibConfigActionQos(rule.handle(), 1, queue.data()), 0);
  EXPECT_EQ(rule.entries(), group("00000012"));
}

TEST(ActionGroup, CallsWithAnyTypeFoldToo) {
  const GroupRule rule("00000000");
  const Bytes data = hex("03000000");
  EXPECT_EQ(aclLibConfigActionVid(rule.handle(), 1, 14, data.data()), 0);
  EXPECT_EQ(aclLibConfigActionVid(rule.handle(), 1, 2, data.data()), 0);
  EXPECT_EQ(rule.entries(), group("00000063"));
}

TEST(ActionGroup, OtherActionsFollowTheGroup) {
  const GroupRule rule("00000020");
  EXPECT_EQ(aclLibConfigRuleAction(rule.handle(), 1, 10), 0);
  EXPECT_EQ(aclLibConfigRuleAction(rule.handle(), 1, 2), 0);
  EXPECT_EQ(rule.entries(), join(group("00000060"), hex("000a 0000")));
}

TEST(ActionGroup, TypeBeyond16BitsDoesNotFoldAlthoughItsStoredTypeWould) {
  const GroupRule rule("00000000");
  const Bytes data = hex("01020304");
  EXPECT_EQ(aclLibConfigActionVid(rule.handle(), 1, 0x10002, data.data()), 0);
  EXPECT_EQ(rule.entries(), join(group("00000000"), hex("0002 0004 01020304")));
}

TEST(ActionGroup, GroupBehindConditionsTakesTheActionAndKeepsTheRuleWord) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  const Bytes protocol = hex("06ff");
  const Bytes word = hex("00000000");
  EXPECT_EQ(aclLibAddRuleCondProtocol(policy.handle(), 1, protocol.data()), 0);
  EXPECT_EQ(aclLibConfigActionVid(policy.handle(), 1, 9, word.data()), 0);
  EXPECT_EQ(aclLibConfigRuleAction(policy.handle(), 1, 1), 0);
  EXPECT_EQ(policy.entries(), hex("0003 0004 06ff0000 0009 0004 00000020"));
  EXPECT_EQ(copyOf(policy->openRule + 44, 4), hex("0000e040"));  // 56 << 10 | 64
}

TEST(ActionGroup, WithoutActionsAcceptIsAnEntryOfItsOwn) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  EXPECT_EQ(aclLibConfigRuleAction(policy.handle(), 1, 1), 0);
  EXPECT_EQ(policy.entries(), hex("0001 0000"));
}

TEST(ActionGroup, GroupThatDoesNotLeadIsLeftAlone) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  aclLibConfigRuleAction(policy.handle(), 1, 10);
  const Bytes word = hex("00000000");
  aclLibConfigActionVid(policy.handle(), 1, 9, word.data());
  EXPECT_EQ(aclLibConfigRuleAction(policy.handle(), 1, 2), 0);
  EXPECT_EQ(policy.entries(), hex("000a 0000 0009 0004 00000000 0002 0000"));
}

TEST(ActionGroup, ConditionOfType9IsNoGroup) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  aclLibConfigRuleCond(policy.handle(), 1, 9);
  EXPECT_EQ(aclLibConfigRuleAction(policy.handle(), 1, 1), 0);
  EXPECT_EQ(policy.entries(), hex("0009 0000 0001 0000"));
}

}  // namespace
