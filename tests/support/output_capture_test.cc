#include "tests/support/output_capture.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace test_support {
namespace {

TEST(OutputCaptureTest, TheTwoStreamsAreCaughtSeparately) {
  OutputCapture capture;
  std::printf("out %d\n", 1);
  std::fprintf(stderr, "err %d\n", 2);
  EXPECT_EQ(capture.standardOutput(), "out 1\n");
  EXPECT_EQ(capture.standardError(), "err 2\n");
}

TEST(OutputCaptureTest, StreamsAndDirectWritesAreCaughtToo) {
  OutputCapture capture;
  std::cout << "stream";
  std::cout.flush();
  ASSERT_EQ(write(STDOUT_FILENO, " direct", 7), 7);
  EXPECT_EQ(capture.standardOutput(), "stream direct");
}

TEST(OutputCaptureTest, OutputBeforeAndAfterIsNotCaught) {
  std::printf("before ");
  OutputCapture first;
  std::printf("inside");
  first.finish();
  std::printf("after\n");
  std::fflush(stdout);
  OutputCapture second;
  EXPECT_EQ(first.standardOutput(), "inside");
  EXPECT_EQ(second.standardOutput(), "");
}

TEST(OutputCaptureTest, LongOutputIsWhole) {
  const std::string text(100'000, 'x');
  OutputCapture capture;
  std::fputs(text.c_str(), stdout);
  EXPECT_EQ(capture.standardOutput(), text);
}

}  // namespace
}  // namespace test_support
