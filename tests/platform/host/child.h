// A child process that does one thing and then waits to be killed.
#ifndef TESTS_PLATFORM_HOST_CHILD_H
#define TESTS_PLATFORM_HOST_CHILD_H

#include <sys/types.h>

#include <functional>

namespace host_test {

class Child {
 public:
  // Forks. Returns once the child has run `action`. The child then sleeps.
  explicit Child(const std::function<void()> &action);
  ~Child() { kill(); }
  Child(const Child &) = delete;
  Child &operator=(const Child &) = delete;

  pid_t pid() const { return pid_; }

  // Ends the child with SIGKILL and waits for its end.
  void kill();

 private:
  pid_t pid_;
  bool alive_ = true;
};

}  // namespace host_test

#endif  // TESTS_PLATFORM_HOST_CHILD_H
