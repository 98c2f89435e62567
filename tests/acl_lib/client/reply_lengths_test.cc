// Replies of every length, and replies without a callback or memory.
#include "tests/acl_lib/client/reply_handlers_test.h"

namespace {

using namespace acl_test;

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
