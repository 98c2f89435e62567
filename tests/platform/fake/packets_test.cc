#include <thread>

#include "tests/platform/fake/fake_test.h"

namespace swplat_fake {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PacketsTest : public FakeTest {
 protected:
  void SetUp() override {
    FakeTest::SetUp();
    fake().addPeer(7);
  }
};

TEST_F(PacketsTest, NewPacketsHaveExactlyThePromisedTailroom) {
  PktBuf *const packet = pktbufAllocPacket(100, 3, 1);
  EXPECT_EQ(packet->capacity, 100u + 65540u);
  pktbufFree(packet);
}

TEST_F(PacketsTest, LivePacketsAreThoseNeitherFreedNorSent) {
  PktBuf *const freed = pktbufAllocPacket(8, 0, 1);
  PktBuf *const sent = pktbufAllocPacket(8, 0, 1);
  EXPECT_EQ(fake().livePackets(), 2u);
  pktbufFree(freed);
  EXPECT_EQ(fake().livePackets(), 1u);
  EXPECT_EQ(msgbusSend(7, sent, 0), 8);
  EXPECT_EQ(fake().livePackets(), 0u);
  EXPECT_THAT(fake().violations(), IsEmpty());
}

TEST_F(PacketsTest, ARefusedPacketStaysLive) {
  fake().queueResults("msgbusSend", {-115, -1, -116});
  PktBuf *const packet = pktbufAllocPacket(8, 0, 1);
  EXPECT_EQ(msgbusSend(7, packet, 0), -115);
  EXPECT_EQ(msgbusSend(7, packet, 0), -1);
  EXPECT_EQ(fake().livePackets(), 1u);
  EXPECT_EQ(msgbusSend(7, packet, 0), -116);
  EXPECT_EQ(fake().livePackets(), 0u);
  EXPECT_EQ(fake().sentPackets().size(), 1u);
}

TEST_F(PacketsTest, FreeingTwiceIsAViolation) {
  PktBuf *const packet = pktbufAllocPacket(8, 0, 1);
  pktbufFree(packet);
  pktbufFree(packet);
  EXPECT_THAT(fake().violations(), ElementsAre("pktbufFree: packet was freed before"));
}

TEST_F(PacketsTest, AnAcceptedPacketMayBeFreedOnceDirectlyAfterwards) {
  PktBuf *const packet = pktbufAllocPacket(8, 0, 1);
  msgbusSend(7, packet, 0);
  pktbufFree(packet);
  EXPECT_THAT(fake().violations(), IsEmpty());
  pktbufFree(packet);
  EXPECT_THAT(fake().violations(), ElementsAre("pktbufFree: packet was accepted before"));
}

TEST_F(PacketsTest, FreeingAnAcceptedPacketAfterAnotherPacketCallIsAViolation) {
  PktBuf *const packet = pktbufAllocPacket(8, 0, 1);
  msgbusSend(7, packet, 0);
  pktbufFree(pktbufAllocPacket(8, 0, 1));
  pktbufFree(packet);
  EXPECT_THAT(fake().violations(), ElementsAre("pktbufFree: packet was accepted before"));
}

TEST_F(PacketsTest, AnotherThreadMayNotFreeAnAcceptedPacket) {
  PktBuf *const packet = pktbufAllocPacket(8, 0, 1);
  msgbusSend(7, packet, 0);
  std::thread([packet] { pktbufFree(packet); }).join();
  EXPECT_EQ(fake().violations().size(), 1u);
}

TEST_F(PacketsTest, UsingAPacketThatIsNotOwnedIsAViolation) {
  PktBuf stranger{};
  PktBuf *const packet = pktbufAllocPacket(8, 0, 1);
  pktbufFree(packet);
  EXPECT_EQ(msgbusSend(7, packet, 0), -1);
  pktbufTrimPacket(packet, 0);
  pktbufFree(&stranger);
  EXPECT_THAT(fake().violations(), ElementsAre("msgbusSend: packet was freed before",
                                               "pktbufTrimPacket: packet was freed before",
                                               "pktbufFree: unknown packet"));
}

TEST_F(PacketsTest, AllocationsFailWhenTold) {
  fake().failPacketAllocationsAfter(1);
  PktBuf *const packet = pktbufAllocPacket(8, 0, 1);
  EXPECT_NE(packet, nullptr);
  EXPECT_EQ(pktbufAllocPacket(8, 0, 1), nullptr);
  EXPECT_EQ(pktbufAllocPacket(8, 0, 1), nullptr);
  fake().allowPacketAllocations();
  fake().queueResults("pktbufAllocPacket", {0});
  EXPECT_EQ(pktbufAllocPacket(8, 0, 1), nullptr);
  pktbufFree(pktbufAllocPacket(8, 0, 1));
  pktbufFree(packet);
  EXPECT_EQ(fake().livePackets(), 0u);
}

TEST_F(PacketsTest, PacketsHeldOverAResetStayUsableAndAreNotCounted) {
  PktBuf *const freed = pktbufAllocPacket(8, 0, 1);
  PktBuf *const sent = pktbufAllocPacket(8, 0, 1);
  fake().reset();
  fake().addPeer(7);
  EXPECT_EQ(fake().livePackets(), 0u);
  freed->data[0] = 1;
  pktbufTrimPacket(sent, 3);
  EXPECT_EQ(msgbusSend(7, sent, 0), 3);
  pktbufFree(sent);
  pktbufFree(freed);
  EXPECT_THAT(fake().violations(), IsEmpty());
  pktbufFree(sent);
  pktbufFree(freed);
  EXPECT_THAT(fake().violations(), ElementsAre("pktbufFree: packet was accepted before",
                                               "pktbufFree: packet was freed before"));
}

}  // namespace
}  // namespace swplat_fake
