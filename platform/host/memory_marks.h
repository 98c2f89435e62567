// Tells AddressSanitizer which bytes of recycled memory are out of use, so that a use of a packet
// after it was given back is found although its memory is not returned to the allocator.
#ifndef PLATFORM_HOST_MEMORY_MARKS_H
#define PLATFORM_HOST_MEMORY_MARKS_H

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/asan_interface.h>
#endif
#endif

namespace swplat {

#ifdef ASAN_POISON_MEMORY_REGION
inline void markUnused(const void *memory, size_t size) {
  ASAN_POISON_MEMORY_REGION(memory, size);
}
inline void markUsed(const void *memory, size_t size) {
  ASAN_UNPOISON_MEMORY_REGION(memory, size);
}
#else
inline void markUnused(const void * /*memory*/, size_t /*size*/) {}
inline void markUsed(const void * /*memory*/, size_t /*size*/) {}
#endif

}  // namespace swplat

#endif  // PLATFORM_HOST_MEMORY_MARKS_H
