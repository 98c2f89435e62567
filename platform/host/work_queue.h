// Work to be run at due times on the monotonic clock.
#ifndef PLATFORM_HOST_WORK_QUEUE_H
#define PLATFORM_HOST_WORK_QUEUE_H

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <unordered_map>

#include "platform/dispatch.h"
#include "platform/host/file_descriptor.h"

namespace swplat {

// Any thread schedules; one thread waits for descriptor() to become readable and calls runDue().
// Items run in the order of their due times, then in the order in which they were scheduled.
class WorkQueue {
 public:
  using Clock = std::chrono::steady_clock;
  using Delay = std::chrono::nanoseconds;

  // What an item runs.
  struct Work {
    DispatchRoutine routine;
    void *argument1;
    void *argument2;
  };

  // Throws std::system_error when no timer can be had.
  WorkQueue();

  // Becomes readable when items are due.
  int descriptor() const { return timer_.number(); }

  // Schedules work: `count` runs, each `delay` after the one before; 0 means until cancelled.
  // Returns the item's id, never 0. Throws std::bad_alloc.
  uint32_t schedule(const Work &work, Delay delay, uint32_t count);

  // Cancels a scheduled item. Returns false when there is none of this id.
  bool cancel(uint32_t item);

  // Makes an item that runs whenever it is set off with arm(), until it is discarded. It lets the
  // platform's own steps be scheduled later without any possibility of failure.
  // Returns its id, never 0. Throws std::bad_alloc.
  uint32_t prepare(const Work &work);

  // Sets a prepared item off: it runs once after `delay`. What was set before is replaced. Unknown
  // items are ignored.
  void arm(uint32_t item, Delay delay) noexcept;

  // Discards a prepared item. Unknown items are ignored.
  void discard(uint32_t item) noexcept;

  // Runs what is due, with no lock held. Work scheduled meanwhile waits for the next call, so that
  // it cannot keep other events from being served.
  void runDue();

 private:
  struct Key {
    Clock::time_point due;
    uint64_t order;
    auto operator<=>(const Key &) const = default;
  };
  struct Item {
    uint32_t id;
    Work work;
    Delay delay;
    uint32_t runsLeft;  // the largest number: until cancelled
    bool prepared;
  };
  using Agenda = std::map<Key, Item>;

  // The due time of items that are prepared but not set off; also: the timer is not set.
  static constexpr Clock::time_point kNever = Clock::time_point::max();

  uint32_t add(Clock::time_point due, Item item);
  void move(Agenda::iterator position, Clock::time_point due);
  Work beginRun(Agenda::iterator position, Clock::time_point now);
  void setTimer();

  std::mutex mutex_;
  FileDescriptor timer_;
  Clock::time_point timerDue_ = kNever;  // what the timer is set to
  Agenda agenda_;
  std::unordered_map<uint32_t, Agenda::iterator> items_;
  uint64_t nextOrder_ = 0;
  uint32_t lastId_ = 0;
};

}  // namespace swplat

#endif  // PLATFORM_HOST_WORK_QUEUE_H
