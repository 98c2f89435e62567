// The walk behind aclLibDumpRules(), over any block of encoded rules.
#ifndef ACL_LIB_ENCODING_RULE_DUMP_H
#define ACL_LIB_ENCODING_RULE_DUMP_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>

namespace acl {

// Prints rules with their conditions and actions, one per line, an empty line behind each rule.
//   out        not null
//   ruleCount  records to print, from the start of the block on
//   block      encoded rules, see rule_format.h; no byte outside is read. Lengths and offsets are
//              taken as they stand: the walk ends where a record or an entry would leave the block.
// Thread-safe as far as `out` is.
void printRules(std::FILE *out, std::uint32_t ruleCount, std::span<const std::byte> block) noexcept;

}  // namespace acl

#endif  // ACL_LIB_ENCODING_RULE_DUMP_H
