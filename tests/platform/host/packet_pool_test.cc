#include "platform/host/packet_pool.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <thread>
#include <vector>

#include "platform/host/unix_socket.h"
#include "tests/platform/host/test_client.h"
#include "tests/platform/host/test_directory.h"
#include "tests/platform/host/test_server.h"

namespace {

using host_test::packetOf;

TEST(PacketPoolTest, PacketsHaveTheRoomAskedForAndTheTailroomBehindIt) {
  for (const uint32_t size : {0u, 1u, 112u, 8128u, 8192u, 8193u, 65536u, 300'000u, 2'000'000u}) {
    for (const uint32_t headroom : {0u, 28u, 32u, 64u, 65u, 5000u}) {
      PktBuf *const packet = pktbufAllocPacket(size, headroom, 1);
      ASSERT_NE(packet, nullptr);
      EXPECT_EQ(packet->length, size);
      EXPECT_GE(packet->capacity, size + PKTBUF_TAILROOM);
      EXPECT_EQ(reinterpret_cast<uintptr_t>(packet->data) % 8, 0u);
      std::memset(packet->data - headroom, 0x5A, headroom + packet->capacity);
      pktbufFree(packet);
    }
  }
}

TEST(PacketPoolTest, TrimmingSetsTheLengthUpToTheCapacity) {
  PktBuf *const packet = pktbufAllocPacket(100, 0, 1);
  uint8_t *const data = packet->data;
  pktbufTrimPacket(packet, 40);
  EXPECT_EQ(packet->length, 40u);
  pktbufTrimPacket(packet, packet->capacity);
  EXPECT_EQ(packet->length, packet->capacity);
  pktbufTrimPacket(packet, packet->capacity + 1);
  EXPECT_EQ(packet->length, packet->capacity);
  EXPECT_EQ(packet->data, data);
  pktbufFree(packet);
}

TEST(PacketPoolTest, FreeingNullIsANoOp) {
  pktbufFree(nullptr);
}

TEST(PacketPoolTest, TheLatestPacketGivenBackIsTheNextOneHandedOut) {
  PktBuf *const packet = pktbufAllocPacket(8128, 32, 1);
  pktbufFree(packet);
  PktBuf *const again = pktbufAllocPacket(112, 32, 1);
  EXPECT_EQ(again, packet);
  pktbufFree(again);
}

TEST(PacketPoolTest, AReceivingPacketTakesTheLargestPacketOfTheBus) {
  const swplat::OwnedPacket packet(swplat::acquireLargestPacket());
  EXPECT_GE(packet->capacity, swplat::kLargestPacket);
}

TEST(PacketPoolTest, PacketsInUseAreAllDifferent) {
  std::set<PktBuf *> packets;
  for (int count = 0; count < 300; ++count) {
    packets.insert(pktbufAllocPacket(8128, 32, 1));
  }
  EXPECT_EQ(packets.size(), 300u);
  for (PktBuf *const packet : packets) {
    pktbufFree(packet);
  }
}

TEST(PacketPoolTest, ASizeThatNoMachineHasIsRefused) {
  if (sizeof(void *) == 4) {
    EXPECT_EQ(pktbufAllocPacket(0xFFFFFFFF, 0, 1), nullptr);
    EXPECT_EQ(pktbufAllocPacket(0xFFFFFFFF, 0xFFFFFFFF, 1), nullptr);
  }
}

// Callers differ in whether they free a packet that the bus has accepted.
class AcceptedPacketTest : public testing::Test {
 protected:
  void SetUp() override {
    server_.start();
    peer_ = host_test::registerPeer(name_);
    ASSERT_EQ(msgbusConnectToPeer(peer_, 0), 0);
  }
  void TearDown() override { msgbusDeregisterPeer(peer_); }

  const std::string name_ = host_test::uniqueName("accepted");
  host_test::TestServer server_{name_};
  uint32_t peer_ = 0;
};

TEST_F(AcceptedPacketTest, FreeingItIsAllowedAndGivesItBackOnce) {
  PktBuf *const packet = packetOf("freed");
  ASSERT_EQ(msgbusSend(peer_, packet, 0), 5);
  pktbufFree(packet);
  PktBuf *const first = pktbufAllocPacket(8, 0, 1);
  PktBuf *const second = pktbufAllocPacket(8, 0, 1);
  EXPECT_EQ(first, packet);
  EXPECT_NE(second, packet);
  pktbufFree(first);
  pktbufFree(second);
  EXPECT_TRUE(server_.waitForPackets(1));
}

TEST_F(AcceptedPacketTest, NotFreeingItGivesItBackWithTheNextCall) {
  PktBuf *const packet = packetOf("kept");
  ASSERT_EQ(msgbusSend(peer_, packet, 0), 4);
  PktBuf *const next = pktbufAllocPacket(8, 0, 1);
  EXPECT_EQ(next, packet);
  pktbufFree(next);
}

TEST_F(AcceptedPacketTest, AnEmptyPacketIsAcceptedLikeAnyOther) {
  PktBuf *const packet = packetOf("");
  EXPECT_EQ(msgbusSend(peer_, packet, 0), 0);
  pktbufFree(packet);
  EXPECT_EQ(host_test::sendText(peer_, ""), 0);
  EXPECT_EQ(host_test::sendText(peer_, "then"), 4);
  EXPECT_TRUE(server_.waitForPackets(1));
  EXPECT_EQ(server_.received(), std::vector<std::string>{"then"});
}

TEST_F(AcceptedPacketTest, ItsMemoryServesNobodyElseUntilItsSenderGoesOn) {
  PktBuf *const packet = packetOf("parked");
  ASSERT_EQ(msgbusSend(peer_, packet, 0), 6);
  std::thread([packet] {
    std::vector<PktBuf *> others;
    for (int count = 0; count < 300; ++count) {
      others.push_back(pktbufAllocPacket(8, 0, 1));
      EXPECT_NE(others.back(), packet);
    }
    for (PktBuf *const other : others) {
      pktbufFree(other);
    }
  }).join();
  pktbufFree(packet);
}

TEST_F(AcceptedPacketTest, AThreadMayEndWithoutFreeingIt) {
  std::thread([this] { EXPECT_EQ(msgbusSend(peer_, packetOf("last"), 0), 4); }).join();
  std::thread([this] {
    PktBuf *const packet = packetOf("last but freed");
    EXPECT_EQ(msgbusSend(peer_, packet, 0), 14);
    pktbufFree(packet);
  }).join();
  EXPECT_TRUE(server_.waitForPackets(2));
}

TEST_F(AcceptedPacketTest, APacketThatWasNotTakenStaysWithItsOwner) {
  PktBuf *const packet = packetOf("mine");
  EXPECT_EQ(msgbusSend(0, packet, 0), MSGBUS_ERROR);
  EXPECT_EQ(host_test::textOf(*packet), "mine");
  EXPECT_EQ(msgbusSend(peer_, packet, 0), 4);
}

TEST_F(AcceptedPacketTest, FreeingItDoesNotReleaseAnotherOneSentBefore) {
  PktBuf *const first = packetOf("1");
  PktBuf *const second = packetOf("2");
  ASSERT_EQ(msgbusSend(peer_, first, 0), 1);
  ASSERT_EQ(msgbusSend(peer_, second, 0), 1);
  pktbufFree(second);
  std::set<PktBuf *> all;
  for (int count = 0; count < 4; ++count) {
    all.insert(pktbufAllocPacket(8, 0, 1));
  }
  EXPECT_EQ(all.size(), 4u);
  for (PktBuf *const packet : all) {
    pktbufFree(packet);
  }
}

TEST_F(AcceptedPacketTest, ThreadsOfBothKindsSendSideBySide) {
  constexpr size_t kEach = 200;
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([this, number] {
      for (size_t count = 0; count < kEach; ++count) {
        PktBuf *const packet = packetOf(std::string(100, static_cast<char>('a' + number)));
        const int32_t result = msgbusSend(peer_, packet, 0);
        EXPECT_TRUE(result == 100 || result == MSGBUS_QUEUED);
        if (number % 2 == 0) {
          pktbufFree(packet);
        }
      }
    });
  }
  for (std::thread &thread : threads) {
    thread.join();
  }
  EXPECT_TRUE(server_.waitForPackets(4 * kEach));
  for (const std::string &packet : server_.received()) {
    EXPECT_EQ(packet, std::string(100, packet[0]));
  }
}

}  // namespace
