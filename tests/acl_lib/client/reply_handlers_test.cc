#include <pthread.h>

#include <array>
#include <cstdlib>
#include <cstring>

#include "tests/acl_lib/client/reply_test.h"

namespace {

using namespace acl_test;

// The handled codes, and how long a reply must be to be handled in place.
struct HandledCode {
  std::uint16_t code;
  std::size_t handledSize;
  bool endsMessage;
};
constexpr HandledCode kHandledCodes[] = {
    {0x2002, 625, false},  {0x3001, 625, false}, {0x3002, 625, false}, {0x3003, 2080, false},
    {0x3004, 2080, false}, {0x3007, 641, false}, {0x3009, 632, false}, {0x300B, 608, true},
    {0x300C, 594, true},   {0x3011, 688, false}, {0x301D, 604, false},
};

std::array<std::uint16_t, 2> codes(std::uint16_t one, std::uint16_t other) {
  return {one, other};
}

const std::string kLongName = "abcdefghijklmnopqrstuvwxyz0123456";  // 33 characters: no NUL
const std::string kCutName = "abcdefghijklmnopqrstuvwxyz012345";    // what is read of it

class ReplyHandlersTest : public ReplyTest {
 protected:
  void SetUp() override {
    ReplyTest::SetUp();
    aclLibDeleteRule(nullptr);
  }

  void TearDown() override {
    aclLibDeleteRule(nullptr);
    ReplyTest::TearDown();
  }

