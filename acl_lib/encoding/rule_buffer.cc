#include "acl_lib/encoding/rule_buffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace acl {
namespace {

constexpr std::int64_t kLargestSize = std::numeric_limits<std::uint32_t>::max();

// Sizes are computed in 64 bits: usedSize may be beyond bufferSize, and neither sum nor difference
// wraps.
constexpr std::int64_t blockSize(std::int64_t bufferSize, std::int64_t usedSize) noexcept {
  return std::max(bufferSize, usedSize) + kHiddenTail;
}

// Gives the policy's block another size; openRule keeps its place in it. Bytes that the old sizes
// did not account for are zero. Returns false, with nothing changed, when it cannot be had.
bool resizeBlock(AclPolicy &policy, std::int64_t newSize) noexcept {
  if (newSize > std::numeric_limits<std::ptrdiff_t>::max()) return false;
  const std::int64_t oldSize = blockSize(policy.bufferSize, policy.usedSize);
  const std::ptrdiff_t openOffset =
      policy.openRule == nullptr ? 0 : policy.openRule - policy.ruleBuffer;
  auto *block = static_cast<std::uint8_t *>(
      std::realloc(policy.ruleBuffer, static_cast<std::size_t>(newSize)));
  if (block == nullptr) return false;
  if (newSize > oldSize) {
    std::memset(block + oldSize, 0, static_cast<std::size_t>(newSize - oldSize));
  }
  policy.ruleBuffer = block;
  if (policy.openRule != nullptr) policy.openRule = block + openOffset;
  return true;
}

std::byte *allocateFirstBlock(AclPolicy &policy) noexcept {
  auto *block = static_cast<std::uint8_t *>(std::calloc(1, kBufferStep + kHiddenTail));
  if (block == nullptr) return nullptr;
  policy.ruleBuffer = block;
  policy.bufferSize = kBufferStep;
  policy.usedSize = 0;  // no rule was anywhere, whatever a caller's own record shows
  return reinterpret_cast<std::byte *>(block);
}

void trim(AclPolicy &policy) noexcept {
  const std::uint32_t newBufferSize = (policy.usedSize / kTrimUnit + 1) * kTrimUnit;
  if (!resizeBlock(policy, blockSize(newBufferSize, policy.usedSize))) return;
  std::memset(policy.ruleBuffer + newBufferSize, 0, kHiddenTail);
  policy.bufferSize = newBufferSize;
}

}  // namespace

// Grows the block by one step, whatever the rule to come will need; the first step makes it.
std::byte *detail::growForNextRule(AclPolicy &policy, std::int64_t usedSize) noexcept {
  if (policy.ruleBuffer == nullptr) return allocateFirstBlock(policy);
  const std::int64_t newBufferSize = std::int64_t{policy.bufferSize} + kBufferStep;
  if (std::max(newBufferSize, usedSize) > kLargestSize) return nullptr;
  if (!resizeBlock(policy, blockSize(newBufferSize, usedSize))) return nullptr;
  policy.bufferSize = static_cast<std::uint32_t>(newBufferSize);
  policy.usedSize = static_cast<std::uint32_t>(usedSize);
  return reinterpret_cast<std::byte *>(policy.ruleBuffer + usedSize);
}

bool closeLastRule(AclPolicy &policy) noexcept {
  const std::int64_t usedSize = std::int64_t{policy.usedSize} + openRuleLength(policy);
  if (usedSize > kLargestSize) return false;
  if (usedSize > policy.bufferSize &&
      !resizeBlock(policy, blockSize(policy.bufferSize, usedSize))) {
    return false;
  }
  policy.usedSize = static_cast<std::uint32_t>(usedSize);
  if (policy.bufferSize - usedSize > kTrimUnit) trim(policy);
  return true;
}

}  // namespace acl
