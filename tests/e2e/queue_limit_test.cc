// A manager that does not read: requests are queued up to the peer's limit, then refused, and
// memory stays bounded.
#include <gtest/gtest.h>
#include <platform/board.h>
#include <platform/msgbus.h>
#include <swplat/server.h>

#include <fstream>
#include <string>
#include <thread>

#include "tests/e2e/library_client.h"
#include "tests/e2e/runtime_directory.h"

namespace {

// Bytes of memory of this process that are in use, in kilobytes.
long residentKilobytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) return std::stol(line.substr(6));
  }
  return 0;
}

std::uint32_t packetsReceived;

TEST(QueueLimit, ASilentManagerFillsTheQueueOnceAndMemoryGrowsNoFurther) {
  const e2e::RuntimeDirectory directory;
  const SwplatServerHandlers handlers{
      [](void *, std::uint32_t, const SwplatCredentials *) {},
      [](void *, std::uint32_t, const std::uint8_t *, std::uint32_t) { ++packetsReceived; },
      [](void *, std::uint32_t) {}};
  SwplatServer *server = swplatServerOpen("acl", boardGetSlotSelf(), &handlers, nullptr);
  ASSERT_NE(server, nullptr);  // it serves, but does not run: nothing is read

  e2e::connectLibrary();
  ASSERT_TRUE(e2e::announce("queue_limit_test"));
  constexpr std::uint32_t kLimit = 500;
  ASSERT_EQ(msgbusSetPeerOption(e2e::managersPeer(), MSGBUS_OPTION_QUEUE_LIMIT, kLimit), 0);

  const std::vector<std::uint8_t> body(1000, 0x11);
  std::uint32_t accepted = 1;  // the announcement
  while (aclLibSendMsg(0x1002, body.data(), 1000) == 0) {
    ++accepted;
    ASSERT_LT(accepted, 100000U) << "the queue never fills";
  }
  EXPECT_EQ(aclLibPeerIdCurrentQueueSize(), static_cast<std::int32_t>(kLimit));
  EXPECT_EQ(aclLibSendMsg(0x1002, body.data(), 1000), -115);

  const long before = residentKilobytes();
  for (int i = 0; i < 20000; ++i) ASSERT_EQ(aclLibSendMsg(0x1002, body.data(), 1000), -115);
  EXPECT_LT(residentKilobytes() - before, 2048);

  // What was accepted arrives once the manager reads, and nothing else.
  std::thread reader([&] { swplatServerRun(server); });
  while (aclLibPeerIdCurrentQueueSize() > 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_EQ(aclLibSendMsg(0x1002, body.data(), 1000), 0);
  ++accepted;
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  swplatServerStop(server);
  reader.join();
  swplatServerClose(server);
  EXPECT_EQ(packetsReceived, accepted);
}

}  // namespace
