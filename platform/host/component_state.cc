// What the components inside this process report: <runtime directory>/components/<name>.<process>.
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/host/claim_file.h"
#include "platform/host/component_name.h"
#include "platform/host/failure.h"
#include "platform/host/runtime_directory.h"
#include "platform/procmon.h"

namespace swplat {
namespace {

constexpr const char *kComponentsDirectory = "components";

// Removes the reports of processes that are gone.
void removeStaleReports(int directory) {
  const int listed = openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const std::unique_ptr<DIR, int (*)(DIR *)> entries(listed < 0 ? nullptr : fdopendir(listed),
                                                     closedir);
  while (entries != nullptr) {
    const dirent *const entry = readdir(entries.get());
    if (entry == nullptr) {
      return;
    }
    if (entry->d_name[0] != '.' && !ClaimFile::isClaimed(directory, entry->d_name)) {
      unlinkat(directory, entry->d_name, 0);
    }
  }
}

class ComponentReports {
 public:
  static ComponentReports &instance() {
    // Never destroyed: the dispatcher's thread may report while the process exits.
    static ComponentReports *const reports = new ComponentReports;
    return *reports;
  }

  void report(const std::string &name, int32_t state) {
    const std::lock_guard<std::mutex> guard(mutex_);
    auto known = held_.find(name);
    if (known == held_.end()) {
      known = held_.emplace(name, openReport(name)).first;
    }
    known->second.write(std::to_string(state));
    known->second.announce();
  }

 private:
  static ClaimFile openReport(const std::string &name) {
    const FileDescriptor directory =
        openRuntimeDirectory(OpenDirectory::kCreate, kComponentsDirectory);
    removeStaleReports(directory.number());
    std::optional<ClaimFile> file =
        ClaimFile::claim(directory.number(), name + "." + std::to_string(getpid()));
    if (!file) {
      throwError(EBUSY, name.c_str());
    }
    return std::move(*file);
  }

  std::mutex mutex_;
  std::map<std::string, ClaimFile> held_;
};

}  // namespace
}  // namespace swplat

extern "C" int32_t procmonSetState(const char *name, int32_t state) noexcept {
  return swplat::resultOr(int32_t{-1}, [name, state] {
    if (name == nullptr) {
      swplat::throwError(EINVAL, "component name");
    }
    const std::string significant(name, strnlen(name, swplat::kLongestComponentName));
    if (!swplat::isComponentName(significant.c_str())) {
      swplat::throwError(EINVAL, "component name");
    }
    swplat::ComponentReports::instance().report(significant, state);
    return 0;
  });
}
