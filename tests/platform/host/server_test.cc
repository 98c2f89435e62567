#include "platform/host/server.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/host/unix_socket.h"
#include "tests/platform/host/child.h"
#include "tests/platform/host/test_directory.h"
#include "tests/platform/host/test_server.h"

namespace {

using host_test::Child;
using host_test::kSlot;
using host_test::TestServer;
using host_test::uniqueName;
using host_test::waitUntil;
using swplat::FileDescriptor;

constexpr SwplatServerHandlers kHandlers = {
    [](void *, uint32_t, const SwplatCredentials *) {},
    [](void *, uint32_t, const uint8_t *, uint32_t) {},
    [](void *, uint32_t) {},
};

class ServerTest : public testing::Test {
 protected:
  std::string socketFile() const { return name_ + ".1.sock"; }
  FileDescriptor connect() const { return swplat::connectSocket(socketFile()); }
  static void send(const FileDescriptor &client, const std::string &text) {
    ASSERT_EQ(swplat::trySend(client.number(), reinterpret_cast<const uint8_t *>(text.data()),
                              text.size()),
              swplat::SendOutcome::kSent);
  }
  // Receives one packet; "end" at the end of the connection.
  static std::string receive(const FileDescriptor &client) {
    std::vector<uint8_t> buffer(swplat::kLargestPacket);
    int64_t length = 0;
    waitUntil([&] {
      length = swplat::tryReceive(client.number(), buffer.data(), buffer.size());
      return length != 0;
    });
    return length < 0 ? "end"
                      : std::string(reinterpret_cast<const char *>(buffer.data()),
                                    static_cast<size_t>(length));
  }

