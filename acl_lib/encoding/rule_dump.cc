#include "acl_lib/encoding/rule_dump.h"

#include <algorithm>

#include "acl_lib.h"
#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/encoding/live_policies.h"
#include "acl_lib/encoding/policy_handle.h"
#include "acl_lib/encoding/rule_buffer.h"
#include "acl_lib/encoding/rule_format.h"
#include "acl_lib/encoding/rule_text.h"

namespace acl {
namespace {

// Prints one condition or action entry.
using PrintEntry = void (*)(std::FILE *out, std::uint32_t type, std::span<const std::byte> data);

// Prints the entries between two offsets, each on a line; one without a text makes an empty line.
void printEntries(std::FILE *out, std::span<const std::byte> record, std::size_t begin,
                  std::size_t end, PrintEntry print) noexcept {
  for (std::size_t offset = begin; offset < end;) {
    if (record.size() < offset + kEntryHeaderSize) return;
    const std::span<const std::byte> entry = record.subspan(offset);
    const EntryHeader header = EntryHeader::of(entry.data());
    const std::span<const std::byte> data = entry.subspan(kEntryHeaderSize);
    print(out, header.type, data.first(std::min<std::size_t>(header.length, data.size())));
    std::fputc('\n', out);
    offset += header.size();
  }
}

// Prints the rule at the start of `record`, which reaches to the end of the block and holds at
// least a header.
void printRule(std::FILE *out, std::span<const std::byte> record, RuleWord word) noexcept {
  std::fprintf(out, "Rule Name: %.*s Index: %d\n", static_cast<int>(kRuleNameWidth - 1),
               reinterpret_cast<const char *>(record.data() + kRuleNameOffset),
               loadBig<std::int32_t>(record.data() + kRuleIdOffset));
  printEntries(out, record, kRuleHeaderSize, word.actionOffset(), printConditionText);
  printEntries(out, record, word.actionOffset(), word.ruleLength(), printActionText);
  std::fputc('\n', out);
}

// What may be read of a policy's rules. Only the blocks of the library's own policies are known to
// have the hidden tail; a caller's own record is taken at its word and no further.
std::span<const std::byte> ruleBlock(const AclPolicy &policy) noexcept {
  if (policy.ruleBuffer == nullptr) return {};
  const std::size_t shown = std::max(policy.bufferSize, policy.usedSize);
  const bool isOwn = isLivePolicy(reinterpret_cast<AclPolicyHandle>(&policy));
  return {reinterpret_cast<const std::byte *>(policy.ruleBuffer),
          shown + (isOwn ? kHiddenTail : 0)};
}

}  // namespace

void printRules(std::FILE *out, std::uint32_t ruleCount,
                std::span<const std::byte> block) noexcept {
  for (std::uint32_t rule = 0; rule < ruleCount && block.size() >= kRuleHeaderSize; ++rule) {
    const RuleWord word = RuleWord::of(block.data());
    printRule(out, block, word);
    if (block.size() < word.ruleLength()) return;
    block = block.subspan(word.ruleLength());
  }
}

}  // namespace acl

extern "C" void aclLibDumpRules(AclPolicyHandle handle) noexcept {
  const AclPolicy *policy = acl::findPolicy(handle);
  if (policy == nullptr) return;
  std::printf("ACL: %.*s Rules: %d Size = %d \n", static_cast<int>(sizeof(policy->policyName) - 1),
              policy->policyName, policy->ruleCount, static_cast<std::int32_t>(policy->usedSize));
  acl::printRules(stderr, policy->ruleCount, acl::ruleBlock(*policy));
}
