// dispatch.h on the fake platform: clients, deliveries, and work items on a clock set by hand.
#include <algorithm>
#include <cstring>

#include "platform/fake/fake_state.h"

namespace swplat_fake {
namespace {

constexpr std::uint64_t kMicrosecondsPerSecond = 1'000'000;
constexpr std::size_t kMostRuns = 100'000;  // in one advance; more is an endless loop

std::string delayText(const DispatchDelay &delay) {
  return "{" + std::to_string(delay.seconds) + ", " + std::to_string(delay.fraction) + "}";
}

// A client's callback with what it is called with.
struct Receiver {
  std::uint32_t service;
  void *context;
  DispatchReceiveCallback callback;
};

std::optional<Receiver> receiverOf(Access &access, std::uint32_t peer, const char *what) {
  const auto found = access.model().peers.find(peer);
  if (found != access.model().peers.end()) {
    for (const DispatchClientRecord &record : access.model().clients) {
      if (record.service != found->second.client || record.callback == nullptr) continue;
      void *context = reinterpret_cast<void *>(std::uintptr_t{record.context});
      return Receiver{record.service, context, record.callback};
    }
  }
  access.violation(std::string(what) + ": nobody receives from peer " + std::to_string(peer));
  return std::nullopt;
}

// Takes the next run that is due at `time`, if any, and schedules the item's following run.
std::optional<WorkItem> takeDueRun(std::uint64_t time) {
  Access access;
  std::vector<WorkItem> &work = access.model().work;
  const auto next = std::ranges::min_element(work, {}, &WorkItem::due);  // the first of equals
  if (next == work.end() || next->due > time) {
    access.model().now = time;
    return std::nullopt;
  }
  const WorkItem run = *next;
  access.model().now = std::max(access.model().now, run.due);
  next->due += next->delay;
  if (next->runsLeft == 1) {
    work.erase(next);
  } else if (next->runsLeft > 1) {
    --next->runsLeft;
  }
  return run;
}

}  // namespace

std::vector<DispatchClientRecord> Platform::clients() const {
  return Access().model().clients;
}

void Platform::deliver(std::uint32_t peer, std::span<const std::byte> bytes) {
  std::optional<Receiver> receiver;
  PktBuf *packet = nullptr;
  const auto length = static_cast<std::uint32_t>(bytes.size());
  {
    Access access;
    receiver = receiverOf(access, peer, "deliver");
    if (!receiver) return;
    packet = makePacket(access.model(), length, 0, 0);
    if (length > 0) std::memcpy(packet->data, bytes.data(), length);
  }
  receiver->callback(receiver->service, receiver->context, peer, packet,
                     static_cast<std::int32_t>(length));
}

void Platform::deliverEvent(std::uint32_t peer, std::int32_t event) {
  std::optional<Receiver> receiver;
  {
    Access access;
    receiver = receiverOf(access, peer, "deliverEvent");
  }
  if (receiver) receiver->callback(receiver->service, receiver->context, peer, nullptr, event);
}

void Platform::losePeer(std::uint32_t peer) {
  std::optional<Receiver> receiver;
  {
    Access access;
    receiver = receiverOf(access, peer, "losePeer");
    access.model().peers.erase(peer);
  }
  if (receiver) {
    receiver->callback(receiver->service, receiver->context, peer, nullptr,
                       MSGBUS_EVENT_DISCONNECTED);
  }
}

std::size_t Platform::advanceTime(std::uint32_t seconds, std::uint32_t microseconds) {
  const std::uint64_t end = Access().model().now + seconds * kMicrosecondsPerSecond + microseconds;
  std::size_t runs = 0;
  while (const std::optional<WorkItem> run = takeDueRun(end)) {
    run->routine(run->argument1, run->argument2);
    if (++runs < kMostRuns) continue;
    Access().violation("advanceTime: the work never stops");
    break;
  }
  return runs;
}

std::vector<PendingWork> Platform::pendingWork() const {
  Access access;
  std::vector<PendingWork> pending;
  for (const WorkItem &item : access.model().work) {
    const std::uint64_t now = access.model().now;
    pending.push_back({item.id, item.routine, item.argument1, item.argument2,
                       item.due > now ? item.due - now : 0, item.runsLeft});
  }
  return pending;
}

}  // namespace swplat_fake

using swplat_fake::Argument;
using swplat_fake::FunctionCall;

std::int32_t dispatchAddClient(const DispatchClientRecord *record, void *) noexcept {
  const swplat_fake::AllocationExemption exemption;
  const std::string name(record->name, strnlen(record->name, sizeof(record->name)));
  const DispatchReceiveCallback callback = record->callback;
  FunctionCall call("dispatchAddClient", std::uint32_t{record->service}, name, record->slot,
                    callback, std::uint32_t{record->context});
  const auto result = call.resultOr<std::int32_t>(0);
  if (result == 0) call.model().clients.push_back(*record);
  return result;
}

std::uint32_t dispatchExecuteWorkItem(DispatchRoutine routine, void *argument1, void *argument2,
                                      const DispatchDelay *delay, std::uint32_t count) noexcept {
  const swplat_fake::AllocationExemption exemption;
  const Argument recordedDelay =
      delay == nullptr ? Argument(nullptr) : Argument(swplat_fake::delayText(*delay));
  FunctionCall call("dispatchExecuteWorkItem", routine, argument1, argument2, recordedDelay, count);
  auto &model = call.model();
  const auto id = call.resultOr<std::uint32_t>(model.lastItem + 1);
  if (id == 0) return 0;
  model.lastItem = id;
  const std::uint64_t pause =
      delay == nullptr ? 0 : delay->seconds * swplat_fake::kMicrosecondsPerSecond + delay->fraction;
  model.work.push_back({id, routine, argument1, argument2, pause, model.now + pause, count});
  return id;
}

std::int32_t dispatchWorkCancel(std::uint32_t item) noexcept {
  FunctionCall call("dispatchWorkCancel", item);
  auto &work = call.model().work;
  const auto found = std::ranges::find(work, item, &swplat_fake::WorkItem::id);
  const auto result = call.resultOr<std::int32_t>(found != work.end() ? 0 : -1);
  if (result == 0 && found != work.end()) work.erase(found);
  return result;
}
