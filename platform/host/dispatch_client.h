// A client registered with the dispatcher, and the connection to its component.
#ifndef PLATFORM_HOST_DISPATCH_CLIENT_H
#define PLATFORM_HOST_DISPATCH_CLIENT_H

#include <cstdint>
#include <memory>

#include "platform/dispatch.h"
#include "platform/host/address_book.h"
#include "platform/host/backoff.h"
#include "platform/host/file_descriptor.h"

namespace swplat {

// Lives as long as the process. Everything but the constructor and reconnect() happens on the
// dispatcher's thread.
class DispatchClient {
 public:
  // Prepares a client of a valid record. Throws std::bad_alloc or std::system_error.
  explicit DispatchClient(const DispatchClientRecord &record);
  ~DispatchClient();
  DispatchClient(const DispatchClient &) = delete;
  DispatchClient &operator=(const DispatchClient &) = delete;

  // Connects as soon as possible. Any thread.
  void start();

  // Connects anew, after a pause, because the peer was deregistered. Any thread.
  void reconnect();

  // Delivers what has arrived, and the loss of the connection after it.
  void receive(uint32_t peerId);

 private:
  void attend();
  bool connect();
  void lose(uint32_t peerId);
  void deliver(uint32_t peerId, PktBuf *packet, int32_t length) const;

  DispatchClientRecord record_;
  ComponentAddress address_;
  uint32_t attendItem_;
  Backoff backoff_;
  uint32_t peerId_ = 0;  // 0: not connected
  std::shared_ptr<FileDescriptor> socket_;
};

}  // namespace swplat

#endif  // PLATFORM_HOST_DISPATCH_CLIENT_H
