#include "platform/host/unix_socket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <optional>

#include "platform/host/failure.h"
#include "platform/host/runtime_directory.h"

namespace swplat {
namespace {

constexpr mode_t kSocketMode = 0660;
constexpr int kWantedBuffer = 1024 * 1024;

// What the kernel keeps of a socket's send buffer for itself when it checks a packet's length.
constexpr uint32_t kKernelReserve = 32;

// The address of a file in the runtime directory. A path that is too long for an address is reached
// through the open directory, for which /proc has a short name.
class RuntimeAddress {
 public:
  explicit RuntimeAddress(const std::string &file) {
    std::string path = runtimeDirectory() + "/" + file;
    if (path.size() >= sizeof(address_.sun_path)) {
      directory_ = openRuntimeDirectory(OpenDirectory::kExisting);
      path = "/proc/self/fd/" + std::to_string(directory_.number()) + "/" + file;
    }
    if (path.size() >= sizeof(address_.sun_path)) {
      throwError(ENAMETOOLONG, file.c_str());
    }
    address_.sun_family = AF_UNIX;
    path.copy(address_.sun_path, sizeof(address_.sun_path) - 1);
  }

  const sockaddr *get() const { return reinterpret_cast<const sockaddr *>(&address_); }
  socklen_t size() const { return sizeof(address_); }

 private:
  FileDescriptor directory_;
  sockaddr_un address_ = {};
};

// Returns the length of a packet, 0 when there is none, -1 at the end of the connection, or nothing
// when the call is to be repeated.
std::optional<int64_t> receiveOnce(int socket, uint8_t *buffer, size_t capacity, int flags) {
  const ssize_t length = recv(socket, buffer, capacity, flags);
  if (length > 0) {
    return length;
  }
  if (length == 0) {
    return -1;
  }
  // A peer that closes with packets unread resets the connection. The kernel reports that once,
  // ahead of the packets that the peer had sent before; the next calls return those.
  if (errno == EINTR || errno == ECONNRESET) {
    return std::nullopt;
  }
  return errno == EAGAIN ? 0 : -1;
}

FileDescriptor makeSocket() {
  FileDescriptor made(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!made) {
    throwErrno("socket");
  }
  return made;
}

// SO_...BUFFORCE is not bounded by the system's limit, but needs the right to administer networks.
void enlargeBuffer(int socket, int forcedOption, int option) {
  if (setsockopt(socket, SOL_SOCKET, forcedOption, &kWantedBuffer, sizeof(kWantedBuffer)) != 0) {
    setsockopt(socket, SOL_SOCKET, option, &kWantedBuffer, sizeof(kWantedBuffer));
  }
}

}  // namespace

FileDescriptor connectSocket(const std::string &file) {
  const RuntimeAddress address(file);
  FileDescriptor made = makeSocket();
  if (connect(made.number(), address.get(), address.size()) != 0) {
    throwErrno(file.c_str());
  }
  // Connecting must not wait; receiving may, where receiveWithin() is called.
  if (fcntl(made.number(), F_SETFL, fcntl(made.number(), F_GETFL) & ~O_NONBLOCK) != 0) {
    throwErrno(file.c_str());
  }
  return made;
}

FileDescriptor listenSocket(const std::string &file) {
  const FileDescriptor directory = openRuntimeDirectory(OpenDirectory::kCreate);
  const RuntimeAddress address(file);
  FileDescriptor made = makeSocket();
  if (unlinkat(directory.number(), file.c_str(), 0) != 0 && errno != ENOENT) {
    throwErrno(file.c_str());
  }
  // Nobody can connect before listen(), so the mode is right from the first moment on.
  if (bind(made.number(), address.get(), address.size()) != 0 ||
      fchmodat(directory.number(), file.c_str(), kSocketMode, 0) != 0 ||
      listen(made.number(), SOMAXCONN) != 0) {
    throwErrno(file.c_str());
  }
  return made;
}

uint32_t enlargeBuffers(int socket) {
  enlargeBuffer(socket, SO_SNDBUFFORCE, SO_SNDBUF);
  enlargeBuffer(socket, SO_RCVBUFFORCE, SO_RCVBUF);
  int granted = 0;
  socklen_t length = sizeof(granted);
  if (getsockopt(socket, SOL_SOCKET, SO_SNDBUF, &granted, &length) != 0) {
    throwErrno("SO_SNDBUF");
  }
  return std::min(kLargestPacket, static_cast<uint32_t>(granted) - kKernelReserve);
}

SendOutcome trySend(int socket, const uint8_t *data, size_t length) {
  for (;;) {
    if (send(socket, data, length, MSG_DONTWAIT | MSG_NOSIGNAL) >= 0) {
      return SendOutcome::kSent;
    }
    switch (errno) {
      case EINTR:
        continue;
      case EAGAIN:
      case ENOBUFS:
      case ENOMEM:
        return SendOutcome::kWouldBlock;
      default:
        return SendOutcome::kBroken;
    }
  }
}

int64_t tryReceive(int socket, uint8_t *buffer, size_t capacity) {
  for (;;) {
    const std::optional<int64_t> result = receiveOnce(socket, buffer, capacity, MSG_DONTWAIT);
    if (result) {
      return *result;
    }
  }
}

void setReceiveWait(int socket, std::chrono::microseconds wait) {
  timeval limit = {};
  limit.tv_sec = static_cast<time_t>(wait.count() / 1'000'000);
  limit.tv_usec = static_cast<suseconds_t>(wait.count() % 1'000'000);
  setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
}

int64_t waitAndReceive(int socket, uint8_t *buffer, size_t capacity) {
  return receiveOnce(socket, buffer, capacity, 0).value_or(0);
}

bool hasUnreadPacket(int socket) {
  for (;;) {
    uint8_t byte = 0;
    const ssize_t length = recv(socket, &byte, sizeof(byte), MSG_DONTWAIT | MSG_PEEK);
    if (length >= 0 || (errno != EINTR && errno != ECONNRESET)) {
      return length > 0;
    }
  }
}

}  // namespace swplat
