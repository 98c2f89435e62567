#include "platform/host/trace_ring.h"

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <limits>

#include "platform/host/diagnostics.h"
#include "platform/host/failure.h"
#include "platform/host/trace_files.h"

namespace swplat {
namespace {

// Room for the time and the level in front of a text.
constexpr size_t kLongestPrefix = 48;

std::optional<ClaimFile> openFile(const std::string &name, size_t size) {
  try {
    return makeTraceFile(name, size, kOldTracesKept);
  } catch (const std::system_error &error) {
    warn("trace buffer \"" + name + "\" is kept in memory only: " + error.what());
    return std::nullopt;
  }
}

// Fields that readers in other processes look at while lines are being written.
void store(uint32_t &field, uint32_t value) {
  __atomic_store_n(&field, value, __ATOMIC_RELEASE);
}

}  // namespace

Mapping::Mapping(int file, size_t size)
    : memory_(mmap(nullptr, size, PROT_READ | PROT_WRITE,
                   file < 0 ? MAP_PRIVATE | MAP_ANONYMOUS : MAP_SHARED, file, 0)),
      size_(size) {
  if (memory_ == MAP_FAILED) {
    throwErrno("trace buffer");
  }
}

TraceRing::TraceRing(const std::string &name, uint32_t size)
    : name_(name),
      size_(size),
      file_(openFile(name, sizeof(TraceHeader) + size)),
      mapping_(file_ ? file_->descriptor() : -1, sizeof(TraceHeader) + size) {
  TraceHeader header = {};
  std::memcpy(header.magic, kTraceMagic, sizeof(header.magic));
  header.byteOrder = kTraceByteOrder;
  header.version = kTraceVersion;
  header.headerSize = sizeof(TraceHeader);
  header.size = size;
  header.process = static_cast<uint32_t>(getpid());
  name_.copy(header.name, sizeof(header.name) - 1);
  std::memcpy(mapping_.bytes(), &header, sizeof(header));
}

void TraceRing::write(uint32_t level, std::string_view text) {
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  std::array<char, kLongestPrefix> prefix;
  const int length = std::snprintf(prefix.data(), prefix.size(), "%lld.%06ld %u ",
                                   static_cast<long long>(now.tv_sec), now.tv_nsec / 1000, level);
  std::string line(prefix.data(), static_cast<size_t>(length));
  while (!text.empty() && text.back() == '\n') {
    text.remove_suffix(1);
  }
  line += text;
  std::replace(line.begin(), line.end(), '\n', ' ');
  line.resize(std::min<size_t>(line.size(), size_ - 1));
  line += '\n';
  append(line);
}

void TraceRing::append(std::string_view bytes) {
  const std::lock_guard<std::mutex> guard(mutex_);
  auto &header = *reinterpret_cast<TraceHeader *>(mapping_.bytes());
  uint8_t *const ring = mapping_.bytes() + sizeof(TraceHeader);
  const uint32_t position = header.position;
  const size_t untilEnd = std::min<size_t>(bytes.size(), size_ - position);
  std::memcpy(ring + position, bytes.data(), untilEnd);
  std::memcpy(ring, bytes.data() + untilEnd, bytes.size() - untilEnd);
  if (bytes.size() >= size_ - position && header.rounds != std::numeric_limits<uint32_t>::max()) {
    store(header.rounds, header.rounds + 1);
  }
  store(header.position, static_cast<uint32_t>((position + bytes.size()) % size_));
}

}  // namespace swplat
