#include "platform/host/address_peer.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "platform/host/dispatcher.h"
#include "platform/host/failure.h"

namespace swplat {
namespace {

using Link = AddressPeerState::Link;
using Clock = WorkQueue::Clock;

// How long packets left to read may delay the report that their connection is lost.
constexpr std::chrono::seconds kLongestReportDelay{1};

// How long msgbusRecv() waits at most when there is no connection to wait for. Callers that try
// again without a pause do not use up a processor while the connection is being restored.
constexpr std::chrono::microseconds kDownWait{10'000};

void attendIn(const AddressPeerState &state, WorkQueue::Delay delay) {
  Dispatcher::instance().work().arm(state.attendItem, delay);
}

void setLink(Peer &peer, Link link) {
  peer.addressState->link = link;
  peer.changed.notify_all();
}

// Returns 0 or the reason. The notice is delivered by the dispatcher.
int connectNow(Peer &peer) noexcept {
  AddressPeerState &state = *peer.addressState;
  const bool connected = resultOr(false, [&] {
    peer.attach(connectSocket(state.address.socketFile()));
    return true;
  });
  if (!connected) {
    return errno;
  }
  state.notice = state.link == Link::kIdle ? MSGBUS_CONTROL_CONNECTED : MSGBUS_CONTROL_RESTORED;
  state.receiveWait = {};  // nothing is set at the new socket yet
  state.backoff.reset();
  setLink(peer, Link::kConnected);
  return 0;
}

// One step of a peer's life. Returns the control code to deliver, 0 when there is nothing to do
// now.
int32_t nextStep(Peer &peer) {
  AddressPeerState &state = *peer.addressState;
  if (state.notice == 0 && state.link == Link::kDown && peer.keepAlive && connectNow(peer) != 0) {
    attendIn(state, state.backoff.next());
    return 0;
  }
  if (state.notice != 0) {
    return std::exchange(state.notice, 0);
  }
  if (state.link != Link::kLost) {
    return 0;
  }
  const Clock::time_point now = Clock::now();
  if (state.leftToRead != nullptr && now < state.lossReportDue) {
    attendIn(state, state.lossReportDue - now);
    return 0;
  }
  setLink(peer, Link::kDown);
  attendIn(state, state.backoff.next());
  return MSGBUS_CONTROL_DISCONNECTED;
}

void attend(uint32_t peerId) {
  for (;;) {
    int32_t code = 0;
    MsgbusControlCallback control = nullptr;
    bool waits = false;
    {
      const LockedPeer peer = PeerTable::instance().find(peerId);
      if (!peer) {
        return;
      }
      code = nextStep(*peer);
      control = peer->addressState->control;
      waits = peer->addressState->link == Link::kDown;
    }
    if (code == 0) {
      return;
    }
    if (control != nullptr) {
      control(peerId, code);
    }
    if (waits) {  // the next attempt to connect comes after a pause
      return;
    }
  }
}

// Receives what a lost connection left. Returns the length, 0 when nothing is left.
int64_t receiveLeft(Peer &peer, PktBuf &packet) {
  AddressPeerState &state = *peer.addressState;
  if (state.leftToRead == nullptr) {
    return 0;
  }
  const int64_t length = tryReceive(state.leftToRead->number(), packet.data, packet.capacity);
  if (length > 0) {
    return length;
  }
  state.leftToRead.reset();
  attendIn(state, WorkQueue::Delay::zero());
  return 0;
}

// Receives from the connected socket, waiting unlocked for as long as there is nothing. One system
// call does both: the answer to a request usually comes while its sender waits for it.
int64_t receiveWithin(LockedPeer &peer, PktBuf &packet, Clock::duration wait) {
  const std::shared_ptr<FileDescriptor> socket = peer->socket;
  const auto rounded = std::chrono::ceil<std::chrono::microseconds>(wait);
  if (rounded <= std::chrono::microseconds::zero()) {
    return tryReceive(socket->number(), packet.data, packet.capacity);
  }
  if (peer->addressState->receiveWait != rounded) {
    setReceiveWait(socket->number(), rounded);
    peer->addressState->receiveWait = rounded;
  }
  peer.lock().unlock();
  const int64_t length = waitAndReceive(socket->number(), packet.data, packet.capacity);
  peer.lock().lock();
  return length;
}

// Waits, unlocked, for a change of the connection. Returns false when there is no time left for it.
bool waitForConnection(LockedPeer &peer, Clock::duration wait) {
  if (wait == Clock::duration::zero()) {
    return false;
  }
  peer->changed.wait_for(peer.lock(), wait);
  return true;
}

// The end of a wait that begins when it is first asked for: most calls find a packet at once.
class Deadline {
 public:
  explicit Deadline(std::chrono::microseconds wait) : wait_(wait) {}

  Clock::duration left() {
    const Clock::time_point now = Clock::now();
    if (end_ == Clock::time_point()) {
      end_ = now + wait_;
    }
    return std::max(Clock::duration::zero(), end_ - now);
  }

 private:
  std::chrono::microseconds wait_;
  Clock::time_point end_;
};

}  // namespace

uint32_t addAddressPeer(const ComponentAddress &address, MsgbusControlCallback control) {
  auto state = std::make_unique<AddressPeerState>();
  state->address = address;
  state->control = control;
  WorkQueue &work = Dispatcher::instance().work();
  LockedPeer peer = PeerTable::instance().add();
  if (!peer) {
    return 0;
  }
  const uint32_t id = peer->id;
  try {
    state->attendItem =
        work.prepare({[](void *argument, void *) {
                        attend(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(argument)));
                      },
                      reinterpret_cast<void *>(static_cast<uintptr_t>(id)), nullptr});
  } catch (...) {
    PeerTable::instance().remove(std::move(peer));
    throw;
  }
  peer->addressState = std::move(state);
  return id;
}

int32_t connectAddressPeer(Peer &peer) {
  AddressPeerState &state = *peer.addressState;
  if (state.link == Link::kConnected) {
    return 0;
  }
  if (state.link == Link::kLost) {
    state.lossReportDue = Clock::now();  // the owner is told first
    attendIn(state, WorkQueue::Delay::zero());
    return MSGBUS_IN_PROGRESS;
  }
  const int error = connectNow(peer);
  if (error != 0) {
    return error == EACCES || error == EPERM ? MSGBUS_REFUSED : MSGBUS_IN_PROGRESS;
  }
  attendIn(state, WorkQueue::Delay::zero());
  return 0;
}

int32_t receiveFromAddressPeer(LockedPeer &peer, PktBuf &packet, std::chrono::microseconds wait) {
  const uint32_t id = peer->id;
  if (peer->addressState->link == Link::kIdle) {
    return MSGBUS_ERROR;
  }
  Deadline deadline(wait);
  Deadline downDeadline(std::min(wait, kDownWait));
  // The peer may be forgotten, and its place be used again, while the lock is released.
  while (peer->id == id) {
    int64_t length = receiveLeft(*peer, packet);
    if (length == 0) {
      length = peer->socket == nullptr ? -1 : receiveWithin(peer, packet, deadline.left());
    }
    if (length > 0) {
      packet.length = static_cast<uint32_t>(length);
      return static_cast<int32_t>(length);
    }
    if (length == 0 && deadline.left() == Clock::duration::zero()) {
      return MSGBUS_TIMED_OUT;
    }
    if (length < 0 && !waitForConnection(peer, downDeadline.left())) {
      return MSGBUS_ERROR;
    }
  }
  return MSGBUS_ERROR;
}

void attendAddressPeerSoon(Peer &peer) {
  attendIn(*peer.addressState, WorkQueue::Delay::zero());
}

void noticeAddressPeerLoss(uint32_t peerId) {
  {
    const LockedPeer peer = PeerTable::instance().find(peerId);
    if (!peer || peer->socket == nullptr) {
      return;
    }
    AddressPeerState &state = *peer->addressState;
    if (hasUnreadPacket(peer->socket->number())) {
      Dispatcher::instance().unwatch(peer->socket->number());
      state.leftToRead = std::move(peer->socket);
      state.lossReportDue = Clock::now() + kLongestReportDelay;
    }
    peer->detach();
    setLink(*peer, Link::kLost);
  }
  attend(peerId);
}

}  // namespace swplat
