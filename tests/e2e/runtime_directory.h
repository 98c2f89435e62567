// A runtime directory of the test's own, so that tests neither see nor disturb what runs here.
#ifndef TESTS_E2E_RUNTIME_DIRECTORY_H
#define TESTS_E2E_RUNTIME_DIRECTORY_H

#include <string>

namespace e2e {

// Makes the directory, points SWPLAT_DIR at it, and removes it with all it holds. To be made before
// the platform is used for the first time in the process.
class RuntimeDirectory {
 public:
  RuntimeDirectory();
  ~RuntimeDirectory();
  RuntimeDirectory(const RuntimeDirectory &) = delete;
  RuntimeDirectory &operator=(const RuntimeDirectory &) = delete;

  const std::string &path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace e2e

#endif  // TESTS_E2E_RUNTIME_DIRECTORY_H
