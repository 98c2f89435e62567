// Formatted texts that need no buffer from the caller: the code behind Sprintf()
// (platform/process.h).
#ifndef PLATFORM_COMMON_TEXT_RING_H
#define PLATFORM_COMMON_TEXT_RING_H

#include <cstdarg>

namespace swplat {

// Formats a text as vprintf does.
// Returns the text, never null: it lies in one of the calling thread's eight buffers and stays
// valid until that thread's eighth call after this one. Texts below 4096 characters are whole,
// longer ones are cut; a format that cannot be written gives the empty text. Thread-safe.
const char *formatText(const char *format, std::va_list arguments) noexcept
    __attribute__((format(printf, 1, 0)));

}  // namespace swplat

#endif  // PLATFORM_COMMON_TEXT_RING_H
