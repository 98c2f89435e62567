// Several threads send through the library's one handle to a process that reads.
#include <gtest/gtest.h>

#include <array>
#include <thread>

#include "tests/e2e/library_client.h"
#include "tests/e2e/recording_manager.h"
#include "tests/e2e/runtime_directory.h"

namespace {

constexpr std::uint8_t kThreads = 8;
constexpr std::uint32_t kRequestsPerThread = 2000;
constexpr std::size_t kSmallest = 16;
constexpr std::size_t kSizes = 1400;

// Request `number` of `thread`: its length and every byte follow from the two.
std::vector<std::uint8_t> request(std::uint8_t thread, std::uint32_t number) {
  std::vector<std::uint8_t> body(kSmallest + (number * 37U + thread) % kSizes,
                                 static_cast<std::uint8_t>(number * 31 + thread));
  body[0] = 0x77;
  body[1] = thread;
  body[2] = static_cast<std::uint8_t>(number >> 8);
  body[3] = static_cast<std::uint8_t>(number);
  return body;
}

void sendAll(std::uint8_t thread) {
  for (std::uint32_t number = 0; number < kRequestsPerThread; ++number) {
    const auto body = request(thread, number);
    const bool flush = number % 3 == 0 || number + 1 == kRequestsPerThread;
    ASSERT_EQ(aclLibSendMsg2(0x1002, body.data(), static_cast<std::uint16_t>(body.size()), flush),
              0);
  }
}

TEST(ManyThreads, NothingIsLostTornOrReorderedPerThread) {
  const e2e::RuntimeDirectory directory;
  e2e::RecordingManager manager;
  e2e::connectLibrary();
  ASSERT_TRUE(e2e::announce("many_threads_test"));
  ASSERT_TRUE(manager.waitFor([](const auto &bodies) { return bodies.size() == 1; }));
  manager.forget();

  std::vector<std::thread> threads;
  for (std::uint8_t thread = 0; thread < kThreads; ++thread) threads.emplace_back(sendAll, thread);
  for (std::thread &thread : threads) thread.join();
  ASSERT_TRUE(manager.waitFor(
      [](const auto &bodies) { return bodies.size() >= kThreads * kRequestsPerThread; }));

  std::array<std::uint32_t, kThreads> next{};
  for (const auto &body : manager.bodies()) {
    ASSERT_GE(body.size(), kSmallest);
    ASSERT_LT(body[1], kThreads);
    ASSERT_EQ(body, request(body[1], next[body[1]]++)) << "thread " << int{body[1]};
  }
  for (const std::uint32_t count : next) EXPECT_EQ(count, kRequestsPerThread);
}

}  // namespace
