#include "platform/host/trace_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/host/failure.h"
#include "platform/host/runtime_directory.h"

namespace swplat {
namespace {

constexpr const char *kTraceDirectory = "trace";
constexpr std::string_view kSuffix = ".trace";

// Tells whether a file is named <name>.<number>.trace or <name>.<number>-<number>.trace.
bool isTraceOf(const std::string &name, std::string_view file) {
  if (file.size() <= name.size() + 1 + kSuffix.size() || !file.starts_with(name + ".") ||
      !file.ends_with(kSuffix)) {
    return false;
  }
  file.remove_prefix(name.size() + 1);
  file.remove_suffix(kSuffix.size());
  return file.find_first_not_of("0123456789-") == std::string_view::npos;
}

time_t lastChange(int directory, const std::string &file) {
  struct stat status = {};
  return fstatat(directory, file.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? status.st_mtime : 0;
}

// Lists the files of a name that no live process claims, newest first.
std::vector<std::string> oldTraces(int directory, const std::string &name) {
  std::vector<std::pair<time_t, std::string>> found;
  const int listed = openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const std::unique_ptr<DIR, int (*)(DIR *)> entries(listed < 0 ? nullptr : fdopendir(listed),
                                                     closedir);
  while (const dirent *const entry = entries == nullptr ? nullptr : readdir(entries.get())) {
    const std::string file = entry->d_name;
    if (isTraceOf(name, file) && !ClaimFile::isClaimed(directory, file)) {
      found.emplace_back(lastChange(directory, file), file);
    }
  }
  std::sort(found.begin(), found.end(), std::greater<>());
  std::vector<std::string> files;
  files.reserve(found.size());
  for (auto &[time, file] : found) {
    files.push_back(std::move(file));
  }
  return files;
}

void removeOldTraces(int directory, const std::string &name, size_t keep) {
  const std::vector<std::string> old = oldTraces(directory, name);
  for (size_t index = keep; index < old.size(); ++index) {
    unlinkat(directory, old[index].c_str(), 0);
  }
}

// In a container a daemon may well get the number of its predecessor, whose trace is wanted.
void setOldTraceAside(int directory, const std::string &name, const std::string &process) {
  const std::string file = name + "." + process + std::string(kSuffix);
  if (ClaimFile::isClaimed(directory, file)) {
    return;
  }
  const std::string aside = name + "." + process + "-" +
                            std::to_string(lastChange(directory, file)) + std::string(kSuffix);
  renameat(directory, file.c_str(), directory, aside.c_str());
}

}  // namespace

ClaimFile makeTraceFile(const std::string &name, size_t size, size_t keep) {
  const FileDescriptor directory = openRuntimeDirectory(OpenDirectory::kCreate, kTraceDirectory);
  const std::string process = std::to_string(getpid());
  setOldTraceAside(directory.number(), name, process);
  removeOldTraces(directory.number(), name, keep);
  std::optional<ClaimFile> file =
      ClaimFile::claim(directory.number(), name + "." + process + std::string(kSuffix));
  if (!file) {
    throwError(EBUSY, name.c_str());
  }
  // A file with holes would kill the writer when the disk is full; so the room is taken now.
  const int error = posix_fallocate(file->descriptor(), 0, static_cast<off_t>(size));
  if (error != 0) {
    unlinkat(directory.number(), (name + "." + process + std::string(kSuffix)).c_str(), 0);
    throwError(error, name.c_str());
  }
  return std::move(*file);
}

}  // namespace swplat
