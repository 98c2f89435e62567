#include "platform/common/text_ring.h"

#include <cstddef>
#include <cstdio>

namespace swplat {
namespace {

constexpr std::size_t kBuffers = 8;
constexpr std::size_t kBufferSize = 4096;  // the terminating NUL included

struct TextRing {
  char texts[kBuffers][kBufferSize];
  std::size_t next;
};

thread_local constinit TextRing ring{};

}  // namespace

const char *formatText(const char *format, std::va_list arguments) noexcept {
  char *text = ring.texts[ring.next];
  ring.next = (ring.next + 1) % kBuffers;
  if (std::vsnprintf(text, kBufferSize, format, arguments) < 0) text[0] = '\0';
  return text;
}

}  // namespace swplat
