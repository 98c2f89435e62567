#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "platform/cliagent.h"

namespace {

TEST(CliAgentTest, ATextIsWrittenAsItIs) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  cliagentNotifyCLI(ends[1], "rule 3 %s matched\n");
  char read[64] = {};
  EXPECT_EQ(::read(ends[0], read, sizeof(read)), 18);
  EXPECT_STREQ(read, "rule 3 %s matched\n");
  close(ends[0]);
  close(ends[1]);
}

TEST(CliAgentTest, ALongTextIsWrittenToItsEnd) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const std::string text(300'000, 'x');
  std::thread writer([&] {
    cliagentNotifyCLI(ends[1], text.c_str());
    close(ends[1]);
  });
  size_t total = 0;
  char part[4096];
  for (ssize_t length = 0; (length = ::read(ends[0], part, sizeof(part))) > 0;) {
    total += static_cast<size_t>(length);
  }
  writer.join();
  EXPECT_EQ(total, text.size());
  close(ends[0]);
}

TEST(CliAgentTest, ASessionThatHungUpDoesNotEndTheProcess) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  cliagentNotifyCLI(ends[1], "nobody reads this");
  close(ends[1]);
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  close(ends[0]);
  cliagentNotifyCLI(ends[1], "nobody reads this");
  close(ends[1]);
}

TEST(CliAgentTest, ADescriptorThatDoesNotBlockLosesWhatItCannotTake) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
  cliagentNotifyCLI(ends[1], std::string(1'000'000, 'x').c_str());
  close(ends[0]);
  close(ends[1]);
}

TEST(CliAgentTest, TextsForHandlesThatAreNotOpenAreDropped) {
  cliagentNotifyCLI(0, "nothing");
  cliagentNotifyCLI(-1, "nothing");
  cliagentNotifyCLI(9999, "nothing");
  cliagentNotifyCLI(1, nullptr);
}

}  // namespace
