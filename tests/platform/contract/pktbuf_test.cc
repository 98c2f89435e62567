#include "platform/pktbuf.h"

#include <cstring>
#include <thread>
#include <vector>

#include "tests/platform/contract/contract_test.h"

namespace contract {
namespace {

class PktbufContract : public ContractTest {};

TEST_F(PktbufContract, ANewPacketHasTheLengthAskedFor) {
  PktBuf *const packet = pktbufAllocPacket(100, 0, 1);
  ASSERT_NE(packet, nullptr);
  EXPECT_EQ(packet->length, 100u);
  pktbufFree(packet);
}

TEST_F(PktbufContract, TailroomTakesTheLargestObjectBehindTheSize) {
  EXPECT_EQ(PKTBUF_TAILROOM, 65540);
  for (const std::uint32_t size : {0u, 1u, 1024u, 32768u, 70'000u}) {
    PktBuf *const packet = pktbufAllocPacket(size, 0, 1);
    ASSERT_NE(packet, nullptr);
    EXPECT_GE(packet->capacity, size + 65540);
    std::memset(packet->data, 0x5A, packet->capacity);
    EXPECT_EQ(packet->data[packet->capacity - 1], 0x5A);
    pktbufFree(packet);
  }
}

TEST_F(PktbufContract, DataIsAlignedToEightBytesWhateverTheHeadroom) {
  for (const std::uint32_t headroom : {0u, 1u, 7u, 64u, 1000u}) {
    PktBuf *const packet = pktbufAllocPacket(10, headroom, 1);
    ASSERT_NE(packet, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(packet->data) % 8, 0u);
    std::memset(packet->data, 0, packet->capacity);
    pktbufFree(packet);
  }
}

TEST_F(PktbufContract, TrimSetsTheLengthAndLeavesTheDataInPlace) {
  PktBuf *const packet = pktbufAllocPacket(100, 0, 1);
  ASSERT_NE(packet, nullptr);
  std::uint8_t *const data = packet->data;
  data[0] = 1;
  data[149] = 2;
  pktbufTrimPacket(packet, 10);
  EXPECT_EQ(packet->length, 10u);
  pktbufTrimPacket(packet, 0);
  EXPECT_EQ(packet->length, 0u);
  pktbufTrimPacket(packet, 150);
  EXPECT_EQ(packet->length, 150u);
  EXPECT_EQ(packet->data, data);
  EXPECT_EQ(data[0], 1);
  EXPECT_EQ(data[149], 2);
  pktbufFree(packet);
}

TEST_F(PktbufContract, TrimEndsAtTheCapacity) {
  PktBuf *const packet = pktbufAllocPacket(100, 0, 1);
  ASSERT_NE(packet, nullptr);
  pktbufTrimPacket(packet, packet->capacity);
  EXPECT_EQ(packet->length, packet->capacity);
  pktbufTrimPacket(packet, packet->capacity + 1);
  EXPECT_EQ(packet->length, packet->capacity);
  pktbufTrimPacket(packet, 0xFFFFFFFF);
  EXPECT_EQ(packet->length, packet->capacity);
  pktbufFree(packet);
}

TEST_F(PktbufContract, FreeingNullIsANoOp) {
  pktbufFree(nullptr);
}

TEST_F(PktbufContract, PacketsInUseDoNotShareMemory) {
  std::vector<PktBuf *> packets;
  for (std::uint8_t i = 0; i < 20; ++i) {
    packets.push_back(pktbufAllocPacket(i, 0, i % 2));
    ASSERT_NE(packets.back(), nullptr);
    std::memset(packets.back()->data, i, packets.back()->capacity);
  }
  for (std::uint8_t i = 0; i < 20; ++i) {
    EXPECT_EQ(packets[i]->data[0], i);
    EXPECT_EQ(packets[i]->data[packets[i]->capacity - 1], i);
    pktbufFree(packets[i]);
  }
}

TEST_F(PktbufContract, APacketKeepsItsPromisesWhenMemoryIsRecycled) {
  for (const std::uint32_t size : {10u, 100'000u, 20u, 200'000u, 0u}) {
    PktBuf *const packet = pktbufAllocPacket(size, 16, 1);
    ASSERT_NE(packet, nullptr);
    EXPECT_EQ(packet->length, size);
    EXPECT_GE(packet->capacity, size + 65540);
    pktbufTrimPacket(packet, 3);
    pktbufFree(packet);
  }
}

TEST_F(PktbufContract, AnotherThreadMayFreeAPacket) {
  PktBuf *const packet = pktbufAllocPacket(100, 0, 1);
  ASSERT_NE(packet, nullptr);
  packet->data[0] = 1;
  std::thread([packet] { pktbufFree(packet); }).join();
}

TEST_F(PktbufContract, SeveralThreadsMayUsePackets) {
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([] {
      for (std::uint32_t i = 0; i < 100; ++i) {
        PktBuf *const packet = pktbufAllocPacket(i, 0, 1);
        packet->data[i] = 1;
        pktbufFree(packet);
      }
    });
  }
  for (std::thread &thread : threads) thread.join();
}

}  // namespace
}  // namespace contract
