#include "platform/host/claim_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/host/failure.h"

namespace swplat {
namespace {

constexpr mode_t kFileMode = 0640;

// The locked bytes lie far behind any content.
constexpr off_t kClaimByte = 0x40000000;
constexpr off_t kAnnouncementByte = kClaimByte + 1;

// Content is padded to this length, so that one write replaces all of it.
constexpr size_t kContentLength = 32;

// Locks of the open file description: unlike a process's record locks, they also keep two users in
// one process apart and survive the closing of an unrelated descriptor of the file.
struct flock byteLock(short type, off_t byte) {
  struct flock lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = byte;
  lock.l_len = 1;
  return lock;
}

bool tryLock(int file, off_t byte, const char *what) {
  struct flock lock = byteLock(F_WRLCK, byte);
  if (fcntl(file, F_OFD_SETLK, &lock) == 0) {
    return true;
  }
  if (errno == EAGAIN || errno == EACCES) {
    return false;
  }
  throwErrno(what);
}

bool isLocked(int file, off_t byte) {
  struct flock lock = byteLock(F_RDLCK, byte);
  return fcntl(file, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

FileDescriptor openToLook(int directory, const std::string &name) {
  return FileDescriptor(openat(directory, name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
}

// Somebody who cleans up may have removed the file between its opening and its locking.
bool isStillThere(int file) {
  struct stat status = {};
  return fstat(file, &status) == 0 && status.st_nlink > 0;
}

}  // namespace

std::optional<ClaimFile> ClaimFile::claim(int directory, const std::string &name) {
  for (;;) {
    FileDescriptor file(
        openat(directory, name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kFileMode));
    if (!file) {
      throwErrno(name.c_str());
    }
    if (!tryLock(file.number(), kClaimByte, name.c_str())) {
      return std::nullopt;
    }
    if (isStillThere(file.number())) {
      return ClaimFile(std::move(file));
    }
  }
}

void ClaimFile::write(const std::string &content) {
  std::string padded = content;
  padded.resize(kContentLength - 1, ' ');
  padded += '\n';
  if (pwrite(file_.number(), padded.data(), padded.size(), 0) !=
      static_cast<ssize_t>(padded.size())) {
    throwErrno("claim file");
  }
}

void ClaimFile::announce() {
  if (!tryLock(file_.number(), kAnnouncementByte, "announcement")) {
    throwError(EBUSY, "announcement");
  }
}

bool ClaimFile::isAnnounced(int directory, const std::string &name) {
  const FileDescriptor file = openToLook(directory, name);
  return file && isLocked(file.number(), kAnnouncementByte);
}

std::optional<std::string> ClaimFile::readAnnounced(int directory, const std::string &name) {
  const FileDescriptor file = openToLook(directory, name);
  if (!file || !isLocked(file.number(), kAnnouncementByte)) {
    return std::nullopt;
  }
  std::string content(kContentLength, '\0');
  const ssize_t length = pread(file.number(), content.data(), content.size(), 0);
  if (length < 0) {
    return std::nullopt;
  }
  content.resize(static_cast<size_t>(length));
  return content;
}

bool ClaimFile::isClaimed(int directory, const std::string &name) {
  const FileDescriptor file = openToLook(directory, name);
  return file && isLocked(file.number(), kClaimByte);
}

}  // namespace swplat
