#include "tests/e2e/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>
#include <stdexcept>
#include <utility>

namespace e2e {
namespace {

std::vector<std::string> withEmulator(std::vector<std::string> command) {
  std::vector<std::string> words;
  std::istringstream emulator(ACL_TEST_EMULATOR);
  for (std::string word; std::getline(emulator, word, ';');) words.push_back(word);
  for (std::string &word : command) words.push_back(std::move(word));
  return words;
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> command, const std::string &outputFile)
    : pid_(0) {
  std::vector<std::string> words = withEmulator(std::move(command));
  std::vector<char *> arguments;
  for (std::string &word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (!outputFile.empty()) {
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outputFile.c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
  }
  const int failed =
      posix_spawnp(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) throw std::runtime_error("cannot start " + words[0]);
}

ChildProcess::ChildProcess(ChildProcess &&other) noexcept : pid_(std::exchange(other.pid_, 0)) {}

ChildProcess::~ChildProcess() {
  if (pid_ == 0) return;
  signal(SIGKILL);
  wait();
}

void ChildProcess::signal(int number) const {
  kill(pid_, number);
}

int ChildProcess::wait() {
  int status = 0;
  while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  pid_ = 0;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace e2e
