#include <cstdarg>

#include "platform/common/text_ring.h"
#include "platform/process.h"

extern "C" const char *Sprintf(const char *format, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, format);
  const char *const text = swplat::formatText(format, arguments);
  va_end(arguments);
  return text;
}
