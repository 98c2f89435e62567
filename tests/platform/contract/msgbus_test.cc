#include "platform/msgbus.h"

#include <cstring>

#include "platform/dirsvc.h"
#include "platform/pktbuf.h"
#include "tests/platform/contract/contract_test.h"

namespace contract {
namespace {

constexpr std::uint32_t kNoPeer = 0xFFFF'FFF0;

class MsgbusContract : public ContractTest {};

TEST_F(MsgbusContract, ClientsAreNumberedFromOneAndAllDifferent) {
  const std::uint32_t first = msgbusInitClient(1, nullptr, 0);
  const std::uint32_t second = msgbusInitClient(1, nullptr, 0);
  EXPECT_NE(first, 0u);
  EXPECT_NE(second, 0u);
  EXPECT_NE(first, second);
}

TEST_F(MsgbusContract, APacketForAnUnknownPeerStaysWithTheCaller) {
  PktBuf *const packet = pktbufAllocPacket(8, 0, 1);
  ASSERT_NE(packet, nullptr);
  packet->data[0] = 0x77;
  EXPECT_EQ(msgbusSend(kNoPeer, packet, 0), -1);
  EXPECT_EQ(packet->data[0], 0x77);
  EXPECT_EQ(packet->length, 8u);
  EXPECT_EQ(msgbusSend(kNoPeer, packet, 0), -1);
  pktbufFree(packet);
}

TEST_F(MsgbusContract, EveryCallRefusesAnUnknownPeer) {
  PktBuf *const packet = pktbufAllocPacket(8, 0, 0);
  ASSERT_NE(packet, nullptr);
  const std::uint32_t wait[3] = {0, 0, 0};
  EXPECT_EQ(msgbusRecv(kNoPeer, packet, wait, 0), -1);
  EXPECT_EQ(msgbusConnectToPeer(kNoPeer, 0), -1);
  EXPECT_EQ(msgbusDeregisterPeer(kNoPeer), -1);
  EXPECT_EQ(msgbusSetPeerOption(kNoPeer, MSGBUS_OPTION_QUEUE_LIMIT, 1), -1);
  EXPECT_EQ(msgbusGetVqStatsCount(kNoPeer), -1);
  pktbufFree(packet);
}

TEST_F(MsgbusContract, UnknownClientsAndAddressesMakeNoPeer) {
  const std::uint32_t client = msgbusInitClient(1, nullptr, 0);
  std::uint32_t peer = 4711;
  EXPECT_EQ(msgbusRegisterPeerByAddr(client, 0x1234'5678'9ABC'DEF0, &peer), -1);
  EXPECT_EQ(msgbusRegisterPeerByAddr(client + 1000, 1, &peer), -1);
  EXPECT_EQ(peer, 4711u);
}

TEST_F(MsgbusContract, AComponentThatNobodyServesIsNotInTheDirectory) {
  DirsvcRecord key{};
  std::strcpy(key.name, "nobody");
  key.slot = 3;
  DirsvcRecord result;
  std::memset(&result, 0x11, sizeof(result));
  const DirsvcRecord before = result;
  EXPECT_EQ(dirsvcGetEntryByAttr(&key, &result), -1);
  EXPECT_EQ(std::memcmp(&before, &result, sizeof(result)), 0);
}

TEST_F(MsgbusContract, DirectoryRecordsHave52Bytes) {
  EXPECT_EQ(sizeof(DirsvcRecord), 52u);
  EXPECT_EQ(offsetof(DirsvcRecord, slot), 35u);
  EXPECT_EQ(offsetof(DirsvcRecord, address), 36u);
  EXPECT_EQ(offsetof(DirsvcRecord, port), 44u);
}

}  // namespace
}  // namespace contract
