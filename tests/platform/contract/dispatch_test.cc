#include "platform/dispatch.h"

#include <cstddef>
#include <cstring>
#include <mutex>
#include <vector>

#include "platform/msgbus.h"
#include "tests/platform/contract/contract_test.h"

namespace contract {
namespace {

// Numbers noted by routines, on whatever thread they run.
class Notes {
 public:
  void add(int number) {
    const std::lock_guard lock(mutex_);
    numbers_.push_back(number);
  }
  std::vector<int> numbers() {
    const std::lock_guard lock(mutex_);
    return numbers_;
  }
  std::size_t count() { return numbers().size(); }

 private:
  std::mutex mutex_;
  std::vector<int> numbers_;
};

void *numberArgument(int number) {
  return reinterpret_cast<void *>(static_cast<std::uintptr_t>(number));
}

void addNote(void *notes, void *number) {
  static_cast<Notes *>(notes)->add(static_cast<int>(reinterpret_cast<std::uintptr_t>(number)));
}

constexpr DispatchDelay milliseconds(std::uint32_t count) {
  return {count / 1000, count % 1000 * 1000};
}

class DispatchContract : public ContractTest {
 protected:
  std::uint32_t schedule(int number, const DispatchDelay *delay, std::uint32_t count = 1) {
    return dispatchExecuteWorkItem(addNote, &notes_, numberArgument(number), delay, count);
  }
  bool dispatchUntilNotes(std::size_t count) {
    return dispatchUntil([&] { return notes_.count() >= count; });
  }

