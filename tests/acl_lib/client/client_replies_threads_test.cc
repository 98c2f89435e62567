#include <array>
#include <atomic>
#include <cstddef>
#include <thread>

#include "tests/acl_lib/library_test.h"

namespace {

using namespace acl_test;

constexpr unsigned kRequests = 2000;
constexpr std::uint32_t kApplication = 5;

// The callback gets cookies 0 to kRequests - 1; how often it got each.
std::array<std::atomic<unsigned>, kRequests> answersByCookie;
std::atomic<unsigned> answersInAll;

void countAnswer(void *body) {
  const std::uint32_t cookie = wordAt(test_support::copyOf(body, 592), 588);
  ++answersByCookie.at(cookie);
  ++answersInAll;
}

void storeWord(std::byte *bytes, std::uint32_t value) {
  for (int i = 3; i >= 0; --i, value >>= 8) bytes[i] = static_cast<std::byte>(value & 0xFF);
}

// A reply that covers the numbers from `first` to `last`, or names `first` only.
void answer(std::uint32_t first, std::uint32_t last) {
  std::array<std::byte, 608> body{};
  storeWord(&body[600], first);
  storeWord(&body[604], last);
  if (first % 2 == 0) {
    body[592] = std::byte{kApplication};
    aclLibSendClientConfigReply(body.data());
  } else {
    storeWord(&body[588], first);
    body[593] = std::byte{kApplication};
    aclLibSendClientUnconfigReply(body.data());
  }
}

class ClientRepliesThreadsTest : public LibraryTest {};

TEST_F(ClientRepliesThreadsTest, RequestsAreRegisteredWhileOthersAreAnswered) {
  for (auto &answers : answersByCookie) answers = 0;
  answersInAll = 0;
  aclMsgCallback = countAnswer;
  std::atomic<std::uint32_t> registered = 0;
  std::atomic<bool> isFinished = false;
  std::thread application([&] {
    for (std::uint32_t cookie = 0; cookie < kRequests; ++cookie) {
      const std::uint32_t seqNo = aclLibGetClientSeqNo(kApplication, 0x300D, cookie, "rule", 0, 0);
      if (seqNo == 0) break;  // the counts below tell
      registered = seqNo;
    }
    isFinished = true;
  });
  std::thread others([] {
    for (unsigned i = 0; i < kRequests; ++i) {
      aclLibFindApplInfo(6 + i % 20, 1);
      aclLibFindApplInfo(kApplication, 0);
      aclLibGetApplCount();
    }
  });
  for (std::uint32_t next = 1; next <= kRequests;) {
    const bool areAllThere = isFinished;
    const std::uint32_t last = registered;
    if (last < next) {
      if (areAllThere) break;
      std::this_thread::yield();
      continue;
    }
    answer(next, last);
    next = next % 2 == 0 ? last + 1 : next + 1;
  }
  application.join();
  others.join();
  EXPECT_EQ(answersInAll, kRequests);
  for (const auto &answers : answersByCookie) ASSERT_EQ(answers, 1U);
  EXPECT_EQ(aclFindFirstApplReq(aclLibFindApplInfo(kApplication, 0)), nullptr);
}

}  // namespace
