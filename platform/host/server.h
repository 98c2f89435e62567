// The serving end of the message bus; the contract is swplat/server.h.
#ifndef PLATFORM_HOST_SERVER_H
#define PLATFORM_HOST_SERVER_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "platform/host/address_book.h"
#include "platform/host/claim_file.h"
#include "platform/host/file_descriptor.h"
#include "platform/host/server_connection.h"
#include "swplat/server.h"

namespace swplat {

// run() and the handlers belong to one thread; send(), disconnect() and stop() may be called on
// any.
class Server {
 public:
  // Throws std::system_error or std::bad_alloc.
  Server(ComponentAddress address, const SwplatServerHandlers &handlers, void *context);
  ~Server();
  Server(const Server &) = delete;
  Server &operator=(const Server &) = delete;

  void run();
  void stop() noexcept;
  int32_t send(uint32_t connection, const uint8_t *data, uint32_t length);
  void disconnect(uint32_t connection);

 private:
  using Connections = std::unordered_map<uint32_t, std::unique_ptr<ServerConnection>>;

  void watch(int descriptor, uint64_t mark);
  void watchConnection(uint32_t id, const ServerConnection &connection) noexcept;
  void acceptClients();
  bool acceptClient();
  void pauseAccepting();
  void serveConnection(uint32_t id, uint32_t events);
  void receive(uint32_t id, ServerConnection &connection);
  void closeDisconnected();
  ServerConnection *findOpen(uint32_t id);

  ComponentAddress address_;
  SwplatServerHandlers handlers_;
  void *context_;
  std::vector<uint8_t> buffer_;  // the packet being received
  FileDescriptor epoll_;
  FileDescriptor stop_;
  std::unique_ptr<ClaimFile> claim_;
  FileDescriptor listener_;
  bool acceptsClients_ = true;

  // For the members below; not held while a handler runs. Only the server's own thread changes
  // which connections there are, so that it may look one up, and use what it found, without the
  // lock.
  std::mutex mutex_;
  Connections connections_;
  bool someClosing_ = false;
  uint32_t lastConnection_ = 0;
};

}  // namespace swplat

#endif  // PLATFORM_HOST_SERVER_H