  // Every routine has stopped when a test ends, as it uses the fixture.
  Notes notes_;
};

TEST_F(DispatchContract, WorkWithoutDelayRunsInTheOrderOfScheduling) {
  for (int number = 1; number <= 5; ++number) EXPECT_NE(schedule(number, nullptr), 0u);
  ASSERT_TRUE(dispatchUntilNotes(5));
  EXPECT_EQ(notes_.numbers(), (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST_F(DispatchContract, WorkRunsInTheOrderOfDueTimes) {
  const DispatchDelay late = milliseconds(400);  // far enough, however busy the machine is
  const DispatchDelay soon = milliseconds(20);
  schedule(1, &late);
  schedule(2, &soon);
  schedule(3, &soon);
  ASSERT_TRUE(dispatchUntilNotes(3));
  EXPECT_EQ(notes_.numbers(), (std::vector<int>{2, 3, 1}));
}

TEST_F(DispatchContract, WorkDoesNotRunBeforeItsDelay) {
  const DispatchDelay delay = milliseconds(1500);
  const std::uint32_t item = schedule(1, &delay);
  dispatchFor(50);
  EXPECT_EQ(notes_.count(), 0u);
  EXPECT_EQ(dispatchWorkCancel(item), 0);
}

TEST_F(DispatchContract, CountIsTheNumberOfRuns) {
  const DispatchDelay delay = milliseconds(2);
  schedule(1, &delay, 3);
  ASSERT_TRUE(dispatchUntilNotes(3));
  dispatchFor(20);
  EXPECT_EQ(notes_.count(), 3u);
}

TEST_F(DispatchContract, CountZeroRunsUntilCancelled) {
  const DispatchDelay delay = milliseconds(2);
  const std::uint32_t item = schedule(1, &delay, 0);
  ASSERT_TRUE(dispatchUntilNotes(5));
  EXPECT_EQ(dispatchWorkCancel(item), 0);
  dispatchFor(20);  // a run that had begun has ended
  const std::size_t count = notes_.count();
  dispatchFor(20);
  EXPECT_EQ(notes_.count(), count);
}

TEST_F(DispatchContract, CancelledWorkDoesNotRun) {
  const DispatchDelay delay = milliseconds(100);
  const std::uint32_t first = schedule(1, &delay);
  schedule(2, &delay);
  EXPECT_EQ(dispatchWorkCancel(first), 0);
  ASSERT_TRUE(dispatchUntilNotes(1));
  EXPECT_EQ(notes_.numbers(), std::vector<int>{2});
}

TEST_F(DispatchContract, WorkThatIsNotThereCannotBeCancelled) {
  EXPECT_EQ(dispatchWorkCancel(0), -1);
  EXPECT_EQ(dispatchWorkCancel(0xFFFF'FFF0), -1);
  const DispatchDelay delay = milliseconds(60'000);
  const std::uint32_t item = schedule(1, &delay);
  EXPECT_EQ(dispatchWorkCancel(item), 0);
  EXPECT_EQ(dispatchWorkCancel(item), -1) << "cancelled already";
  const std::uint32_t finished = schedule(2, nullptr);
  const DispatchDelay later = milliseconds(5);
  schedule(3, &later);
  ASSERT_TRUE(dispatchUntilNotes(2));
  EXPECT_EQ(dispatchWorkCancel(finished), -1) << "has run for the last time";
}

TEST_F(DispatchContract, ItemsHaveDifferentIds) {
  const DispatchDelay delay = milliseconds(60'000);
  const std::uint32_t first = schedule(1, &delay);
  const std::uint32_t second = schedule(2, &delay);
  EXPECT_NE(first, 0u);
  EXPECT_NE(second, 0u);
  EXPECT_NE(first, second);
  EXPECT_EQ(dispatchWorkCancel(first), 0);
  EXPECT_EQ(dispatchWorkCancel(second), 0);
}

TEST_F(DispatchContract, ARoutineMayScheduleWork) {
  static constexpr auto kAgain = [](void *notes, void *number) {
    addNote(notes, number);
    dispatchExecuteWorkItem(addNote, notes, numberArgument(2), nullptr, 1);
  };
  dispatchExecuteWorkItem(kAgain, &notes_, numberArgument(1), nullptr, 1);
  ASSERT_TRUE(dispatchUntilNotes(2));
  EXPECT_EQ(notes_.numbers(), (std::vector<int>{1, 2}));
}

TEST_F(DispatchContract, ARoutineMayCancelItsOwnItem) {
  struct Plan {
    Notes *notes;
    std::uint32_t item = 0;
    std::mutex mutex;
  };
  Plan plan;
  plan.notes = &notes_;
  static constexpr auto kStop = [](void *argument, void *) {
    auto *own = static_cast<Plan *>(argument);
    const std::lock_guard lock(own->mutex);
    own->notes->add(dispatchWorkCancel(own->item));
  };
  const DispatchDelay delay = milliseconds(2);
  {
    const std::lock_guard lock(plan.mutex);
    plan.item = dispatchExecuteWorkItem(kStop, &plan, nullptr, &delay, 0);
  }
  ASSERT_TRUE(dispatchUntilNotes(1));
  dispatchFor(20);
  const std::lock_guard lock(plan.mutex);  // the run has ended
  EXPECT_EQ(notes_.numbers(), std::vector<int>{0});
}

TEST_F(DispatchContract, AClientOfAComponentThatNobodyServesIsRegistered) {
  DispatchClientRecord record{};
  record.service = msgbusInitClient(1, nullptr, 0);
  std::strcpy(record.name, "nobody");
  record.slot = 1;
  record.callback = [](std::uint32_t, void *, std::uint32_t, PktBuf *packet, std::int32_t) {
    pktbufFree(packet);
  };
  EXPECT_EQ(dispatchAddClient(&record, nullptr), 0);
}

TEST_F(DispatchContract, ClientRecordsHaveTheSameLayoutOnEveryTarget) {
  EXPECT_EQ(sizeof(DispatchClientRecord), 164u);
  EXPECT_EQ(offsetof(DispatchClientRecord, name), 4u);
  EXPECT_EQ(offsetof(DispatchClientRecord, chassis), 38u);
  EXPECT_EQ(offsetof(DispatchClientRecord, slot), 39u);
  EXPECT_EQ(offsetof(DispatchClientRecord, callback), 56u);
  EXPECT_EQ(offsetof(DispatchClientRecord, context), 64u);
  EXPECT_EQ(offsetof(DispatchClientRecord, callbackName), 80u);
}

}  // namespace
}  // namespace contract