  // Bytes 16 to 78 of the only answer: the areas that the library may fill.
  static Bytes areas() {
    EXPECT_EQ(answers().size(), 1U);
    return test_support::copyOf(answers().at(0).data() + 16, 63);
  }
};

// ---- Replies about dynamic rules

TEST_F(ReplyHandlersTest, AddReplyTracesNameAndStatus) {
  handleReply(Reply(640, 0x3001, 0).text(592, "ssh").bytes());
  EXPECT_THAT(traces(), ElementsAre("Reply: Add dynamic rule \"ssh\" returned status \"OK\" from "
                                    "ACL manager\n"));
  EXPECT_THAT(codesOfAnswers(), ElementsAre(0x3001));
}

TEST_F(ReplyHandlersTest, DeleteReplyTracesNameAndStatusInItsOwnWords) {
  handleReply(Reply(640, 0x3002, -19).text(592, "ssh").bytes());
  EXPECT_THAT(traces(), ElementsAre("Reply: Delete dynamic rule \"ssh\" returned \"Rule does not "
                                    "exist\" from ACL manager\n"));
  EXPECT_THAT(codesOfAnswers(), ElementsAre(0x3002));
}

TEST_F(ReplyHandlersTest, FailedAddAndDeleteRepliesNameTheRuleAt16) {
  answerSize() = 640;
  for (const std::uint16_t code : codes(0x3001, 0x3002)) {
    answers().clear();
    Reply reply = Reply(640, code, -1).text(592, "telnet-out").word(588, 0x01020304);
    const Bytes after = handleReply(reply.bytes());
    reply.text(16, "telnet-out");
    EXPECT_THAT(answers(), ElementsAre(reply.bytes()));
    EXPECT_EQ(after, reply.bytes());
  }
}

TEST_F(ReplyHandlersTest, SuccessfulAddAndDeleteRepliesLeaveTheAreaAt16) {
  answerSize() = 640;
  for (const std::uint16_t code : codes(0x3001, 0x3002)) {
    answers().clear();
    const Reply reply =
        Reply(640, code, 0).text(592, "telnet-out").put(4, Bytes(584, std::byte{0x5A}));
    handleReply(reply.bytes());
    EXPECT_THAT(answers(), ElementsAre(reply.bytes()));
  }
}

TEST_F(ReplyHandlersTest, PendingIsAStatusOtherThanZeroSoThatTheRuleIsNamed) {
  answerSize() = 640;
  handleReply(Reply(640, 0x3001, 1).text(592, "ssh").bytes());
  EXPECT_EQ(textAt(answers().at(0), 16), "ssh");
  EXPECT_THAT(traces(), ElementsAre("Reply: Add dynamic rule \"ssh\" returned status \"Pending\" "
                                    "from ACL manager\n"));
}

TEST_F(ReplyHandlersTest, NameWithoutANulIsTracedAndCopiedWith32Characters) {
  answerSize() = 640;
  for (const std::uint16_t code : codes(0x3001, 0x3002)) {
    answers().clear();
    Reply reply(640, code, -1);
    reply.put(16, Bytes(63, std::byte{0x5A})).text(592, kLongName).put(625, bytesOf("behind"));
    handleReply(reply.bytes());
    EXPECT_EQ(areas(), join(bytesOf(kCutName), Bytes(1), Bytes(30, std::byte{0x5A})));
  }
  EXPECT_THAT(traces(), ElementsAre("Reply: Add dynamic rule \"" + kCutName +
                                        "\" returned status \"Error\" from ACL manager\n",
                                    "Reply: Delete dynamic rule \"" + kCutName +
                                        "\" returned \"Error\" from ACL manager\n"));
}

Reply bindingReply(std::uint16_t code, int status) {
  return Reply(2096, code, status)
      .text(608, "ssh")
      .word(740, 7)
      .word(748, 0x00030018)
      .word(2068, 4094)
      .word(2072, 1)
      .word(2076, 12);
}

TEST_F(ReplyHandlersTest, ConfigReplyTracesItsBinding) {
  handleReply(bindingReply(0x3003, 0).bytes());
  EXPECT_THAT(traces(),
              ElementsAre("Reply: Config dynamic Rule \"ssh\" to vlan = 4094, port 3:24, drIndex = "
                          "12, priority = 7, direction = 1 returned status \"OK\" from ACL "
                          "manager\n"));
  EXPECT_THAT(codesOfAnswers(), ElementsAre(0x3003));
}

TEST_F(ReplyHandlersTest, UnconfigReplyTracesItsBindingInItsOwnWords) {
  handleReply(bindingReply(0x3004, -20).bytes());
  EXPECT_THAT(traces(),
              ElementsAre("Reply: Unconfigure dynamic Rule \"ssh\" from vlan = 4094, port 3:24, "
                          "drIndex = 12, priority = 7, direction = 1 returned status \"Rule rule "
                          "has already been applied to inst\" from ACL manager\n"));
  EXPECT_THAT(codesOfAnswers(), ElementsAre(0x3004));
}

TEST_F(ReplyHandlersTest, NumbersOfABindingAreSignedAndItsPortIsTwoHalves) {
  Reply reply = bindingReply(0x3003, -99);
  reply.word(740, 0xFFFFFFFF).word(748, 0xAAFFFFFF).word(2068, 0x80000000);
  reply.word(2072, 0xFFFFFFFE).word(2076, 0xFFFFFFFD);
  handleReply(reply.bytes());
  EXPECT_THAT(traces(),
              ElementsAre("Reply: Config dynamic Rule \"ssh\" to vlan = -2147483648, port "
                          "255:65535, drIndex = -3, priority = -1, direction = -2 returned status "
                          "\"UnknownStatusCode :-99: \" from ACL manager\n"));
}

TEST_F(ReplyHandlersTest, FailedConfigReplyTracesItsReasonAndNamesTheRuleAt16) {
  answerSize() = 2096;
  Reply reply = bindingReply(0x3003, -41);
  const Bytes after = handleReply(reply.bytes());
  EXPECT_THAT(traces(),
              ElementsAre("Reply: Config dynamic Rule \"ssh\" to vlan = 4094, port 3:24, drIndex = "
                          "12, priority = 7, direction = 1 returned status \"Unable to install new "
                          "rule. No more hardware resource.\" from ACL manager\n"));
  reply.text(16, "ssh");
  EXPECT_THAT(answers(), ElementsAre(reply.bytes()));
  EXPECT_EQ(after, reply.bytes());
}

TEST_F(ReplyHandlersTest, FailedUnconfigReplyNamesTheRuleAt16) {
  answerSize() = 2096;
  Reply reply = bindingReply(0x3004, -1);
  handleReply(reply.bytes());
  reply.text(16, "ssh");
  EXPECT_THAT(answers(), ElementsAre(reply.bytes()));
}

TEST_F(ReplyHandlersTest, SuccessfulBindingRepliesAreHandedOverAsTheyCame) {
  answerSize() = 2096;
  for (const std::uint16_t code : codes(0x3003, 0x3004)) {
    answers().clear();
    const Reply reply = bindingReply(code, 0).put(4, Bytes(584, std::byte{0x5A}));
    handleReply(reply.bytes());
    EXPECT_THAT(answers(), ElementsAre(reply.bytes()));
  }
}

TEST_F(ReplyHandlersTest, NameWithoutANulOfABindingIsTracedWith32Characters) {
  Reply reply = bindingReply(0x3004, 0);
  reply.text(608, kLongName).text(641, "relative");
  handleReply(reply.bytes());
  EXPECT_THAT(traces(),
              ElementsAre("Reply: Unconfigure dynamic Rule \"" + kCutName +
                          "\" from vlan = 4094, port 3:24, drIndex = 12, priority = 7, direction = "
                          "1 returned status \"OK\" from ACL manager\n"));
}

// ---- Descriptions of rules

class RuleDescriptionReplyTest : public ReplyHandlersTest {
 protected:
  // A reply that describes the rule of tests/golden/client/rule_description.golden.
  static Reply describe(std::uint16_t code, int status) {
    return Reply(2096, code, status)
        .put(80, test_support::golden("client/rule_description.golden"))
        .text(608, "another");
  }

  static const AclClientEntry &describedRule() {
    const AclClientEntry *entry = aclLibFindClientEntry("block-telnet");
    EXPECT_NE(entry, nullptr);
    return *entry;
  }

