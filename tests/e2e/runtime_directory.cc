#include "tests/e2e/runtime_directory.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace e2e {

RuntimeDirectory::RuntimeDirectory()
    : path_(std::filesystem::temp_directory_path() / "acl_e2e.XXXXXX") {
  if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no temporary directory");
  setenv("SWPLAT_DIR", path_.c_str(), 1);
}

RuntimeDirectory::~RuntimeDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace e2e
