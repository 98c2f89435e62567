// Big-endian numbers in byte buffers. Everything that travels is big-endian on every target.
#ifndef ACL_LIB_ENCODING_BYTE_ORDER_H
#define ACL_LIB_ENCODING_BYTE_ORDER_H

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace acl {

// Converts between the native and the big-endian form of a number (its own inverse). The
// compiler's built-ins become one instruction; not every compiler here recognises shifts as a swap.
template <std::integral Number>
constexpr Number swapToBigEndian(Number value) noexcept {
  if constexpr (std::endian::native == std::endian::big || sizeof(Number) == 1) {
    return value;
  } else if constexpr (sizeof(Number) == 2) {
    return static_cast<Number>(__builtin_bswap16(static_cast<std::uint16_t>(value)));
  } else if constexpr (sizeof(Number) == 4) {
    return static_cast<Number>(__builtin_bswap32(static_cast<std::uint32_t>(value)));
  } else {
    return static_cast<Number>(__builtin_bswap64(static_cast<std::uint64_t>(value)));
  }
}

// Reads a big-endian number; `bytes` need not be aligned.
template <std::integral Number>
Number loadBig(const std::byte *bytes) noexcept {
  Number value;
  std::memcpy(&value, bytes, sizeof(value));
  return swapToBigEndian(value);
}

// Writes a number big-endian; `bytes` need not be aligned.
template <std::integral Number>
void storeBig(std::byte *bytes, Number value) noexcept {
  const Number big = swapToBigEndian(value);
  std::memcpy(bytes, &big, sizeof(big));
}

}  // namespace acl

#endif  // ACL_LIB_ENCODING_BYTE_ORDER_H
