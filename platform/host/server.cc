#include "platform/host/server.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "platform/host/component_name.h"
#include "platform/host/failure.h"
#include "platform/host/runtime_directory.h"
#include "platform/host/unix_socket.h"
#include "platform/msgbus.h"

namespace swplat {
namespace {

// What epoll says of the descriptors that are no connection; connection numbers have 32 bits.
constexpr uint64_t kListenerMark = uint64_t{1} << 32;
constexpr uint64_t kStopMark = uint64_t{2} << 32;

constexpr size_t kEventBatch = 64;

// Packets received at one wake-up, so that one client cannot keep the server to itself.
constexpr int kReceiveBatch = 64;

// How long no client is accepted after descriptors or memory ran out.
constexpr int kAcceptPauseMilliseconds = 100;

constexpr uint32_t kLargestSlot = 255;

}  // namespace

Server::Server(ComponentAddress address, const SwplatServerHandlers &handlers, void *context)
    : address_(std::move(address)),
      handlers_(handlers),
      context_(context),
      buffer_(kLargestPacket),
      epoll_(epoll_create1(EPOLL_CLOEXEC)),
      stop_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
  if (!epoll_ || !stop_) {
    throwErrno("server");
  }
  const FileDescriptor directory = openRuntimeDirectory(OpenDirectory::kCreate);
  std::optional<ClaimFile> claim = ClaimFile::claim(directory.number(), address_.claimFile());
  if (!claim) {
    throwError(EADDRINUSE, address_.name.c_str());
  }
  claim_ = std::make_unique<ClaimFile>(std::move(*claim));
  listener_ = listenSocket(address_.socketFile());
  watch(listener_.number(), kListenerMark);
  watch(stop_.number(), kStopMark);
  claim_->write(std::to_string(getpid()));
  claim_->announce();
}

// The socket file goes while the claim is still held, so that no successor's file is removed.
Server::~Server() {
  resultOr(0, [this] {
    const FileDescriptor directory = openRuntimeDirectory(OpenDirectory::kExisting);
    return unlinkat(directory.number(), address_.socketFile().c_str(), 0);
  });
}

void Server::run() {
  std::array<epoll_event, kEventBatch> events;
  for (;;) {
    const int count = epoll_wait(epoll_.number(), events.data(), static_cast<int>(events.size()),
                                 acceptsClients_ ? -1 : kAcceptPauseMilliseconds);
    if (count < 0 && errno != EINTR) {
      throwErrno("epoll");
    }
    bool stopped = false;
    for (int index = 0; index < count; ++index) {
      const epoll_event &event = events[static_cast<size_t>(index)];
      if (event.data.u64 == kStopMark) {
        stopped = true;
      } else if (event.data.u64 == kListenerMark) {
        acceptClients();
      } else {
        serveConnection(static_cast<uint32_t>(event.data.u64), event.events);
      }
    }
    closeDisconnected();
    if (stopped) {
      uint64_t ignored = 0;
      [[maybe_unused]] const ssize_t length = read(stop_.number(), &ignored, sizeof(ignored));
      return;
    }
    if (count == 0 && !acceptsClients_) {
      acceptsClients_ = true;
      watch(listener_.number(), kListenerMark);
    }
  }
}

// Only calls that a signal handler may make.
void Server::stop() noexcept {
  const int savedErrno = errno;
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t ignored = write(stop_.number(), &one, sizeof(one));
  errno = savedErrno;
}

int32_t Server::send(uint32_t connection, const uint8_t *data, uint32_t length) {
  const std::lock_guard<std::mutex> guard(mutex_);
  ServerConnection *const found = findOpen(connection);
  if (found == nullptr) {
    return MSGBUS_ERROR;
  }
  const bool waited = found->waitsToSend();
  const int32_t result = found->send(data, length);
  if (found->waitsToSend() != waited) {
    watchConnection(connection, *found);
  }
  return result;
}

void Server::disconnect(uint32_t connection) {
  const std::lock_guard<std::mutex> guard(mutex_);
  if (ServerConnection *const found = findOpen(connection)) {
    // The shutdown also wakes the server's thread, which does the rest.
    found->beginClosing();
    someClosing_ = true;
  }
}

void Server::watch(int descriptor, uint64_t mark) {
  epoll_event event = {};
  event.events = EPOLLIN;
  event.data.u64 = mark;
  if (epoll_ctl(epoll_.number(), EPOLL_CTL_ADD, descriptor, &event) != 0) {
    throwErrno("epoll");
  }
}

void Server::watchConnection(uint32_t id, const ServerConnection &connection) noexcept {
  epoll_event event = {};
  event.events = connection.waitsToSend() ? EPOLLIN | EPOLLOUT : EPOLLIN;
  event.data.u64 = id;
  epoll_ctl(epoll_.number(), EPOLL_CTL_MOD, connection.socket(), &event);
}

