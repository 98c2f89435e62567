// Files by which a process shows other processes that it is alive: the kernel drops the locks of a
// process however it ends, so nothing has to be cleaned up for the claim to disappear.
//
// Two bytes of the file are locked. The first is the claim: at most one holder. The second is the
// announcement: whoever sees it locked may rely on the file's content and on what the claim stands
// for being ready. Looking never takes a lock, so it cannot get in a claimant's way.
#ifndef PLATFORM_HOST_CLAIM_FILE_H
#define PLATFORM_HOST_CLAIM_FILE_H

#include <optional>
#include <string>

#include "platform/host/file_descriptor.h"

namespace swplat {

// A claimed file; giving up the object gives up the claim and the announcement. Not thread-safe.
class ClaimFile {
 public:
  // Claims a file, which is made with mode 0640 when missing. Returns none when it is claimed by
  // someone else; throws std::system_error when it cannot be used.
  static std::optional<ClaimFile> claim(int directory, const std::string &name);

  // Replaces the content by one short text. Readers see the old or the new one.
  void write(const std::string &content);

  // Makes the announcement. Throws std::system_error.
  void announce();

  // Tells whether the file is announced at this moment. A missing file is not.
  static bool isAnnounced(int directory, const std::string &name);

  // Returns the content of an announced file, none when it is not announced.
  static std::optional<std::string> readAnnounced(int directory, const std::string &name);

  // Tells whether anyone claims the file at this moment.
  static bool isClaimed(int directory, const std::string &name);

  // The open file, for its owner's own use of it.
  int descriptor() const { return file_.number(); }

 private:
  explicit ClaimFile(FileDescriptor file) : file_(std::move(file)) {}

  FileDescriptor file_;
};

}  // namespace swplat

#endif  // PLATFORM_HOST_CLAIM_FILE_H
