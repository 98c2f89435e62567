#include "platform/host/dispatch_client.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
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

constexpr int32_t kConnected = -121;
constexpr int32_t kDisconnected = -112;

class DispatchClientTest : public testing::Test {
 protected:
  const std::string name_ = uniqueName("dispatched");
};

TEST_F(DispatchClientTest, ItConnectsToAComponentThatIsServed) {
  TestServer server(name_);
  server.start();
  DispatchedClient &client = DispatchedClient::create(name_);
  const uint32_t peer = client.waitForConnection();
  EXPECT_NE(peer, 0u);
  EXPECT_EQ(sendText(peer, "hello"), 5);
  EXPECT_TRUE(server.waitForPackets(1));
  EXPECT_EQ(server.received(), std::vector<std::string>{"hello"});
  EXPECT_NE(client.thread(), std::this_thread::get_id());
}

TEST_F(DispatchClientTest, ItConnectsWhenTheComponentComesLater) {
  DispatchedClient &client = DispatchedClient::create(name_);
  std::this_thread::sleep_for(std::chrono::milliseconds(120));
  EXPECT_TRUE(client.events().empty());
  TestServer server(name_);
  server.start();
  EXPECT_NE(client.waitForConnection(), 0u);
}

TEST_F(DispatchClientTest, PacketsAreDeliveredWholeAndInOrder) {
  constexpr size_t kPackets = 500;
  TestServer server(name_);
  server.start();
  DispatchedClient &client = DispatchedClient::create(name_);
  const uint32_t connection = server.waitForConnection();
  std::vector<std::string> sent;
  for (size_t count = 0; count < kPackets; ++count) {
    sent.push_back(std::to_string(count) + std::string(count * 100, 'x'));
    const int32_t result = server.send(connection, sent.back());
    ASSERT_TRUE(result > 0 || result == MSGBUS_QUEUED);
  }
  ASSERT_TRUE(client.waitForEvents(kPackets + 1));
  const auto events = client.events();
  EXPECT_EQ(events[0].length, kConnected);
  for (size_t count = 0; count < kPackets; ++count) {
    ASSERT_EQ(events[count + 1].packet, sent[count]);
    ASSERT_EQ(events[count + 1].length, static_cast<int32_t>(sent[count].size()));
  }
}

TEST_F(DispatchClientTest, WhatArrivedIsDeliveredBeforeTheLoss) {
  TestServer server(name_);
  server.start();
  // Shared with the client, which outlives the test.
  const auto hold = std::make_shared<std::atomic<bool>>(true);
  DispatchedClient &client =
      DispatchedClient::create(name_, [hold](DispatchedClient &, const DispatchedClient::Event &) {
        waitUntil([&] { return !*hold; });
      });
  const uint32_t connection = server.waitForConnection();
  for (const char *const packet : {"one", "two", "three"}) {
    EXPECT_GT(server.send(connection, packet), 0);
  }
  server.close();
  *hold = false;
  ASSERT_TRUE(client.waitForEvents(5));
  EXPECT_EQ(client.lengths(), (std::vector<int32_t>{kConnected, 3, 3, 5, kDisconnected}));
  const auto events = client.events();
  EXPECT_EQ(events[4].peer, events[0].peer);
}

// The kernel resets a connection whose end was closed with packets unread, and reports that first.
TEST_F(DispatchClientTest, WhatArrivedIsDeliveredBeforeTheLossAlsoWhenTheServerHadNotReadAll) {
  TestServer server(name_);
  server.start();
  // Shared with the client, which outlives the test.
  const auto hold = std::make_shared<std::atomic<bool>>(true);
  DispatchedClient &client =
      DispatchedClient::create(name_, [hold](DispatchedClient &, const DispatchedClient::Event &) {
        waitUntil([&] { return !*hold; });
      });
  const uint32_t connection = server.waitForConnection();
  const uint32_t peer = client.waitForConnection();
  EXPECT_GT(server.send(connection, "answer"), 0);
  server.pause();
  EXPECT_GT(sendText(peer, "never read"), 0);
  server.close();
  *hold = false;
  ASSERT_TRUE(client.waitForEvents(3));
  EXPECT_EQ(client.lengths(), (std::vector<int32_t>{kConnected, 6, kDisconnected}));
}

