#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/cliagent.h"

namespace swplat {
namespace {

// Keeps a write to a closed pipe from raising SIGPIPE in this thread, without changing how the
// process handles that signal.
class BrokenPipeSilence {
 public:
  BrokenPipeSilence() {
    sigemptyset(&signal_);
    sigaddset(&signal_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &signal_, &before_);
  }
  BrokenPipeSilence(const BrokenPipeSilence &) = delete;
  BrokenPipeSilence &operator=(const BrokenPipeSilence &) = delete;
  ~BrokenPipeSilence() {
    if (!wasPending_) {
      const timespec atOnce = {};
      while (sigtimedwait(&signal_, nullptr, &atOnce) < 0 && errno == EINTR) {
      }
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }

 private:
  sigset_t signal_;
  sigset_t before_;
  bool wasPending_ = false;
};

}  // namespace
}  // namespace swplat

extern "C" void cliagentNotifyCLI(int32_t handle, const char *text) noexcept {
  if (handle < 1 || text == nullptr) {
    return;
  }
  const int savedErrno = errno;
  const swplat::BrokenPipeSilence silence;
  size_t left = std::strlen(text);
  while (left > 0) {
    const ssize_t written = write(handle, text, left);
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written <= 0) {
      break;
    }
    text += written;
    left -= static_cast<size_t>(written);
  }
  errno = savedErrno;
}
