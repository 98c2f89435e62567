// How decoders of request bodies refuse.
#ifndef TESTS_MANAGER_DECODE_DECODING_H
#define TESTS_MANAGER_DECODE_DECODING_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "tests/support/bytes.h"

namespace test_support {

// Decodes from a heap block of exactly the body's size and shows why it is refused, or "".
template <typename Decode>
std::string refusalOf(Decode decode, const Bytes &body) {
  const auto block = std::make_unique<std::byte[]>(body.size());
  std::ranges::copy(body, block.get());
  const auto decoded = decode(std::span<const std::byte>(block.get(), body.size()));
  if (decoded) return "";
  return std::to_string(static_cast<int>(decoded.refusal().status)) + " " +
         decoded.refusal().reason;
}

// The body is taken at its own length and at no other.
template <typename Decode>
void expectOneLength(Decode decode, const Bytes &body) {
  ASSERT_EQ(refusalOf(decode, body), "");
  for (std::size_t length = 0; length < body.size(); ++length) {
    const Bytes cut(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_EQ(refusalOf(decode, cut), "-3 body of " + std::to_string(length) + " bytes, " +
                                          std::to_string(body.size()) + " expected");
  }
  EXPECT_EQ(refusalOf(decode, join(body, Bytes(1))),
            "-3 body of " + std::to_string(body.size() + 1) + " bytes, " +
                std::to_string(body.size()) + " expected");
}

}  // namespace test_support

#endif  // TESTS_MANAGER_DECODE_DECODING_H
