#include "tests/acl_lib/client/client_replies_test.h"

#include "tests/support/failing_allocator.h"

namespace {

using namespace acl_test;
using testing::SizeIs;

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
