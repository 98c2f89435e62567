// Names of components and processes, which become parts of file names.
#ifndef PLATFORM_HOST_COMPONENT_NAME_H
#define PLATFORM_HOST_COMPONENT_NAME_H

#include <cstddef>
#include <cstring>

namespace swplat {

// The name field of a directory record, less its terminating zero.
inline constexpr size_t kLongestComponentName = 33;

// Tells whether a name can be that of a component: 1 to 33 characters, no '/'. Null is none.
inline bool isComponentName(const char *name) {
  if (name == nullptr) {
    return false;
  }
  const size_t length = strnlen(name, kLongestComponentName + 1);
  return length >= 1 && length <= kLongestComponentName && std::strchr(name, '/') == nullptr;
}

}  // namespace swplat

#endif  // PLATFORM_HOST_COMPONENT_NAME_H
