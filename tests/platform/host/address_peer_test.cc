#include "platform/host/address_peer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/msgbus.h"
#include "tests/platform/host/test_client.h"
#include "tests/platform/host/test_directory.h"
#include "tests/platform/host/test_server.h"

namespace {

using host_test::controlCodes;
using host_test::receiveText;
using host_test::sendText;
using host_test::TestServer;
using host_test::uniqueName;
using host_test::waitUntil;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

class AddressPeerTest : public testing::Test {
 protected:
  static void echo(TestServer &server, uint32_t connection, const std::string &packet) {
    server.send(connection, packet + "!");
  }
  void SetUp() override {
    startServer();
    peer_ = host_test::registerPeer(name_);
  }
  void TearDown() override { msgbusDeregisterPeer(peer_); }

  void startServer() {
    server_ = std::make_unique<TestServer>(name_, echo);
    server_->start();
  }
  void connect() {
    ASSERT_EQ(msgbusConnectToPeer(peer_, 0), 0);
    ASSERT_TRUE(waitForCodes({1}));
  }
  bool waitForCodes(const std::vector<int32_t> &codes) {
    return waitUntil([&] { return controlCodes(peer_).size() >= codes.size(); }) &&
           controlCodes(peer_) == codes;
  }

  const std::string name_ = uniqueName("addressed");
  std::unique_ptr<TestServer> server_;
  uint32_t peer_ = 0;
};

TEST_F(AddressPeerTest, RequestsAreAnswered) {
  connect();
  EXPECT_EQ(sendText(peer_, "ping"), 4);
  EXPECT_EQ(receiveText(peer_, 2000), "ping!");
}

TEST_F(AddressPeerTest, ConnectingAgainIsFine) {
  connect();
  EXPECT_EQ(msgbusConnectToPeer(peer_, 0), 0);
  EXPECT_EQ(controlCodes(peer_), std::vector<int32_t>{1});
}

TEST_F(AddressPeerTest, BeforeItIsConnectedNothingIsSentOrReceived) {
  EXPECT_EQ(sendText(peer_, "x"), MSGBUS_ERROR);
  EXPECT_EQ(receiveText(peer_, 1000), "error -1");
  EXPECT_EQ(msgbusGetVqStatsCount(peer_), 0);
}

TEST_F(AddressPeerTest, ReceivingEndsWhenTheWaitIsOver) {
  connect();
  const auto begin = steady_clock::now();
  EXPECT_EQ(receiveText(peer_, 30), "error -110");
  EXPECT_GE(steady_clock::now() - begin, milliseconds(30));
  EXPECT_EQ(receiveText(peer_, 0), "error -110");
}

TEST_F(AddressPeerTest, TheWaitIsTheSumOfItsThreeWords) {
  connect();
  PktBuf *const packet = pktbufAllocPacket(64, 28, 0);
  const uint32_t wait[3] = {1, 50, 50'000};
  const auto begin = steady_clock::now();
  EXPECT_EQ(msgbusRecv(peer_, packet, wait, 0), MSGBUS_TIMED_OUT);
  EXPECT_GE(steady_clock::now() - begin, milliseconds(1100));
  EXPECT_EQ(msgbusRecv(peer_, packet, nullptr, 0), MSGBUS_TIMED_OUT);
  pktbufFree(packet);
  EXPECT_EQ(msgbusRecv(peer_, nullptr, wait, 0), MSGBUS_ERROR);
}

TEST_F(AddressPeerTest, ALongMessageIsCutToThePacket) {
  connect();
  const std::string large(200'000, 'x');
  EXPECT_EQ(sendText(peer_, large), 200'000);
  PktBuf *const packet = pktbufAllocPacket(64, 28, 0);
  packet->capacity = 1000;
  const uint32_t wait[3] = {2, 0, 0};
  EXPECT_EQ(msgbusRecv(peer_, packet, wait, 0), 1000);
  EXPECT_EQ(packet->length, 1000u);
  pktbufFree(packet);
}

TEST_F(AddressPeerTest, ControlCodesComeOnTheDispatchersThread) {
  connect();
  EXPECT_NE(host_test::controlEvents(peer_)[0].thread, std::this_thread::get_id());
}

TEST_F(AddressPeerTest, ALossIsReportedAndTheConnectionRestoredUnderTheSameId) {
  connect();
  server_->close();
  ASSERT_TRUE(waitForCodes({1, 2}));
  EXPECT_EQ(sendText(peer_, "x"), MSGBUS_ERROR);
  EXPECT_EQ(receiveText(peer_, 1), "error -1");
  startServer();
  ASSERT_TRUE(waitForCodes({1, 2, -121}));
  EXPECT_EQ(sendText(peer_, "again"), 5);
  EXPECT_EQ(receiveText(peer_, 2000), "again!");
}

TEST_F(AddressPeerTest, PacketsLeftToReadComeBeforeTheLoss) {
  connect();
  const uint32_t connection = server_->waitForConnection();
  server_->send(connection, "one");
  server_->send(connection, "two");
  server_->close();
  std::this_thread::sleep_for(milliseconds(50));
  EXPECT_EQ(controlCodes(peer_), std::vector<int32_t>{1});
  EXPECT_EQ(receiveText(peer_, 1000), "one");
  EXPECT_EQ(receiveText(peer_, 1000), "two");
  EXPECT_EQ(receiveText(peer_, 1), "error -1");
  EXPECT_TRUE(waitForCodes({1, 2}));
}

TEST_F(AddressPeerTest, PacketsThatNobodyReadsDelayTheReportOfALossForASecondOnly) {
  connect();
  server_->send(server_->waitForConnection(), "unread");
  const auto begin = steady_clock::now();
  server_->close();
  ASSERT_TRUE(waitForCodes({1, 2}));
  EXPECT_GE(steady_clock::now() - begin, milliseconds(900));
  startServer();
  ASSERT_TRUE(waitForCodes({1, 2, -121}));
  EXPECT_EQ(sendText(peer_, "new"), 3);
  EXPECT_EQ(receiveText(peer_, 2000), "unread");
  EXPECT_EQ(receiveText(peer_, 2000), "new!");
}

TEST_F(AddressPeerTest, WhoWaitsToReceiveIsWokenByALoss) {
  connect();
  std::thread closer([this] {
    std::this_thread::sleep_for(milliseconds(50));
    server_->close();
  });
  const auto begin = steady_clock::now();
  EXPECT_EQ(receiveText(peer_, 9000), "error -1");
  EXPECT_LT(steady_clock::now() - begin, milliseconds(5000));
  closer.join();
}

TEST_F(AddressPeerTest, WhoWaitsToReceiveIsWokenWhenThePeerIsForgotten) {
  connect();
  std::thread forgetter([this] {
    std::this_thread::sleep_for(milliseconds(50));
    EXPECT_EQ(msgbusDeregisterPeer(peer_), 0);
  });
  EXPECT_EQ(receiveText(peer_, 9000), "error -1");
  forgetter.join();
  EXPECT_EQ(msgbusConnectToPeer(peer_, 0), MSGBUS_ERROR);
}

// Callers who try again at once must not use up a processor while a connection is restored.
TEST_F(AddressPeerTest, ReceivingWithoutAConnectionPausesBeforeItFails) {
  connect();
  server_->close();
  ASSERT_TRUE(waitForCodes({1, 2}));
  const auto begin = steady_clock::now();
  EXPECT_EQ(receiveText(peer_, 9000), "error -1");
  EXPECT_GE(steady_clock::now() - begin, milliseconds(10));
  EXPECT_LT(steady_clock::now() - begin, milliseconds(5000));
}

TEST_F(AddressPeerTest, WithoutKeepAliveTheOwnerConnectsAgainItself) {
  connect();
  EXPECT_EQ(msgbusSetPeerOption(peer_, MSGBUS_OPTION_KEEP_ALIVE, 0), 0);
  server_->close();
  ASSERT_TRUE(waitForCodes({1, 2}));
  startServer();
  std::this_thread::sleep_for(milliseconds(200));
  EXPECT_EQ(controlCodes(peer_), (std::vector<int32_t>{1, 2}));
  EXPECT_EQ(msgbusConnectToPeer(peer_, 0), 0);
  EXPECT_TRUE(waitForCodes({1, 2, -121}));
}

TEST_F(AddressPeerTest, TurningKeepAliveOnAgainRestoresTheConnection) {
  connect();
  EXPECT_EQ(msgbusSetPeerOption(peer_, MSGBUS_OPTION_KEEP_ALIVE, 0), 0);
  server_->close();
  ASSERT_TRUE(waitForCodes({1, 2}));
  startServer();
  EXPECT_EQ(msgbusSetPeerOption(peer_, MSGBUS_OPTION_KEEP_ALIVE, 1), 0);
  EXPECT_TRUE(waitForCodes({1, 2, -121}));
}

TEST_F(AddressPeerTest, ConnectingToNobodyIsInProgress) {
  server_->close();
  EXPECT_EQ(msgbusConnectToPeer(peer_, 0), MSGBUS_IN_PROGRESS);
  startServer();
  EXPECT_EQ(msgbusConnectToPeer(peer_, 0), 0);
  EXPECT_TRUE(waitForCodes({1}));
}

TEST_F(AddressPeerTest, AComponentThatThisProcessMayNotUseRefuses) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "nothing is forbidden to root";
  }
  const std::string socket = host_test::directory() + "/" + name_ + ".1.sock";
  std::filesystem::permissions(socket, std::filesystem::perms::none);
  EXPECT_EQ(msgbusConnectToPeer(peer_, 0), MSGBUS_REFUSED);
}

TEST_F(AddressPeerTest, QueuedPacketsSurviveALoss) {
  connect();
  server_->waitForConnection();
  server_->pause();
  std::vector<std::string> queued;
  for (int count = 0; queued.size() < 5; ++count) {
    const std::string packet = std::to_string(count) + std::string(30'000, 'q');
    const int32_t result = sendText(peer_, packet);
    ASSERT_TRUE(result > 0 || result == MSGBUS_QUEUED);
    if (result == MSGBUS_QUEUED) {
      queued.push_back(packet);
    }
  }
  server_->close();
  ASSERT_TRUE(waitForCodes({1, 2}));
  EXPECT_EQ(msgbusGetVqStatsCount(peer_), 5);
  startServer();
  EXPECT_TRUE(server_->waitForPackets(5));
  EXPECT_EQ(server_->received(), queued);
}

}  // namespace