  static void expectDescribed() {
    const AclClientEntry &entry = describedRule();
    EXPECT_EQ(entry.ruleWord, 0x01020304U);
    EXPECT_EQ(entry.attrA, 0x0A0B0C0DU);
    EXPECT_EQ(entry.attrB, 0xF0000001U);
    EXPECT_EQ(entry.termCount, 5);
    std::uint32_t valueAndMask[2];
    std::memcpy(valueAndMask, entry.terms[0].matchData, 8);
    EXPECT_EQ(entry.terms[0].type, 3U);
    EXPECT_THAT(valueAndMask, ElementsAre(0x1700U, 0xFFFFFF00U));
    EXPECT_EQ(entry.terms[2].type, 4U);
    EXPECT_EQ(test_support::copyOf(entry.terms[2].matchData, 16),
              hex("20 01 0d b8 00 01 00 02 00 03 00 04 00 05 00 06"));
    EXPECT_EQ(entry.terms[2].prefixLen, 64U);
  }
};

TEST_F(RuleDescriptionReplyTest, ConfigReplyDescribesTheRuleOfTheDescriptionsName) {
  ASSERT_EQ(aclLibCreateRule("another", nullptr, 0), 1);
  ASSERT_EQ(aclLibCreateRule("block-telnet", nullptr, 0), 1);
  handleReply(describe(0x3003, 0).bytes());
  expectDescribed();
  EXPECT_EQ(aclLibFindClientEntry("another")->ruleWord, 0U);
}

TEST_F(RuleDescriptionReplyTest, FailedConfigReplyDescribesTheRuleAllTheSame) {
  ASSERT_EQ(aclLibCreateRule("block-telnet", nullptr, 0), 1);
  handleReply(describe(0x3003, -41).bytes());
  expectDescribed();
}

TEST_F(RuleDescriptionReplyTest, ConfigReplyAboutAnUnknownRuleChangesNoTable) {
  handleReply(describe(0x3003, 0).bytes());
  EXPECT_EQ(aclLibGetRuleCount(), 0);
  EXPECT_THAT(codesOfAnswers(), ElementsAre(0x3003));
}

TEST_F(RuleDescriptionReplyTest, UnconfigReplyChangesNoTable) {
  ASSERT_EQ(aclLibCreateRule("block-telnet", nullptr, 0), 1);
  handleReply(describe(0x3004, 0).bytes());
  EXPECT_EQ(describedRule().ruleWord, 0U);
}

TEST_F(RuleDescriptionReplyTest, ApplicationRuleReplyDescribesTheRuleWithoutATrace) {
  ASSERT_EQ(aclLibCreateRule("block-telnet", nullptr, 0), 1);
  handleReply(describe(0x3007, 0).bytes());
  expectDescribed();
  EXPECT_THAT(traces(), IsEmpty());
  EXPECT_THAT(codesOfAnswers(), ElementsAre(0x3007));
}

TEST_F(RuleDescriptionReplyTest, ApplicationRuleReplyOfAnyStatusDescribesTheRule) {
  ASSERT_EQ(aclLibCreateRule("block-telnet", nullptr, 0), 1);
  answerSize() = 2096;
  const Reply reply = describe(0x3007, -22);
  handleReply(reply.bytes());
  expectDescribed();
  EXPECT_THAT(answers(), ElementsAre(reply.bytes()));
}

TEST_F(RuleDescriptionReplyTest,
       ApplicationRuleReplyWithoutADescriptionDeletesTheRuleAt608AndLeavesTheOthers) {
  for (const char *name : {"first", "another", "last"}) {
    ASSERT_EQ(aclLibCreateRule(name, nullptr, 1), 1);
  }
  handleReply(describe(0x3007, 0).byte(92, 0).bytes());
  EXPECT_EQ(aclLibGetRuleCount(), 2);
  EXPECT_EQ(aclLibFindClientEntry("another"), nullptr);
  EXPECT_NE(aclLibFindClientEntry("first"), nullptr);
  EXPECT_NE(aclLibFindClientEntry("last"), nullptr);
  EXPECT_THAT(codesOfAnswers(), ElementsAre(0x3007));
}

TEST_F(RuleDescriptionReplyTest, ApplicationRuleReplyOfAnyStatusDeletesTheRuleAt608) {
  answerSize() = 2096;
  for (const int status : {1, -1, -22, -32768}) {
    answers().clear();
    ASSERT_EQ(aclLibCreateRule("another", nullptr, 1), 1);
    const Reply reply = describe(0x3007, status).byte(92, 0);
    handleReply(reply.bytes());
    EXPECT_EQ(aclLibGetRuleCount(), 0) << status;
    EXPECT_THAT(answers(), ElementsAre(reply.bytes())) << status;
  }
}

TEST_F(RuleDescriptionReplyTest, ApplicationRuleReplyWithoutAnyNameDeletesNoRule) {
  ASSERT_EQ(aclLibCreateRule("first", nullptr, 1), 1);
  handleReply(Reply(2096, 0x3007, 0).bytes());
  EXPECT_EQ(aclLibGetRuleCount(), 1);
}

TEST_F(RuleDescriptionReplyTest, NameAt608WithoutANulIsReadNoFurtherThan32Characters) {
  const std::string name = kCutName;
  ASSERT_EQ(aclLibCreateRule(name.c_str(), nullptr, 1), 1);
  handleReply(Reply(641, 0x3007, 0).text(608, kLongName).bytes());
  EXPECT_EQ(aclLibGetRuleCount(), 0);
}

// ---- Replies about deleted policies

class DeleteReplyTest : public ReplyHandlersTest {
 protected:
  void TearDown() override {
    while (const AclPolicyHandle policy = aclFindFirstPolicy()) {
      aclBtreeDeletePolicy(policy);
      handlesToFree_.push_back(policy);
    }
    for (const AclPolicyHandle policy : handlesToFree_) freePolicy(policy);
    ReplyHandlersTest::TearDown();
  }

