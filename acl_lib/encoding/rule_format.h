// The encoded form of rules: what a policy's rule buffer holds and what travels to the ACL manager.
//
// Records follow each other without gaps; nothing in the buffer counts or ends them. A record is a
// header of 48 bytes, condition entries, then action entries:
//
//   offset  size  field
//        0    33  ruleName      NUL-terminated, at most 32 characters
//       33     3  padding       not written
//       36     4  ruleId        chosen by the caller; also the rule handle
//       40     4  reserved      not written
//       44     4  ruleWord      see RuleWord
//       48     …  conditions    up to actionOffset
//        …     …  actions       from actionOffset up to ruleLength
//
// An entry is its type (2 bytes), the length of its data rounded up to a multiple of 4 (2 bytes)
// and the data; the up to 3 bytes of padding are not written. All numbers are big-endian.
#ifndef ACL_LIB_ENCODING_RULE_FORMAT_H
#define ACL_LIB_ENCODING_RULE_FORMAT_H

#include <cstddef>
#include <cstdint>

#include "acl_lib/encoding/byte_order.h"

namespace acl {

inline constexpr std::size_t kRuleNameOffset = 0;
inline constexpr std::size_t kRuleNameWidth = 33;
inline constexpr std::size_t kRuleIdOffset = 36;
inline constexpr std::size_t kRuleWordOffset = 44;
inline constexpr std::size_t kRuleHeaderSize = 48;

inline constexpr std::size_t kEntryTypeOffset = 0;
inline constexpr std::size_t kEntryLengthOffset = 2;
inline constexpr std::size_t kEntryHeaderSize = 4;

// Both lengths of a rule word are 10-bit fields and wrap at this size.
inline constexpr std::uint32_t kRuleLengthModulus = 1024;

// Data bytes of an entry rounded up to whole 32-bit words.
constexpr std::uint32_t paddedLength(std::uint32_t dataLength) noexcept {
  return (dataLength + 3) & ~3U;
}

// The word at offset 44 of a record.
//
//   bits  0 to 9   ruleLength: bytes of the whole record
//   bits 10 to 19  actionOffset: where the conditions end and the actions begin
//   bit  28        cleared when a rule is opened
//   others         not assigned; kept as found
class RuleWord {
 public:
  constexpr explicit RuleWord(std::uint32_t bits) noexcept : bits_(bits) {}

  static RuleWord of(const std::byte *record) noexcept {
    return RuleWord(loadBig<std::uint32_t>(record + kRuleWordOffset));
  }
  void storeTo(std::byte *record) const noexcept { storeBig(record + kRuleWordOffset, bits_); }

  constexpr std::uint32_t bits() const noexcept { return bits_; }
  constexpr std::uint32_t ruleLength() const noexcept { return bits_ & kFieldMask; }
  constexpr std::uint32_t actionOffset() const noexcept {
    return (bits_ >> kActionOffsetShift) & kFieldMask;
  }
  constexpr bool hasConditions() const noexcept { return actionOffset() > kRuleHeaderSize; }
  constexpr bool hasActions() const noexcept { return actionOffset() < ruleLength(); }

  // Both lengths as in a record without entries; the other bits stay.
  constexpr void reset() noexcept { bits_ = (bits_ & ~kLengthBits) | kEmptyRecord; }
  constexpr void clearFlagOnOpen() noexcept { bits_ &= ~kFlagClearedOnOpen; }

  // Makes room for one more entry of `size` bytes; lengths wrap within their 10 bits.
  constexpr void growByCondition(std::uint32_t size) noexcept {
    addToLengths((size & kFieldMask) << kActionOffsetShift | (size & kFieldMask));
  }
  constexpr void growByAction(std::uint32_t size) noexcept { addToLengths(size & kFieldMask); }

 private:
  static constexpr std::uint32_t kFieldMask = kRuleLengthModulus - 1;
  static constexpr std::uint32_t kActionOffsetShift = 10;
  static constexpr std::uint32_t kLengthBits = 0xFFFFF;
  static constexpr std::uint32_t kTopBits = 0x80200;
  static constexpr std::uint32_t kFlagClearedOnOpen = 1U << 28;
  static constexpr std::uint32_t kEmptyRecord =
      (kRuleHeaderSize << kActionOffsetShift) | kRuleHeaderSize;
  static_assert(kEmptyRecord == 0xC030);

  // Adds to both lengths at once. While both lengths and what is added are below 512, neither can
  // wrap, and a plain sum will do. Otherwise the lengths' top bits are added without carry, by
  // exclusive or, so that each wraps by itself. The plain sum is there for its latency: an entry is
  // placed by the word that the entry before it stored, so that the time from one word to the next
  // adds up over a whole rule.
  constexpr void addToLengths(std::uint32_t sizes) noexcept {
    if (((bits_ | sizes) & kTopBits) == 0) [[likely]] {
      bits_ += sizes;
    } else {
      bits_ = ((bits_ & ~kTopBits) + (sizes & ~kTopBits)) ^ ((bits_ ^ sizes) & kTopBits);
    }
  }

  std::uint32_t bits_;
};

// The header of a condition or action entry.
struct EntryHeader {
  std::uint16_t type;
  std::uint16_t length;  // bytes of data, padding included

  static EntryHeader of(const std::byte *entry) noexcept {
    return {loadBig<std::uint16_t>(entry + kEntryTypeOffset),
            loadBig<std::uint16_t>(entry + kEntryLengthOffset)};
  }
  void storeTo(std::byte *entry) const noexcept {
    // Both numbers in one store, which compilers turn into one constant where they can.
    storeBig(entry, std::uint32_t{type} << 16 | length);
  }
  constexpr std::uint32_t size() const noexcept { return kEntryHeaderSize + length; }
};

}  // namespace acl

#endif  // ACL_LIB_ENCODING_RULE_FORMAT_H
