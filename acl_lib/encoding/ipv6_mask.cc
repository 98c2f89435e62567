#include <cstddef>
#include <cstdint>
#include <cstring>

#include "acl_lib.h"

extern "C" {

const uint8_t gAclMaskBit[9] = {0x00, 0x80, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC, 0xFE, 0xFF};

void aclApplyIPv6Msk(const void *source, uint32_t prefixLength, void *destination) noexcept {
  constexpr std::size_t kAddressSize = 16;
  constexpr std::uint32_t kAddressBits = 128;
  auto *address = static_cast<std::uint8_t *>(destination);
  std::memmove(address, source, kAddressSize);
  if (prefixLength >= kAddressBits) return;

  const std::size_t partialByte = prefixLength / 8;
  address[partialByte] &= gAclMaskBit[prefixLength % 8];
  std::memset(address + partialByte + 1, 0, kAddressSize - partialByte - 1);
}

}  // extern "C"
