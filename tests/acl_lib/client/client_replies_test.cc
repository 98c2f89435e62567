#include <cstdlib>
#include <functional>
#include <limits>

#include "tests/acl_lib/client/reply_test.h"
#include "tests/support/failing_allocator.h"

namespace {

using namespace acl_test;
using testing::SizeIs;

constexpr std::uint16_t kApply = 0x300B;
constexpr std::uint16_t kUnapply = 0x300C;
constexpr std::uint32_t kApplication = 5;
constexpr std::uint8_t kKind = 2;
constexpr std::uint32_t kTag = 0xA0B0C0D0;

// What the callback of a test does beside keeping the answer.
std::function<void(void *)> reaction;

class ClientRepliesTest : public ReplyTest {
 protected:
  void SetUp() override {
    ReplyTest::SetUp();
    answerSize() = 594;
    reaction = nullptr;
  }

  void TearDown() override {
    reaction = nullptr;
    ReplyTest::TearDown();
  }

  static void react(std::function<void(void *)> reactionOfTest) {
    reaction = std::move(reactionOfTest);
    aclMsgCallback = [](void *body) {
      keepAnswer(body);
      reaction(body);
    };
  }

  static AclApplInfo *application() { return aclLibFindApplInfo(kApplication, 0); }

  // Adds a pending request. Its cookie is 1000 above its number.
  static void addRequest(std::uint32_t seqNo, std::uint16_t code = kApply,
                         std::uint8_t kind = kKind, std::uint32_t tag = kTag,
                         std::uint32_t applId = kApplication) {
    auto *request = static_cast<AclApplReq *>(std::calloc(1, sizeof(AclApplReq)));
    request->reqCode = code;
    request->seqNo = seqNo;
    request->cookie = 1000 + seqNo;
    request->kind = kind;
    request->tag = tag;
    ASSERT_EQ(aclInsertApplReq(request, &aclLibFindApplInfo(applId, 1)->requests), 0);
  }

  static void addRequests(std::initializer_list<std::uint32_t> seqNos) {
    for (const std::uint32_t seqNo : seqNos) addRequest(seqNo);
  }

  // A request goes, as a program may take it away itself.
  static void removeRequest(std::uint32_t seqNo) {
    AclApplReq *request = aclFindApplReqBySeqNo(0, seqNo, &application()->requests);
    ASSERT_NE(request, nullptr);
    ASSERT_EQ(aclDeleteApplReq(request, application()), 0);
    std::free(request);
  }

  static std::vector<std::uint32_t> pending() {
    std::vector<std::uint32_t> seqNos;
    for (AclApplReq *request = aclFindFirstApplReq(application()); request != nullptr;
         request = aclFindNextApplReq(request)) {
      seqNos.push_back(request->seqNo);
    }
    return seqNos;
  }

  static Reply applyReply(std::uint32_t first, std::uint32_t last, int status = 0) {
    return Reply(608, kApply, status)
        .byte(592, kApplication)
        .byte(593, kKind)
        .word(596, kTag)
        .word(600, first)
        .word(604, last);
  }

  static Reply unapplyReply(std::uint32_t seqNo, int status = 0) {
    return Reply(594, kUnapply, status).word(588, seqNo).byte(593, kApplication);
  }

  // Each in a block of exactly the size that is needed.
  static void answerApply(const Reply &reply) {
    Bytes body = reply.bytes();
    body.shrink_to_fit();
    aclLibSendClientConfigReply(body.data());
  }
  static void answerApply(std::uint32_t first, std::uint32_t last) {
    answerApply(applyReply(first, last));
  }
  static void answerUnapply(const Reply &reply) {
    Bytes body = reply.bytes();
    body.shrink_to_fit();
    aclLibSendClientUnconfigReply(body.data());
  }

  // The numbers of the answered requests, in order.
  static std::vector<std::uint32_t> answered() {
    std::vector<std::uint32_t> seqNos;
    for (const Bytes &answer : answers()) seqNos.push_back(wordAt(answer, 588) - 1000);
    return seqNos;
  }

