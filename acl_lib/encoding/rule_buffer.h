// The memory behind a policy's rules.
//
// bufferSize is what the policy shows: 1024 bytes with the first rule, 1024 more whenever fewer
// than 512 are free when a rule is opened, trimmed after the last rule. Nothing checks for room
// when entries are added, so every block is longer than that by kHiddenTail bytes:
//
//   block size >= max(bufferSize, usedSize) + kHiddenTail
//   openRule   <= ruleBuffer + usedSize
//
// Both hold after every call, also after refused ones. They keep every access inside the block: the
// 10-bit lengths of a record, wrapped or not, point at most 1023 bytes behind its start, and the
// largest entry takes kLargestEntrySize bytes there; an encoded rule of a dynamic-rule request is
// copied from a record's start with 816 bytes. A caller's own record that rules are built in must
// keep them too; see AclPolicy in acl_lib.h.
#ifndef ACL_LIB_ENCODING_RULE_BUFFER_H
#define ACL_LIB_ENCODING_RULE_BUFFER_H

#include <cstddef>
#include <cstdint>

#include "acl_lib.h"
#include "acl_lib/encoding/rule_format.h"

namespace acl {

inline constexpr std::uint32_t kBufferStep = 1024;
inline constexpr std::uint32_t kRoomForRule = 512;
inline constexpr std::uint32_t kTrimUnit = 256;
inline constexpr std::uint32_t kHiddenTail = 1536;

// The condition with 70 bytes of data, padded, behind its header.
inline constexpr std::uint32_t kLargestEntrySize = 76;
static_assert(kRuleLengthModulus - 1 + kLargestEntrySize <= kHiddenTail);

inline std::byte *openRecord(const AclPolicy &policy) noexcept {
  return reinterpret_cast<std::byte *>(policy.openRule);
}

// Bytes of the open rule, 0 when there is none.
inline std::uint32_t openRuleLength(const AclPolicy &policy) noexcept {
  return policy.openRule == nullptr ? 0 : RuleWord::of(openRecord(policy)).ruleLength();
}

namespace detail {
std::byte *growForNextRule(AclPolicy &policy, std::int64_t usedSize) noexcept;
}  // namespace detail

// Makes sure that there is a block with room, and closes the open rule if there is one. Returns
// where the next record starts; null when memory is exhausted or the rules would pass 4 GiB, with
// nothing changed.
inline std::byte *placeNextRule(AclPolicy &policy) noexcept {
  const std::uint32_t openLength = openRuleLength(policy);
  const std::int64_t usedSize = std::int64_t{policy.usedSize} + openLength;
  // A caller's own record may show a size although it has no block. An open rule lies in one.
  const bool hasBlock = policy.openRule != nullptr || policy.ruleBuffer != nullptr;
  if (!hasBlock || policy.bufferSize - usedSize < kRoomForRule) [[unlikely]] {
    return detail::growForNextRule(policy, usedSize);
  }
  policy.usedSize = static_cast<std::uint32_t>(usedSize);
  // Behind the open rule rather than at usedSize: after closeLastRule() they are different places.
  return policy.openRule == nullptr ? reinterpret_cast<std::byte *>(policy.ruleBuffer)
                                    : openRecord(policy) + openLength;
}

// Counts the open rule as used; it stays open. Gives spare memory back, keeping openRule at its
// place in a block that moves; when that fails the block stays as it is. Returns false when memory
// is exhausted or the rules would pass 4 GiB, with nothing changed.
bool closeLastRule(AclPolicy &policy) noexcept;

}  // namespace acl

#endif  // ACL_LIB_ENCODING_RULE_BUFFER_H
