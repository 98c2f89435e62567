#include "tests/platform/fake/fake_test.h"

namespace swplat_fake {
namespace {

using test_support::hex;
using test_support::join;
using testing::ElementsAre;
using testing::IsEmpty;

class MessageBusTest : public FakeTest {
 protected:
  static DirsvcRecord keyOf(std::string_view component, std::uint8_t slot) {
    DirsvcRecord key{};
    component.copy(key.name, sizeof(key.name) - 1);
    key.slot = slot;
    return key;
  }
};

TEST_F(MessageBusTest, SentPacketsAreKeptWithPeerAndFlags) {
  fake().addPeer(7);
  EXPECT_EQ(msgbusSend(7, packetWith(hex("0102")), 3), 2);
  EXPECT_EQ(msgbusSend(7, packetWith({}), 0), 0);
  const std::vector<SentPacket> sent = fake().sentPackets();
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent[0].peer, 7u);
  EXPECT_EQ(sent[0].flags, 3u);
  EXPECT_EQ(sent[0].bytes, hex("0102"));
  EXPECT_THAT(sent[1].bytes, IsEmpty());
}

TEST_F(MessageBusTest, OnlyTheLengthInUseIsSent) {
  fake().addPeer(7);
  PktBuf *const packet = packetWith(hex("01020304"));
  pktbufTrimPacket(packet, 3);
  EXPECT_EQ(msgbusSend(7, packet, 0), 3);
  EXPECT_EQ(fake().sentPackets()[0].bytes, hex("010203"));
}

TEST_F(MessageBusTest, SentObjectsAreTakenFromAllPackets) {
  fake().addPeer(7);
  msgbusSend(7, packetWith(join(object(0x2000, hex("AABBCC")), object(1, {}))), 0);
  msgbusSend(7, packetWith(object(2, hex("0102"))), 0);
  const std::vector<SentObject> objects = fake().sentObjects();
  ASSERT_EQ(objects.size(), 3u);
  EXPECT_EQ(objects[0].type, 0x2000);
  EXPECT_EQ(objects[0].value, hex("AABBCC"));
  EXPECT_THAT(objects[1].value, IsEmpty());
  EXPECT_EQ(objects[2].value, hex("0102"));
  EXPECT_THAT(fake().violations(), IsEmpty());
}

TEST_F(MessageBusTest, ABrokenObjectInASentPacketIsAViolation) {
  fake().addPeer(7);
  msgbusSend(7, packetWith(hex("0001 0004 0102")), 0);
  EXPECT_THAT(fake().sentObjects(), IsEmpty());
  EXPECT_EQ(fake().violations().size(), 1u);
}

TEST_F(MessageBusTest, ObjectsAreWrittenAsTheyTravel) {
  EXPECT_EQ(object(0x2001, hex("010203")), hex("2001 0003 010203 00"));
  EXPECT_EQ(object(1, hex("0102")), hex("0001 0002 0102"));
}

TEST_F(MessageBusTest, SendingToABrokenConnectionFails) {
  fake().addPeer(7);
  fake().setConnected(7, false);
  PktBuf *const packet = packetWith(hex("01"));
  EXPECT_EQ(msgbusSend(7, packet, 0), -1);
  fake().setConnected(7, true);
  EXPECT_EQ(msgbusSend(7, packet, 0), 1);
}

TEST_F(MessageBusTest, TheDirectoryFindsServedComponentsOnly) {
  fake().serve("acl", 4, 0x1234'5678'9ABC, 99);
  const DirsvcRecord key = keyOf("acl", 4);
  DirsvcRecord result{};
  ASSERT_EQ(dirsvcGetEntryByAttr(&key, &result), 0);
  EXPECT_EQ(std::uint64_t{result.address}, 0x1234'5678'9ABCu);
  EXPECT_EQ(result.port, 99u);
  const DirsvcRecord otherSlot = keyOf("acl", 5);
  EXPECT_EQ(dirsvcGetEntryByAttr(&otherSlot, &result), -1);
  fake().stopServing("acl", 4);
  EXPECT_EQ(dirsvcGetEntryByAttr(&key, &result), -1);
  EXPECT_EQ(fake().calls()[0], Call::of("dirsvcGetEntryByAttr", "acl", 4));
}

TEST_F(MessageBusTest, APeerIsMadeFromAServedAddressAndConnected) {
  fake().serve("acl", 4, 77);
  const std::uint32_t client = msgbusInitClient(1, nullptr, 0);
  std::uint32_t peer = 0;
  ASSERT_EQ(msgbusRegisterPeerByAddr(client, 77, &peer), 0);
  PktBuf *const packet = packetWith(hex("01"));
  EXPECT_EQ(msgbusSend(peer, packet, 0), -1) << "not connected yet";
  EXPECT_EQ(msgbusConnectToPeer(peer, 0), 0);
  EXPECT_EQ(msgbusSend(peer, packet, 0), 1);
  EXPECT_EQ(msgbusDeregisterPeer(peer), 0);
  EXPECT_EQ(msgbusDeregisterPeer(peer), -1);
}

TEST_F(MessageBusTest, ConnectingWaitsForTheComponent) {
  fake().serve("acl", 4, 77);
  std::uint32_t peer = 0;
  ASSERT_EQ(msgbusRegisterPeerByAddr(msgbusInitClient(1, nullptr, 0), 77, &peer), 0);
  fake().stopServing("acl", 4);
  EXPECT_EQ(msgbusConnectToPeer(peer, 0), -113);
  fake().queueResults("msgbusConnectToPeer", {-109});
  EXPECT_EQ(msgbusConnectToPeer(peer, 0), -109);
  fake().serve("acl", 4, 77);
  EXPECT_EQ(msgbusConnectToPeer(peer, 0), 0);
}

TEST_F(MessageBusTest, QueuedMessagesAreReceivedInOrderThenTimeRunsOut) {
  fake().addPeer(7);
  fake().queueReceive(7, hex("0102"));
  fake().queueReceive(7, hex("03"));
  PktBuf *const packet = pktbufAllocPacket(100, 0, 0);
  const std::uint32_t wait[3] = {2, 500, 1};
  EXPECT_EQ(msgbusRecv(7, packet, wait, 0), 2);
  EXPECT_EQ(packet->length, 2u);
  EXPECT_EQ(test_support::copyOf(packet->data, 2), hex("0102"));
  EXPECT_EQ(msgbusRecv(7, packet, wait, 0), 1);
  EXPECT_EQ(msgbusRecv(7, packet, wait, 0), -110);
  EXPECT_EQ(fake().calls({"msgbusRecv"})[0], Call::of("msgbusRecv", 7, packet, "{2, 500, 1}", 0));
  pktbufFree(packet);
}

TEST_F(MessageBusTest, AHookMayQueueTheAnswerToWhatIsSent) {
  fake().addPeer(7);
  fake().setHook("msgbusSend", [] { fake().queueReceive(7, hex("0A")); });
  PktBuf *const answer = pktbufAllocPacket(100, 0, 0);
  const std::uint32_t wait[3] = {0, 0, 0};
  EXPECT_EQ(msgbusRecv(7, answer, wait, 0), -110);
  EXPECT_EQ(msgbusSend(7, packetWith(hex("01")), 0), 1);
  EXPECT_EQ(msgbusRecv(7, answer, wait, 0), 1);
  pktbufFree(answer);
}

TEST_F(MessageBusTest, PeerOptionsAndQueueLengthsAreKept) {
  fake().addPeer(7);
  fake().setQueueLength(7, 12);
  EXPECT_EQ(msgbusSetPeerOption(7, 2, 1), 0);
  EXPECT_EQ(msgbusSetPeerOption(7, 3, 500), 0);
  EXPECT_EQ(msgbusGetVqStatsCount(7), 12);
  EXPECT_THAT(fake().peerOptions(7), ElementsAre(PeerOption{2, 1}, PeerOption{3, 500}));
}

TEST_F(MessageBusTest, ControlEventsReachTheClientOfThePeer) {
  static std::vector<std::int32_t> seen;
  seen.clear();
  fake().serve("acl", 4, 77);
  const std::uint32_t client = msgbusInitClient(
      1,
      [](std::uint32_t peer, std::int32_t code) -> std::int32_t {
        seen = {static_cast<std::int32_t>(peer), code};
        return 5;
      },
      0);
  std::uint32_t peer = 0;
  ASSERT_EQ(msgbusRegisterPeerByAddr(client, 77, &peer), 0);
  EXPECT_EQ(fake().controlEvent(peer, 2), 5);
  EXPECT_THAT(seen, ElementsAre(static_cast<std::int32_t>(peer), 2));
  EXPECT_EQ(fake().controlEvent(peer + 1, 2), 0);
  EXPECT_EQ(fake().violations().size(), 1u);
}

}  // namespace
}  // namespace swplat_fake