TEST_F(DispatchClientTest, ItConnectsAgainUnderANewIdAndTheOldOneIsDead) {
  auto server = std::make_unique<TestServer>(name_);
  server->start();
  DispatchedClient &client = DispatchedClient::create(name_);
  const uint32_t first = client.waitForConnection(1);
  server.reset();
  ASSERT_TRUE(client.waitForEvents(2));
  EXPECT_EQ(sendText(first, "too late"), MSGBUS_ERROR);
  EXPECT_EQ(msgbusGetVqStatsCount(first), MSGBUS_ERROR);
  server = std::make_unique<TestServer>(name_);
  server->start();
  const uint32_t second = client.waitForConnection(2);
  EXPECT_NE(second, first);
  EXPECT_EQ(client.lengths(), (std::vector<int32_t>{kConnected, kDisconnected, kConnected}));
  EXPECT_EQ(sendText(second, "again"), 5);
  EXPECT_EQ(sendText(first, "too late"), MSGBUS_ERROR);
  EXPECT_TRUE(server->waitForPackets(1));
}

TEST_F(DispatchClientTest, ADeregisteredPeerIsConnectedAnewWithoutALoss) {
  TestServer server(name_);
  server.start();
  DispatchedClient &client = DispatchedClient::create(name_);
  const uint32_t first = client.waitForConnection(1);
  EXPECT_EQ(msgbusDeregisterPeer(first), 0);
  EXPECT_EQ(msgbusDeregisterPeer(first), MSGBUS_ERROR);
  EXPECT_EQ(sendText(first, "gone"), MSGBUS_ERROR);
  EXPECT_TRUE(waitUntil([&] { return server.disconnected().size() == 1; }));
  const uint32_t second = client.waitForConnection(2);
  EXPECT_NE(second, first);
  EXPECT_EQ(client.lengths(), (std::vector<int32_t>{kConnected, kConnected}));
  EXPECT_NE(server.waitForConnection(2), server.connected().front());
}

TEST_F(DispatchClientTest, ACallbackMayDeregisterItsPeerAmidstItsPackets) {
  TestServer server(name_);
  DispatchedClient &client =
      DispatchedClient::create(name_, [](DispatchedClient &, const DispatchedClient::Event &event) {
        if (event.packet == "first") {
          EXPECT_EQ(msgbusDeregisterPeer(event.peer), 0);
        }
      });
  server.start();
  const uint32_t connection = server.waitForConnection();
  server.send(connection, "first");
  EXPECT_NE(client.waitForConnection(2), 0u);
  EXPECT_EQ(client.lengths(), (std::vector<int32_t>{kConnected, 5, kConnected}));
}

TEST_F(DispatchClientTest, ACallbackMaySendToItsPeer) {
  TestServer server(name_, [](TestServer &self, uint32_t connection, const std::string &packet) {
    if (packet.size() < 20) {
      self.send(connection, packet + "+");
    }
  });
  server.start();
  DispatchedClient &client =
      DispatchedClient::create(name_, [](DispatchedClient &, const DispatchedClient::Event &event) {
        sendText(event.peer, event.length == kConnected ? "+" : event.packet + "+");
      });
  EXPECT_TRUE(server.waitForPackets(11));
  EXPECT_EQ(server.received().back(), std::string(21, '+'));
  EXPECT_TRUE(client.waitForEvents(11));
}

TEST_F(DispatchClientTest, TheLargestPacketArrivesWhole) {
  const std::string largest(262'144, 'L');
  TestServer server(name_);
  server.start();
  DispatchedClient &client = DispatchedClient::create(name_);
  const uint32_t peer = client.waitForConnection();
  EXPECT_EQ(sendText(peer, largest), 262'144);
  EXPECT_EQ(sendText(peer, largest + "x"), MSGBUS_ERROR);
  EXPECT_TRUE(server.waitForPackets(1));
  EXPECT_EQ(server.received()[0], largest);
  const uint32_t connection = server.waitForConnection();
  EXPECT_EQ(server.send(connection, largest), 262'144);
  EXPECT_EQ(server.send(connection, largest + "x"), MSGBUS_ERROR);
  EXPECT_TRUE(client.waitForEvents(2));
  EXPECT_EQ(client.events()[1].packet, largest);
}

TEST_F(DispatchClientTest, RecordsThatNameNoClientOrComponentAreRefused) {
  DispatchClientRecord record = {};
  record.service = msgbusInitClient(1, nullptr, 0);
  record.callback = [](uint32_t, void *, uint32_t, PktBuf *, int32_t) {};
  EXPECT_NE(dispatchAddClient(nullptr, nullptr), 0);
  EXPECT_NE(dispatchAddClient(&record, nullptr), 0);  // no name
  record.name[0] = 'a';
  record.service = 4711;
  EXPECT_NE(dispatchAddClient(&record, nullptr), 0);
  record.service = msgbusInitClient(1, nullptr, 0);
  record.callback = nullptr;
  EXPECT_NE(dispatchAddClient(&record, nullptr), 0);
}

}  // namespace
