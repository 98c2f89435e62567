#include "tests/platform/host/test_directory.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

namespace host_test {
namespace {

class DirectoryEnvironment : public testing::Environment {
 public:
  DirectoryEnvironment() {
    std::string path =
        (std::filesystem::temp_directory_path() / "swplat-host-platform-test-XXXXXX").string();
    path_ = mkdtemp(path.data());
    setenv("SWPLAT_DIR", path_.c_str(), 1);
    setenv("SWPLAT_CONF", (path_ + "/none.conf").c_str(), 1);
    owner_ = getpid();
  }
  ~DirectoryEnvironment() override {
    if (getpid() == owner_) {
      std::filesystem::remove_all(path_);
    }
  }
  const std::string &path() const { return path_; }

 private:
  std::string path_;
  pid_t owner_;
};

// googletest owns it and makes it before main() begins.
const DirectoryEnvironment *const kEnvironment = static_cast<DirectoryEnvironment *>(
    testing::AddGlobalTestEnvironment(new DirectoryEnvironment));

}  // namespace

const std::string &directory() {
  return kEnvironment->path();
}

std::string uniqueName(const std::string &stem) {
  static std::atomic<int> count{0};
  return stem + std::to_string(++count);
}

bool waitUntil(const std::function<bool()> &done) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace host_test
