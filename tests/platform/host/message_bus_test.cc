#include "platform/host/message_bus.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "platform/msgbus.h"
#include "tests/platform/host/test_client.h"
#include "tests/platform/host/test_directory.h"
#include "tests/platform/host/test_server.h"

namespace {

using host_test::DispatchedClient;
using host_test::sendText;
using host_test::TestServer;
using host_test::uniqueName;
using host_test::waitUntil;

// Kilobytes of memory that this process has resident.
long residentKilobytes() {
  long total = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

// A server that has accepted its client and then reads nothing until it is started again.
class SlowReaderTest : public testing::Test {
 protected:
  void SetUp() override {
    server_.start();
    client_ = &DispatchedClient::create(name_);
    peer_ = client_->waitForConnection();
    server_.waitForConnection();
    server_.pause();
  }
  // Sends numbered packets until the result is `last`.
  void sendUntil(int32_t last) {
    int32_t result = 0;
    while (result != last) {
      const std::string packet = std::to_string(sent_.size()) + std::string(3000, 's');
      result = sendText(peer_, packet);
      ASSERT_NE(result, MSGBUS_ERROR);
      if (result != MSGBUS_QUEUE_FULL) {
        sent_.push_back(packet);
      }
    }
  }

  const std::string name_ = uniqueName("slow");
  TestServer server_{name_};
  DispatchedClient *client_ = nullptr;
  uint32_t peer_ = 0;
  std::vector<std::string> sent_;
};

TEST_F(SlowReaderTest, PacketsAreQueuedAndNothingIsLostOrReordered) {
  sendUntil(MSGBUS_QUEUED);
  EXPECT_EQ(msgbusGetVqStatsCount(peer_), 1);
  for (int count = 0; count < 500; ++count) {
    sent_.push_back("more " + std::to_string(count));
    ASSERT_EQ(sendText(peer_, sent_.back()), MSGBUS_QUEUED);
  }
  EXPECT_EQ(msgbusGetVqStatsCount(peer_), 501);
  server_.start();
  ASSERT_TRUE(server_.waitForPackets(sent_.size()));
  EXPECT_EQ(server_.received(), sent_);
  EXPECT_TRUE(waitUntil([&] { return msgbusGetVqStatsCount(peer_) == 0; }));
  EXPECT_EQ(sendText(peer_, "direct"), 6);
}

TEST_F(SlowReaderTest, PacketsKeepTheirOrderWhileTheQueueDrains) {
  sendUntil(MSGBUS_QUEUED);
  server_.start();
  for (int count = 0; count < 2000; ++count) {
    sent_.push_back("while draining " + std::to_string(count));
    while (sendText(peer_, sent_.back()) == MSGBUS_QUEUE_FULL) {
    }
  }
  ASSERT_TRUE(server_.waitForPackets(sent_.size()));
  EXPECT_EQ(server_.received(), sent_);
}

TEST_F(SlowReaderTest, TheQueueTakes1024PacketsAtFirst) {
  sendUntil(MSGBUS_QUEUE_FULL);
  EXPECT_EQ(msgbusGetVqStatsCount(peer_), 1024);
}

TEST_F(SlowReaderTest, TheQueueLimitIsWhatTheOptionSays) {
  EXPECT_EQ(msgbusSetPeerOption(peer_, MSGBUS_OPTION_QUEUE_LIMIT, 3), 0);
  sendUntil(MSGBUS_QUEUE_FULL);
  EXPECT_EQ(msgbusGetVqStatsCount(peer_), 3);
  EXPECT_EQ(msgbusSetPeerOption(peer_, MSGBUS_OPTION_QUEUE_LIMIT, 4), 0);
  EXPECT_EQ(sendText(peer_, "fourth"), MSGBUS_QUEUED);
  EXPECT_EQ(sendText(peer_, "fifth"), MSGBUS_QUEUE_FULL);
  sent_.emplace_back("fourth");
  server_.start();
  ASSERT_TRUE(server_.waitForPackets(sent_.size()));
  EXPECT_EQ(server_.received(), sent_);
}

TEST_F(SlowReaderTest, AFullQueueTakesNoMemory) {
  sendUntil(MSGBUS_QUEUE_FULL);
  const std::string refused(3000, 'r');
  const long before = residentKilobytes();
  for (int count = 0; count < 5000; ++count) {
    PktBuf *const packet = host_test::packetOf(refused);
    ASSERT_EQ(msgbusSend(peer_, packet, 0), MSGBUS_QUEUE_FULL);
    ASSERT_EQ(packet->length, 3000u);
    pktbufFree(packet);
  }
  EXPECT_LT(residentKilobytes() - before, 2000);
}

TEST_F(SlowReaderTest, AnEmptyPacketIsAcceptedAndNotQueued) {
  sendUntil(MSGBUS_QUEUED);
  EXPECT_EQ(sendText(peer_, ""), 0);
  EXPECT_EQ(msgbusGetVqStatsCount(peer_), 1);
}

TEST_F(SlowReaderTest, DeregisteringDropsWhatIsQueued) {
  sendUntil(MSGBUS_QUEUED);
  EXPECT_EQ(msgbusDeregisterPeer(peer_), 0);
  EXPECT_EQ(msgbusGetVqStatsCount(peer_), MSGBUS_ERROR);
  server_.start();
  EXPECT_TRUE(waitUntil([&] { return server_.disconnected().size() == 1; }));
  EXPECT_EQ(server_.received().size(), sent_.size() - 1);
}

TEST_F(SlowReaderTest, AQueuedPacketMayBeFreedByItsSender) {
  sendUntil(MSGBUS_QUEUED);
  PktBuf *const packet = host_test::packetOf("queued and freed");
  ASSERT_EQ(msgbusSend(peer_, packet, 0), MSGBUS_QUEUED);
  pktbufFree(packet);
  sent_.emplace_back("queued and freed");
  PktBuf *const reused = host_test::packetOf("something else entirely");
  server_.start();
  ASSERT_TRUE(server_.waitForPackets(sent_.size()));
  EXPECT_EQ(server_.received().back(), "queued and freed");
  pktbufFree(reused);
}

TEST(MessageBusTest, OnlyClientsForRequestsExist) {
  EXPECT_EQ(msgbusInitClient(0, nullptr, 0), 0u);
  EXPECT_EQ(msgbusInitClient(2, nullptr, 0), 0u);
  const uint32_t client = msgbusInitClient(1, nullptr, 0);
  EXPECT_NE(client, 0u);
  EXPECT_NE(msgbusInitClient(1, nullptr, 0), client);
  EXPECT_TRUE(swplat::isMessageBusClient(client));
  EXPECT_FALSE(swplat::isMessageBusClient(0));
  EXPECT_FALSE(swplat::isMessageBusClient(client + 1000));
}

TEST(MessageBusTest, UnknownPeersAreRefusedByEveryCall) {
  PktBuf *const packet = pktbufAllocPacket(8, 0, 0);
  const uint32_t wait[3] = {5, 0, 0};
  for (const uint32_t peer : {0u, 4000u, 4096u, 0xFFFFFFFFu}) {
    EXPECT_EQ(msgbusSend(peer, packet, 0), MSGBUS_ERROR);
    EXPECT_EQ(msgbusRecv(peer, packet, wait, 0), MSGBUS_ERROR);
    EXPECT_EQ(msgbusConnectToPeer(peer, 0), MSGBUS_ERROR);
    EXPECT_EQ(msgbusDeregisterPeer(peer), MSGBUS_ERROR);
    EXPECT_EQ(msgbusSetPeerOption(peer, MSGBUS_OPTION_PRIORITY, 2), MSGBUS_ERROR);
    EXPECT_EQ(msgbusGetVqStatsCount(peer), MSGBUS_ERROR);
  }
  pktbufFree(packet);
  EXPECT_EQ(msgbusSend(1, nullptr, 0), MSGBUS_ERROR);
}

TEST(MessageBusTest, RegisteringNeedsAClientAndAnAddress) {
  const std::string name = uniqueName("component");
  const TestServer server(name);
  uint32_t peer = 77;
  EXPECT_EQ(msgbusRegisterPeerByAddr(host_test::controlledClient(), 12345, &peer), MSGBUS_ERROR);
  EXPECT_EQ(msgbusRegisterPeerByAddr(0, 12345, &peer), MSGBUS_ERROR);
  EXPECT_EQ(peer, 77u);
}

TEST(MessageBusTest, APeerOfTheDispatcherIsNotReceivedFromByCalls) {
  const std::string name = uniqueName("component");
  TestServer server(name);
  server.start();
  const uint32_t peer = DispatchedClient::create(name).waitForConnection();
  PktBuf *const packet = pktbufAllocPacket(8, 0, 0);
  EXPECT_EQ(msgbusRecv(peer, packet, nullptr, 0), MSGBUS_ERROR);
  pktbufFree(packet);
  EXPECT_EQ(msgbusConnectToPeer(peer, 0), 0);
  EXPECT_EQ(msgbusSetPeerOption(peer, MSGBUS_OPTION_KEEP_ALIVE, 1), 0);
  EXPECT_EQ(msgbusSetPeerOption(peer, MSGBUS_OPTION_PRIORITY, 2), 0);
  EXPECT_EQ(msgbusSetPeerOption(peer, 99, 5), 0);
}

}  // namespace