void Server::acceptClients() {
  while (resultOr(false, [this] { return acceptClient(); })) {
  }
}

// Returns false when nobody waits any more.
bool Server::acceptClient() {
  FileDescriptor socket(
      accept4(listener_.number(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (!socket) {
    if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
      pauseAccepting();
    }
    return errno == EINTR || errno == ECONNABORTED;
  }
  const SwplatCredentials credentials = credentialsOf(socket.number());
  auto connection = std::make_unique<ServerConnection>(std::move(socket));
  uint32_t id = 0;
  {
    const std::lock_guard<std::mutex> guard(mutex_);
    do {
      ++lastConnection_;
    } while (lastConnection_ == 0 || connections_.contains(lastConnection_));
    id = lastConnection_;
    watch(connection->socket(), id);
    connections_.emplace(id, std::move(connection));
  }
  handlers_.connected(context_, id, &credentials);
  return true;
}

// The listener would otherwise be reported ready again and again.
void Server::pauseAccepting() {
  const int savedErrno = errno;
  epoll_event ignored = {};
  epoll_ctl(epoll_.number(), EPOLL_CTL_DEL, listener_.number(), &ignored);
  acceptsClients_ = false;
  errno = savedErrno;
}

void Server::serveConnection(uint32_t id, uint32_t events) {
  ServerConnection *const connection = findOpen(id);
  if (connection == nullptr) {
    return;
  }
  if ((events & EPOLLOUT) != 0) {
    const std::lock_guard<std::mutex> guard(mutex_);
    connection->flush();
    if (!connection->waitsToSend()) {
      watchConnection(id, *connection);
    }
  }
  if ((events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0) {
    receive(id, *connection);
  }
}

void Server::receive(uint32_t id, ServerConnection &connection) {
  int count = 0;
  do {
    const int64_t length = tryReceive(connection.socket(), buffer_.data(), buffer_.size());
    if (length < 0) {
      disconnect(id);
    }
    if (length <= 0) {
      break;
    }
    ++count;
    handlers_.received(context_, id, buffer_.data(), static_cast<uint32_t>(length));
  } while (!connection.isClosing() && connection.looksForMore() && count < kReceiveBatch);
  connection.noteReceived(count);
}

void Server::closeDisconnected() {
  for (;;) {
    uint32_t id = 0;
    std::unique_ptr<ServerConnection> closing;
    {
      const std::lock_guard<std::mutex> guard(mutex_);
      auto position = connections_.begin();
      while (someClosing_ && position != connections_.end() && !position->second->isClosing()) {
        ++position;
      }
      if (!someClosing_ || position == connections_.end()) {
        someClosing_ = false;
        return;
      }
      id = position->first;
      closing = std::move(position->second);
      connections_.erase(position);
    }
    closing.reset();
    handlers_.disconnected(context_, id);
  }
}

ServerConnection *Server::findOpen(uint32_t id) {
  const auto position = connections_.find(id);
  return position == connections_.end() || position->second->isClosing() ? nullptr
                                                                         : position->second.get();
}

}  // namespace swplat

// The C name of the class.
struct SwplatServer : swplat::Server {
  using swplat::Server::Server;
};

extern "C" {

SwplatServer *swplatServerOpen(const char *component, uint32_t slot,
                               const SwplatServerHandlers *handlers, void *context) noexcept {
  return swplat::resultOr<SwplatServer *>(nullptr, [=] {
    if (!swplat::isComponentName(component) || slot > swplat::kLargestSlot || handlers == nullptr ||
        handlers->connected == nullptr || handlers->received == nullptr ||
        handlers->disconnected == nullptr) {
      swplat::throwError(EINVAL, "server");
    }
    return std::make_unique<SwplatServer>(
               swplat::ComponentAddress{component, static_cast<uint8_t>(slot)}, *handlers, context)
        .release();
  });
}

int32_t swplatServerRun(SwplatServer *server) noexcept {
  return swplat::resultOr(int32_t{-1}, [server] {
    server->run();
    return 0;
  });
}

void swplatServerStop(SwplatServer *server) noexcept {
  server->stop();
}

int32_t swplatServerSend(SwplatServer *server, uint32_t connection, const void *data,
                         uint32_t length) noexcept {
  return swplat::resultOr(int32_t{MSGBUS_ERROR}, [=] {
    return server->send(connection, static_cast<const uint8_t *>(data), length);
  });
}

void swplatServerDisconnect(SwplatServer *server, uint32_t connection) noexcept {
  swplat::resultOr(0, [=] {
    server->disconnect(connection);
    return 0;
  });
}

void swplatServerClose(SwplatServer *server) noexcept {
  delete server;
}

}  // extern "C"
