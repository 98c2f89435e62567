#include "platform/fake/fake_state.h"

#include <atomic>
#include <stdexcept>
#include <thread>

#include "tests/platform/fake/fake_test.h"
#include "tests/support/failing_allocator.h"

namespace swplat_fake {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using FakeStateTest = FakeTest;

TEST_F(FakeStateTest, CallsAreRecordedInOrder) {
  boardGetSlotSelf();
  procmonSetState("acl", 2);
  boardGetProcessState("acl");
  EXPECT_THAT(fake().calls(),
              ElementsAre(Call::of("boardGetSlotSelf"), Call::of("procmonSetState", "acl", 2),
                          Call::of("boardGetProcessState", "acl")));
}

TEST_F(FakeStateTest, CallsCanBeSelectedByNameAndByBeginning) {
  boardGetSlotSelf();
  procmonSetState("acl", 2);
  boardGetChassisId();
  EXPECT_THAT(fake().callNames({"board*"}), ElementsAre("boardGetSlotSelf", "boardGetChassisId"));
  EXPECT_THAT(fake().callNames({"procmonSetState", "boardGetChassisId"}),
              ElementsAre("procmonSetState", "boardGetChassisId"));
  EXPECT_THAT(fake().callNames({"board"}), IsEmpty());
}

TEST_F(FakeStateTest, QueuedResultsComeFirstThenTheFixedOneThenTheNaturalOne) {
  fake().setSlot(5);
  fake().setResult("boardGetSlotSelf", 9);
  fake().queueResults("boardGetSlotSelf", {7, 8});
  EXPECT_EQ(boardGetSlotSelf(), 7u);
  EXPECT_EQ(boardGetSlotSelf(), 8u);
  EXPECT_EQ(boardGetSlotSelf(), 9u);
  fake().clearResult("boardGetSlotSelf");
  EXPECT_EQ(boardGetSlotSelf(), 5u);
}

TEST_F(FakeStateTest, MistypedFunctionNamesAreRefused) {
  EXPECT_THROW(fake().setResult("msgbusSent", 1), std::invalid_argument);
  EXPECT_THROW(fake().queueResults("msgbusSent", {1}), std::invalid_argument);
  EXPECT_THROW(fake().setResult("Sprintf", 1), std::invalid_argument);
  EXPECT_THROW(fake().setHook("sprintf", [] {}), std::invalid_argument);
  EXPECT_NO_THROW(fake().setHook("Sprintf", [] {}));
}

TEST_F(FakeStateTest, AHookRunsBeforeItsCallAndMayUseThePlatform) {
  fake().setHook("boardGetSlotSelf", [] {
    boardGetChassisId();
    fake().setSlot(12);
  });
  EXPECT_EQ(boardGetSlotSelf(), 12u);
  EXPECT_THAT(fake().callNames(), ElementsAre("boardGetChassisId", "boardGetSlotSelf"));
}

TEST_F(FakeStateTest, ResetForgetsEverything) {
  fake().setResult("boardGetSlotSelf", 9);
  fake().setHook("boardGetSlotSelf", [] { boardGetChassisId(); });
  fake().setProcessName("other");
  fake().connectPeer("nobody");
  boardGetSlotSelf();
  fake().reset();
  EXPECT_THAT(fake().calls(), IsEmpty());
  EXPECT_THAT(fake().violations(), IsEmpty());
  EXPECT_EQ(boardGetSlotSelf(), 1u);
  EXPECT_STREQ(platGetProcessName(), "fake");
}

TEST_F(FakeStateTest, ForgettingCallsKeepsTheModel) {
  fake().setSlot(5);
  fake().addPeer(7);
  msgbusSend(7, packetWith(Bytes(4)), 0);
  fake().forgetCalls();
  EXPECT_THAT(fake().calls(), IsEmpty());
  EXPECT_THAT(fake().sentPackets(), IsEmpty());
  EXPECT_EQ(boardGetSlotSelf(), 5u);
  EXPECT_EQ(msgbusGetVqStatsCount(7), 0);
}

TEST_F(FakeStateTest, SeveralThreadsMayCall) {
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int call = 0; call < 100; ++call) boardGetSlotSelf();
    });
  }
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(fake().calls().size(), 400u);
}

TEST_F(FakeStateTest, TheFakesOwnMemoryIsExemptFromFailingAllocations) {
  fake().addPeer(7);
  const DispatchDelay delay = {1, 0};
  const test_support::FailAllocation guard(1);
  msgbusSend(7, pktbufAllocPacket(8, 0, 1), 0);
  evlogTraceLog(1, 2, "a text that is longer than any short string", 43);
  Sprintf("%s", "a text that is longer than any short string");
  dispatchExecuteWorkItem(nullptr, nullptr, nullptr, &delay, 1);
  const test_support::AllocationExemption exemption;
  EXPECT_EQ(guard.allocationsMade(), 0u);
}

}  // namespace
}  // namespace swplat_fake
