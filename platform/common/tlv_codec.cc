#include "platform/common/tlv_codec.h"

#include <cstddef>
#include <cstring>

namespace swplat::tlv {
namespace {

constexpr std::uint32_t kHeaderSize = 4;
constexpr std::uint32_t kLongestValue = 0xFFFF;  // the header's length field has 16 bits

void storeBig16(std::uint8_t *bytes, std::uint16_t value) noexcept {
  bytes[0] = static_cast<std::uint8_t>(value >> 8);
  bytes[1] = static_cast<std::uint8_t>(value & 0xFF);
}

std::uint16_t loadBig16(const std::uint8_t *bytes) noexcept {
  return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

std::uint32_t paddingOf(std::uint32_t length) noexcept {
  return length & 1;
}

std::size_t usedLength(const TlvBuilder &builder) noexcept {
  return static_cast<std::size_t>(builder.cursor - builder.start);
}

// An empty area takes any object: packets have tailroom for one that is longer than they are.
bool takes(const TlvBuilder &builder, std::uint32_t objectSize) noexcept {
  if (builder.start == nullptr) return false;
  const std::size_t used = usedLength(builder);
  return used == 0 || (used <= builder.capacity && objectSize <= builder.capacity - used);
}

}  // namespace

void init(TlvBuilder &builder, void *area, std::uint32_t capacity) noexcept {
  builder.start = static_cast<std::uint8_t *>(area);
  builder.capacity = capacity;
  builder.cursor = builder.start;
}

std::int32_t addObject(TlvBuilder &builder, const void *data, std::uint16_t type,
                       std::uint32_t length) noexcept {
  if (length > kLongestValue) return -1;
  const std::uint32_t padding = paddingOf(length);
  if (!takes(builder, kHeaderSize + length + padding)) return -1;
  std::uint8_t *out = builder.cursor;
  storeBig16(out, type);
  storeBig16(out + 2, static_cast<std::uint16_t>(length));
  out += kHeaderSize;
  if (length > 0) std::memcpy(out, data, length);
  out += length;
  if (padding != 0) *out++ = 0;
  builder.cursor = out;
  return 0;
}

std::int32_t getObject(TlvBuilder &reader, std::uint16_t &type, std::uint16_t &length,
                       void *&value) noexcept {
  const std::size_t used = usedLength(reader);
  if (used >= reader.capacity || reader.capacity - used < kHeaderSize) return -1;
  const std::size_t behindHeader = reader.capacity - used - kHeaderSize;
  const std::uint16_t valueLength = loadBig16(reader.cursor + 2);
  if (valueLength > behindHeader) return -1;
  type = loadBig16(reader.cursor);
  length = valueLength;
  value = reader.cursor + kHeaderSize;
  reader.cursor += kHeaderSize + valueLength;
  if (valueLength < behindHeader) reader.cursor += paddingOf(valueLength);
  return 0;
}

}  // namespace swplat::tlv
