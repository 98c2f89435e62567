// Another process that the test starts, waits for or kills.
#ifndef TESTS_E2E_CHILD_PROCESS_H
#define TESTS_E2E_CHILD_PROCESS_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace e2e {

class ChildProcess {
 public:
  // Starts a program that was built with the tests. Its output goes to `outputFile`, or to the
  // test's own output when that is empty.
  explicit ChildProcess(std::vector<std::string> command, const std::string &outputFile = "");
  ~ChildProcess();  // kills it when it still runs
  ChildProcess(ChildProcess &&other) noexcept;
  ChildProcess &operator=(ChildProcess &&) = delete;
  ChildProcess(const ChildProcess &) = delete;
  ChildProcess &operator=(const ChildProcess &) = delete;

  void signal(int number) const;
  // Waits for its end. Returns its exit status, or 128 and the number of the signal that ended it.
  int wait();

 private:
  pid_t pid_;
};

}  // namespace e2e

#endif  // TESTS_E2E_CHILD_PROCESS_H
