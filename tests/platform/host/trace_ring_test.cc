#include "platform/host/trace_ring.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "platform/evlog.h"
#include "platform/host/trace_files.h"
#include "tests/platform/host/child.h"
#include "tests/platform/host/test_directory.h"

namespace {

using host_test::Child;
using host_test::uniqueName;

std::string traceFile(const std::string &name, pid_t process) {
  return host_test::directory() + "/trace/" + name + "." + std::to_string(process) + ".trace";
}

std::string contentOf(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

uint32_t wordAt(const std::string &content, size_t offset) {
  uint32_t word = 0;
  std::memcpy(&word, content.data() + offset, sizeof(word));
  return word;
}

// Reads a trace file as docs/host-platform.md describes it: oldest byte first.
std::string traceIn(const std::string &path) {
  const std::string content = contentOf(path);
  const std::string ring = content.substr(wordAt(content, 16));
  const uint32_t position = wordAt(content, 24);
  const uint32_t rounds = wordAt(content, 28);
  return rounds == 0 ? ring.substr(0, position) : ring.substr(position) + ring.substr(0, position);
}

void log(uint32_t handle, uint32_t level, const std::string &text) {
  evlogTraceLog(handle, level, text.data(), static_cast<uint32_t>(text.size()));
}

TEST(TraceRingTest, TheHeaderDescribesTheFile) {
  const std::string name = uniqueName("trace");
  ASSERT_NE(evlogInitTraceBuffer(name.c_str(), 1000, 0), 0u);
  const std::string content = contentOf(traceFile(name, getpid()));
  ASSERT_EQ(content.size(), 1064u);
  EXPECT_EQ(content.substr(0, 8), std::string("swtrace\0", 8));
  EXPECT_EQ(wordAt(content, 8), 0x01020304u);
  EXPECT_EQ(wordAt(content, 12), 1u);     // version
  EXPECT_EQ(wordAt(content, 16), 64u);    // where the ring begins
  EXPECT_EQ(wordAt(content, 20), 1000u);  // its size
  EXPECT_EQ(wordAt(content, 24), 0u);     // position
  EXPECT_EQ(wordAt(content, 28), 0u);     // rounds
  EXPECT_EQ(wordAt(content, 32), static_cast<uint32_t>(getpid()));
  EXPECT_STREQ(content.data() + 36, name.c_str());
}

TEST(TraceRingTest, LinesCarryTimeAndLevelAndAreReadableAtOnce) {
  const std::string name = uniqueName("trace");
  const uint32_t handle = evlogInitTraceBuffer(name.c_str(), 1000, 0);
  log(handle, 3, "first");
  log(handle, 15, "second\n");
  EXPECT_TRUE(std::regex_match(traceIn(traceFile(name, getpid())),
                               std::regex("\\d+\\.\\d{6} 3 first\n\\d+\\.\\d{6} 15 second\n")));
}

TEST(TraceRingTest, LineEndsInsideATextBecomeBlanks) {
  const std::string name = uniqueName("trace");
  log(evlogInitTraceBuffer(name.c_str(), 1000, 0), 1, "one\ntwo\n\n");
  EXPECT_NE(traceIn(traceFile(name, getpid())).find(" 1 one two\n"), std::string::npos);
}

TEST(TraceRingTest, OlderLinesAreOverwritten) {
  const std::string name = uniqueName("trace");
  const uint32_t handle = evlogInitTraceBuffer(name.c_str(), 200, 0);
  for (int line = 0; line < 50; ++line) {
    log(handle, 4, "line " + std::to_string(line) + " end");
  }
  const std::string trace = traceIn(traceFile(name, getpid()));
  EXPECT_EQ(trace.size(), 200u);
  EXPECT_EQ(trace.find("line 20 end"), std::string::npos);
  EXPECT_LT(trace.find("line 48 end\n"), trace.find("line 49 end\n"));
  EXPECT_TRUE(trace.ends_with("line 49 end\n"));
}

TEST(TraceRingTest, ALineThatFillsTheRingExactlyStandsAlone) {
  const std::string name = uniqueName("trace");
  const uint32_t handle = evlogInitTraceBuffer(name.c_str(), 60, 0);
  log(handle, 4, std::string(100, 'x'));
  const std::string trace = traceIn(traceFile(name, getpid()));
  EXPECT_EQ(trace.size(), 60u);
  EXPECT_TRUE(trace.ends_with("xx\n"));
  EXPECT_EQ(trace.find(" 4 xxx"), trace.find(' '));
}

TEST(TraceRingTest, TheSmallestRingHoldsOneByte) {
  const std::string name = uniqueName("trace");
  const uint32_t handle = evlogInitTraceBuffer(name.c_str(), 1, 0);
  ASSERT_NE(handle, 0u);
  log(handle, 4, "anything");
  EXPECT_EQ(traceIn(traceFile(name, getpid())), "\n");
  EXPECT_EQ(evlogInitTraceBuffer(uniqueName("trace").c_str(), 0, 0), 0u);
}

TEST(TraceRingTest, OpeningANameAgainGivesTheSameBuffer) {
  const std::string name = uniqueName("trace");
  const uint32_t handle = evlogInitTraceBuffer(name.c_str(), 100, 0);
  EXPECT_EQ(evlogInitTraceBuffer(name.c_str(), 900, 0), handle);
  EXPECT_NE(evlogInitTraceBuffer(uniqueName("trace").c_str(), 100, 0), handle);
}

TEST(TraceRingTest, NamesThatAreNoneAndUnknownHandlesAreRefused) {
  EXPECT_EQ(evlogInitTraceBuffer(nullptr, 100, 0), 0u);
  EXPECT_EQ(evlogInitTraceBuffer("", 100, 0), 0u);
  EXPECT_EQ(evlogInitTraceBuffer("../outside", 100, 0), 0u);
  log(0, 1, "ignored");
  log(4711, 1, "ignored");
  evlogTraceLog(1, 1, nullptr, 4);
}

TEST(TraceRingTest, ATraceOutlivesTheCrashOfItsProcess) {
  const std::string name = uniqueName("trace");
  Child child([&] { log(evlogInitTraceBuffer(name.c_str(), 500, 0), 2, "last words"); });
  child.kill();
  EXPECT_NE(traceIn(traceFile(name, child.pid())).find(" 2 last words\n"), std::string::npos);
}

TEST(TraceRingTest, TracesOfOnlyThreeDeadProcessesAreKept) {
  const std::string name = uniqueName("trace");
  Child alive([&] { evlogInitTraceBuffer(name.c_str(), 100, 0); });
  std::vector<pid_t> dead;
  for (int count = 0; count < 5; ++count) {
    Child child([&] { evlogInitTraceBuffer(name.c_str(), 100, 0); });
    dead.push_back(child.pid());
    const auto age = std::chrono::hours(100 - count);
    std::filesystem::last_write_time(traceFile(name, child.pid()),
                                     std::filesystem::file_time_type::clock::now() - age);
  }
  ASSERT_NE(evlogInitTraceBuffer(name.c_str(), 100, 0), 0u);
  EXPECT_TRUE(std::filesystem::exists(traceFile(name, alive.pid())));
  EXPECT_TRUE(std::filesystem::exists(traceFile(name, getpid())));
  EXPECT_FALSE(std::filesystem::exists(traceFile(name, dead[0])));
  EXPECT_FALSE(std::filesystem::exists(traceFile(name, dead[1])));
  EXPECT_TRUE(std::filesystem::exists(traceFile(name, dead[2])));
  EXPECT_TRUE(std::filesystem::exists(traceFile(name, dead[4])));
}

TEST(TraceRingTest, ADeadProcessOfTheSameNumberKeepsItsTrace) {
  const std::string name = uniqueName("trace");
  const std::string path = traceFile(name, getpid());
  evlogInitTraceBuffer(uniqueName("trace").c_str(), 10, 0);  // makes the directory
  std::ofstream(path) << "what a predecessor wrote";
  ASSERT_NE(evlogInitTraceBuffer(name.c_str(), 100, 0), 0u);
  EXPECT_EQ(std::filesystem::file_size(path), 164u);
  size_t kept = 0;
  for (const auto &entry : std::filesystem::directory_iterator(host_test::directory() + "/trace")) {
    kept +=
        entry.path().filename().string().starts_with(name + "." + std::to_string(getpid()) + "-")
            ? 1
            : 0;
  }
  EXPECT_EQ(kept, 1u);
}

TEST(TraceRingTest, WithoutADirectoryTheRingIsKeptInMemory) {
  const std::string trace = host_test::directory() + "/trace";
  const std::string aside = host_test::directory() + "/aside";
  evlogInitTraceBuffer(uniqueName("trace").c_str(), 10, 0);  // makes the directory
  std::filesystem::rename(trace, aside);
  std::ofstream(trace) << "in the way";
  const std::string name = uniqueName("trace");
  testing::internal::CaptureStderr();
  const uint32_t handle = evlogInitTraceBuffer(name.c_str(), 100, 0);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("is kept in memory only"),
            std::string::npos);
  EXPECT_NE(handle, 0u);
  log(handle, 1, "somewhere");
  std::filesystem::remove(trace);
  std::filesystem::rename(aside, trace);
}

TEST(TraceRingTest, ThreadsWriteWholeLines) {
  const std::string name = uniqueName("trace");
  const uint32_t handle = evlogInitTraceBuffer(name.c_str(), 64 * 1024, 0);
  std::vector<std::thread> threads;
  for (int count = 0; count < 4; ++count) {
    threads.emplace_back([handle] {
      for (int line = 0; line < 100; ++line) {
        log(handle, 4, "abcdefghij");
      }
    });
  }
  for (std::thread &thread : threads) {
    thread.join();
  }
  const std::string trace = traceIn(traceFile(name, getpid()));
  size_t whole = 0;
  for (size_t at = trace.find(" 4 abcdefghij\n"); at != std::string::npos;
       at = trace.find(" 4 abcdefghij\n", at + 1)) {
    ++whole;
  }
  EXPECT_EQ(whole, 400u);
}

}  // namespace
