#include "platform/host/unix_socket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <system_error>

#include "platform/host/runtime_directory.h"
#include "tests/platform/host/test_directory.h"

namespace swplat {
namespace {

// A file name of `length` characters before its ending.
std::string longName(size_t length) {
  std::string name(length, 'n');
  name += ".sock";
  return name;
}

class UnixSocketTest : public testing::Test {
 protected:
  void SetUp() override {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, ends), 0);
    left_ = FileDescriptor(ends[0]);
    right_ = FileDescriptor(ends[1]);
  }
  static SendOutcome send(const FileDescriptor &socket, const std::string &text) {
    return trySend(socket.number(), reinterpret_cast<const uint8_t *>(text.data()), text.size());
  }
  int64_t receive(const FileDescriptor &socket) {
    return tryReceive(socket.number(), buffer_, sizeof(buffer_));
  }

  FileDescriptor left_, right_;
  uint8_t buffer_[100];
};

TEST_F(UnixSocketTest, NothingToReceiveIsNotTheEnd) {
  EXPECT_EQ(receive(right_), 0);
  EXPECT_EQ(send(left_, "abc"), SendOutcome::kSent);
  EXPECT_TRUE(hasUnreadPacket(right_.number()));
  EXPECT_EQ(receive(right_), 3);
  EXPECT_FALSE(hasUnreadPacket(right_.number()));
  EXPECT_EQ(receive(right_), 0);
}

TEST_F(UnixSocketTest, PacketsAreReceivedBeforeTheEnd) {
  send(left_, "abc");
  left_.close();
  EXPECT_TRUE(hasUnreadPacket(right_.number()));
  EXPECT_EQ(receive(right_), 3);
  EXPECT_EQ(receive(right_), -1);
  EXPECT_EQ(send(right_, "abc"), SendOutcome::kBroken);
}

TEST_F(UnixSocketTest, PacketsAreReceivedBeforeTheEndOfAConnectionThatWasReset) {
  send(right_, "never read");
  send(left_, "abc");
  left_.close();
  EXPECT_TRUE(hasUnreadPacket(right_.number()));
  EXPECT_EQ(receive(right_), 3);
  EXPECT_EQ(receive(right_), -1);
}

TEST_F(UnixSocketTest, AFullSocketWouldBlock) {
  SendOutcome outcome = SendOutcome::kSent;
  while (outcome == SendOutcome::kSent) {
    outcome = send(left_, std::string(10'000, 'x'));
  }
  EXPECT_EQ(outcome, SendOutcome::kWouldBlock);
}

TEST_F(UnixSocketTest, BuffersHoldTheLargestPacket) {
  EXPECT_EQ(enlargeBuffers(left_.number()), 256u * 1024);
  EXPECT_EQ(send(left_, std::string(kLargestPacket, 'x')), SendOutcome::kSent);
}

TEST_F(UnixSocketTest, SocketFilesAreForOwnerAndGroup) {
  const FileDescriptor listener = listenSocket("mode.sock");
  struct stat status = {};
  ASSERT_EQ(stat((host_test::directory() + "/mode.sock").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777u, 0660u);
}

TEST_F(UnixSocketTest, WhatIsLeftOfADeadServerIsReplaced) {
  listenSocket("stale.sock").close();
  EXPECT_THROW(connectSocket("stale.sock"), std::system_error);
  const FileDescriptor listener = listenSocket("stale.sock");
  EXPECT_TRUE(connectSocket("stale.sock"));
}

TEST_F(UnixSocketTest, NobodyThereIsToldApart) {
  try {
    connectSocket("nobody.sock");
    FAIL();
  } catch (const std::system_error &error) {
    EXPECT_EQ(error.code().value(), ENOENT);
  }
}

TEST_F(UnixSocketTest, NamesTooLongForAnAddressAreReachedThroughTheDirectory) {
  const std::string file = longName(80);
  ASSERT_GT(runtimeDirectory().size() + 1 + file.size(), 107u);
  const FileDescriptor listener = listenSocket(file);
  EXPECT_TRUE(connectSocket(file));
}

TEST_F(UnixSocketTest, NamesTooLongForAnyAddressAreRefused) {
  const std::string file = longName(120);
  for (const bool listens : {true, false}) {
    try {
      listens ? listenSocket(file) : connectSocket(file);
      FAIL();
    } catch (const std::system_error &error) {
      EXPECT_EQ(error.code().value(), ENAMETOOLONG);
    }
  }
}

}  // namespace
}  // namespace swplat
