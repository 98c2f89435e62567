#include <atomic>
#include <map>
#include <thread>

#include "tests/acl_lib/library_test.h"

namespace {

using namespace acl_test;

constexpr std::uint16_t kRequest = 0x1002;
constexpr std::uint32_t kOtherPeer = 8;
constexpr unsigned kThreads = 8;
constexpr unsigned kRequestsPerThread = 100;

// A request names its thread and its number, and repeats the thread's number up to its end.
Bytes requestOf(unsigned thread, unsigned number) {
  Bytes body(2 + number * 7 % 300, static_cast<std::byte>(thread));
  body[1] = static_cast<std::byte>(number);
  return body;
}

class TransHandleThreadsTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    connectHandle();
    fake().addPeer(kOtherPeer);
  }

  // Sends all requests of one thread; every eighth at once.
  static void sendAll(unsigned thread) {
    for (unsigned number = 0; number < kRequestsPerThread; ++number) {
      const Bytes body = requestOf(thread, number);
      if (aclLibSendMsg2(kRequest, body.data(), static_cast<std::uint16_t>(body.size()),
                         number % 8 == 7) != 0) {
        ADD_FAILURE() << "request " << number << " of thread " << thread << " was not sent";
      }
    }
  }
};

TEST_F(TransHandleThreadsTest, EightThreadsSendThroughOneHandleWhileItsPeerChanges) {
  std::atomic<bool> stop = false;
  std::thread peers([&stop] {
    for (std::uint32_t peer = kPeer; !stop; peer = kPeer + kOtherPeer - peer) {
      transHandleSetPeer(aclHandle, peer);
      aclLibPeerIdCurrentQueueSize();
      std::this_thread::yield();
    }
  });
  std::vector<std::thread> senders;
  senders.reserve(kThreads);
  for (unsigned thread = 0; thread < kThreads; ++thread) senders.emplace_back(sendAll, thread);
  for (std::thread &sender : senders) sender.join();
  stop = true;
  peers.join();
  transHandleCommit(aclHandle);

  // Every request arrived once, whole, and in the order of its thread.
  std::map<unsigned, unsigned> next;
  for (const swplat_fake::SentObject &object : fake().sentObjects()) {
    const auto thread = std::to_integer<unsigned>(object.value.at(0));
    EXPECT_EQ(object.value, requestOf(thread, next[thread]++));
  }
  for (unsigned thread = 0; thread < kThreads; ++thread) {
    EXPECT_EQ(next[thread], kRequestsPerThread) << thread;
  }
}

}  // namespace
