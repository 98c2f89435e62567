#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>

#include "tests/acl_lib/library_test.h"

namespace {

using namespace acl_test;

constexpr std::int32_t kConnected = -121;
constexpr std::int32_t kLost = -112;
constexpr unsigned kSenders = 4;
constexpr unsigned kConnections = 100;

// Runs `step` again and again on a thread of its own for as long as it lives.
class RepeatingThread {
 public:
  template <typename Step>
  explicit RepeatingThread(Step step)
      : thread_([this, step] {
          while (!stop_) {
            step();
            ++runs_;
            std::this_thread::yield();
          }
        }) {}
  ~RepeatingThread() {
    while (runs_ == 0) std::this_thread::yield();  // every thread takes part
    stop_ = true;
    thread_.join();
  }
  RepeatingThread(const RepeatingThread &) = delete;
  RepeatingThread &operator=(const RepeatingThread &) = delete;

 private:
  std::atomic<bool> stop_ = false;
  std::atomic<unsigned> runs_ = 0;
  std::thread thread_;  // last, as it uses the others
};

class MessageHandlerThreadsTest : public LibraryTest {};

// Sending returns 0, or -1 while there is no connection; nothing else, and nothing is misused.
void send() {
  const std::int32_t result = aclLibSendMsg(0x1002, "request", 7);
  if (result != 0 && result != -1) ADD_FAILURE() << "the result of a send is " << result;
}

void askForQueueSize() {
  const std::int32_t size = aclLibPeerIdCurrentQueueSize();
  if (size != 0 && size != 100000) ADD_FAILURE() << "the size of the queue is " << size;
}

// One life of a connection, as the dispatcher's thread tells of it: events, and a reply between.
void liveThrough(std::uint32_t peer) {
  fake().addPeer(peer);
  aclLibCallback(1, nullptr, peer, nullptr, kConnected);
  const Bytes message = hex("1003 0004 2000 0000");
  PktBuf *packet = pktbufAllocPacket(static_cast<std::uint32_t>(message.size()), 0, 0);
  std::ranges::copy(message, reinterpret_cast<std::byte *>(packet->data));
  aclLibCallback(1, nullptr, peer, packet, static_cast<std::int32_t>(message.size()));
  std::this_thread::yield();
  aclLibCallback(1, nullptr, peer, nullptr, kLost);
}

TEST_F(MessageHandlerThreadsTest, ConnectionComesAndGoesWhileOthersSendCloseAndAsk) {
  static std::atomic<unsigned> replies;
  replies = 0;
  ASSERT_EQ(aclLibConnect([](void *) { ++replies; }), 0);
  fake().connectPeer("acl", kPeer);
  {
    std::vector<std::unique_ptr<RepeatingThread>> threads;
    for (unsigned i = 0; i < kSenders; ++i) {
      threads.push_back(std::make_unique<RepeatingThread>(send));
    }
    threads.push_back(std::make_unique<RepeatingThread>(aclClosePeer));
    threads.push_back(std::make_unique<RepeatingThread>(askForQueueSize));
    for (unsigned i = 0; i < kConnections; ++i) liveThrough(kPeer + i % 2);
  }
  EXPECT_EQ(replies, kConnections);
  EXPECT_EQ(__atomic_load_n(&aclPeerId, __ATOMIC_ACQUIRE), 0U);
  fake().connectPeer("acl", kPeer);
  fake().forgetCalls();
  EXPECT_EQ(aclLibSendMsg(0x1002, "request", 7), 0);
  EXPECT_THAT(sentBodies(), ElementsAre(bytesOf("request")));
}

}  // namespace