  AclPolicyHandle createPolicy(const char *name) {
    const AclPolicyHandle policy = aclLibNewPolicy(name);
    EXPECT_EQ(aclLibNewRule(policy, "ssh", 1), 1);
    EXPECT_EQ(aclLibEndRule(policy), 0);
    return policy;
  }

  static Reply deleteReply(std::string_view name, int status) {
    return Reply(652, 0x2002, status).text(592, name);
  }

  // A policy leaves by the same way as all.
  static void freePolicy(AclPolicyHandle policy) {
    aclBtreeInsertPolicy(policy);
    const char *name = reinterpret_cast<AclPolicy *>(policy)->policyName;
    handleReply(deleteReply(name, 0).bytes());
  }

  std::vector<AclPolicyHandle> handlesToFree_;
};

// Tells whether a handle is no policy's any more.
bool isInvalid(AclPolicyHandle policy) {
  OutputCapture capture;
  return aclLibClearRule(policy) == -2;
}

TEST_F(DeleteReplyTest, ConfirmedDeletionTakesThePolicyOutAndEndsIt) {
  const AclPolicyHandle policy = createPolicy("edge-in");
  ASSERT_EQ(aclBtreeInsertPolicy(policy), 0);
  handleReply(deleteReply("edge-in", 0).bytes());
  EXPECT_EQ(aclFindPolicy("edge-in"), 0);
  EXPECT_TRUE(isInvalid(policy));
  EXPECT_THAT(codesOfAnswers(), ElementsAre(0x2002));
  EXPECT_THAT(traces(), IsEmpty());
}

TEST_F(DeleteReplyTest, RefusedDeletionLeavesThePolicy) {
  const AclPolicyHandle policy = createPolicy("edge-in");
  ASSERT_EQ(aclBtreeInsertPolicy(policy), 0);
  for (const int status : {1, -1, -13, -32768}) {
    handleReply(deleteReply("edge-in", status).bytes());
  }
  EXPECT_EQ(aclFindPolicy("edge-in"), policy);
  EXPECT_FALSE(isInvalid(policy));
  EXPECT_EQ(answers().size(), 4U);
}

TEST_F(DeleteReplyTest, OtherPoliciesStay) {
  const AclPolicyHandle policy = createPolicy("edge-in");
  const AclPolicyHandle other = createPolicy("edge-in-2");
  aclBtreeInsertPolicy(policy);
  aclBtreeInsertPolicy(other);
  handleReply(deleteReply("edge-in", 0).bytes());
  EXPECT_EQ(aclFindPolicy("edge-in-2"), other);
  EXPECT_FALSE(isInvalid(other));
}

TEST_F(DeleteReplyTest, DeletionOfAPolicyThatIsNotInTheStoreReachesTheCallbackAndLeavesThePolicy) {
  const AclPolicyHandle policy = createPolicy("edge-in");
  handleReply(deleteReply("edge-in", 0).bytes());
  EXPECT_FALSE(isInvalid(policy));
  EXPECT_THAT(codesOfAnswers(), ElementsAre(0x2002));
  handlesToFree_.push_back(policy);
}

TEST_F(DeleteReplyTest, ReplyIsHandedOverAsItCame) {
  const Reply reply = deleteReply("edge-in", 0).put(4, Bytes(588, std::byte{0x5A}));
  answerSize() = 652;
  handleReply(reply.bytes());
  EXPECT_THAT(answers(), ElementsAre(reply.bytes()));
}

TEST_F(DeleteReplyTest, NameWithoutANulIsReadNoFurtherThan32Characters) {
  const AclPolicyHandle policy = createPolicy(kCutName.c_str());
  ASSERT_EQ(aclBtreeInsertPolicy(policy), 0);
  handleReply(Reply(625, 0x2002, 0).text(592, kLongName).bytes());
  EXPECT_TRUE(isInvalid(policy));
}

TEST_F(DeleteReplyTest, CallbackIsCalledAfterwardsWithTheStoreUnlocked) {
  static AclPolicyHandle found;
  static int lockResult;
  found = createPolicy("edge-in");
  ASSERT_EQ(aclBtreeInsertPolicy(found), 0);
  aclMsgCallback = [](void *) {
    found = aclFindPolicy("edge-in");
    lockResult = pthread_rwlock_trywrlock(&aclPolicyLock);
    if (lockResult == 0) aclBtreeUnlock();
  };
  handleReply(deleteReply("edge-in", 0).bytes());
  EXPECT_EQ(found, 0);
  EXPECT_EQ(lockResult, 0);
}

TEST_F(DeleteReplyTest, RecordOfTheCallerIsNoPolicyAnyMoreAndStaysHis) {
  OwnPolicy policy(16);
  ASSERT_EQ(aclBtreeInsertPolicy(policy.handle()), 0);
  handleReply(deleteReply("edge-in", 0).bytes());
  EXPECT_EQ(aclFindPolicy("edge-in"), 0);
  EXPECT_EQ(policy->selfCheck, nullptr);
  EXPECT_NE(policy->ruleBuffer, nullptr);
}

TEST_F(DeleteReplyTest, WithoutACallbackThePolicyIsEndedAllTheSame) {
  aclMsgCallback = nullptr;
  const AclPolicyHandle policy = createPolicy("edge-in");
  ASSERT_EQ(aclBtreeInsertPolicy(policy), 0);
  handleReply(deleteReply("edge-in", 0).bytes());
  EXPECT_TRUE(isInvalid(policy));
}

// ---- Replies about the validity of rules

TEST_F(ReplyHandlersTest, ValidityReplyTracesARuleOrAPolicy) {
  answerSize() = 640;
  const Reply rule = Reply(640, 0x3009, 0).half(592, 0xFFFF).text(594, "ssh");
  const Reply policy = Reply(640, 0x3009, -11).text(594, "edge-in").word(628, 1);
  const Reply policyToo = Reply(640, 0x3009, -11).text(594, "edge-in").word(628, 0x80000000);
  handle(join(objectOf(rule.bytes()), objectOf(policy.bytes()), objectOf(policyToo.bytes())));
  EXPECT_THAT(traces(), ElementsAre("Reply for verifying dynamic rule ssh : OK\n",
                                    "Reply for verifying policy edge-in : PolicyNotExist\n",
                                    "Reply for verifying policy edge-in : PolicyNotExist\n"));
  EXPECT_THAT(answers(), ElementsAre(rule.bytes(), policy.bytes(), policyToo.bytes()));
}

TEST_F(ReplyHandlersTest, NameWithoutANulInAValidityReplyIsTracedWith32Characters) {
  handleReply(Reply(640, 0x3009, 0).text(594, kLongName).text(627, "x").bytes());
  EXPECT_THAT(traces(), ElementsAre("Reply for verifying dynamic rule " + kCutName + " : OK\n"));
}

// ---- Answers to pending requests

TEST_F(ReplyHandlersTest, ApplyReplyAnswersPendingRequestsFirstAndTracesItselfLast) {
  ASSERT_EQ(aclLibGetClientSeqNo(5, 0x300B, 77, "", 2, 3), 1U);
  handleReply(Reply(608, 0x300B, -17)
                  .byte(592, 5)
                  .byte(593, 2)
                  .word(596, 3)
                  .word(600, 1)
                  .word(604, 1)
                  .bytes());
  EXPECT_THAT(traces(),
              ElementsAre("Sending status ConfigFailed to client DHCP-Snooping for request 300b "
                          "seqNo 1\n",
                          "Reply for applying set of rules and policies : ConfigFailed\n"));
  EXPECT_EQ(answers().size(), 1U);
}

TEST_F(ReplyHandlersTest, ApplyReplyWithoutAPendingRequestIsTracedAndReachesNoCallback) {
  handleReply(Reply(608, 0x300B, -99).bytes());
  EXPECT_THAT(traces(), ElementsAre("Reply for applying set of rules and policies : "
                                    "UnknownStatusCode :-99: \n"));
  EXPECT_THAT(answers(), IsEmpty());
}

TEST_F(ReplyHandlersTest, StatusOfAnApplyReplyIsTracedAsItCameWhateverTheCallbackDoesToIt) {
  ASSERT_EQ(aclLibGetClientSeqNo(5, 0x300B, 77, "", 0, 0), 1U);
  aclMsgCallback = [](void *body) {
    std::memset(body, 0xFF, 608);
    aclStatusText(0);
  };
  handleReply(Reply(608, 0x300B, -99).byte(592, 5).word(600, 1).word(604, 1).bytes());
  EXPECT_EQ(traces().back(),
            "Reply for applying set of rules and policies : UnknownStatusCode :-99: \n");
}

TEST_F(ReplyHandlersTest, UnapplyReplyAnswersItsPendingRequestAndHasNoTraceOfItsOwn) {
  ASSERT_EQ(aclLibGetClientSeqNo(5, 0x300C, 77, "", 2, 3), 1U);
  handleReply(Reply(608, 0x300C, 0).word(588, 1).byte(593, 5).bytes());
  EXPECT_THAT(traces(), ElementsAre("Sending status OK to client DHCP-Snooping for request 300c "
                                    "seqNo 1\n"));
  EXPECT_EQ(answers().size(), 1U);
}

TEST_F(ReplyHandlersTest, UnapplyReplyWithoutAPendingRequestIsSilent) {
  handleReply(Reply(608, 0x300C, 0).bytes());
  EXPECT_THAT(traces(), IsEmpty());
  EXPECT_THAT(answers(), IsEmpty());
}

TEST_F(ReplyHandlersTest, NothingBehindAnApplyOrUnapplyReplyIsRead) {
  for (const std::uint16_t code : codes(0x300B, 0x300C)) {
    fake().forgetCalls();
    handle(join(objectOf(Reply(608, code, 0).bytes()),
                objectOf(Reply(640, 0x3001, 0).text(592, "ssh").bytes())));
    EXPECT_THAT(answers(), IsEmpty());
    EXPECT_EQ(fake().calls({"tlvGetObject"}).size(), 1U);
  }
}

TEST_F(ReplyHandlersTest, RepliesInFrontOfAnApplyReplyAreHandled) {
  handle(join(objectOf(Reply(640, 0x3001, 0).text(592, "ssh").bytes()),
              objectOf(Reply(608, 0x300B, 0).bytes())));
  EXPECT_THAT(traces(), ElementsAre("Reply: Add dynamic rule \"ssh\" returned status \"OK\" from "
                                    "ACL manager\n",
                                    "Reply for applying set of rules and policies : OK\n"));
}

// ---- Counters

TEST_F(ReplyHandlersTest, CounterReplyTracesA64BitValue) {
  answerSize() = 688;
  const Reply reply = Reply(688, 0x3011, 0).text(634, "drops").word(680, 1).word(684, 2);
  handleReply(reply.bytes());
  EXPECT_THAT(traces(), ElementsAre("Reply: counter get Response  counter name \"drops\" returned "
                                    "\"4294967298\" from ACL manager\n"));
  EXPECT_THAT(answers(), ElementsAre(reply.bytes()));
}

TEST_F(ReplyHandlersTest, CounterReplyTracesBothEndsOfTheValueWhateverTheStatus) {
  handleReply(Reply(688, 0x3011, -42).text(634, "drops").bytes());
  handleReply(
      Reply(688, 0x3011, 0).text(634, "drops").word(680, 0xFFFFFFFF).word(684, 0xFFFFFFFF).bytes());
  EXPECT_THAT(traces(), ElementsAre("Reply: counter get Response  counter name \"drops\" returned "
                                    "\"0\" from ACL manager\n",
                                    "Reply: counter get Response  counter name \"drops\" returned "
                                    "\"18446744073709551615\" from ACL manager\n"));
}

TEST_F(ReplyHandlersTest, CounterNameWithoutANulIsTracedWith32Characters) {
  handleReply(Reply(688, 0x3011, 0).text(634, kLongName).text(667, "xyz").bytes());
  EXPECT_THAT(traces(), ElementsAre("Reply: counter get Response  counter name \"" + kCutName +
                                    "\" returned \"0\" from ACL manager\n"));
}

// ---- Slices

TEST_F(ReplyHandlersTest, SliceReplyTracesWhatWasAskedAndWhetherItWorked) {
  handleReply(Reply(616, 0x301D, 0).bytes());
  handleReply(Reply(616, 0x301D, 0).word(592, 1).bytes());
  handleReply(Reply(616, 0x301D, -1).bytes());
  handleReply(Reply(616, 0x301D, -41).word(592, 0x80000000).bytes());
  EXPECT_THAT(traces(), ElementsAre("Reply: Slice Reserve returned Success\n",
                                    "Reply: Slice Unreserve returned Success\n",
                                    "Reply: Slice Reserve returned Error\n",
                                    "Reply: Slice Unreserve returned Error\n"));
  EXPECT_THAT(codesOfAnswers(), ElementsAre(0x301D, 0x301D, 0x301D, 0x301D));
}

TEST_F(ReplyHandlersTest, SliceReplyOfStatus1IsTracedAndPutIntoWordsAsAnError) {
  answerSize() = 616;
  Reply reply = Reply(616, 0x301D, 1).word(592, 1).word(600, 5);
  handleReply(reply.bytes());
  reply.text(16, "unreserve").text(49, "CoS");
  EXPECT_THAT(answers(), ElementsAre(reply.bytes()));
  EXPECT_THAT(traces(), ElementsAre("Reply: Slice Unreserve returned Error\n"));
}

TEST_F(ReplyHandlersTest, SuccessfulSliceReplyLeavesTheAreasAt16And49) {
  answerSize() = 616;
  const Reply reply =
      Reply(616, 0x301D, 0).put(4, Bytes(588, std::byte{0x5A})).word(592, 1).word(600, 2);
  handleReply(reply.bytes());
  EXPECT_THAT(answers(), ElementsAre(reply.bytes()));
}

TEST_F(ReplyHandlersTest, FailedSliceReplyIsPutIntoWordsAt16And49) {
  answerSize() = 616;
  Reply reply = Reply(616, 0x301D, -41).word(592, 1).word(600, 2);
  handleReply(reply.bytes());
  reply.text(16, "unreserve").text(49, "Profile ID VLAN");
  EXPECT_THAT(answers(), ElementsAre(reply.bytes()));
}

TEST_F(ReplyHandlersTest, FailedReservationIsPutIntoWordsToo) {
  answerSize() = 616;
  Reply reply = Reply(616, 0x301D, -41).word(600, 6);
  handleReply(reply.bytes());
  reply.text(16, "reserve").text(49, "Acl Style");
  EXPECT_THAT(answers(), ElementsAre(reply.bytes()));
}

TEST_F(ReplyHandlersTest, WordsOfAFailedSliceReplyStayInsideTheirAreas) {
  answerSize() = 616;
  handleReply(Reply(616, 0x301D, -1).put(16, Bytes(63, std::byte{0x5A})).word(600, 4).bytes());
  EXPECT_EQ(textAt(answers().at(0), 16, 33), "reserve");
  EXPECT_EQ(textAt(answers().at(0), 49, 30), "Permit / Deny");
  EXPECT_EQ(answers().at(0).at(48), std::byte{0});
  EXPECT_EQ(answers().at(0).at(78), std::byte{0});
}

TEST_F(ReplyHandlersTest, SliceTypesHaveNamesFrom2To6) {
  answerSize() = 616;
  const std::pair<std::uint32_t, const char *> kNames[] = {
      {0, "unknown"},         {1, "unknown"},       {2, "Profile ID VLAN"},
      {3, "VFP Shared"},      {4, "Permit / Deny"}, {5, "CoS"},
      {6, "Acl Style"},       {7, "unknown"},       {256, "unknown"},
      {0xFFFFFFFF, "unknown"}};
  for (const auto &[type, name] : kNames) {
    answers().clear();
    handleReply(Reply(616, 0x301D, -1).word(600, type).bytes());
    EXPECT_EQ(textAt(answers().at(0), 49, 30), name) << type;
  }
}

// ---- Codes without a local action

TEST_F(ReplyHandlersTest, Code3005ReachesTheCallbackWithoutATrace) {
  handleReply(Reply(640, 0x3005, -1).text(592, "ssh").bytes());
  EXPECT_THAT(codesOfAnswers(), ElementsAre(0x3005));
  EXPECT_THAT(traces(), IsEmpty());
}

TEST_F(ReplyHandlersTest, EveryOtherCodeIsHandedOverAsItCameWithoutATrace) {
  answerSize() = 700;
  ASSERT_EQ(aclLibCreateRule("ssh", nullptr, 0), 1);
  for (unsigned code = 0; code < 0x10000; code += code < 0x1FFF || code > 0x3100 ? 251 : 1) {
    const bool isHandled = std::ranges::any_of(
        kHandledCodes, [&](const HandledCode &handled) { return handled.code == code; });
    if (isHandled) continue;
    fake().forgetCalls();
    answers().clear();
    const Reply reply = Reply(700, static_cast<std::uint16_t>(code), -1)
                            .put(4, Bytes(696, std::byte{0x5A}))
                            .text(592, "ssh")
                            .text(608, "ssh");
    handleReply(reply.bytes());
    ASSERT_THAT(answers(), ElementsAre(reply.bytes())) << code;
    ASSERT_THAT(traces(), IsEmpty()) << code;
  }
  EXPECT_EQ(aclLibGetRuleCount(), 1);
}

// ---- Short replies

// A reply of which every byte counts: no text has a NUL, no number is zero.
Bytes fullReply(const HandledCode &handled, std::size_t length) {
  Reply reply(length, handled.code, -1);
  reply.put(4, Bytes(length - 4, std::byte{'f'}));
  return reply.bytes();
}

TEST_F(ReplyHandlersTest, ReplyOfEveryCodeCutAnywhereIsHandledAndTheNextObjectToo) {
  const Bytes next = objectOf(hex("3005 0000"));
  for (const HandledCode &handled : kHandledCodes) {
    const Bytes whole = fullReply(handled, handled.handledSize + 2);
    for (std::size_t length = 0; length <= whole.size(); ++length) {
      const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
      fake().forgetCalls();
      answers().clear();
      // Alone, so that the block ends with the reply.
      handleReply(cut);
      const bool reachesTheCallback = length >= 2 && !handled.endsMessage;
      ASSERT_EQ(answers().size(), reachesTheCallback ? 1U : 0U) << handled.code << " " << length;
      const Bytes message = handle(join(objectOf(cut), next));
      const bool nextIsRead = length < 2 || !handled.endsMessage;
      ASSERT_EQ(answers().size(), (reachesTheCallback ? 2U : 0U) + (nextIsRead ? 1U : 0U));
      if (nextIsRead) {
        ASSERT_EQ(codeOf(answers().back()), 0x3005);
      }
      ASSERT_EQ(test_support::copyOf(message.data() + message.size() - next.size(), next.size()),
                next);
    }
  }
}

TEST_F(ReplyHandlersTest, ShortReplyIsContinuedWithZerosOutsideTheMessage) {
  for (const HandledCode &handled : kHandledCodes) {
    if (handled.endsMessage) continue;
    answerSize() = handled.handledSize;
    for (const std::size_t length : {std::size_t{2}, std::size_t{4}, handled.handledSize - 1}) {
      answers().clear();
      const Bytes cut(fullReply(handled, handled.handledSize));
      const Bytes body(cut.begin(), cut.begin() + static_cast<std::ptrdiff_t>(length));
      EXPECT_EQ(handleReply(body), body);
      ASSERT_EQ(answers().size(), 1U);
      // What the library itself fills in lies between 16 and 78.
      const Bytes &answer = answers()[0];
      EXPECT_EQ(test_support::copyOf(answer.data(), 2), Bytes(cut.begin(), cut.begin() + 2));
      for (std::size_t i = std::max<std::size_t>(length, 79); i < answer.size(); ++i) {
        ASSERT_EQ(answer[i], std::byte{0}) << handled.code << " " << length << " " << i;
      }
    }
  }
}

TEST_F(ReplyHandlersTest, ReplyOfExactlyTheSizeThatIsHandledIsHandedOverWhereItLies) {
  for (const HandledCode &handled : kHandledCodes) {
    if (handled.endsMessage) continue;
    for (const std::size_t length : {handled.handledSize - 1, handled.handledSize}) {
      handedOver().clear();
      PktBuf *packet = pktbufAllocPacket(3000, 0, 0);
      const Bytes message = objectOf(fullReply(handled, length));
      std::ranges::copy(message, reinterpret_cast<std::byte *>(packet->data));
      aclMsgHandler(kPeer, packet, static_cast<std::int32_t>(message.size()), packet);
      ASSERT_EQ(handedOver().size(), 1U);
      EXPECT_EQ(handedOver()[0] == packet->data + 4, length == handled.handledSize)
          << handled.code << " " << length;
      pktbufFree(packet);
    }
  }
}

TEST_F(ReplyHandlersTest, AddReplyCutAnywhereTracesWhatIsThereOfNameAndStatus) {
  const std::string name = "telnet-out";
  const Bytes whole = Reply(640, 0x3001, -1).text(592, name).bytes();
  for (std::size_t length = 2; length <= 640; ++length) {
    fake().forgetCalls();
    handleReply(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    std::string line = "Reply: Add dynamic rule \"";
    if (length > 592) line += name.substr(0, length - 592);
    line += "\" returned status \"";
    line += length == 2 ? "OK" : length == 3 ? "UnknownStatusCode :-256: " : "Error";
    line += "\" from ACL manager\n";
    ASSERT_THAT(traces(), ElementsAre(line)) << length;
  }
}

TEST_F(ReplyHandlersTest, ApplyReplyThatIsTooShortForItsRangeNamesNumber0) {
  aclReqSeqCounter = 0xFFFFFFFF;
  ASSERT_EQ(aclLibGetClientSeqNo(5, 0x300B, 77, "", 2, 3), 0U);
  ASSERT_EQ(aclLibGetClientSeqNo(5, 0x300B, 78, "", 2, 3), 1U);
  answerSize() = 608;
  const Reply reply = Reply(608, 0x300B, 0).byte(592, 5).byte(593, 2).word(596, 3).word(600, 1);
  handleReply(reply.first(600));
  ASSERT_EQ(answers().size(), 1U);
  EXPECT_EQ(wordAt(answers()[0], 588), 77U);
  EXPECT_EQ(wordAt(answers()[0], 604), 0U);
}

// ---- No callback, no memory

TEST_F(ReplyHandlersTest, WithoutACallbackRepliesAreTracedAndTablesUpdated) {
  aclMsgCallback = nullptr;
  ASSERT_EQ(aclLibCreateRule("block-telnet", nullptr, 0), 1);
  const Reply config = Reply(2096, 0x3003, 0)
                           .put(80, test_support::golden("client/rule_description.golden"))
                           .text(608, "ssh");
  handle(join(objectOf(config.bytes()), objectOf(Reply(640, 0x3001, 0).text(592, "ssh").bytes())));
  EXPECT_EQ(aclLibFindClientEntry("block-telnet")->termCount, 5);
  EXPECT_EQ(traces().size(), 2U);
}

TEST_F(ReplyHandlersTest, HandlingRepliesNeedsNoMemory) {
  const Reply description =
      Reply(2096, 0x3007, 0).put(80, test_support::golden("client/rule_description.golden"));
  ASSERT_EQ(aclLibCreateRule("block-telnet", nullptr, 0), 1);
  std::vector<Bytes> messages = {objectOf(description.bytes())};
  for (const HandledCode &handled : kHandledCodes) {
    messages.push_back(objectOf(fullReply(handled, handled.handledSize)));
    messages.push_back(objectOf(fullReply(handled, 592)));
  }
  for (Bytes &message : messages) {
    const auto length = static_cast<std::uint32_t>(message.size());
    PktBuf packet{};
    packet.data = reinterpret_cast<std::uint8_t *>(message.data());
    packet.length = packet.capacity = length;
    const FailAllocation guard(1);
    aclMsgHandler(kPeer, &packet, static_cast<std::int32_t>(length), &packet);
    EXPECT_FALSE(guard.failed());
  }
  EXPECT_EQ(answers().size(), messages.size() - 4);
}

}  // namespace
