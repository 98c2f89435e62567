#include "tests/platform/host/child.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace host_test {

Child::Child(const std::function<void()> &action) {
  int done[2];
  [[maybe_unused]] const int made = pipe(done);
  pid_ = fork();
  if (pid_ == 0) {
    action();
    [[maybe_unused]] const ssize_t written = write(done[1], "x", 1);
    for (;;) {
      pause();
    }
  }
  char byte = 0;
  close(done[1]);
  [[maybe_unused]] const ssize_t received = read(done[0], &byte, 1);
  close(done[0]);
}

void Child::kill() {
  if (alive_) {
    ::kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    alive_ = false;
  }
}

}  // namespace host_test
