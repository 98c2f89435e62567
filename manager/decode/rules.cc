#include "manager/decode/rules.h"

#include <fmt/format.h>

#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/encoding/rule_format.h"
#include "manager/decode/entry_widths.h"

namespace aclmgr {
namespace {

// The kinds of entries and what tells them apart.
struct EntryKind {
  std::string_view name;
  std::optional<std::size_t> (*widthOf)(std::uint32_t type) noexcept;
};
constexpr EntryKind kCondition{"condition", conditionWidth};
constexpr EntryKind kAction{"action", actionWidth};

// Walks the records. The reading functions return false where the bytes are refused; refusal() then
// tells why.
class RuleWalker {
 public:
  explicit RuleWalker(std::span<const std::byte> bytes) noexcept : bytes_(bytes) {}

  bool atEnd() const noexcept { return offset_ == bytes_.size(); }

  // Reads the record at the walker's place and moves behind it.
  bool readRule(Rule &rule) {
    const std::span<const std::byte> rest = bytes_.subspan(offset_);
    if (rest.size() < acl::kRuleHeaderSize) {
      return refuse(fmt::format("{} bytes are no whole rule header", rest.size()));
    }
    const acl::RuleWord word = acl::RuleWord::of(rest.data());
    if (!checkLengths(word, rest.size())) return false;
    record_ = rest.first(word.ruleLength());
    if (!readName(rule)) return false;
    rule.id = acl::loadBig<std::uint32_t>(record_.data() + acl::kRuleIdOffset);
    if (!readEntries(kCondition, acl::kRuleHeaderSize, word.actionOffset(), rule.conditions) ||
        !readEntries(kAction, word.actionOffset(), word.ruleLength(), rule.actions)) {
      return false;
    }
    offset_ += record_.size();
    return true;
  }

  Refusal refusal() const { return {Status::kInvalidRule, reason_}; }

 private:
  bool checkLengths(acl::RuleWord word, std::size_t available) {
    const std::uint32_t length = word.ruleLength();
    if (length < acl::kRuleHeaderSize) {
      return refuse(fmt::format("rule length {} is less than the header's", length));
    }
    if (length > available) {
      return refuse(fmt::format("rule length {}, but only {} bytes are left", length, available));
    }
    if (word.actionOffset() < acl::kRuleHeaderSize || word.actionOffset() > length) {
      return refuse(fmt::format("action offset {} lies outside the entries of a rule of {} bytes",
                                word.actionOffset(), length));
    }
    return true;
  }

  bool readName(Rule &rule) {
    const char *name = reinterpret_cast<const char *>(record_.data() + acl::kRuleNameOffset);
    const std::size_t length = ::strnlen(name, acl::kRuleNameWidth);
    if (length == acl::kRuleNameWidth) return refuse("the rule's name is not terminated");
    rule.name.assign(name, length);
    return true;
  }

  bool readEntries(const EntryKind &kind, std::size_t begin, std::size_t end,
                   std::vector<Entry> &entries) {
    for (std::size_t offset = begin; offset < end;) {
      const std::span<const std::byte> rest = record_.subspan(offset, end - offset);
      if (rest.size() < acl::kEntryHeaderSize) {
        return refuse(fmt::format("{} bytes at {} are no whole entry", rest.size(), offset));
      }
      const acl::EntryHeader header = acl::EntryHeader::of(rest.data());
      if (!checkEntry(kind, header, offset, rest.size())) return false;
      const auto value = rest.subspan(acl::kEntryHeaderSize, *kind.widthOf(header.type));
      entries.push_back({header.type, {value.begin(), value.end()}});
      offset += header.size();
    }
    return true;
  }

  bool checkEntry(const EntryKind &kind, acl::EntryHeader header, std::size_t offset,
                  std::size_t available) {
    const std::string problem = problemOf(kind, header, available);
    if (problem.empty()) return true;
    return refuse(fmt::format("{} {} at {}: {}", kind.name, header.type, offset, problem));
  }

  static std::string problemOf(const EntryKind &kind, acl::EntryHeader header,
                               std::size_t available) {
    if (header.length % 4 != 0) return fmt::format("length {} is no multiple of 4", header.length);
    if (header.size() > available) return fmt::format("{} bytes do not fit", header.size());
    const std::optional<std::size_t> width = kind.widthOf(header.type);
    if (!width) return "unknown type";
    if (header.length < *width) return fmt::format("{} of {} bytes", header.length, *width);
    return {};
  }

  bool refuse(std::string_view reason) {
    reason_ = fmt::format("rule at byte {}: {}", offset_, reason);
    return false;
  }

  std::span<const std::byte> bytes_;
  std::size_t offset_ = 0;             // of the record being read
  std::span<const std::byte> record_;  // the record being read
  std::string reason_;
};

Refusal wrongCount(std::string_view found, std::uint32_t announced) {
  return {Status::kInvalidRule, fmt::format("{} rules, but {} are announced", found, announced)};
}

}  // namespace

Outcome<std::vector<Rule>> decodeRules(std::span<const std::byte> bytes,
                                       std::optional<std::uint32_t> announcedCount) {
  std::vector<Rule> rules;
  RuleWalker walker(bytes);
  while (!walker.atEnd()) {
    if (announcedCount && rules.size() == *announcedCount) {
      return wrongCount("more", *announcedCount);
    }
    if (!walker.readRule(rules.emplace_back())) return walker.refusal();
  }
  if (announcedCount && rules.size() != *announcedCount) {
    return wrongCount(std::to_string(rules.size()), *announcedCount);
  }
  return rules;
}

Outcome<Rule> decodeFirstRule(std::span<const std::byte> bytes) {
  Rule rule;
  RuleWalker walker(bytes);
  if (!walker.readRule(rule)) return walker.refusal();
  return rule;
}

}  // namespace aclmgr
