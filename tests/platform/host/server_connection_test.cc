#include "platform/host/server_connection.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <memory>

namespace swplat {
namespace {

class ServerConnectionTest : public testing::Test {
 protected:
  void SetUp() override {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
    client_ = FileDescriptor(ends[0]);
    connection_ = std::make_unique<ServerConnection>(FileDescriptor(ends[1]));
  }

  FileDescriptor client_;
  std::unique_ptr<ServerConnection> connection_;
};

TEST_F(ServerConnectionTest, ANewClientIsLookedAtForMore) {
  EXPECT_TRUE(connection_->looksForMore());
}

TEST_F(ServerConnectionTest, AClientThatSendsAheadIsLookedAtEveryTime) {
  for (int wakeUp = 0; wakeUp < 40; ++wakeUp) {
    connection_->noteReceived(2);
    EXPECT_TRUE(connection_->looksForMore()) << wakeUp;
  }
}

TEST_F(ServerConnectionTest, AClientThatSendsOneAtATimeIsLookedAtEverySixteenthTime) {
  for (int wakeUp = 1; wakeUp <= 48; ++wakeUp) {
    connection_->noteReceived(1);
    EXPECT_EQ(connection_->looksForMore(), wakeUp % 16 == 0) << wakeUp;
  }
}

TEST_F(ServerConnectionTest, AClientThatBeginsToSendAheadIsFoundOut) {
  for (int wakeUp = 1; wakeUp <= 16; ++wakeUp) connection_->noteReceived(1);
  ASSERT_TRUE(connection_->looksForMore());
  connection_->noteReceived(3);
  EXPECT_TRUE(connection_->looksForMore());
}

TEST_F(ServerConnectionTest, NothingIsSentOnceClosingHasBegun) {
  const uint8_t byte = 1;
  EXPECT_EQ(connection_->send(&byte, 1), 1);
  connection_->beginClosing();
  EXPECT_TRUE(connection_->isClosing());
  EXPECT_EQ(connection_->send(&byte, 1), -1);
}

}  // namespace
}  // namespace swplat
