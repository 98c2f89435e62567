// Bytes in tests: written as hex, shown as hex.
#ifndef TESTS_SUPPORT_BYTES_H
#define TESTS_SUPPORT_BYTES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace test_support {

using Bytes = std::vector<std::byte>;

// Returns the value of a hex digit of either case, or -1.
constexpr int hexDigitValue(char digit) noexcept {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

// Returns the bytes written as pairs of hex digits, with blanks and line ends between pairs where
// they help the reader: hex("0200 00 2c"). Throws std::invalid_argument for anything else.
inline Bytes hex(std::string_view text) {
  Bytes bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == ' ' || text[i] == '\n') continue;
    const int high = hexDigitValue(text[i]);
    const int low = i + 1 < text.size() ? hexDigitValue(text[i + 1]) : -1;
    if (high < 0 || low < 0) throw std::invalid_argument("not hex: " + std::string(text));
    bytes.push_back(static_cast<std::byte>(high * 16 + low));
    ++i;
  }
  return bytes;
}

// Returns the characters of a text as bytes, without a NUL.
inline Bytes bytesOf(std::string_view text) {
  const auto view = std::as_bytes(std::span(text));
  return Bytes(view.begin(), view.end());
}

// Returns a copy of `length` bytes at `data`, which may be null when `length` is 0.
inline Bytes copyOf(const void *data, std::size_t length) {
  const auto *first = static_cast<const std::byte *>(data);
  return length == 0 ? Bytes() : Bytes(first, first + length);
}

// Returns several pieces joined: join(hex("2000 0002"), bytesOf("ab")).
template <typename... Pieces>
Bytes join(const Pieces &...pieces) {
  Bytes bytes;
  (bytes.insert(bytes.end(), pieces.begin(), pieces.end()), ...);
  return bytes;
}

// Returns "02 00 2c" for the bytes.
inline std::string hexText(std::span<const std::byte> bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const std::byte byte : bytes) {
    if (!text.empty()) text += ' ';
    text += kDigits[std::to_integer<std::size_t>(byte >> 4)];
    text += kDigits[std::to_integer<std::size_t>(byte & std::byte{15})];
  }
  return text;
}

// Returns the bytes sixteen to a line, each line beginning with its decimal offset.
inline std::string hexDump(std::span<const std::byte> bytes) {
  std::string text;
  for (std::size_t offset = 0; offset < bytes.size(); offset += 16) {
    const std::string number = std::to_string(offset);
    text.append(number.size() < 6 ? 6 - number.size() : 0, ' ');
    text += number + "  " +
            hexText(bytes.subspan(offset, std::min<std::size_t>(16, bytes.size() - offset))) + '\n';
  }
  return text;
}

}  // namespace test_support

#endif  // TESTS_SUPPORT_BYTES_H
