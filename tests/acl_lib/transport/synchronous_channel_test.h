// What the tests of the synchronous channel share. The pauses of the library are recorded.
#ifndef TESTS_ACL_LIB_TRANSPORT_SYNCHRONOUS_CHANNEL_TEST_H
#define TESTS_ACL_LIB_TRANSPORT_SYNCHRONOUS_CHANNEL_TEST_H

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/acl_lib/library_test.h"

namespace acl_test {

struct Pause {
  std::size_t callsBefore;  // of the platform
  useconds_t microseconds;
};
inline std::vector<Pause> pauses;

inline constexpr std::uint64_t kAddress = 0x0102030405060708;
inline constexpr std::uint32_t kPort = 77;
inline constexpr std::uint32_t kSyncPeer = 9;  // a peer that needs no set-up
inline constexpr std::uint32_t kHandle = 0x51;

inline Call pause(std::uint32_t microseconds) {
  return Call::of("usleep", microseconds);
}

class SynchronousChannelTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    pauses.clear();
    fake().serve("acl", 1, kAddress, kPort);
  }

  // Makes the channel's peer kSyncPeer, without set-up.
  static void useReadyPeer() {
    fake().addPeer(kSyncPeer);
    aclLibSyncConfigPeerId = kSyncPeer;
  }

  static void forget() {
    fake().forgetCalls();
    pauses.clear();
  }

  // The calls of the platform with the pauses between them.
  static std::vector<Call> callsAndPauses() {
    std::vector<Call> all = fake().calls();
    for (auto at = pauses.rbegin(); at != pauses.rend(); ++at) {
      all.insert(all.begin() + static_cast<std::ptrdiff_t>(at->callsBefore),
                 pause(at->microseconds));
    }
    return all;
  }

  static void queueAnswer(const Bytes &value, std::uint16_t type = 0x1003) {
    fake().queueReceive(kSyncPeer, swplat_fake::object(type, value));
  }

  static std::int32_t exchange(Bytes &body) {
    return aclLibSendAndRecvFromAclMgr(body.data(), static_cast<std::uint32_t>(body.size()));
  }

  // Sends a body of `length` bytes and returns the sizes of the packets asked for.
  static std::vector<Call> packetsFor(std::size_t length) {
    forget();
    Bytes body(length);
    queueAnswer(hex("3020 0000"));
    EXPECT_EQ(aclLibSendAndRecvFromAclMgr(body.empty() ? &body : static_cast<void *>(body.data()),
                                          static_cast<std::uint32_t>(length)),
              0);
    return fake().calls({"pktbufAllocPacket"});
  }

  // Texts of the events that were logged, each checked for where it says it comes from.
  static std::vector<std::string> events() {
    std::vector<std::string> texts;
    for (const swplat_fake::Incident &incident : fake().incidents()) {
      EXPECT_EQ(incident.file, "acl_lib");
      EXPECT_EQ(incident.function, "aclLibSyncConfigConnCtl");
      EXPECT_GT(incident.line, 0U);
      EXPECT_EQ(incident.handle, _evlog_ACL_ComponentHandle);
      texts.push_back(incident.text);
    }
    return texts;
  }
};

}  // namespace acl_test

#endif  // TESTS_ACL_LIB_TRANSPORT_SYNCHRONOUS_CHANNEL_TEST_H
