#include "tests/acl_lib/client/reply_handlers_test.h"

#include <array>
#include <cstring>

namespace {

using namespace acl_test;

std::array<std::uint16_t, 2> codes(std::uint16_t one, std::uint16_t other) {
  return {one, other};
}

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

}  // namespace
