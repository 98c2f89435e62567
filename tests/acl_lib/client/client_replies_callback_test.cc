// The callback that gets the answers calls the library.
#include <algorithm>
#include <cstdlib>

#include "tests/acl_lib/client/client_replies_test.h"

namespace {

using namespace acl_test;

TEST_F(ClientRepliesTest, CallbackMayRemoveTheRequestItIsToldAbout) {
  addRequests({1, 2, 3});
  react([](void *body) { removeRequest(wordAt(test_support::copyOf(body, 592), 588) - 1000); });
  answerApply(1, 2);
  answerUnapply(unapplyReply(3));
  EXPECT_THAT(answered(), ElementsAre(1, 2, 3));
  EXPECT_THAT(pending(), IsEmpty());
}

TEST_F(ClientRepliesTest, CallbackMayRemoveTheRequestsThatAreStillToBeAnswered) {
  addRequests({1, 2, 3, 4});
  react([](void *) {
    if (answers().size() > 1) return;
    removeRequest(2);
    removeRequest(3);
  });
  answerApply(1, 4);
  EXPECT_THAT(answered(), ElementsAre(1, 4));
  EXPECT_THAT(pending(), IsEmpty());
}

TEST_F(ClientRepliesTest, RequestThatTheCallbackPutInTheAnsweredOnesPlaceStays) {
  addRequests({1, 2});
  AclApplReq *removed = nullptr;
  react([&](void *) {
    if (removed != nullptr) return;
    removed = aclFindApplReqBySeqNo(0, 1, &application()->requests);
    aclDeleteApplReq(removed, application());
    addRequest(1);
  });
  answerApply(1, 2);
  EXPECT_THAT(answered(), ElementsAre(1, 2));
  EXPECT_THAT(pending(), ElementsAre(1));
  std::free(removed);
}

// Takes a request away and links another one of its number, as if that had got its freed memory.
void replaceInTheSameBlock(AclApplInfo *application, std::uint32_t seqNo) {
  AclApplReq *block = aclFindApplReqBySeqNo(0, seqNo, &application->requests);
  ASSERT_EQ(aclDeleteApplReq(block, application), 0);
  *block = AclApplReq{};
  block->reqCode = kApply;
  block->seqNo = seqNo;
  block->cookie = 2000 + seqNo;
  block->kind = kKind;
  block->tag = kTag;
  ASSERT_EQ(aclInsertApplReq(block, &application->requests), 0);
}

TEST_F(ClientRepliesTest, RequestOfTheSameNumberInTheMemoryOfTheAnsweredOneStays) {
  addRequests({1, 2, 3});
  react([](void *) {
    if (answers().size() == 1) replaceInTheSameBlock(application(), 1);
    if (answers().size() == 3) replaceInTheSameBlock(application(), 3);
  });
  answerApply(1, 2);
  answerUnapply(unapplyReply(3));
  EXPECT_THAT(answered(), ElementsAre(1, 2, 3));
  EXPECT_THAT(pending(), ElementsAre(1, 3));
  answerApply(1, 3);
  EXPECT_THAT(answered(), ElementsAre(1, 2, 3, 1001, 1003));
  EXPECT_THAT(pending(), IsEmpty());
}

TEST_F(ClientRepliesTest, RequestIsForgottenOnceHoweverManyAnswersAreInFlight) {
  addRequests({1});
  react([](void *) {
    // Three answers lie in one another; the innermost one finds another request in the block.
    if (answers().size() < 3) return answerApply(1, 1);
    if (answers().size() == 3) replaceInTheSameBlock(application(), 1);
  });
  answerApply(1, 1);
  EXPECT_THAT(answered(), ElementsAre(1, 1, 1));
  EXPECT_THAT(pending(), ElementsAre(1));
}

TEST_F(ClientRepliesTest, CallbackMayMoveTheAnsweredRequestToAnotherApplication) {
  addRequest(1);
  AclApplInfo *const other = aclLibFindApplInfo(kApplication + 1, 1);
  react([other](void *) {
    AclApplReq *request = aclFindFirstApplReq(application());
    aclDeleteApplReq(request, application());
    aclInsertApplReq(request, &other->requests);
  });
  answerApply(1, 1);
  EXPECT_THAT(pending(), IsEmpty());
  EXPECT_NE(aclFindApplReqBySeqNo(0, 1, &other->requests), nullptr);
}

TEST_F(ClientRepliesTest, RefusedRemovalByTheCallbackLeavesTheRequestToTheLibrary) {
  addRequests({1, 2});
  react([](void *) {
    AclApplReq *request = aclFindFirstApplReq(application());
    EXPECT_EQ(aclDeleteApplReq(request, aclLibFindApplInfo(kApplication + 1, 1)), -1);
  });
  answerApply(1, 1);
  EXPECT_THAT(pending(), ElementsAre(2));
}

TEST_F(ClientRepliesTest, NewRequestOfTheRangeAboveTheAnsweredOneIsAnsweredToo) {
  addRequests({1, 2});
  react([](void *) {
    if (answers().size() == 2) addRequests({3, 7, 8});
  });
  answerApply(1, 7);
  EXPECT_THAT(answered(), ElementsAre(1, 2, 3, 7));
  EXPECT_THAT(pending(), ElementsAre(8));
}

TEST_F(ClientRepliesTest, NewRequestBelowTheAnsweredOneOrOutsideTheRangeStays) {
  addRequests({4, 6});
  react([](void *) {
    if (answers().size() == 1) addRequests({1, 2, 3, 9});
    if (answers().size() == 2) addRequests({5, 8});
  });
  answerApply(2, 8);
  EXPECT_THAT(answered(), ElementsAre(4, 6, 8));
  EXPECT_THAT(pending(), ElementsAre(1, 2, 3, 5, 9));
}

TEST_F(ClientRepliesTest, NewRequestOfAnotherKindOrTagStays) {
  addRequests({1});
  react([](void *) {
    if (answers().size() > 1) return;
    addRequest(2, kApply, kKind + 1);
    addRequest(3, kApply, kKind, kTag + 1);
    addRequest(4);
  });
  answerApply(1, 4);
  EXPECT_THAT(answered(), ElementsAre(1, 4));
  EXPECT_THAT(pending(), ElementsAre(2, 3));
}

TEST_F(ClientRepliesTest, RequestsThatEachCallbackRegistersAreAnsweredUpToTheEndOfTheRange) {
  aclLibGetClientSeqNo(kApplication, kApply, 1001, "", kKind, kTag);
  react([](void *) {
    aclLibGetClientSeqNo(kApplication, kApply, 1000 + aclReqSeqCounter + 1, "", kKind, kTag);
  });
  answerApply(1, 4);
  EXPECT_THAT(answered(), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(pending(), ElementsAre(5));
}

TEST_F(ClientRepliesTest, RequestRegisteredAcrossTheWrapIsBelowTheAnsweredOneAndStays) {
  aclReqSeqCounter = 0xFFFFFFFE;
  addRequests({3, 0xFFFFFFFE});
  aclLibGetClientSeqNo(kApplication, kApply, 999, "", kKind, kTag);  // 0xFFFFFFFF
  react([](void *) { aclLibGetClientSeqNo(kApplication, kApply, 5, "", kKind, kTag); });
  answerApply(0, 0xFFFFFFFF);
  EXPECT_THAT(answered(), ElementsAre(3, 0xFFFFFFFE, 0xFFFFFFFF));
  EXPECT_THAT(pending(), ElementsAre(0, 1, 2));
}

TEST_F(ClientRepliesTest, CallbackMayAnswerOtherRequests) {
  addRequests({1, 2, 3, 4, 5});
  react([](void *) {
    if (answers().size() == 1) answerApply(2, 3);
    if (answers().size() == 3) answerUnapply(unapplyReply(4));
  });
  answerApply(1, 5);
  EXPECT_THAT(answered(), ElementsAre(1, 2, 3, 4, 5));
  EXPECT_THAT(pending(), IsEmpty());
}

TEST_F(ClientRepliesTest, RequestThatTheCallbackAnswersAgainIsFreedOnce) {
  addRequests({1, 2});
  react([](void *) {
    if (answers().size() == 1) answerApply(1, 2);
  });
  answerApply(1, 2);
  EXPECT_THAT(answered(), ElementsAre(1, 1, 2));
  EXPECT_THAT(pending(), IsEmpty());
}

TEST_F(ClientRepliesTest, CallbackMayOverwriteTheReply) {
  addRequests({1, 2, 3});
  react([](void *body) { std::fill_n(static_cast<std::byte *>(body), 608, std::byte{0xFF}); });
  answerApply(applyReply(1, 2, -10));
  EXPECT_THAT(answered(), ElementsAre(1, 2));
  EXPECT_THAT(traces(), ElementsAre(answerLine("PolicyExist", "DHCP-Snooping", "300b", "1"),
                                    answerLine("PolicyExist", "DHCP-Snooping", "300b", "2")));
  EXPECT_THAT(pending(), ElementsAre(3));
}

TEST_F(ClientRepliesTest, CallbackMayTakeItselfAway) {
  addRequests({1, 2});
  react([](void *) { aclMsgCallback = nullptr; });
  answerApply(1, 2);
  EXPECT_THAT(answered(), ElementsAre(1));
  EXPECT_THAT(pending(), IsEmpty());
}

TEST_F(ClientRepliesTest, NoLockIsHeldWhileALineIsTraced) {
  addRequests({1, 2});
  fake().setHook("evlogTraceLog",
                 [] { aclLibGetClientSeqNo(kApplication + 1, kApply, 0, "", 0, 0); });
  answerApply(1, 1);
  answerUnapply(unapplyReply(2));
  fake().setHook("evlogTraceLog", {});
  EXPECT_EQ(aclReqSeqCounter, 2U);
}

}  // namespace
