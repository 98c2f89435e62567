#include "platform/host/work_queue.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <limits>

#include "platform/host/failure.h"

namespace swplat {
namespace {

constexpr uint32_t kForever = std::numeric_limits<uint32_t>::max();

itimerspec timerSetting(WorkQueue::Clock::time_point due) {
  // An expiry of zero would stop the timer; a time that is past fires at once.
  const int64_t nanoseconds = std::max<int64_t>(
      1, std::chrono::duration_cast<std::chrono::nanoseconds>(due.time_since_epoch()).count());
  constexpr int64_t kSecond = 1'000'000'000;
  // A timer cut to what a 32-bit time_t holds fires early, which only leads to its being set again.
  const int64_t seconds =
      std::min<int64_t>(nanoseconds / kSecond, std::numeric_limits<int32_t>::max());
  itimerspec setting = {};
  setting.it_value.tv_sec = static_cast<time_t>(seconds);
  setting.it_value.tv_nsec = static_cast<long>(nanoseconds % kSecond);
  return setting;
}

}  // namespace

WorkQueue::WorkQueue() : timer_(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)) {
  if (!timer_) {
    throwErrno("timerfd");
  }
}

uint32_t WorkQueue::schedule(const Work &work, Delay delay, uint32_t count) {
  const std::lock_guard<std::mutex> guard(mutex_);
  const uint32_t runs = count == 0 ? kForever : count;
  return add(Clock::now() + delay, Item{0, work, delay, runs, false});
}

uint32_t WorkQueue::prepare(const Work &work) {
  const std::lock_guard<std::mutex> guard(mutex_);
  return add(kNever, Item{0, work, Delay::zero(), kForever, true});
}

bool WorkQueue::cancel(uint32_t item) {
  const std::lock_guard<std::mutex> guard(mutex_);
  const auto known = items_.find(item);
  if (known == items_.end() || known->second->second.prepared) {
    return false;
  }
  agenda_.erase(known->second);
  items_.erase(known);
  return true;
}

void WorkQueue::arm(uint32_t item, Delay delay) noexcept {
  const std::lock_guard<std::mutex> guard(mutex_);
  if (const auto known = items_.find(item); known != items_.end()) {
    move(known->second, Clock::now() + delay);
    setTimer();
  }
}

void WorkQueue::discard(uint32_t item) noexcept {
  const std::lock_guard<std::mutex> guard(mutex_);
  if (const auto known = items_.find(item); known != items_.end()) {
    agenda_.erase(known->second);
    items_.erase(known);
  }
}

void WorkQueue::runDue() {
  uint64_t expirations = 0;
  // Nothing depends on whether the timer really fired: what is due is looked up.
  [[maybe_unused]] const ssize_t ignored = read(timer_.number(), &expirations, sizeof(expirations));
  std::unique_lock<std::mutex> lock(mutex_);
  timerDue_ = kNever;  // it has fired, so it must be set again whatever it was set to
  const Clock::time_point now = Clock::now();
  const uint64_t ordersBefore = nextOrder_;
  for (;;) {
    const auto first = agenda_.begin();
    if (first == agenda_.end() || first->first.due > now || first->first.order >= ordersBefore) {
      break;
    }
    const Work work = beginRun(first, now);
    lock.unlock();
    work.routine(work.argument1, work.argument2);
    lock.lock();
  }
  setTimer();
}

// Puts an item in its place for the run after this one, or takes it out, before it runs: so it may
// cancel itself, and nothing of it is needed afterwards.
WorkQueue::Work WorkQueue::beginRun(Agenda::iterator position, Clock::time_point now) {
  Item &item = position->second;
  const Work work = item.work;
  if (item.prepared) {
    move(position, kNever);
  } else if (item.runsLeft == 1) {
    items_.erase(item.id);
    agenda_.erase(position);
  } else {
    item.runsLeft -= item.runsLeft == kForever ? 0 : 1;
    move(position, now + item.delay);
  }
  return work;
}

uint32_t WorkQueue::add(Clock::time_point due, Item item) {
  do {
    ++lastId_;
  } while (lastId_ == 0 || items_.contains(lastId_));
  item.id = lastId_;
  const auto position = agenda_.emplace(Key{due, nextOrder_}, item).first;
  try {
    items_.emplace(item.id, position);
  } catch (...) {
    agenda_.erase(position);
    throw;
  }
  ++nextOrder_;
  setTimer();
  return item.id;
}

// Moves an item to another due time. The node is kept, so that nothing is allocated.
void WorkQueue::move(Agenda::iterator position, Clock::time_point due) {
  auto node = agenda_.extract(position);
  node.key() = Key{due, nextOrder_++};
  const uint32_t id = node.mapped().id;
  items_.find(id)->second = agenda_.insert(std::move(node)).position;
}

void WorkQueue::setTimer() {
  const Clock::time_point due = agenda_.empty() ? kNever : agenda_.begin()->first.due;
  if (due == timerDue_) {
    return;
  }
  const itimerspec setting = due == kNever ? itimerspec{} : timerSetting(due);
  timerfd_settime(timer_.number(), TFD_TIMER_ABSTIME, &setting, nullptr);
  timerDue_ = due;
}

}  // namespace swplat
