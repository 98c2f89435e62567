#include "platform/host/process_state.h"

#include <cerrno>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>

#include "platform/host/claim_file.h"
#include "platform/host/component_name.h"
#include "platform/host/failure.h"
#include "platform/host/runtime_directory.h"
#include "swplat/server.h"

namespace swplat {
namespace {

constexpr const char *kStatesDirectory = "states";

std::string stateFile(const char *name) {
  return std::string(name) + ".state";
}

// The states that this process publishes, each held by its claimed file.
class Publications {
 public:
  static Publications &instance() {
    // Never destroyed: the states stay published until the very end of the process.
    static Publications *const publications = new Publications;
    return *publications;
  }

  void publish(const char *name, int32_t state) {
    const std::lock_guard<std::mutex> guard(mutex_);
    const auto known = held_.find(name);
    if (known != held_.end()) {
      known->second.write(std::to_string(state));
      return;
    }
    const FileDescriptor directory = openRuntimeDirectory(OpenDirectory::kCreate, kStatesDirectory);
    std::optional<ClaimFile> file = ClaimFile::claim(directory.number(), stateFile(name));
    if (!file) {
      throwError(EBUSY, name);
    }
    file->write(std::to_string(state));
    file->announce();
    held_.emplace(name, std::move(*file));
  }

  void withdraw(const char *name) {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (const auto known = held_.find(name); known != held_.end()) {
      held_.erase(known);
    }
  }

 private:
  std::mutex mutex_;
  std::map<std::string, ClaimFile, std::less<>> held_;
};

}  // namespace

int32_t publishedProcessState(const char *name) {
  if (!isComponentName(name)) {
    return 0;
  }
  const FileDescriptor directory = openRuntimeDirectory(OpenDirectory::kExisting, kStatesDirectory);
  const std::optional<std::string> content =
      ClaimFile::readAnnounced(directory.number(), stateFile(name));
  return content ? static_cast<int32_t>(std::strtol(content->c_str(), nullptr, 10)) : 0;
}

}  // namespace swplat

extern "C" int32_t swplatPublishProcessState(const char *name, int32_t state) noexcept {
  return swplat::resultOr(int32_t{-1}, [name, state] {
    if (!swplat::isComponentName(name)) {
      swplat::throwError(EINVAL, "process name");
    }
    swplat::Publications &publications = swplat::Publications::instance();
    state == 0 ? publications.withdraw(name) : publications.publish(name, state);
    return 0;
  });
}
