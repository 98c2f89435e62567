#include "tests/acl_lib/transport/synchronous_channel_test.h"

#include <csignal>

namespace {

using namespace acl_test;

using SynchronousChannelDeathTest = SynchronousChannelTest;

// ---- Requests

TEST_F(SynchronousChannelTest, RequestOf632BytesIsSentIn636BytesAndItsAnswerReceivedInto664) {
  useReadyPeer();
  Bytes body(632, std::byte{0x5A});
  Bytes answer(632, std::byte{0xC3});
  answer[2] = std::byte{0xFF};
  answer[3] = std::byte{0xFE};
  queueAnswer(answer);
  EXPECT_EQ(exchange(body), -2);
  EXPECT_EQ(body, answer);
  EXPECT_THAT(
      fake().callNames(),
      ElementsAre("pktbufAllocPacket", "tlvInit", "tlvAddObject", "msgbusSend", "pktbufFree",
                  "pktbufAllocPacket", "msgbusRecv", "tlvInit", "tlvGetObject", "pktbufFree"));
  EXPECT_THAT(fake().calls({"pktbufAllocPacket", "msgbus*"}),
              ElementsAre(Call::of("pktbufAllocPacket", 636, 32, 1),
                          Call::of("msgbusSend", 9, Argument::anything(), 0),
                          Call::of("pktbufAllocPacket", 664, 28, 0),
                          Call::of("msgbusRecv", 9, Argument::anything(), "{0, 10, 0}", 0)));
  ASSERT_EQ(fake().sentPackets().size(), 1U);
  EXPECT_EQ(fake().sentPackets()[0].bytes, join(hex("1002 0278"), Bytes(632, std::byte{0x5A})));
}

TEST_F(SynchronousChannelTest, BodyOf7BytesIsSentIn12BytesAndItsAnswerReceivedInto40) {
  useReadyPeer();
  EXPECT_THAT(packetsFor(7), ElementsAre(Call::of("pktbufAllocPacket", 12, 32, 1),
                                         Call::of("pktbufAllocPacket", 40, 28, 0)));
  ASSERT_EQ(fake().sentPackets().size(), 1U);
  EXPECT_EQ(fake().sentPackets()[0].bytes, hex("1002 0007 00000000 00000000"));
}

TEST_F(SynchronousChannelTest, BodiesOfAllLengthsTravel) {
  useReadyPeer();
  EXPECT_THAT(packetsFor(0), ElementsAre(Call::of("pktbufAllocPacket", 4, 32, 1),
                                         Call::of("pktbufAllocPacket", 32, 28, 0)));
  EXPECT_EQ(fake().sentPackets()[0].bytes, hex("1002 0000"));
  EXPECT_THAT(packetsFor(1), ElementsAre(Call::of("pktbufAllocPacket", 6, 32, 1),
                                         Call::of("pktbufAllocPacket", 34, 28, 0)));
  EXPECT_THAT(packetsFor(65535), ElementsAre(Call::of("pktbufAllocPacket", 65540, 32, 1),
                                             Call::of("pktbufAllocPacket", 65568, 28, 0)));
  EXPECT_EQ(fake().sentPackets()[0].bytes.size(), 65540U);
}

TEST_F(SynchronousChannelTest, NullBodyOrOneOf65536BytesIsRefused) {
  Bytes body(65536);
  EXPECT_EQ(exchange(body), -2);
  EXPECT_EQ(aclLibSendAndRecvFromAclMgr(body.data(), 0xFFFFFFFF), -2);
  EXPECT_EQ(aclLibSendAndRecvFromAclMgr(nullptr, 632), -2);
  EXPECT_EQ(aclLibSendAndRecvFromAclMgr(nullptr, 0), -2);
  EXPECT_THAT(callsAndPauses(), IsEmpty());
}

TEST_F(SynchronousChannelTest, FirstRequestSetsTheChannelUp) {
  fake().setHook("msgbusSend",
                 [] { fake().queueReceive(1, swplat_fake::object(0x1003, hex("3020 0007"))); });
  Bytes body(4);
  EXPECT_EQ(exchange(body), 7);
  EXPECT_EQ(fake().calls({"msgbusInitClient"}).size(), 1U);
  EXPECT_EQ(fake().sentPackets()[0].peer, 1U);
  forget();
  EXPECT_EQ(exchange(body), 7);
  EXPECT_THAT(fake().callNames({"msgbus*", "dirsvc*"}), ElementsAre("msgbusSend", "msgbusRecv"));
}

TEST_F(SynchronousChannelTest, RefusedSetUpIsNoticedOnlyBySending) {
  fake().setResult("msgbusConnectToPeer", -109);
  Bytes body = hex("3020 0000");
  EXPECT_EQ(exchange(body), -1);
  EXPECT_EQ(fake().calls({"msgbusSend"}).size(), 1U);
}

TEST_F(SynchronousChannelTest, AfterARefusalEachRequestFailsUntilTheChannelIsSetUpAgain) {
  fake().queueResults("msgbusConnectToPeer", {-109});
  Bytes body = hex("3020 0000");
  EXPECT_EQ(exchange(body), -1);
  EXPECT_EQ(exchange(body), -1);
  EXPECT_EQ(fake().calls({"msgbusRegisterPeerByAddr"}).size(), 1U);
  EXPECT_EQ(aclLibSyncConfigPeerId, 1U);
  EXPECT_EQ(initAclLibSyncConfigLib(), 0);
  fake().queueReceive(2, swplat_fake::object(0x1003, hex("3020 0007")));
  EXPECT_EQ(exchange(body), 7);
}

TEST_F(SynchronousChannelTest, FailedSendReturnsMinusOneAndLeavesTheBodyAlone) {
  useReadyPeer();
  for (const std::int32_t failure : {-1, -115, -113, -117, INT32_MIN}) {
    forget();
    fake().queueResults("msgbusSend", {failure});
    Bytes body = hex("3020 0102 0304");
    EXPECT_EQ(exchange(body), -1) << failure;
    EXPECT_EQ(body, hex("3020 0102 0304"));
    EXPECT_THAT(fake().callNames({"pktbuf*", "msgbus*"}),
                ElementsAre("pktbufAllocPacket", "msgbusSend", "pktbufFree"));
  }
}

TEST_F(SynchronousChannelTest, RequestThatTheBusHasQueuedCountsAsNotSent) {
  useReadyPeer();
  fake().queueResults("msgbusSend", {-116});
  Bytes body = hex("3020 0102 0304");
  EXPECT_EQ(exchange(body), -1);
  EXPECT_EQ(body, hex("3020 0102 0304"));
  EXPECT_THAT(fake().callNames({"pktbuf*", "msgbus*"}),
              ElementsAre("pktbufAllocPacket", "msgbusSend", "pktbufFree"));
}

TEST_F(SynchronousChannelTest, EveryResultOfZeroOrMoreIsSuccess) {
  useReadyPeer();
  for (const std::int32_t success : {0, 1, 40}) {
    fake().queueResults("msgbusSend", {success});
    queueAnswer(hex("3020 0005"));
    Bytes body(4);
    EXPECT_EQ(exchange(body), 5);
  }
}

TEST_F(SynchronousChannelTest, WithoutASendPacketNothingIsSentAndTheAnswerIsAwaitedAllTheSame) {
  useReadyPeer();
  fake().queueResults("pktbufAllocPacket", {0});
  queueAnswer(hex("3020 fffd 77"));
  Bytes body(5);
  EXPECT_EQ(exchange(body), -3);
  EXPECT_EQ(body, hex("3020 fffd 77"));
  EXPECT_THAT(fake().callNames({"pktbuf*", "msgbus*"}),
              ElementsAre("pktbufAllocPacket", "pktbufAllocPacket", "msgbusRecv", "pktbufFree"));
}

TEST_F(SynchronousChannelDeathTest, WithoutAPacketForTheAnswerTheProcessAborts) {
  useReadyPeer();
  Bytes body(4);
  fake().failPacketAllocationsAfter(1);
  EXPECT_EXIT(exchange(body), testing::KilledBySignal(SIGABRT), "");
  fake().failPacketAllocationsAfter(0);
  EXPECT_EXIT(exchange(body), testing::KilledBySignal(SIGABRT), "");
}

// ---- Answers

TEST_F(SynchronousChannelTest, ReceivingIsRepeatedWithoutAPauseUntilTheAnswerComes) {
  useReadyPeer();
  fake().queueResults("msgbusRecv", {-110, -1, -113, INT32_MIN});
  unsigned receptions = 0;
  fake().setHook("msgbusRecv", [&] {
    if (++receptions == 100) queueAnswer(hex("3020 0003"));
  });
  Bytes body(4);
  EXPECT_EQ(exchange(body), 3);
  EXPECT_EQ(receptions, 100U);
  EXPECT_THAT(pauses, IsEmpty());
}

TEST_F(SynchronousChannelTest, AnswerIsAwaitedFromThePeerOfARestoredConnection) {
  useReadyPeer();
  fake().addPeer(12);
  fake().queueReceive(12, swplat_fake::object(0x1003, hex("3020 0004")));
  fake().queueResults("msgbusRecv", {-1, -1});
  unsigned receptions = 0;
  fake().setHook("msgbusRecv", [&] {
    if (++receptions == 2) aclLibSyncConfigPeerId = 12;
  });
  Bytes body(4);
  EXPECT_EQ(exchange(body), 4);
  std::vector<Argument> peers;
  for (const Call &call : fake().calls({"msgbusRecv"})) peers.push_back(call.arguments[0]);
  EXPECT_THAT(peers, ElementsAre(Argument(9), Argument(9), Argument(12)));
}

TEST_F(SynchronousChannelTest, AnswerOfAnyTypeIsTakenAndSoIsOnlyTheFirstObject) {
  useReadyPeer();
  fake().queueReceive(kSyncPeer, join(swplat_fake::object(0x7777, hex("3020 0001 aa")),
                                      swplat_fake::object(0x1003, hex("3020 0002 bb"))));
  Bytes body(5);
  EXPECT_EQ(exchange(body), 1);
  EXPECT_EQ(body, hex("3020 0001 aa"));
}

TEST_F(SynchronousChannelTest, AnswerWithoutAnObjectReturnsMinusOneAndLeavesTheBodyAlone) {
  useReadyPeer();
  for (const Bytes &answer : {Bytes(), hex("10"), hex("1003 00"), hex("1003 0005 30200001")}) {
    fake().queueReceive(kSyncPeer, answer);
    Bytes body = hex("3020 0102 0304");
    EXPECT_EQ(exchange(body), -1);
    EXPECT_EQ(body, hex("3020 0102 0304"));
  }
}

TEST_F(SynchronousChannelTest, BehindAShortAnswerTheBodyIsZero) {
  useReadyPeer();
  queueAnswer(hex("3020 0001 aabb"));
  Bytes body(8, std::byte{0xEE});
  EXPECT_EQ(exchange(body), 1);
  EXPECT_EQ(body, hex("3020 0001 aabb 0000"));
}

TEST_F(SynchronousChannelTest, StatusOfAnAnswerShorterThan4BytesIsReadAsIfZerosFollowed) {
  useReadyPeer();
  const std::vector<std::pair<Bytes, std::int32_t>> answers = {
      {hex(""), 0},
      {hex("ff"), 0},
      {hex("ffff"), 0},
      {hex("ffffff"), -256},
      {hex("ffff 7f"), 0x7F00},
      {hex("ffff fffe"), -2},
      {hex("0000 8000"), -32768},
      {hex("0000 7fff"), 32767},
  };
  for (const auto &[answer, status] : answers) {
    queueAnswer(answer);
    Bytes body(4, std::byte{0xEE});
    EXPECT_EQ(exchange(body), status);
    Bytes expected = answer;
    expected.resize(4);
    EXPECT_EQ(body, expected);
  }
}

TEST_F(SynchronousChannelTest, OfALongAnswerOnlyTheBodysLengthIsCopied) {
  useReadyPeer();
  for (const std::uint32_t length : {0U, 1U, 3U, 5U}) {
    queueAnswer(hex("3020 fffb aabb ccdd"));
    Bytes body(8, std::byte{0xEE});
    EXPECT_EQ(aclLibSendAndRecvFromAclMgr(body.data(), length), -5);
    Bytes expected = hex("3020 fffb aabb ccdd");
    expected.resize(length);
    expected.resize(8, std::byte{0xEE});
    EXPECT_EQ(body, expected);
  }
}

TEST_F(SynchronousChannelTest, RequestsNeedNoMemoryButTheirPackets) {
  useReadyPeer();
  queueAnswer(hex("3020 0001"));
  Bytes body(4);
  const FailAllocation guard(1);
  EXPECT_EQ(exchange(body), 1);
  EXPECT_FALSE(guard.failed());
}

}  // namespace
