#include "platform/host/runtime_directory.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "platform/host/failure.h"
#include "swplat/server.h"

namespace swplat {
namespace {

constexpr mode_t kDirectoryMode = 0750;

bool isSet(const char *value) {
  return value != nullptr && *value != '\0';
}

// Makes a directory if it is missing. The mode is set again because the umask may have cut it; what
// is made below a directory that hands its group on goes on doing so.
void makeDirectory(int parent, const char *path) {
  if (mkdirat(parent, path, kDirectoryMode) == 0) {
    struct stat made = {};
    if (fstatat(parent, path, &made, 0) != 0 ||
        fchmodat(parent, path, kDirectoryMode | (made.st_mode & S_ISGID), 0) != 0) {
      throwErrno(path);
    }
  } else if (errno != EEXIST) {
    throwErrno(path);
  }
}

FileDescriptor openDirectory(int parent, const char *path, OpenDirectory how) {
  if (how == OpenDirectory::kCreate) {
    makeDirectory(parent, path);
  }
  FileDescriptor directory(openat(parent, path, O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!directory) {
    throwErrno(path);
  }
  return directory;
}

}  // namespace

std::string chooseRuntimeDirectory(const RuntimeDirectorySources &sources) {
  if (isSet(sources.swplatDir)) {
    return std::filesystem::absolute(sources.swplatDir).string();
  }
  if (sources.userId == 0) {
    return "/run/swplat";
  }
  if (isSet(sources.xdgRuntimeDir)) {
    return std::string(sources.xdgRuntimeDir) + "/swplat";
  }
  return "/run/user/" + std::to_string(sources.userId) + "/swplat";
}

const std::string &runtimeDirectory() {
  // Never destroyed: the dispatcher's thread may use it while the process exits.
  static const std::string *const path = new std::string(chooseRuntimeDirectory(
      {std::getenv("SWPLAT_DIR"), std::getenv("XDG_RUNTIME_DIR"), geteuid()}));
  return *path;
}

FileDescriptor openRuntimeDirectory(OpenDirectory how, const char *below) {
  FileDescriptor directory = openDirectory(AT_FDCWD, runtimeDirectory().c_str(), how);
  return below == nullptr ? std::move(directory) : openDirectory(directory.number(), below, how);
}

}  // namespace swplat

extern "C" const char *swplatRuntimeDirectory(void) noexcept {
  return swplat::resultOr<const char *>("", [] { return swplat::runtimeDirectory().c_str(); });
}
