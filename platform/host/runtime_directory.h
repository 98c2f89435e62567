// The directory in which the processes of one switch meet: sockets, states and traces.
#ifndef PLATFORM_HOST_RUNTIME_DIRECTORY_H
#define PLATFORM_HOST_RUNTIME_DIRECTORY_H

#include <string>

#include "platform/host/file_descriptor.h"

namespace swplat {

// What decides where the directory is. Null pointers: not set. An empty value counts as not set.
struct RuntimeDirectorySources {
  const char *swplatDir;      // $SWPLAT_DIR
  const char *xdgRuntimeDir;  // $XDG_RUNTIME_DIR
  unsigned userId;
};

// Returns the directory's absolute path: SWPLAT_DIR (made absolute now, so that a later change of
// the working directory does not move it), else /run/swplat for root, else XDG_RUNTIME_DIR/swplat,
// else /run/user/<user>/swplat.
std::string chooseRuntimeDirectory(const RuntimeDirectorySources &sources);

// The path chosen for this process, at the first call. Thread-safe.
const std::string &runtimeDirectory();

// Opens the runtime directory, or the directory `below` in it. With `create` it and `below` are
// made with mode 0750 when missing; directories above are not. Returns an O_PATH descriptor; throws
// std::system_error.
enum class OpenDirectory { kExisting, kCreate };
FileDescriptor openRuntimeDirectory(OpenDirectory how, const char *below = nullptr);

}  // namespace swplat

#endif  // PLATFORM_HOST_RUNTIME_DIRECTORY_H
