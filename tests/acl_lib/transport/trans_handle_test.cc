#include <array>
#include <memory>

#include "tests/acl_lib/library_test.h"

namespace {

using namespace acl_test;

constexpr std::uint16_t kRequest = 0x1002;

class TransHandleTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    fake().addPeer(kPeer);
    handle_.reset(transHandleCreate());
    ASSERT_NE(handle_, nullptr);
    transHandleSetPeer(handle(), kPeer);
    fake().forgetCalls();
  }

  void TearDown() override {
    handle_.reset();
    LibraryTest::TearDown();
  }

  TransHandle *handle() { return handle_.get(); }

  std::int32_t send(const Bytes &body, std::int32_t flush) {
    return transHandleSend(handle(), kRequest, body.data(), static_cast<std::uint32_t>(body.size()),
                           flush);
  }
  std::int32_t append(std::size_t length) { return send(Bytes(length), 0); }

  std::size_t used() {
    return static_cast<std::size_t>(handle_->builder.cursor - handle_->builder.start);
  }

  static std::size_t sends() { return fake().calls({"msgbusSend"}).size(); }

 private:
  struct Free {
    void operator()(TransHandle *handle) const { transHandleFree(handle); }
  };
  std::unique_ptr<TransHandle, Free> handle_;
};

using TransHandleDeathTest = TransHandleTest;

// ---- Creation and release

TEST_F(TransHandleTest, NewHandleIsUnconnectedWithAnEmptyPacket) {
  TransHandle *created = transHandleCreate();
  ASSERT_NE(created, nullptr);
  EXPECT_EQ(created->peerId, 0U);
  EXPECT_EQ(created->connected, 0);
  ASSERT_NE(created->packet, nullptr);
  EXPECT_EQ(created->data, created->packet->data);
  EXPECT_EQ(created->builder.start, created->data);
  EXPECT_EQ(created->builder.cursor, created->data);
  EXPECT_EQ(created->builder.capacity, 8128U);
  EXPECT_EQ(created->spare[0], 0U);
  EXPECT_EQ(created->spare[1], 0U);
  EXPECT_EQ(pthread_mutex_trylock(&created->lock), 0);
  EXPECT_EQ(pthread_mutex_unlock(&created->lock), 0);
  transHandleFree(created);
}

TEST_F(TransHandleTest, CreationAsksForAPacketOf8128BytesAndLaysABuilderOverIt) {
  TransHandle *created = transHandleCreate();
  EXPECT_THAT(fake().calls(),
              ElementsAre(Call::of("pktbufAllocPacket", 8128, 32, 1),
                          Call::of("tlvInit", &created->builder, created->data, 8128)));
  transHandleFree(created);
}

TEST_F(TransHandleTest, CreationWithoutMemoryGivesNull) {
  const unsigned failures = test_support::forEachAllocationFailure([first = true]() mutable {
    TransHandle *created = transHandleCreate();
    const test_support::AllocationExemption exemption;
    EXPECT_EQ(created == nullptr, first);
    first = false;
    transHandleFree(created);
  });
  EXPECT_EQ(failures, 1U);
}

