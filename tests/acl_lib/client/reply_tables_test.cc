// Replies that change the tables of the library: the rules and the policies.
#include <pthread.h>

#include <cstring>

#include "tests/acl_lib/client/reply_handlers_test.h"

namespace {

using namespace acl_test;

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

}  // namespace
