// The text of single condition and action entries, for people who read dumps.
//
// Depends on nothing but the encoding headers and C stdio, so that both ends of the wire use the
// same words.
#ifndef ACL_LIB_ENCODING_RULE_TEXT_H
#define ACL_LIB_ENCODING_RULE_TEXT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>

namespace acl {

// Prints the text of one condition, without a newline.
//   out   not null
//   type  condition type code; a code without a text prints nothing
//   data  the entry's data, padding included; no byte outside is read. Numbers beyond its end read
//         as zero, text ends at its NUL or with the data.
// Thread-safe as far as `out` is.
void printConditionText(std::FILE *out, std::uint32_t type,
                        std::span<const std::byte> data) noexcept;

// As printConditionText(), for one action.
void printActionText(std::FILE *out, std::uint32_t type, std::span<const std::byte> data) noexcept;

}  // namespace acl

#endif  // ACL_LIB_ENCODING_RULE_TEXT_H