TEST_F(TransHandleTest, CreationWithoutMemoryAsksForNoPacket) {
  FailAllocation guard(1);
  TransHandle *created = transHandleCreate();
  const test_support::AllocationExemption exemption;
  EXPECT_EQ(created, nullptr);
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(TransHandleTest, CreationWithoutAPacketGivesNull) {
  fake().failPacketAllocationsAfter(0);
  EXPECT_EQ(transHandleCreate(), nullptr);
  EXPECT_THAT(fake().callNames(), ElementsAre("pktbufAllocPacket"));
}

TEST_F(TransHandleTest, FreeingNullDoesNothing) {
  transHandleFree(nullptr);
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(TransHandleTest, FreeingAHandleFreesItsPacket) {
  TransHandle *created = transHandleCreate();
  PktBuf *packet = created->packet;
  fake().forgetCalls();
  transHandleFree(created);
  EXPECT_THAT(fake().calls(), ElementsAre(Call::of("pktbufFree", packet)));
}

TEST_F(TransHandleTest, FreeingAHandleWithoutAPacketFreesNone) {
  TransHandle *created = transHandleCreate();
  pktbufFree(std::exchange(created->packet, nullptr));
  fake().forgetCalls();
  transHandleFree(created);
  EXPECT_THAT(fake().calls(), IsEmpty());
}

// ---- Peer

TEST_F(TransHandleTest, SettingAPeerConnects) {
  EXPECT_EQ(transHandleSetPeer(handle(), 0xFFFFFFFF), 0);
  EXPECT_EQ(handle()->peerId, 0xFFFFFFFFU);
  EXPECT_EQ(handle()->connected, 1);
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(TransHandleTest, SettingPeerZeroDisconnects) {
  EXPECT_EQ(transHandleSetPeer(handle(), 0), 0);
  EXPECT_EQ(handle()->peerId, 0U);
  EXPECT_EQ(handle()->connected, 0);
  EXPECT_EQ(append(4), -1);
}

TEST_F(TransHandleTest, AppendedRequestsGoOutAfterReconnection) {
  EXPECT_EQ(send(bytesOf("before"), 0), 0);
  transHandleSetPeer(handle(), 0);
  EXPECT_EQ(send(bytesOf("meanwhile"), 1), -1);
  fake().addPeer(9);
  transHandleSetPeer(handle(), 9);
  EXPECT_EQ(send(bytesOf("after"), 1), 0);
  const auto objects = fake().sentObjects();
  ASSERT_EQ(objects.size(), 2U);
  EXPECT_EQ(objects[0].peer, 9U);
  EXPECT_EQ(objects[0].value, bytesOf("before"));
  EXPECT_EQ(objects[1].value, bytesOf("after"));
}

// ---- Sending

TEST_F(TransHandleTest, SendingBeforeThePeerIsSetReturnsMinusOneAndLeavesThePacketEmpty) {
  TransHandle *created = transHandleCreate();
  fake().forgetCalls();
  EXPECT_EQ(transHandleSend(created, kRequest, "body", 4, 1), -1);
  EXPECT_EQ(created->builder.cursor, created->builder.start);
  EXPECT_THAT(fake().calls(), IsEmpty());
  transHandleFree(created);
}

TEST_F(TransHandleTest, SendingRequiresTheConnectedFlagToBeExactlyOne) {
  handle()->connected = 2;
  EXPECT_EQ(append(4), -1);
  EXPECT_EQ(transHandleCommit(handle()), -1);
  handle()->connected = 0;
  EXPECT_EQ(append(4), -1);
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(TransHandleTest, SendingRequiresAPeerBesideTheConnectedFlag) {
  handle()->peerId = 0;
  EXPECT_EQ(append(4), -1);
  EXPECT_EQ(transHandleCommit(handle()), -1);
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(TransHandleTest, SendingWithoutAPacketReturnsMinusOne) {
  PktBuf *packet = std::exchange(handle()->packet, nullptr);
  EXPECT_EQ(append(4), -1);
  EXPECT_EQ(transHandleCommit(handle()), -1);
  EXPECT_THAT(fake().calls(), IsEmpty());
  handle()->packet = packet;
}

TEST_F(TransHandleTest, NullDataWithALengthIsRefusedAndNothingIsAppended) {
  EXPECT_EQ(transHandleSend(handle(), kRequest, nullptr, 4, 1), -2);
  EXPECT_EQ(used(), 0U);
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(TransHandleTest, NullDataWithoutAPeerReturnsMinusOne) {
  transHandleSetPeer(handle(), 0);
  EXPECT_EQ(transHandleSend(handle(), kRequest, nullptr, 4, 1), -1);
  transHandleSetPeer(handle(), kPeer);
  PktBuf *packet = std::exchange(handle()->packet, nullptr);
  EXPECT_EQ(transHandleSend(handle(), kRequest, nullptr, 4, 1), -1);
  handle()->packet = packet;
}

TEST_F(TransHandleTest, RequestsWithoutFlushWaitInThePacket) {
  EXPECT_EQ(append(4), 0);
  EXPECT_EQ(append(4), 0);
  EXPECT_EQ(used(), 16U);
  EXPECT_EQ(sends(), 0U);
}

TEST_F(TransHandleTest, FlushTrimsSendsAndStartsANewPacket) {
  PktBuf *first = handle()->packet;
  const Bytes body(8);
  EXPECT_EQ(send(body, 1), 0);
  TransHandle *h = handle();
  EXPECT_THAT(
      fake().calls(),
      ElementsAre(Call::of("tlvAddObject", &h->builder, body.data(), kRequest, 8),
                  Call::of("pktbufTrimPacket", first, 12), Call::of("msgbusSend", kPeer, first, 0),
                  Call::of("pktbufAllocPacket", 8128, 32, 1),
                  Call::of("tlvInit", &h->builder, h->packet->data, 8128)));
  EXPECT_EQ(h->data, h->packet->data);
  EXPECT_EQ(used(), 0U);
}

TEST_F(TransHandleTest, AnyFlushValueButZeroSendsAtOnce) {
  EXPECT_EQ(send(Bytes(4), -1), 0);
  EXPECT_EQ(sends(), 1U);
}

TEST_F(TransHandleTest, PacketHoldsItsRequestsAsObjectsPaddedToEvenLengths) {
  EXPECT_EQ(send(bytesOf("request"), 0), 0);
  EXPECT_EQ(send(hex("de ad be ef"), 1), 0);
  ASSERT_EQ(fake().sentPackets().size(), 1U);
  EXPECT_TRUE(
      matchesGolden(fake().sentPackets()[0].bytes, "transport/packet_of_two_requests.golden"));
}

TEST_F(TransHandleTest, TypeAndEmptyBodyTravelAsGiven) {
  EXPECT_EQ(transHandleSend(handle(), 0xFEDC, nullptr, 0, 1), 0);
  EXPECT_EQ(fake().sentPackets()[0].bytes, hex("fe dc 00 00"));
}

TEST_F(TransHandleTest, MutexIsHeldAcrossTheSend) {
  int lockedInSend = 0;
  fake().setHook("msgbusSend", [&] { lockedInSend = pthread_mutex_trylock(&handle()->lock); });
  EXPECT_EQ(send(Bytes(4), 1), 0);
  EXPECT_EQ(lockedInSend, EBUSY);
}

// ---- Room

TEST_F(TransHandleTest, BodyOfSevenBytesNeedsTwelve) {
  EXPECT_EQ(append(8112), 0);  // 12 bytes are left
  EXPECT_EQ(append(7), 0);
  EXPECT_EQ(sends(), 0U);
  EXPECT_EQ(used(), 8128U);
}

TEST_F(TransHandleTest, BodyOfSevenBytesDoesNotFitIntoTen) {
  EXPECT_EQ(append(8114), 0);  // 10 bytes are left
  EXPECT_EQ(append(7), 0);
  EXPECT_THAT(sentPacketLengths(), ElementsAre(8118U));
  EXPECT_EQ(used(), 12U);
}

TEST_F(TransHandleTest, BodyOf96BytesFitsIntoHundred) {
  EXPECT_EQ(append(8024), 0);  // 100 bytes are left
  EXPECT_EQ(append(96), 0);
  EXPECT_EQ(sends(), 0U);
  EXPECT_EQ(used(), 8128U);
}

TEST_F(TransHandleTest, BodyOf97BytesFlushesAPacketWithRoomForHundred) {
  EXPECT_EQ(append(8024), 0);  // 100 bytes are left
  EXPECT_EQ(append(97), 0);
  EXPECT_THAT(sentPacketLengths(), ElementsAre(8028U));
  EXPECT_EQ(used(), 102U);
}

TEST_F(TransHandleTest, LargestBodyOfAPacketIs8124Bytes) {
  EXPECT_EQ(send(Bytes(8124), 1), 0);
  EXPECT_THAT(sentPacketLengths(), ElementsAre(8128U));
}

TEST_F(TransHandleTest, EmptyPacketIsFlushedBeforeABodyThatIsLongerThanAPacket) {
  EXPECT_EQ(send(Bytes(8125, std::byte{0x5A}), 1), 0);
  EXPECT_THAT(fake().callNames(), ElementsAre("pktbufTrimPacket", "msgbusSend", "pktbufAllocPacket",
                                              "tlvInit", "tlvAddObject", "pktbufTrimPacket",
                                              "msgbusSend", "pktbufAllocPacket", "tlvInit"));
  EXPECT_THAT(sentPacketLengths(), ElementsAre(0U, 8130U));
  ASSERT_EQ(fake().sentObjects().size(), 1U);
  EXPECT_EQ(fake().sentObjects()[0].value, Bytes(8125, std::byte{0x5A}));
}

TEST_F(TransHandleTest, LongestBodyOf65535BytesIsSentWhole) {
  EXPECT_EQ(send(Bytes(65535, std::byte{0x5A}), 1), 0);
  ASSERT_EQ(fake().sentObjects().size(), 1U);
  EXPECT_EQ(fake().sentObjects()[0].value, Bytes(65535, std::byte{0x5A}));
}

TEST_F(TransHandleTest, BodyOf65536BytesIsDroppedWithoutAnError) {
  EXPECT_EQ(send(Bytes(65536), 1), 0);
  EXPECT_THAT(sentPacketLengths(), ElementsAre(0U, 0U));
  EXPECT_EQ(used(), 0U);
}

TEST_F(TransHandleTest, LengthsNearTheLimitOf32BitsDoNotWrap) {
  EXPECT_EQ(append(4), 0);
  const std::byte byte{};
  EXPECT_EQ(transHandleSend(handle(), kRequest, &byte, 0xFFFFFFFF, 0), 0);
  EXPECT_THAT(sentPacketLengths(), ElementsAre(8U));
  EXPECT_EQ(used(), 0U);
}

TEST_F(TransHandleTest, PacketWithAnOverlongBodyHasNoRoomForAnother) {
  EXPECT_EQ(append(9000), 0);
  EXPECT_EQ(used(), 9004U);
  EXPECT_EQ(append(0), 0);
  EXPECT_THAT(sentPacketLengths(), ElementsAre(0U, 9004U));
  EXPECT_EQ(used(), 4U);
}

// ---- Results

struct SendResult {
  std::int32_t ofMessageBus;
  std::int32_t ofSend;
  bool refused;  // the packet is the library's again, which frees it
};
constexpr SendResult kSendResults[] = {
    {40, 0, false},      {1, 0, false},
    {0, 0, false},       {-1, -1, true},
    {-115, -115, true},  {-116, 0, false},
    {-113, -113, false}, {-114, -114, false},
    {-117, -117, false}, {INT32_MIN, INT32_MIN, false},
};

TEST_F(TransHandleTest, SendMapsPositiveResultsAndQueuedToZeroAndReturnsOthersAsTheyAre) {
  for (const SendResult &result : kSendResults) {
    fake().queueResults("msgbusSend", {result.ofMessageBus});
    PktBuf *packet = handle()->packet;
    EXPECT_EQ(send(Bytes(8), 1), result.ofSend) << result.ofMessageBus;
    // The fake takes packets on success only; with other results they are still to be freed.
    const bool taken = result.ofMessageBus >= 0 || result.ofMessageBus == -116;
    if (!taken && !result.refused) pktbufFree(packet);
  }
}

TEST_F(TransHandleTest, CommitReturnsEveryResultAsItIs) {
  for (const SendResult &result : kSendResults) {
    EXPECT_EQ(append(8), 0);
    fake().queueResults("msgbusSend", {result.ofMessageBus});
    PktBuf *packet = handle()->packet;
    EXPECT_EQ(transHandleCommit(handle()), result.ofMessageBus);
    const bool taken = result.ofMessageBus >= 0 || result.ofMessageBus == -116;
    if (!taken && !result.refused) pktbufFree(packet);
  }
}

TEST_F(TransHandleTest, OnlyRefusedPacketsAreFreed) {
  for (const SendResult &result : kSendResults) {
    fake().queueResults("msgbusSend", {result.ofMessageBus});
    fake().forgetCalls();
    PktBuf *packet = handle()->packet;
    send(Bytes(8), 1);
    const auto freed = fake().calls({"pktbufFree"});
    if (result.refused) {
      EXPECT_THAT(freed, ElementsAre(Call::of("pktbufFree", packet))) << result.ofMessageBus;
    } else {
      EXPECT_THAT(freed, IsEmpty()) << result.ofMessageBus;
    }
    const bool taken = result.ofMessageBus >= 0 || result.ofMessageBus == -116;
    if (!taken && !result.refused) pktbufFree(packet);
  }
}

TEST_F(TransHandleTest, RefusedPacketIsFreedWithAllItsRequestsAndTheNextOneIsNew) {
  for (const std::int32_t refusal : {-115, -1}) {
    fake().queueResults("msgbusSend", {refusal});
    EXPECT_EQ(send(bytesOf("first"), 0), 0);
    EXPECT_EQ(send(bytesOf("second"), 1), refusal);
    EXPECT_THAT(fake().sentPackets(), IsEmpty());
    EXPECT_EQ(used(), 0U);
  }
  EXPECT_EQ(send(bytesOf("third"), 1), 0);
  ASSERT_EQ(fake().sentObjects().size(), 1U);
  EXPECT_EQ(fake().sentObjects()[0].value, bytesOf("third"));
}

TEST_F(TransHandleTest, FailureOfTheFlushForRoomIsReturnedAndTheRequestStaysInTheNewPacket) {
  EXPECT_EQ(append(8124), 0);
  fake().queueResults("msgbusSend", {-115});
  EXPECT_EQ(append(4), -115);
  EXPECT_EQ(used(), 8U);
}

TEST_F(TransHandleTest, SuccessOfTheFlushForRoomIsZero) {
  EXPECT_EQ(append(8124), 0);
  EXPECT_EQ(append(4), 0);
  EXPECT_EQ(append(8124), 0);
  fake().queueResults("msgbusSend", {-116});
  EXPECT_EQ(append(4), 0);
}

TEST_F(TransHandleTest, WhenACallFlushesTwiceOnlyTheSecondResultIsReturned) {
  EXPECT_EQ(append(8124), 0);
  fake().queueResults("msgbusSend", {-115, 40});
  EXPECT_EQ(send(Bytes(4), 1), 0);
  EXPECT_EQ(append(8124), 0);
  fake().queueResults("msgbusSend", {40, -115});
  EXPECT_EQ(send(Bytes(4), 1), -115);
  EXPECT_EQ(append(8124), 0);
  fake().queueResults("msgbusSend", {-1, -116});
  EXPECT_EQ(send(Bytes(4), 1), 0);
}

// ---- Commit

TEST_F(TransHandleTest, CommitOfAnEmptyPacketReturnsZeroWithoutASend) {
  EXPECT_EQ(transHandleCommit(handle()), 0);
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(TransHandleTest, CommitSendsWhatWasAppended) {
  EXPECT_EQ(append(8), 0);
  PktBuf *packet = handle()->packet;
  fake().forgetCalls();
  EXPECT_EQ(transHandleCommit(handle()), 12);
  TransHandle *h = handle();
  EXPECT_THAT(fake().calls(), ElementsAre(Call::of("pktbufTrimPacket", packet, 12),
                                          Call::of("msgbusSend", kPeer, packet, 0),
                                          Call::of("pktbufAllocPacket", 8128, 32, 1),
                                          Call::of("tlvInit", &h->builder, h->packet->data, 8128)));
}

TEST_F(TransHandleTest, CommitWithoutAPeerReturnsMinusOneAndKeepsTheRequests) {
  EXPECT_EQ(append(8), 0);
  transHandleSetPeer(handle(), 0);
  EXPECT_EQ(transHandleCommit(handle()), -1);
  EXPECT_EQ(used(), 12U);
}

// ---- Aborts

TEST_F(TransHandleDeathTest, NullHandleAborts) {
  EXPECT_EXIT(transHandleSetPeer(nullptr, kPeer), testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(transHandleSend(nullptr, kRequest, "x", 1, 1), testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(transHandleCommit(nullptr), testing::KilledBySignal(SIGABRT), "");
}

TEST_F(TransHandleDeathTest, FlushWithoutAPacketToGoOnWithAborts) {
  EXPECT_EQ(append(8), 0);
  fake().failPacketAllocationsAfter(0);
  EXPECT_EXIT(append(8124), testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(send(Bytes(8), 1), testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(transHandleCommit(handle()), testing::KilledBySignal(SIGABRT), "");
}

TEST_F(TransHandleTest, SendingAllocatesNothingButPackets) {
  const FailAllocation guard(0);
  const std::array<std::byte, 64> body{};
  transHandleSend(handle(), kRequest, body.data(), body.size(), 0);
  transHandleSend(handle(), kRequest, body.data(), body.size(), 1);
  transHandleCommit(handle());
  const test_support::AllocationExemption exemption;
  EXPECT_EQ(guard.allocationsMade(), 0U);
}

// ---- The library's handle

class SendMsgTest : public LibraryTest {};

TEST_F(SendMsgTest, BeforeStartUpBothCallsReturnMinusOne) {
  EXPECT_EQ(aclLibSendMsg(kRequest, "x", 1), -1);
  EXPECT_EQ(aclLibSendMsg2(kRequest, "x", 1, 1), -1);
  EXPECT_EQ(aclLibSendMsg2(kRequest, "x", 1, 0), -1);
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(SendMsgTest, SendMsgSendsAtOnce) {
  connectHandle();
  EXPECT_EQ(aclLibSendMsg(kRequest, "ab", 2), 0);
  EXPECT_THAT(sentBodies(), ElementsAre(bytesOf("ab")));
}

TEST_F(SendMsgTest, SendMsg2BatchesUntilARequestFlushes) {
  connectHandle();
  EXPECT_EQ(aclLibSendMsg2(kRequest, "ab", 2, 0), 0);
  EXPECT_THAT(fake().sentPackets(), IsEmpty());
  EXPECT_EQ(aclLibSendMsg2(kRequest, "cd", 2, 1), 0);
  EXPECT_EQ(fake().sentPackets().size(), 1U);
  EXPECT_THAT(sentBodies(), ElementsAre(bytesOf("ab"), bytesOf("cd")));
}

TEST_F(SendMsgTest, SendMsgReturnsTheResultOfTheSend) {
  connectHandle();
  fake().queueResults("msgbusSend", {-115, -116, -1});
  EXPECT_EQ(aclLibSendMsg(kRequest, "ab", 2), -115);
  EXPECT_EQ(aclLibSendMsg(kRequest, "ab", 2), 0);
  EXPECT_EQ(aclLibSendMsg(kRequest, "ab", 2), -1);
}

}  // namespace
