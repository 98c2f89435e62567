#include "platform/host/dispatcher.h"

#include <pthread.h>
#include <signal.h>
#include <sys/epoll.h>

#include <array>
#include <cerrno>
#include <thread>

#include "platform/host/address_peer.h"
#include "platform/host/dispatch_client.h"
#include "platform/host/failure.h"
#include "platform/host/peer_table.h"

namespace swplat {
namespace {

// What epoll says of the work queue; peer ids have 32 bits.
constexpr uint64_t kWorkMark = uint64_t{1} << 32;

constexpr size_t kEventBatch = 64;

void servePeer(uint32_t peerId, uint32_t events) {
  DispatchClient *client = nullptr;
  {
    const LockedPeer peer = PeerTable::instance().find(peerId);
    if (!peer) {
      return;
    }
    if ((events & EPOLLOUT) != 0) {
      peer->flush();
    }
    client = peer->dispatchClient;
  }
  if (client != nullptr) {
    client->receive(peerId);
  } else if ((events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0) {
    noticeAddressPeerLoss(peerId);
  }
}

epoll_event eventOf(uint32_t events, uint64_t mark) {
  epoll_event event = {};
  event.events = events;
  event.data.u64 = mark;
  return event;
}

}  // namespace

Dispatcher &Dispatcher::instance() {
  // Never destroyed: its thread runs until the process is gone.
  static Dispatcher *const dispatcher = [] {
    auto *const made = new Dispatcher;
    try {
      made->startThread();
    } catch (...) {
      delete made;
      throw;
    }
    return made;
  }();
  return *dispatcher;
}

Dispatcher::Dispatcher() : epoll_(epoll_create1(EPOLL_CLOEXEC)) {
  if (!epoll_) {
    throwErrno("epoll");
  }
  epoll_event event = eventOf(EPOLLIN, kWorkMark);
  if (epoll_ctl(epoll_.number(), EPOLL_CTL_ADD, work_.descriptor(), &event) != 0) {
    throwErrno("epoll");
  }
}

void Dispatcher::watch(int socket, uint32_t events, uint32_t peerId) {
  epoll_event event = eventOf(events, peerId);
  if (epoll_ctl(epoll_.number(), EPOLL_CTL_ADD, socket, &event) != 0) {
    throwErrno("epoll");
  }
}

void Dispatcher::changeWatch(int socket, uint32_t events, uint32_t peerId) noexcept {
  epoll_event event = eventOf(events, peerId);
  epoll_ctl(epoll_.number(), EPOLL_CTL_MOD, socket, &event);
}

void Dispatcher::unwatch(int socket) noexcept {
  epoll_event ignored = {};
  epoll_ctl(epoll_.number(), EPOLL_CTL_DEL, socket, &ignored);
}

void Dispatcher::startThread() {
  // Signals are the application's: its own threads handle them.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  try {
    std::thread thread([this] { run(); });
    pthread_setname_np(thread.native_handle(), "swplat-dispatch");
    thread.detach();
  } catch (...) {
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    throw;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void Dispatcher::run() {
  std::array<epoll_event, kEventBatch> events;
  for (;;) {
    const int count = epoll_wait(epoll_.number(), events.data(), static_cast<int>(events.size()),
                                 -1 /* until something happens */);
    bool workDue = false;
    for (int index = 0; index < count; ++index) {
      const epoll_event &event = events[static_cast<size_t>(index)];
      if (event.data.u64 == kWorkMark) {
        workDue = true;
      } else {
        servePeer(static_cast<uint32_t>(event.data.u64), event.events);
      }
    }
    if (workDue) {
      work_.runDue();
    }
  }
}

}  // namespace swplat

extern "C" {

uint32_t dispatchExecuteWorkItem(DispatchRoutine routine, void *argument1, void *argument2,
                                 const DispatchDelay *delay, uint32_t count) noexcept {
  if (routine == nullptr) {
    return 0;
  }
  return swplat::resultOr(uint32_t{0}, [&] {
    const swplat::WorkQueue::Delay pause =
        delay == nullptr
            ? swplat::WorkQueue::Delay::zero()
            : std::chrono::seconds(delay->seconds) + std::chrono::microseconds(delay->fraction);
    return swplat::Dispatcher::instance().work().schedule({routine, argument1, argument2}, pause,
                                                          count);
  });
}

int32_t dispatchWorkCancel(uint32_t item) noexcept {
  return swplat::resultOr(
      int32_t{-1}, [item] { return swplat::Dispatcher::instance().work().cancel(item) ? 0 : -1; });
}

}  // extern "C"
