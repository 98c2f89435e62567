// Adding condition and action entries to an open record.
//
// The number of data bytes is a template argument: each width becomes a few moves instead of a
// call. Nothing checks for room; rule_buffer.h says why every entry lies inside the block.
#ifndef ACL_LIB_ENCODING_RULE_APPENDER_H
#define ACL_LIB_ENCODING_RULE_APPENDER_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "acl_lib/encoding/action_codes.h"
#include "acl_lib/encoding/action_group.h"
#include "acl_lib/encoding/rule_buffer.h"
#include "acl_lib/encoding/rule_format.h"

namespace acl {

// Bytes that an entry takes in a record.
template <std::uint32_t Width>
inline constexpr std::uint32_t kEntrySize = kEntryHeaderSize + paddedLength(Width);

// Writes one entry; the padding behind its data is left as it is.
//   entry  where it goes
//   type   its low 16 bits are stored
//   data   `Width` bytes, copied; not read when that is 0. They do not overlap the entry: a copy
//          that allows for it would be a call for the larger widths.
template <std::uint32_t Width>
[[gnu::always_inline]] inline void writeEntry(std::byte *entry, std::uint32_t type,
                                              const void *data) noexcept {
  static_assert(kEntrySize<Width> <= kLargestEntrySize);
  EntryHeader{static_cast<std::uint16_t>(type), paddedLength(Width)}.storeTo(entry);
  if constexpr (Width != 0) std::memcpy(entry + kEntryHeaderSize, data, Width);
}

// Adds an entry behind the conditions. Actions are not moved: the first one is overwritten.
//   record  an open record inside its policy's rule buffer
template <std::uint32_t Width>
[[gnu::always_inline]] inline void appendCondition(std::byte *record, std::uint32_t type,
                                                   const void *data) noexcept {
  RuleWord word = RuleWord::of(record);
  writeEntry<Width>(record + word.actionOffset(), type, data);
  word.growByCondition(kEntrySize<Width>);
  word.storeTo(record);
}

// Adds an entry behind the actions, or folds the action into the first one when that is a group.
template <std::uint32_t Width>
[[gnu::always_inline]] inline void appendAction(std::byte *record, std::uint32_t type,
                                                const void *data) noexcept {
  RuleWord word = RuleWord::of(record);
  if (isGroupable(type) && word.hasActions()) {
    std::byte *first = record + word.actionOffset();
    if (EntryHeader::of(first).type == action::kGroup) return foldIntoGroup(first, type, data);
  }
  writeEntry<Width>(record + word.ruleLength(), type, data);
  word.growByAction(kEntrySize<Width>);
  word.storeTo(record);
}

}  // namespace acl

#endif  // ACL_LIB_ENCODING_RULE_APPENDER_H
