// What tests of the memory behind the rules share.
#ifndef TESTS_ACL_LIB_ENCODING_RULE_BUFFER_TEST_H
#define TESTS_ACL_LIB_ENCODING_RULE_BUFFER_TEST_H

#include <malloc.h>

#include <algorithm>
#include <numeric>

#include "tests/acl_lib/encoding/encoding_test.h"

namespace encoding_test {

// Bytes behind max(bufferSize, usedSize) that belong to the block and show in no field.
constexpr std::size_t kTail = 1536;

// Checks that the block reaches as far as a copy of any rule in it may. The allocator judges by the
// size it gave, AddressSanitizer by the reading of every byte.
inline void expectWholeBlock(const AclPolicy &policy) {
  const std::size_t size = std::max(policy.bufferSize, policy.usedSize) + kTail;
  ASSERT_GE(malloc_usable_size(policy.ruleBuffer), size);
  const std::size_t sum =
      std::accumulate(policy.ruleBuffer, policy.ruleBuffer + size, std::size_t{0});
  EXPECT_LE(sum, size * 255);
  const std::uint8_t *const lastPlace = policy.ruleBuffer + policy.usedSize;
  EXPECT_LE(policy.openRule, lastPlace);
}

inline bool isZero(const std::uint8_t *first, std::size_t length) {
  return std::all_of(first, first + length, [](std::uint8_t byte) { return byte == 0; });
}

}  // namespace encoding_test

#endif  // TESTS_ACL_LIB_ENCODING_RULE_BUFFER_TEST_H
