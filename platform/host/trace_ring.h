// Trace buffers: rings of text lines in files under <runtime directory>/trace, readable while the
// process runs and after it died. docs/host-platform.md describes the file for its readers.
#ifndef PLATFORM_HOST_TRACE_RING_H
#define PLATFORM_HOST_TRACE_RING_H

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "platform/host/claim_file.h"

namespace swplat {

// The file: this header, then the ring. Numbers are in the byte order of the machine.
struct TraceHeader {
  char magic[8];        // "swtrace" and a zero
  uint32_t byteOrder;   // kTraceByteOrder, as the writing machine stores it
  uint32_t version;     // kTraceVersion
  uint32_t headerSize;  // where the ring begins
  uint32_t size;        // bytes of the ring
  uint32_t position;    // where in the ring the next line goes; what is older begins there
  uint32_t rounds;   // how often the ring has been filled to its end; stops at the largest number
  uint32_t process;  // the writer
  char name[28];     // the buffer's name, cut, zero-terminated
};
static_assert(sizeof(TraceHeader) == 64);

inline constexpr char kTraceMagic[8] = "swtrace";
inline constexpr uint32_t kTraceByteOrder = 0x01020304;
inline constexpr uint32_t kTraceVersion = 1;

// Files of dead processes that are kept for each name.
inline constexpr size_t kOldTracesKept = 3;

// Memory shared with a file, or anonymous.
class Mapping {
 public:
  // Maps `size` bytes of a file, or of anonymous memory for -1. Throws std::system_error.
  Mapping(int file, size_t size);
  ~Mapping() { munmap(memory_, size_); }
  Mapping(const Mapping &) = delete;
  Mapping &operator=(const Mapping &) = delete;

  uint8_t *bytes() const { return static_cast<uint8_t *>(memory_); }

 private:
  void *memory_;
  size_t size_;
};

class TraceRing {
 public:
  // Opens a ring of `size` bytes, 1 or more. When the file cannot be made, the ring is kept in
  // memory only, after a warning. Throws std::system_error when there is no memory.
  TraceRing(const std::string &name, uint32_t size);

  const std::string &name() const { return name_; }

  // Appends "<seconds>.<microseconds> <level> <text>" and a line end. Line ends inside the text
  // become blanks; a line longer than the ring is cut. Thread-safe.
  void write(uint32_t level, std::string_view text);

 private:
  void append(std::string_view bytes);

  std::string name_;
  uint32_t size_;
  std::mutex mutex_;
  std::optional<ClaimFile> file_;  // claimed, so that others see that its process lives
  Mapping mapping_;
};

}  // namespace swplat

#endif  // PLATFORM_HOST_TRACE_RING_H
