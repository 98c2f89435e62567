#include "tests/platform/fake/fake_test.h"

namespace swplat_fake {
namespace {

using test_support::hex;
using testing::ElementsAre;
using testing::IsEmpty;

// What a receive callback was called with.
struct Delivery {
  std::uint32_t service;
  std::uintptr_t context;
  std::uint32_t peer;
  Bytes bytes;
  std::int32_t length;
};

std::vector<Delivery> deliveries;

void receive(std::uint32_t service, void *context, std::uint32_t peer, PktBuf *packet,
             std::int32_t length) {
  Bytes bytes;
  if (packet != nullptr) bytes = test_support::copyOf(packet->data, packet->length);
  deliveries.push_back(
      {service, reinterpret_cast<std::uintptr_t>(context), peer, std::move(bytes), length});
  pktbufFree(packet);
}

std::vector<int> runs;

void noteRun(void *number, void *) {
  runs.push_back(*static_cast<int *>(number));
}

class DispatcherTest : public FakeTest {
 protected:
  void SetUp() override {
    FakeTest::SetUp();
    deliveries.clear();
    runs.clear();
  }

  std::uint32_t schedule(int &number, const DispatchDelay *delay, std::uint32_t count = 1) {
    return dispatchExecuteWorkItem(noteRun, &number, nullptr, delay, count);
  }

  int one_ = 1;
  int two_ = 2;
};

TEST_F(DispatcherTest, AClientsRecordIsCopiedAndRecordedByItsFields) {
  DispatchClientRecord record = clientRecord("acl", 3, receive);
  EXPECT_EQ(dispatchAddClient(&record, nullptr), 0);
  record = DispatchClientRecord{};
  ASSERT_EQ(fake().clients().size(), 1u);
  EXPECT_STREQ(fake().clients()[0].name, "acl");
  EXPECT_THAT(fake().calls(),
              ElementsAre(Call::of("dispatchAddClient", 3, "acl", 4, receive, 0x55)));
}

TEST_F(DispatcherTest, ARefusedClientIsNotRegistered) {
  fake().queueResults("dispatchAddClient", {5});
  const DispatchClientRecord record = clientRecord("acl", 3, receive);
  EXPECT_EQ(dispatchAddClient(&record, nullptr), 5);
  EXPECT_THAT(fake().clients(), IsEmpty());
}

TEST_F(DispatcherTest, ConnectionMessagesAndLossReachTheCallback) {
  const DispatchClientRecord record = clientRecord("acl", 3, receive);
  dispatchAddClient(&record, nullptr);
  const std::uint32_t peer = fake().connectPeer("acl");
  fake().deliver(peer, hex("0102"));
  fake().losePeer(peer);
  ASSERT_EQ(deliveries.size(), 3u);
  EXPECT_EQ(deliveries[0].length, -121);
  EXPECT_EQ(deliveries[0].peer, peer);
  EXPECT_EQ(deliveries[0].service, 3u);
  EXPECT_EQ(deliveries[0].context, 0x55u);
  EXPECT_EQ(deliveries[1].length, 2);
  EXPECT_EQ(deliveries[1].bytes, hex("0102"));
  EXPECT_EQ(deliveries[2].length, -112);
  EXPECT_EQ(msgbusGetVqStatsCount(peer), -1) << "the lost peer is forgotten";
  EXPECT_EQ(fake().livePackets(), 0u);
  EXPECT_THAT(fake().violations(), IsEmpty());
}

TEST_F(DispatcherTest, APeerMayGetAnIdOfTheTestsChoice) {
  const DispatchClientRecord record = clientRecord("acl", 3, receive);
  dispatchAddClient(&record, nullptr);
  EXPECT_EQ(fake().connectPeer("acl", 42), 42u);
  EXPECT_EQ(deliveries[0].peer, 42u);
}

TEST_F(DispatcherTest, DeliveriesThatNobodyReceivesAreViolations) {
  EXPECT_EQ(fake().connectPeer("acl"), 0u);
  fake().deliver(9, hex("01"));
  fake().deliverEvent(9, -5);
  fake().losePeer(9);
  EXPECT_EQ(fake().violations().size(), 4u);
}

TEST_F(DispatcherTest, WorkRunsWhenTimePassesAndNotBefore) {
  const DispatchDelay delay = {1, 500'000};
  schedule(one_, &delay);
  EXPECT_EQ(fake().advanceTime(1, 499'999), 0u);
  EXPECT_EQ(fake().advanceTime(0, 1), 1u);
  EXPECT_THAT(runs, ElementsAre(1));
  EXPECT_THAT(fake().pendingWork(), IsEmpty());
}

TEST_F(DispatcherTest, WorkOfOneAdvanceRunsInTheOrderOfDueTimes) {
  const DispatchDelay second = {1, 0};
  const DispatchDelay threeHalves = {1, 500'000};
  schedule(two_, &threeHalves, 2);
  schedule(one_, &second, 0);
  EXPECT_EQ(fake().advanceTime(3), 5u);
  EXPECT_THAT(runs, ElementsAre(1, 2, 1, 2, 1));
}

TEST_F(DispatcherTest, RunDueWorkRunsWhatHasNoDelay) {
  schedule(one_, nullptr);
  schedule(two_, nullptr);
  EXPECT_EQ(fake().runDueWork(), 2u);
  EXPECT_THAT(runs, ElementsAre(1, 2));
}

TEST_F(DispatcherTest, PendingWorkTellsWhatIsLeft) {
  const DispatchDelay delay = {2, 5};
  const std::uint32_t item = schedule(one_, &delay, 3);
  fake().advanceTime(1);
  const std::vector<PendingWork> pending = fake().pendingWork();
  ASSERT_EQ(pending.size(), 1u);
  EXPECT_EQ(pending[0].id, item);
  EXPECT_EQ(pending[0].routine, noteRun);
  EXPECT_EQ(pending[0].argument1, &one_);
  EXPECT_EQ(pending[0].dueIn, 1'000'005u);
  EXPECT_EQ(pending[0].runsLeft, 3u);
}

TEST_F(DispatcherTest, WorkItemsAreRecordedWithTheirDelay) {
  const DispatchDelay delay = {1, 0};
  schedule(one_, &delay);
  schedule(two_, nullptr, 0);
  EXPECT_THAT(
      fake().calls(),
      ElementsAre(Call::of("dispatchExecuteWorkItem", noteRun, &one_, nullptr, "{1, 0}", 1),
                  Call::of("dispatchExecuteWorkItem", noteRun, &two_, nullptr, nullptr, 0)));
}

TEST_F(DispatcherTest, WorkThatCannotBeScheduledDoesNotRun) {
  fake().queueResults("dispatchExecuteWorkItem", {0});
  EXPECT_EQ(schedule(one_, nullptr), 0u);
  EXPECT_EQ(fake().runDueWork(), 0u);
}

TEST_F(DispatcherTest, WorkThatNeverStopsIsAViolation) {
  dispatchExecuteWorkItem([](void *, void *) {}, nullptr, nullptr, nullptr, 0);
  fake().runDueWork();
  EXPECT_THAT(fake().violations(), ElementsAre("advanceTime: the work never stops"));
}

}  // namespace
}  // namespace swplat_fake
