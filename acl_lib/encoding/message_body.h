// Message bodies as tables of typed fields.
//
// A body is a struct that names its size and its fields, each with offset, type and name, and lists
// them in `table`. The struct itself is the type that ties a field to its body: putting a field of
// another body, or a value that is wider than the field, does not compile. BodyWriter zero-fills a
// body and writes fields; BodyReader reads them. Library and manager use the same tables.
#ifndef ACL_LIB_ENCODING_MESSAGE_BODY_H
#define ACL_LIB_ENCODING_MESSAGE_BODY_H

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

#include "acl_lib/encoding/byte_order.h"

namespace acl {

// Field types beside the integers.

// NUL-terminated text in `Width` bytes: at most Width - 1 characters, the rest zero.
template <std::size_t Width>
struct Text {
  static constexpr std::size_t width = Width;
};

// `Width` bytes, copied as they are.
template <std::size_t Width>
struct Bytes {
  static constexpr std::size_t width = Width;
};

// Names of policies, rules, counters and meters.
inline constexpr std::size_t kNameWidth = 33;
using Name = Text<kNameWidth>;

// Requests about policies and rules begin with 592 bytes that belong to the caller; the message
// code is written over the first two of them. The field stands for the other 590.
inline constexpr std::size_t kRequestHeaderSize = 592;
inline constexpr std::size_t kMessageCodeWidth = 2;
using RequestHeader = Bytes<kRequestHeaderSize - kMessageCodeWidth>;

template <typename Value>
constexpr std::size_t fieldWidth() noexcept {
  if constexpr (std::integral<Value>) {
    return sizeof(Value);
  } else {
    return Value::width;
  }
}

// One row of a body's table.
template <typename Body, typename Value>
struct Field {
  std::size_t offset;
  std::string_view name;

  static constexpr std::size_t width = fieldWidth<Value>();
};

// The rows of a body without their types, in ascending order of offset.
struct FieldRow {
  std::size_t offset;
  std::size_t width;
  std::string_view name;
};

template <std::size_t Count>
struct FieldTable {
  template <typename Body, typename... Values>
  constexpr explicit FieldTable(const Field<Body, Values> &...fields) noexcept
      : rows{FieldRow{fields.offset, fields.width, fields.name}...} {}

  std::array<FieldRow, Count> rows;
};
template <typename Body, typename... Values>
FieldTable(const Field<Body, Values> &...) -> FieldTable<sizeof...(Values)>;

// True when the rows ascend, do not overlap and lie inside the body; each body asserts it.
template <typename Body>
consteval bool isWellFormed() {
  std::size_t end = 0;
  for (const FieldRow &row : Body::table.rows) {
    if (row.offset < end || row.offset + row.width > Body::size) return false;
    end = row.offset + row.width;
  }
  return true;
}

// Copies text into a field of `width` bytes: at most width - 1 characters, no byte of `text` is
// read beyond those, the last byte is always zero. A null text is the empty one. The bytes behind
// the text are left as they are, except the last.
inline void copyText(std::byte *field, std::size_t width, const char *text) noexcept {
  const std::size_t length = text == nullptr ? 0 : ::strnlen(text, width - 1);
  if (length != 0) std::memcpy(field, text, length);
  field[length] = std::byte{0};
  field[width - 1] = std::byte{0};
}

// Zero-fills a body and writes its fields.
template <typename Body>
class BodyWriter {
 public:
  explicit BodyWriter(std::span<std::byte, Body::size> bytes) noexcept : bytes_(bytes) {
    std::ranges::fill(bytes_, std::byte{0});
  }

  template <std::integral Value, std::integral Given>
    requires(sizeof(Given) <= sizeof(Value))
  void put(const Field<Body, Value> &field, Given value) noexcept {
    storeBig(at(field), static_cast<Value>(value));
  }

  template <std::size_t Width>
  void put(const Field<Body, Text<Width>> &field, const char *text) noexcept {
    copyText(at(field), Width, text);
  }

  template <std::size_t Width>
  void put(const Field<Body, Bytes<Width>> &field,
           std::span<const std::byte, Width> value) noexcept {
    std::memcpy(at(field), value.data(), Width);
  }

  // Copies what the caller's 592-byte request header holds behind the code; null leaves zeros.
  void putRequestHeader(const Field<Body, RequestHeader> &field, const void *header) noexcept {
    if (header == nullptr) return;
    std::memcpy(at(field), static_cast<const std::byte *>(header) + kMessageCodeWidth,
                RequestHeader::width);
  }

 private:
  template <typename Value>
  std::byte *at(const Field<Body, Value> &field) noexcept {
    return bytes_.data() + field.offset;
  }

  std::span<std::byte, Body::size> bytes_;
};

// Reads the fields of a body that is at least as long as its table says.
template <typename Body>
class BodyReader {
 public:
  // Returns no reader when there are fewer bytes than the body has.
  static std::optional<BodyReader> over(std::span<const std::byte> bytes) noexcept {
    if (bytes.size() < Body::size) return std::nullopt;
    return BodyReader(bytes.first<Body::size>());
  }

  explicit BodyReader(std::span<const std::byte, Body::size> bytes) noexcept : bytes_(bytes) {}

  template <std::integral Value>
  Value get(const Field<Body, Value> &field) const noexcept {
    return loadBig<Value>(bytes_.data() + field.offset);
  }

  // The text up to its NUL, or the whole field when there is none.
  template <std::size_t Width>
  std::string_view get(const Field<Body, Text<Width>> &field) const noexcept {
    const char *text = reinterpret_cast<const char *>(bytes_.data() + field.offset);
    return {text, ::strnlen(text, Width)};
  }

  template <std::size_t Width>
  std::span<const std::byte, Width> get(const Field<Body, Bytes<Width>> &field) const noexcept {
    return std::span<const std::byte, Width>(bytes_.data() + field.offset, Width);
  }

 private:
  std::span<const std::byte, Body::size> bytes_;
};

}  // namespace acl

#endif  // ACL_LIB_ENCODING_MESSAGE_BODY_H
