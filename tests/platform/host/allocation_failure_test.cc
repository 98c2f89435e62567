// Memory that runs out in the middle of a call: the call reports its failure and changes nothing.
#include <gtest/gtest.h>

#include <cerrno>
#include <deque>
#include <string>

#include "platform/board.h"
#include "platform/dirsvc.h"
#include "platform/dispatch.h"
#include "platform/evlog.h"
#include "platform/host/dispatcher.h"
#include "platform/msgbus.h"
#include "platform/procmon.h"
#include "swplat/server.h"
#include "tests/platform/host/test_client.h"
#include "tests/platform/host/test_directory.h"
#include "tests/platform/host/test_server.h"
#include "tests/support/failing_allocator.h"

namespace {

using host_test::kSlot;
using host_test::TestServer;
using host_test::uniqueName;
using test_support::AllocationExemption;
using test_support::FailAllocation;
using test_support::forEachAllocationFailure;

class AllocationFailureTest : public testing::Test {
 protected:
  void SetUp() override {
    swplat::Dispatcher::instance();
    boardGetSlotSelf();
  }

  // Makes every allocation of a call fail in turn. Each time the call must return `failed`, and at
  // last, when memory suffices, anything else.
  template <typename Result, typename Call>
  void expectFailures(Result failed, Call call) {
    Result last = failed;
    const unsigned failures = forEachAllocationFailure([&] {
      last = call();
      const AllocationExemption exemption;
      ++calls_;
      if (last != failed) {
        ++successes_;
      }
    });
    EXPECT_GT(failures, 0u);
    EXPECT_EQ(calls_, failures + 1);
    EXPECT_EQ(successes_, 1u);
    EXPECT_NE(last, failed);
  }

  const std::string name_ = uniqueName("memory");
  unsigned calls_ = 0;
  unsigned successes_ = 0;
};

TEST_F(AllocationFailureTest, APacketCannotBeHad) {
  expectFailures<PktBuf *>(nullptr, [] {
    PktBuf *const packet = pktbufAllocPacket(1'000'000, 32, 1);
    pktbufFree(packet);
    return packet;
  });
}

TEST_F(AllocationFailureTest, WorkCannotBeScheduled) {
  const DispatchDelay delay = {1000, 0};
  uint32_t item = 0;
  expectFailures<uint32_t>(0, [&] {
    item = dispatchExecuteWorkItem([](void *, void *) {}, nullptr, nullptr, &delay, 1);
    return item;
  });
  EXPECT_EQ(dispatchWorkCancel(item), 0);
}

TEST_F(AllocationFailureTest, AClientCannotBeRegisteredWithTheDispatcher) {
  DispatchClientRecord record = {};
  record.service = msgbusInitClient(1, nullptr, 0);
  name_.copy(record.name, sizeof(record.name) - 1);
  record.callback = [](uint32_t, void *, uint32_t, PktBuf *, int32_t) {};
  bool registered = false;
  expectFailures<bool>(false, [&] {
    registered = dispatchAddClient(&record, nullptr) == 0;
    return registered;
  });
}

TEST_F(AllocationFailureTest, APeerCannotBeLookedUpRegisteredOrConnected) {
  TestServer server(name_);
  server.start();
  DirsvcRecord key = {};
  name_.copy(key.name, sizeof(key.name) - 1);
  key.slot = kSlot;
  DirsvcRecord result = {};
  {
    // Short names are kept inside their strings, so a look-up may need no memory at all.
    const FailAllocation guard(1);
    if (dirsvcGetEntryByAttr(&key, &result) != 0) {
      const uint64_t untouched = result.address;  // a copy: the field is not aligned
      EXPECT_EQ(untouched, 0u);
    }
  }
  ASSERT_EQ(dirsvcGetEntryByAttr(&key, &result), 0);
  const uint64_t address = result.address;
  uint32_t peer = 77;
  const uint32_t client = host_test::controlledClient();
  expectFailures<int32_t>(MSGBUS_ERROR, [&] {
    const int32_t outcome = msgbusRegisterPeerByAddr(client, address, &peer);
    const AllocationExemption exemption;
    EXPECT_TRUE(outcome == 0 || peer == 77);
    return outcome;
  });
  calls_ = successes_ = 0;
  expectFailures<int32_t>(MSGBUS_IN_PROGRESS, [&] { return msgbusConnectToPeer(peer, 0); });
  EXPECT_GT(host_test::sendText(peer, "works"), 0);
  EXPECT_TRUE(server.waitForPackets(1));
  EXPECT_EQ(msgbusDeregisterPeer(peer), 0);
}

TEST_F(AllocationFailureTest, APacketThatCannotBeQueuedIsNotTaken) {
  TestServer server(name_);
  server.start();
  const uint32_t peer = host_test::registerPeer(name_);
  ASSERT_EQ(msgbusConnectToPeer(peer, 0), 0);
  server.waitForConnection();
  server.pause();
  size_t sent = 1;
  while (host_test::sendText(peer, std::string(5000, 'x')) != MSGBUS_QUEUED) {
    ++sent;
  }
  PktBuf *const packet = host_test::packetOf("kept");
  expectFailures<int32_t>(MSGBUS_QUEUE_FULL, [&] { return msgbusSend(peer, packet, 0); });
  EXPECT_EQ(msgbusGetVqStatsCount(peer), 2);
  server.start();
  EXPECT_TRUE(server.waitForPackets(sent + 1));
  EXPECT_EQ(server.received().back(), "kept");
  EXPECT_EQ(msgbusDeregisterPeer(peer), 0);
}

TEST_F(AllocationFailureTest, AServerCannotBeOpened) {
  const SwplatServerHandlers handlers = {
      [](void *, uint32_t, const SwplatCredentials *) {},
      [](void *, uint32_t, const uint8_t *, uint32_t) {},
      [](void *, uint32_t) {},
  };
  SwplatServer *server = nullptr;
  expectFailures<SwplatServer *>(nullptr, [&] {
    errno = 0;
    server = swplatServerOpen(name_.c_str(), kSlot, &handlers, nullptr);
    const AllocationExemption exemption;
    EXPECT_TRUE(server != nullptr || errno == ENOMEM);
    return server;
  });
  swplatServerClose(server);
}

TEST_F(AllocationFailureTest, StatesCannotBeStored) {
  expectFailures<int32_t>(-1, [&] { return swplatPublishProcessState(name_.c_str(), 9); });
  EXPECT_EQ(boardGetProcessState(name_.c_str()), 9);
  calls_ = successes_ = 0;
  expectFailures<int32_t>(-1, [&] { return procmonSetState(name_.c_str(), 2); });
}

TEST_F(AllocationFailureTest, TracesCannotBeOpenedAndComponentsNotRegistered) {
  expectFailures<uint32_t>(0, [&] { return evlogInitTraceBuffer(name_.c_str(), 1000, 0); });
  calls_ = successes_ = 0;
  // Descriptors are borrowed for the life of the process.
  static std::deque<EvlogComponentDesc> components;
  EvlogComponentDesc &component = components.emplace_back();
  component = {"a component with a name too long for its string", "", 0, 0, 0, 0};
  uint32_t handle = 0;
  expectFailures<int32_t>(-1, [&] { return evlogRegisterComponent(1, &component, &handle); });
  const unsigned failures = forEachAllocationFailure([&] {
    evlogNotifyIncident(handle, "a.cc", 1, "f", "an incident that nobody may hear of");
    evlogTraceLog(1, 1, "a line that nobody may read, as memory is short", 47);
  });
  EXPECT_GT(failures, 0u);
}

}  // namespace
