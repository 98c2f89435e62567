// The dispatcher's thread: callbacks, connections and delayed work, one after the other.
#ifndef PLATFORM_HOST_DISPATCHER_H
#define PLATFORM_HOST_DISPATCHER_H

#include <cstdint>

#include "platform/host/file_descriptor.h"
#include "platform/host/work_queue.h"

namespace swplat {

// All calls are thread-safe.
class Dispatcher {
 public:
  // The dispatcher of this process, which is started at the first call and never ends. Throws
  // std::system_error or std::bad_alloc when it cannot be started; a later call tries again.
  static Dispatcher &instance();

  // Its work. The routines run on its thread.
  WorkQueue &work() { return work_; }

  // Watches a peer's socket for epoll events. Throws std::system_error.
  void watch(int socket, uint32_t events, uint32_t peerId);
  // Watches for other events from now on.
  void changeWatch(int socket, uint32_t events, uint32_t peerId) noexcept;
  // Watches no more.
  void unwatch(int socket) noexcept;

  Dispatcher(const Dispatcher &) = delete;
  Dispatcher &operator=(const Dispatcher &) = delete;

 private:
  Dispatcher();
  ~Dispatcher() = default;

  void startThread();
  [[noreturn]] void run();

  FileDescriptor epoll_;
  WorkQueue work_;
};

}  // namespace swplat

#endif  // PLATFORM_HOST_DISPATCHER_H
