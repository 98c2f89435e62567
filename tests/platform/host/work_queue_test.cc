#include "platform/host/work_queue.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "platform/dispatch.h"
#include "tests/platform/host/test_directory.h"

namespace swplat {
namespace {

using std::chrono::milliseconds;

// Runs a queue of its own on the test's thread and writes down what ran.
class WorkQueueTest : public testing::Test {
 protected:
  static void write(void *self, void *letter) {
    static_cast<WorkQueueTest *>(self)->ran_ +=
        static_cast<char>(reinterpret_cast<uintptr_t>(letter));
  }
  WorkQueue::Work work(char letter) {
    return {write, this, reinterpret_cast<void *>(static_cast<uintptr_t>(letter))};
  }
  // Waits for the timer like the dispatcher does. Returns false when it does not fire in time.
  bool runWhenDue(int wait = 2000) {
    pollfd polled = {queue_.descriptor(), POLLIN, 0};
    if (poll(&polled, 1, wait) != 1) {
      return false;
    }
    queue_.runDue();
    return true;
  }
  void runUntil(size_t count) {
    while (ran_.size() < count && runWhenDue()) {
    }
  }

  WorkQueue queue_;
  std::string ran_;
};

TEST_F(WorkQueueTest, ItemsRunByDueTimeThenInTheOrderOfScheduling) {
  queue_.schedule(work('d'), milliseconds(20), 1);
  queue_.schedule(work('c'), milliseconds(10), 1);
  queue_.schedule(work('a'), milliseconds(0), 1);
  queue_.schedule(work('b'), milliseconds(0), 1);
  runUntil(4);
  EXPECT_EQ(ran_, "abcd");
}

TEST_F(WorkQueueTest, NothingRunsBeforeItIsDue) {
  queue_.schedule(work('a'), milliseconds(50), 1);
  const auto begin = WorkQueue::Clock::now();
  queue_.runDue();
  EXPECT_EQ(ran_, "");
  runUntil(1);
  EXPECT_EQ(ran_, "a");
  EXPECT_GE(WorkQueue::Clock::now() - begin, milliseconds(50));
}

TEST_F(WorkQueueTest, AnItemRunsAsOftenAsAskedForWithItsDelayEachTime) {
  const auto begin = WorkQueue::Clock::now();
  const uint32_t item = queue_.schedule(work('a'), milliseconds(5), 3);
  runUntil(3);
  EXPECT_GE(WorkQueue::Clock::now() - begin, milliseconds(15));
  EXPECT_FALSE(runWhenDue(30));
  EXPECT_EQ(ran_, "aaa");
  EXPECT_FALSE(queue_.cancel(item));
}

TEST_F(WorkQueueTest, CountZeroRepeatsUntilCancelled) {
  const uint32_t item = queue_.schedule(work('a'), milliseconds(1), 0);
  runUntil(5);
  EXPECT_TRUE(queue_.cancel(item));
  runWhenDue(20);
  EXPECT_FALSE(runWhenDue(20));
  EXPECT_EQ(ran_, "aaaaa");
  EXPECT_FALSE(queue_.cancel(item));
}

TEST_F(WorkQueueTest, ACancelledItemDoesNotRun) {
  const uint32_t item = queue_.schedule(work('a'), milliseconds(0), 1);
  queue_.schedule(work('b'), milliseconds(0), 1);
  EXPECT_TRUE(queue_.cancel(item));
  EXPECT_FALSE(queue_.cancel(item));
  EXPECT_FALSE(queue_.cancel(0));
  EXPECT_FALSE(queue_.cancel(4711));
  runUntil(1);
  EXPECT_EQ(ran_, "b");
}

TEST_F(WorkQueueTest, ARoutineMayCancelItsOwnRepetition) {
  struct Self {
    WorkQueue *queue;
    uint32_t item;
    int runs;
    bool cancelled;
  } self = {&queue_, 0, 0, false};
  self.item = queue_.schedule({[](void *argument, void *) {
                                 auto *const it = static_cast<Self *>(argument);
                                 ++it->runs;
                                 it->cancelled = it->queue->cancel(it->item);
                               },
                               &self, nullptr},
                              milliseconds(1), 0);
  EXPECT_TRUE(runWhenDue());
  EXPECT_FALSE(runWhenDue(20));
  EXPECT_EQ(self.runs, 1);
  EXPECT_TRUE(self.cancelled);
}

TEST_F(WorkQueueTest, AnItemInItsLastRunIsGone) {
  struct Self {
    WorkQueue *queue;
    uint32_t item;
    bool cancelled;
  } self = {&queue_, 0, true};
  self.item = queue_.schedule({[](void *argument, void *) {
                                 auto *const it = static_cast<Self *>(argument);
                                 it->cancelled = it->queue->cancel(it->item);
                               },
                               &self, nullptr},
                              milliseconds(0), 1);
  EXPECT_TRUE(runWhenDue());
  EXPECT_FALSE(self.cancelled);
}

TEST_F(WorkQueueTest, WorkThatAlwaysReturnsDoesNotKeepTheCallerToItself) {
  const uint32_t item = queue_.schedule(work('a'), milliseconds(0), 0);
  EXPECT_TRUE(runWhenDue());
  EXPECT_EQ(ran_, "a");
  EXPECT_TRUE(runWhenDue());
  EXPECT_EQ(ran_, "aa");
  queue_.cancel(item);
}

TEST_F(WorkQueueTest, PreparedItemsRunOnceEachTimeTheyAreSetOff) {
  const uint32_t item = queue_.prepare(work('p'));
  EXPECT_FALSE(runWhenDue(10));
  queue_.arm(item, milliseconds(0));
  runUntil(1);
  EXPECT_FALSE(runWhenDue(10));
  queue_.arm(item, milliseconds(500));
  queue_.arm(item, milliseconds(1));
  runUntil(2);
  EXPECT_EQ(ran_, "pp");
  EXPECT_FALSE(queue_.cancel(item));
  queue_.discard(item);
  queue_.arm(item, milliseconds(0));
  queue_.discard(item);
  EXPECT_FALSE(runWhenDue(10));
}

TEST_F(WorkQueueTest, TheLongestDelayIsFarAway) {
  const uint32_t item = queue_.schedule(
      work('a'), std::chrono::seconds(0xFFFFFFFFu) + std::chrono::microseconds(0xFFFFFFFFu), 1);
  EXPECT_FALSE(runWhenDue(20));
  EXPECT_TRUE(queue_.cancel(item));
}

// The same through the platform's calls, on the dispatcher's thread.
class DispatchedWorkTest : public testing::Test {
 protected:
  static void count(void *runs, void *thread) {
    if (thread != nullptr) {
      *static_cast<std::thread::id *>(thread) = std::this_thread::get_id();
    }
    ++*static_cast<std::atomic<int> *>(runs);
  }
};

TEST_F(DispatchedWorkTest, WorkRunsOnTheDispatchersThread) {
  std::atomic<int> runs{0};
  std::thread::id first;
  std::thread::id second;
  const DispatchDelay delay = {0, 1000};
  EXPECT_NE(dispatchExecuteWorkItem(count, &runs, &first, nullptr, 1), 0u);
  EXPECT_NE(dispatchExecuteWorkItem(count, &runs, &second, &delay, 1), 0u);
  ASSERT_TRUE(host_test::waitUntil([&] { return runs == 2; }));
  EXPECT_EQ(first, second);
  EXPECT_NE(first, std::this_thread::get_id());
}

TEST_F(DispatchedWorkTest, TheDelayIsSecondsAndMicroseconds) {
  std::atomic<int> runs{0};
  const auto begin = std::chrono::steady_clock::now();
  const DispatchDelay delay = {1, 100'000};
  ASSERT_NE(dispatchExecuteWorkItem(count, &runs, nullptr, &delay, 1), 0u);
  ASSERT_TRUE(host_test::waitUntil([&] { return runs == 1; }));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(1100));
}

TEST_F(DispatchedWorkTest, ACancelledItemDoesNotRun) {
  std::atomic<int> runs{0};
  const DispatchDelay delay = {0, 30'000};
  const uint32_t item = dispatchExecuteWorkItem(count, &runs, nullptr, &delay, 1);
  EXPECT_EQ(dispatchWorkCancel(item), 0);
  EXPECT_EQ(dispatchWorkCancel(item), -1);
  EXPECT_EQ(dispatchWorkCancel(0), -1);
  std::this_thread::sleep_for(milliseconds(60));
  EXPECT_EQ(runs, 0);
}

TEST_F(DispatchedWorkTest, NothingToRunCannotBeScheduled) {
  EXPECT_EQ(dispatchExecuteWorkItem(nullptr, nullptr, nullptr, nullptr, 1), 0u);
}

}  // namespace
}  // namespace swplat
