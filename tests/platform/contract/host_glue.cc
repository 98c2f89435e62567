#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

#include "tests/platform/contract/contract_test.h"

namespace contract {
namespace {

// A runtime directory of this program's own, removed when it ends.
class RuntimeDirectory {
 public:
  RuntimeDirectory() {
    std::string path = (std::filesystem::temp_directory_path() / "contract.XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("no runtime directory");
    path_ = path;
    setenv("SWPLAT_DIR", path.c_str(), 1);
  }
  ~RuntimeDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  RuntimeDirectory(const RuntimeDirectory &) = delete;
  RuntimeDirectory &operator=(const RuntimeDirectory &) = delete;

 private:
  std::filesystem::path path_;
};

}  // namespace

void setUpPlatform() {
  static const RuntimeDirectory directory;
}

void checkPlatformAfterTest() {}

bool dispatchUntil(const std::function<bool()> &done) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

void dispatchFor(unsigned milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

}  // namespace contract
