// One peer of the message bus.
#ifndef PLATFORM_HOST_PEER_H
#define PLATFORM_HOST_PEER_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

#include "platform/host/address_book.h"
#include "platform/host/backoff.h"
#include "platform/host/file_descriptor.h"
#include "platform/host/packet_queue.h"
#include "platform/host/work_queue.h"
#include "platform/msgbus.h"

namespace swplat {

class DispatchClient;

// Packets that may wait for a peer until MSGBUS_OPTION_QUEUE_LIMIT says otherwise.
inline constexpr uint32_t kDefaultQueueLimit = 1024;

// What only a peer made by msgbusRegisterPeerByAddr() has (see address_peer.h).
struct AddressPeerState {
  enum class Link : uint8_t {
    kIdle,       // not connected yet
    kConnected,  // in use
    kLost,       // the connection is gone, which its owner has not been told yet
    kDown        // its owner knows; the dispatcher tries to connect again
  };

  ComponentAddress address;
  MsgbusControlCallback control = nullptr;
  Link link = Link::kIdle;
  int32_t notice = 0;                          // control code to deliver; 0: none
  std::shared_ptr<FileDescriptor> leftToRead;  // a lost connection with packets still in it
  WorkQueue::Clock::time_point lossReportDue;  // with packets left to read: report by then
  uint32_t attendItem = 0;                     // prepared work: the dispatcher's next step
  std::chrono::microseconds receiveWait{};     // what was last set at the socket
  Backoff backoff;
};

// A place of the peer table. It is used by one peer after the other and never freed, so that a
// sender needs nothing but the place's own lock. Everything is guarded by `mutex`, except where
// noted.
struct Peer {
  std::mutex mutex;
  std::condition_variable changed;  // the link of an address peer has changed

  // 0: the place is free. Written under the mutex; may be read without.
  std::atomic<uint32_t> id{0};

  std::shared_ptr<FileDescriptor> socket;  // null: not connected
  uint32_t largestPacket = 0;
  PacketQueue queue;
  uint32_t queueLimit = kDefaultQueueLimit;
  bool keepAlive = true;
  uint32_t serviceClass = 0;

  DispatchClient *dispatchClient = nullptr;        // the dispatcher's own peers
  std::unique_ptr<AddressPeerState> addressState;  // the others

  // The table's own.
  uint32_t nextId = 0;
  Peer *nextFree = nullptr;

  // Takes a connected socket into use and has the dispatcher watch it. Throws std::system_error;
  // the peer is unchanged then. The mutex is held.
  void attach(FileDescriptor connected);

  // Closes the connection, if there is one, for everybody who still holds the socket. The mutex is
  // held.
  void detach();

  // Sends or queues one packet; the results are those of msgbusSend(). The mutex is held.
  int32_t send(const uint8_t *data, uint32_t length);

  // Sends on what is queued, now that the socket takes packets again. The mutex is held.
  void flush();

 private:
  int32_t enqueue(const uint8_t *data, uint32_t length);
  uint32_t watchedEvents() const;
};

}  // namespace swplat

#endif  // PLATFORM_HOST_PEER_H