  const std::string name_ = uniqueName("served");
};

TEST_F(ServerTest, ClientsComeSendReceiveAndGo) {
  TestServer server(name_, [](TestServer &self, uint32_t connection, const std::string &packet) {
    EXPECT_EQ(self.send(connection, packet + packet), static_cast<int32_t>(2 * packet.size()));
  });
  server.start();
  FileDescriptor client = connect();
  const uint32_t connection = server.waitForConnection();
  EXPECT_EQ(server.lastCredentials().pid, static_cast<uint32_t>(getpid()));
  EXPECT_EQ(server.lastCredentials().uid, getuid());
  EXPECT_EQ(server.lastCredentials().gid, getgid());
  send(client, "ab");
  EXPECT_EQ(receive(client), "abab");
  client.close();
  EXPECT_TRUE(waitUntil([&] { return !server.disconnected().empty(); }));
  EXPECT_EQ(server.disconnected(), std::vector<uint32_t>{connection});
  EXPECT_EQ(server.send(connection, "x"), -1);
}

TEST_F(ServerTest, ConnectionNumbersAreNotUsedAgain) {
  TestServer server(name_);
  server.start();
  connect();
  const uint32_t first = server.waitForConnection(1);
  EXPECT_TRUE(waitUntil([&] { return server.disconnected().size() == 1; }));
  connect();
  EXPECT_NE(server.waitForConnection(2), first);
}

TEST_F(ServerTest, PacketsSentBeforeAClientWentAreReceivedFirst) {
  TestServer server(name_);
  FileDescriptor client = connect();
  send(client, "one");
  send(client, "two");
  client.close();
  server.start();
  EXPECT_TRUE(waitUntil([&] { return !server.disconnected().empty(); }));
  EXPECT_EQ(server.received(), (std::vector<std::string>{"one", "two"}));
}

TEST_F(ServerTest, AHandlerMayCloseTheConnectionItIsCalledFor) {
  TestServer server(name_, [](TestServer &self, uint32_t connection, const std::string &) {
    swplatServerDisconnect(self.get(), connection);
    EXPECT_EQ(self.send(connection, "too late"), -1);
  });
  FileDescriptor client = connect();
  send(client, "close me");
  send(client, "not delivered");
  server.start();
  EXPECT_TRUE(waitUntil([&] { return !server.disconnected().empty(); }));
  EXPECT_EQ(server.received(), std::vector<std::string>{"close me"});
  EXPECT_EQ(receive(client), "end");
}

TEST_F(ServerTest, AnotherThreadMayCloseAConnection) {
  TestServer server(name_);
  server.start();
  FileDescriptor client = connect();
  const uint32_t connection = server.waitForConnection();
  swplatServerDisconnect(server.get(), connection);
  swplatServerDisconnect(server.get(), connection);
  swplatServerDisconnect(server.get(), 4711);
  EXPECT_TRUE(waitUntil([&] { return !server.disconnected().empty(); }));
  EXPECT_EQ(receive(client), "end");
  EXPECT_EQ(server.disconnected().size(), 1u);
}

TEST_F(ServerTest, ASlowClientsPacketsAreQueuedUpTo1024) {
  TestServer server(name_);
  server.start();
  const FileDescriptor client = connect();
  const uint32_t connection = server.waitForConnection();
  std::vector<std::string> sent;
  size_t queued = 0;
  for (int32_t result = 0; result != -115;) {
    const std::string packet = std::to_string(sent.size()) + std::string(2000, 'q');
    result = server.send(connection, packet);
    ASSERT_TRUE(result > 0 || result == -115 || result == -116);
    queued += result == -116 ? 1 : 0;
    if (result != -115) {
      sent.push_back(packet);
    }
  }
  EXPECT_EQ(queued, 1024u);
  for (const std::string &packet : sent) {
    ASSERT_EQ(receive(client), packet);
  }
  EXPECT_EQ(server.send(connection, "direct"), 6);
  EXPECT_EQ(receive(client), "direct");
}

TEST_F(ServerTest, EmptyAndTooLongPacketsAreNotSent) {
  TestServer server(name_);
  server.start();
  const FileDescriptor client = connect();
  const uint32_t connection = server.waitForConnection();
  EXPECT_EQ(server.send(connection, ""), -1);
  EXPECT_EQ(swplatServerSend(server.get(), connection, nullptr, 4), -1);
  EXPECT_EQ(server.send(connection, std::string(262'145, 'x')), -1);
  EXPECT_EQ(server.send(connection, std::string(262'144, 'x')), 262'144);
  EXPECT_EQ(receive(client).size(), 262'144u);
}

TEST_F(ServerTest, StoppingBeforeRunningIsNotForgotten) {
  TestServer server(name_);
  swplatServerStop(server.get());
  EXPECT_EQ(swplatServerRun(server.get()), 0);
}

TEST_F(ServerTest, AComponentIsServedOnce) {
  const TestServer server(name_);
  errno = 0;
  EXPECT_EQ(swplatServerOpen(name_.c_str(), kSlot, &kHandlers, nullptr), nullptr);
  EXPECT_EQ(errno, EADDRINUSE);
  SwplatServer *const other = swplatServerOpen(name_.c_str(), kSlot + 1, &kHandlers, nullptr);
  EXPECT_NE(other, nullptr);
  swplatServerClose(other);
}

TEST_F(ServerTest, AnotherProcessServesItAsLongAsItLives) {
  Child child([this] { swplatServerOpen(name_.c_str(), kSlot, &kHandlers, nullptr); });
  errno = 0;
  EXPECT_EQ(swplatServerOpen(name_.c_str(), kSlot, &kHandlers, nullptr), nullptr);
  EXPECT_EQ(errno, EADDRINUSE);
  child.kill();
  EXPECT_TRUE(std::filesystem::exists(host_test::directory() + "/" + socketFile()));
  TestServer successor(name_);
  successor.start();
  const FileDescriptor client = connect();
  EXPECT_NE(successor.waitForConnection(), 0u);
}

TEST_F(ServerTest, ClosingEndsEveryConnectionAndRemovesTheSocket) {
  TestServer server(name_);
  server.start();
  const FileDescriptor client = connect();
  server.waitForConnection();
  server.close();
  EXPECT_EQ(receive(client), "end");
  EXPECT_FALSE(std::filesystem::exists(host_test::directory() + "/" + socketFile()));
  EXPECT_TRUE(server.disconnected().empty());
  swplatServerClose(nullptr);
}

TEST_F(ServerTest, BadArgumentsAreRefused) {
  const auto refused = [](const char *component, uint32_t slot,
                          const SwplatServerHandlers *handlers) {
    errno = 0;
    return swplatServerOpen(component, slot, handlers, nullptr) == nullptr && errno == EINVAL;
  };
  EXPECT_TRUE(refused(nullptr, 1, &kHandlers));
  EXPECT_TRUE(refused("", 1, &kHandlers));
  EXPECT_TRUE(refused("a/b", 1, &kHandlers));
  EXPECT_TRUE(refused(std::string(34, 'n').c_str(), 1, &kHandlers));
  EXPECT_TRUE(refused("name", 256, &kHandlers));
  EXPECT_TRUE(refused("name", 1, nullptr));
  for (int missing = 0; missing < 3; ++missing) {
    SwplatServerHandlers handlers = kHandlers;
    (missing == 0 ? handlers.connected = nullptr : nullptr);
    (missing == 1 ? handlers.received = nullptr : nullptr);
    (missing == 2 ? handlers.disconnected = nullptr : nullptr);
    EXPECT_TRUE(refused("name", 1, &handlers));
  }
}

TEST_F(ServerTest, TheLongestNameAndTheLastSlotAreServed) {
  const std::string longest(33, 'n');
  SwplatServer *const server = swplatServerOpen(longest.c_str(), 255, &kHandlers, nullptr);
  ASSERT_NE(server, nullptr);
  EXPECT_TRUE(swplat::connectSocket(longest + ".255.sock"));
  swplatServerClose(server);
}

TEST_F(ServerTest, ManyClientsAreServedSideBySide) {
  constexpr size_t kClients = 50;
  TestServer server(name_, [](TestServer &self, uint32_t connection, const std::string &packet) {
    self.send(connection, packet);
  });
  server.start();
  std::vector<FileDescriptor> clients;
  for (size_t count = 0; count < kClients; ++count) {
    clients.push_back(connect());
    send(clients.back(), std::to_string(count));
  }
  for (size_t count = 0; count < kClients; ++count) {
    EXPECT_EQ(receive(clients[count]), std::to_string(count));
  }
}

}  // namespace