  static std::string answerLine(const char *status, const char *application, const char *code,
                                const char *seqNo) {
    std::string line = "Sending status ";
    line += status;
    line += " to client ";
    line += application;
    line += " for request ";
    line += code;
    line += " seqNo ";
    line += seqNo;
    line += "\n";
    return line;
  }
};

// ---- Replies to apply requests: which requests are covered

TEST_F(ClientRepliesTest, ReplyFor5To7AnswersTheseInOrderAndLeaves4And8) {
  addRequests({8, 6, 4, 7, 5});
  answerApply(5, 7);
  EXPECT_THAT(answered(), ElementsAre(5, 6, 7));
  EXPECT_THAT(pending(), ElementsAre(4, 8));
}

TEST_F(ClientRepliesTest, ReplyForOneNumberAnswersThatOneAndLeavesItsNeighbours) {
  addRequests({4, 5, 6});
  answerApply(5, 5);
  EXPECT_THAT(answered(), ElementsAre(5));
  EXPECT_THAT(pending(), ElementsAre(4, 6));
}

TEST_F(ClientRepliesTest, ReplyForAllNumbersAnswersBothEnds) {
  addRequests({0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF});
  answerApply(0, 0xFFFFFFFF);
  EXPECT_THAT(answered(), ElementsAre(0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF));
  EXPECT_THAT(pending(), IsEmpty());
}

TEST_F(ClientRepliesTest, RangeThatHasNotWrappedIsComparedUnsigned) {
  addRequests({0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFE, 0xFFFFFFFF});
  answerApply(0x80000000, 0xFFFFFFFE);
  EXPECT_THAT(answered(), ElementsAre(0x80000000, 0x80000001, 0xFFFFFFFE));
  EXPECT_THAT(pending(), ElementsAre(0x7FFFFFFF, 0xFFFFFFFF));
}

TEST_F(ClientRepliesTest, WrappedRangeAnswersNoNumberWithTheTopBitSet) {
  addRequests({0xFFFFFFFD, 0xFFFFFFFE, 0xFFFFFFFF, 0, 1, 2});
  answerApply(0xFFFFFFFE, 1);
  EXPECT_THAT(answered(), ElementsAre(0, 1));
  EXPECT_THAT(pending(), ElementsAre(2, 0xFFFFFFFD, 0xFFFFFFFE, 0xFFFFFFFF));
}

TEST_F(ClientRepliesTest, WrappedRangeFromBelowTheTopBitAnswersUpToIt) {
  addRequests({0, 1, 2, 0x7FFFFFFD, 0x7FFFFFFE, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF});
  answerApply(0x7FFFFFFE, 1);
  EXPECT_THAT(answered(), ElementsAre(0, 1, 0x7FFFFFFE, 0x7FFFFFFF));
  EXPECT_THAT(pending(), ElementsAre(2, 0x7FFFFFFD, 0x80000000, 0xFFFFFFFF));
}

TEST_F(ClientRepliesTest, WrappedRangeFromTheTopBitOnAnswersNothingBeforeTheWrap) {
  addRequests({0, 1, 0x7FFFFFFF, 0x80000000});
  answerApply(0x80000000, 0);
  EXPECT_THAT(answered(), ElementsAre(0));
}

TEST_F(ClientRepliesTest, WrappedRangeFrom1To0AnswersAllButTheUpperHalf) {
  addRequests({0, 1, 2, 0x7FFFFFFF, 0x80000000});
  answerApply(1, 0);
  EXPECT_THAT(answered(), ElementsAre(0, 1, 2, 0x7FFFFFFF));
  EXPECT_THAT(pending(), ElementsAre(0x80000000));
}

// The rules as they are stated, number by number.
bool isCovered(std::uint32_t seqNo, std::uint32_t first, std::uint32_t last) {
  if (seqNo < first) return last < first && seqNo <= last;
  if (seqNo <= last) return true;
  return last < first && static_cast<std::int32_t>(seqNo) >= 0;
}

TEST_F(ClientRepliesTest, EveryPairOfNotableNumbersCoversWhatTheRulesSay) {
  const std::vector<std::uint32_t> notable = {
      0, 1, 2, 100, 0x7FFFFFFE, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFE, 0xFFFFFFFF};
  for (const std::uint32_t first : notable) {
    for (const std::uint32_t last : notable) {
      answers().clear();
      std::vector<std::uint32_t> expected;
      for (const std::uint32_t seqNo : notable) {
        addRequest(seqNo);
        if (isCovered(seqNo, first, last)) expected.push_back(seqNo);
      }
      answerApply(first, last);
      ASSERT_EQ(answered(), expected) << first << " to " << last;
      for (const std::uint32_t seqNo : pending()) removeRequest(seqNo);
    }
  }
}

TEST_F(ClientRepliesTest, RequestsOfAnotherKindOrTagAreLeft) {
  addRequest(1);
  addRequest(2, kApply, kKind + 1);
  addRequest(3, kApply, kKind, kTag + 1);
  addRequest(4, kApply, kKind, kTag ^ 0x80000000);
  addRequest(5);
  answerApply(1, 5);
  EXPECT_THAT(answered(), ElementsAre(1, 5));
  EXPECT_THAT(pending(), ElementsAre(2, 3, 4));
}

TEST_F(ClientRepliesTest, RequestsOfOtherApplicationsAreLeft) {
  addRequest(1);
  addRequest(2, kApply, kKind, kTag, kApplication + 1);
  answerApply(1, 2);
  EXPECT_THAT(answered(), ElementsAre(1));
  EXPECT_NE(aclFindFirstApplReq(aclLibFindApplInfo(kApplication + 1, 0)), nullptr);
}

TEST_F(ClientRepliesTest, PendingUnapplyRequestInTheRangeIsCancelledSilently) {
  addRequest(1);
  addRequest(2, kUnapply);
  addRequest(3);
  answerApply(1, 3);
  EXPECT_THAT(answered(), ElementsAre(1, 3));
  EXPECT_THAT(traces(), SizeIs(2));
  EXPECT_THAT(pending(), IsEmpty());
}

TEST_F(ClientRepliesTest, PendingUnapplyRequestOfAnotherKindStays) {
  addRequest(2, kUnapply, kKind + 1);
  answerApply(1, 3);
  EXPECT_THAT(pending(), ElementsAre(2));
}

TEST_F(ClientRepliesTest, RequestsOfAnyOtherCodeAreAnsweredUnderTheirOwn) {
  addRequest(1, 0);
  addRequest(2, 0xFFFF);
  addRequest(3, 0x3001);
  answerApply(1, 3);
  EXPECT_THAT(codesOfAnswers(), ElementsAre(0, 0xFFFF, 0x3001));
  EXPECT_THAT(traces(), ElementsAre(answerLine("OK", "DHCP-Snooping", "0", "1"),
                                    answerLine("OK", "DHCP-Snooping", "ffff", "2"),
                                    answerLine("OK", "DHCP-Snooping", "3001", "3")));
}

// ---- Replies to apply requests: what the application gets

TEST_F(ClientRepliesTest, AnswerIsTheReplyWithTheRequestsCodeAndCookie) {
  addRequest(0x01020304, 0x300D);
  answerSize() = 608;
  Reply reply = applyReply(0x01020304, 0x01020304, -41);
  reply.put(4, Bytes(584, std::byte{0x5A})).byte(594, 0xAA).byte(595, 0xBB);
  answerApply(reply);
  reply.half(0, 0x300D).word(588, 0x01020304 + 1000);
  EXPECT_THAT(answers(), ElementsAre(reply.bytes()));
}

TEST_F(ClientRepliesTest, OneReplyIsRewrittenForEachOfItsRequests) {
  addRequest(1, 0x3001);
  addRequest(2, 0x3002);
  Bytes body = applyReply(1, 2).bytes();
  aclLibSendClientConfigReply(body.data());
  EXPECT_THAT(handedOver(), ElementsAre(body.data(), body.data()));
  EXPECT_THAT(codesOfAnswers(), ElementsAre(0x3001, 0x3002));
  EXPECT_EQ(wordAt(body, 588), 1002U);
}

TEST_F(ClientRepliesTest, TraceLineNamesStatusApplicationCodeAndNumber) {
  addRequest(4294967295);
  answerApply(applyReply(4294967295, 4294967295, -10));
  EXPECT_THAT(traces(),
              ElementsAre("Sending status PolicyExist to client DHCP-Snooping for request 300b "
                          "seqNo 4294967295\n"));
}

TEST_F(ClientRepliesTest, Status1IsTracedAsPendingAndMinus99AsUnknown) {
  addRequests({1, 2});
  answerApply(applyReply(1, 1, 1));
  answerApply(applyReply(2, 2, -99));
  EXPECT_THAT(traces(),
              ElementsAre(answerLine("Pending", "DHCP-Snooping", "300b", "1"),
                          answerLine("UnknownStatusCode :-99: ", "DHCP-Snooping", "300b", "2")));
}

TEST_F(ClientRepliesTest, RequestIsTracedThenAnsweredThenRemoved) {
  addRequests({1, 2});
  std::vector<std::string> steps;
  fake().setHook("evlogTraceLog", [&] { steps.emplace_back("trace"); });
  fake().setHook("kvtreeDelete", [&] { steps.emplace_back("remove"); });
  react([&](void *) { steps.emplace_back("callback"); });
  answerApply(1, 2);
  fake().setHook("evlogTraceLog", {});
  fake().setHook("kvtreeDelete", {});
  EXPECT_THAT(steps, ElementsAre("trace", "callback", "remove", "trace", "callback", "remove"));
}

// The name in a trace, by the application's number in the message.
const char *applicationNameFor(unsigned applId) {
  static const char *const kNames[] = {"Other",
                                       "IGMP-Snooping",
                                       "Access-Control",
                                       "MLD-Snooping",
                                       "QoS",
                                       "DHCP-Snooping",
                                       "ARP-Inspection",
                                       "IP-Source-Guard",
                                       "RA-Guard",
                                       "Policing",
                                       "LLDP",
                                       "Routing-Policy",
                                       "Spanning-Tree",
                                       "802.1X",
                                       "MAC-Authentication",
                                       "LACP",
                                       "VRRP",
                                       "OSPF",
                                       "BGP",
                                       "Web-Authentication",
                                       "Port-Security",
                                       "Storm-Control",
                                       "Multicast-Routing",
                                       "Mirroring",
                                       "BFD",
                                       "Flow-Sampling",
                                       "VXLAN",
                                       "Connectivity-Fault-Management",
                                       "Precision-Time"};
  return applId < 29 ? kNames[applId] : "Other";
}

TEST_F(ClientRepliesTest, EveryApplicationByteIsAnsweredAndNumbersFrom29OnAreShownAsRow0) {
  for (unsigned applId = 1; applId < 256; ++applId) {
    fake().forgetCalls();
    addRequest(applId, kApply, kKind, kTag, applId);
    answerApply(applyReply(applId, applId).byte(592, static_cast<std::uint8_t>(applId)));
    addRequest(applId, kUnapply, kKind, kTag, applId);
    answerUnapply(unapplyReply(applId).byte(593, static_cast<std::uint8_t>(applId)));
    const std::string seqNo = std::to_string(applId);
    const char *name = applicationNameFor(applId);
    EXPECT_THAT(traces(), ElementsAre(answerLine("OK", name, "300b", seqNo.c_str()),
                                      answerLine("OK", name, "300c", seqNo.c_str())));
  }
  EXPECT_EQ(answers().size(), 2 * 255U);
}

TEST_F(ClientRepliesTest, Application0IsTheFirstOneAndShownAsRow0) {
  addRequest(1);
  addRequest(2, kApply, kKind, kTag, 6);
  answerApply(applyReply(1, 2).byte(592, 0));
  EXPECT_THAT(answered(), ElementsAre(1));
  EXPECT_THAT(traces(), ElementsAre(answerLine("OK", "Other", "300b", "1")));
}

// ---- Replies to apply requests: nothing to answer

TEST_F(ClientRepliesTest, NullRepliesAreIgnored) {
  addRequest(1);
  aclLibSendClientConfigReply(nullptr);
  aclLibSendClientUnconfigReply(nullptr);
  EXPECT_THAT(pending(), ElementsAre(1));
}

TEST_F(ClientRepliesTest, ReplyForAnUnknownApplicationIsDroppedWithoutATrace) {
  addRequest(1);
  answerApply(applyReply(1, 1).byte(592, kApplication + 1));
  answerUnapply(unapplyReply(1).byte(593, kApplication + 1));
  EXPECT_THAT(answers(), IsEmpty());
  EXPECT_THAT(traces(), IsEmpty());
  EXPECT_THAT(pending(), ElementsAre(1));
  EXPECT_EQ(gaclApplReqList.first->next, gaclApplReqList.first);
}

TEST_F(ClientRepliesTest, ReplyWithoutAnyApplicationIsDropped) {
  answerApply(applyReply(0, 0xFFFFFFFF).byte(592, 0));
  answerUnapply(unapplyReply(0).byte(593, 0));
  EXPECT_THAT(answers(), IsEmpty());
  EXPECT_EQ(gaclApplReqList.first, nullptr);
}

TEST_F(ClientRepliesTest, ReplyForAnApplicationWithoutRequestsIsDropped) {
  aclLibFindApplInfo(kApplication, 1);
  answerApply(0, 0xFFFFFFFF);
  EXPECT_THAT(answers(), IsEmpty());
  EXPECT_THAT(traces(), IsEmpty());
}

TEST_F(ClientRepliesTest, ReplyWithoutACoveredRequestLeavesTheBodyAndTheRequestsAlone) {
  addRequest(9);
  Bytes body = applyReply(1, 8).bytes();
  const Bytes before = body;
  aclLibSendClientConfigReply(body.data());
  EXPECT_EQ(body, before);
  EXPECT_THAT(pending(), ElementsAre(9));
}

TEST_F(ClientRepliesTest, WithoutACallbackRequestsAreTracedAndRemovedAllTheSame) {
  aclMsgCallback = nullptr;
  addRequests({1, 2, 3});
  answerApply(1, 2);
  answerUnapply(unapplyReply(3));
  EXPECT_THAT(traces(), SizeIs(3));
  EXPECT_THAT(pending(), IsEmpty());
}

// ---- The callback calls the library

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

// ---- Many requests

TEST_F(ClientRepliesTest, ReplyForTenOf100000RequestsVisitsNoOthers) {
  for (unsigned i = 1; i <= 100000; ++i) {
    aclLibGetClientSeqNo(kApplication, kApply, 1000 + i, "", kKind, kTag);
  }
  fake().forgetCalls();
  answerApply(50001, 50010);
  EXPECT_EQ(answers().size(), 10U);
  EXPECT_EQ(fake().calls({"kvtreeDelete"}).size(), 10U);
  EXPECT_LE(fake().calls({"kvtreeNext", "kvtreeFirst"}).size(), 10U);
  EXPECT_LE(fake().calls({"findNode"}).size(), 20U);
  EXPECT_EQ(answered().front(), 50001U);
  EXPECT_EQ(answered().back(), 50010U);
}

// ---- Replies to unapply requests

TEST_F(ClientRepliesTest, UnapplyReplyAnswersTheOneRequestOfItsNumberAndLeavesTheOthers) {
  addRequest(1, kUnapply);
  addRequest(2, kUnapply, kKind + 1, kTag + 1);
  addRequest(3, kUnapply);
  answerUnapply(unapplyReply(2, -43));
  EXPECT_THAT(answered(), ElementsAre(2));
  EXPECT_THAT(pending(), ElementsAre(1, 3));
  EXPECT_THAT(traces(),
              ElementsAre("Sending status Pending config request is cancelled out. to client "
                          "DHCP-Snooping for request 300c seqNo 2\n"));
}

TEST_F(ClientRepliesTest, UnapplyReplyAnswersAPendingUnapplyRequestInsteadOfCancellingIt) {
  addRequests({1, 3});
  addRequest(2, kUnapply);
  answerUnapply(unapplyReply(2));
  EXPECT_THAT(codesOfAnswers(), ElementsAre(kUnapply));
  EXPECT_THAT(traces(), ElementsAre(answerLine("OK", "DHCP-Snooping", "300c", "2")));
  EXPECT_THAT(pending(), ElementsAre(1, 3));
}

TEST_F(ClientRepliesTest, UnapplyReplyAnswersAnApplyRequestToo) {
  addRequests({1, 2});
  answerUnapply(unapplyReply(2));
  EXPECT_THAT(codesOfAnswers(), ElementsAre(kApply));
  EXPECT_THAT(pending(), ElementsAre(1));
}

TEST_F(ClientRepliesTest, UnapplyReplyComesBackWithTheCookieInPlaceOfTheNumber) {
  addRequest(0xFFFFFFFF, 0x300B);
  Reply reply = unapplyReply(0xFFFFFFFF, 1);
  reply.put(4, Bytes(584, std::byte{0x5A})).byte(592, 0xAA);
  answerUnapply(reply);
  reply.half(0, 0x300B).word(588, 999);
  EXPECT_THAT(answers(), ElementsAre(reply.bytes()));
}

TEST_F(ClientRepliesTest, UnapplyReplyOfAnUnknownNumberChangesNothing) {
  addRequests({1, 3});
  Bytes body = unapplyReply(2).bytes();
  const Bytes before = body;
  aclLibSendClientUnconfigReply(body.data());
  EXPECT_EQ(body, before);
  EXPECT_THAT(answers(), IsEmpty());
  EXPECT_THAT(traces(), IsEmpty());
  EXPECT_THAT(pending(), ElementsAre(1, 3));
}

TEST_F(ClientRepliesTest, ApplicationStandsAt592InOneReplyAndAt593InTheOther) {
  addRequest(1, kApply, kApplication + 1);
  answerApply(applyReply(1, 1).byte(593, kApplication + 1));
  EXPECT_THAT(answered(), ElementsAre(1));
  addRequest(2, kUnapply);
  answerUnapply(unapplyReply(2).byte(592, kApplication + 1));
  EXPECT_THAT(answered(), ElementsAre(1, 2));
}

// ---- Memory

TEST_F(ClientRepliesTest, AnsweringNeedsNoMemory) {
  addRequests({1, 2, 3});
  Bytes apply = applyReply(1, 2, -99).bytes();
  Bytes unapply = unapplyReply(3, -99).bytes();
  {
    const FailAllocation guard(1);
    aclLibSendClientConfigReply(apply.data());
    aclLibSendClientUnconfigReply(unapply.data());
    EXPECT_FALSE(guard.failed());
  }
  EXPECT_THAT(answered(), ElementsAre(1, 2, 3));
}

}  // namespace
