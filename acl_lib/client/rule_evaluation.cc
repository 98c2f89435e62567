// The decision about a packet field by the rules of the table.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "acl_lib.h"
#include "acl_lib/client/rule_table.h"
#include "acl_lib/transport/shared_word.h"

std::uint32_t aclLibDebug = 0;

namespace acl {
namespace {

// The only value of AclRuleTerm::wildcard that matches every field.
constexpr std::uint32_t kAny = 1;

// Printed as they stand: without a line end, and one of them with two blanks.
constexpr char kNoActionLine[] =
    "aclLibEvaluateRule: Have Match: No Action specified, setting action to Permit";
constexpr char kNoMatchLine[] = "aclLibEvaluateRule: No Match:  setting action to Deny";

struct Verdict {
  const char *ruleName;  // of the rule whose action decided, or null
  const char *line;      // what is to be printed, or null
};

// A term, and the entry it is of; null when there is none.
struct Match {
  AclClientEntry *entry;
  const AclRuleTerm *term;
};

// Entries are writable by programs, so the count may be anything.
const AclRuleTerm *endOfTerms(const AclClientEntry &entry) noexcept {
  return entry.terms + std::clamp(entry.termCount, 0, static_cast<int>(std::size(entry.terms)));
}

std::uint32_t wordAt(const std::uint8_t *bytes) noexcept {
  std::uint32_t word;
  std::memcpy(&word, bytes, sizeof(word));
  return word;
}

bool matchesValue(const AclRuleTerm &term, std::uint32_t value) noexcept {
  ValueAndMask wanted;
  std::memcpy(&wanted, term.matchData, sizeof(wanted));
  return ((wanted.value ^ value) & wanted.mask) == 0 || term.wildcard == kAny;
}

bool matchesAddress(const AclRuleTerm &term, const AclEvalPacket &packet) noexcept {
  // An address that is not given as far as the term asks for it matches not even the wildcard.
  if (packet.prefixLen < term.prefixLen) return false;
  if (term.wildcard == kAny) return true;
  std::array<std::uint8_t, sizeof(term.matchData)> wanted;
  std::array<std::uint8_t, sizeof(packet.field)> given;
  aclApplyIPv6Msk(term.matchData, term.prefixLen, wanted.data());
  aclApplyIPv6Msk(packet.field, term.prefixLen, given.data());
  return wanted == given;
}

// Asks for the memory of an entry that the walk will come to, so that it does not wait for one
// entry at a time. Which one is a guess, made where the neighbours of an entry lie at equal
// distances: so do entries that were made one after the other, and programs mostly add their rules
// in the order in which they shall count. Such a table is evaluated by a quarter or more faster
// (bench/rule_table_bench.cc). Entries in another order are left alone: three lines of the cache
// would be fetched for nothing.
//
// Inlined by force: g++ 12 takes a function of its own for one without an effect, and drops it.
[[gnu::always_inline]] inline void prefetchAhead(const AclClientEntry *entry) noexcept {
  constexpr std::uintptr_t kStepsAhead = 8;
  const auto here = reinterpret_cast<std::uintptr_t>(entry);
  const std::uintptr_t step = reinterpret_cast<std::uintptr_t>(entry->next) - here;
  if (here - reinterpret_cast<std::uintptr_t>(entry->prev) != step) return;
  const std::uintptr_t ahead = here + kStepsAhead * step;
  __builtin_prefetch(reinterpret_cast<const void *>(ahead + offsetof(AclClientEntry, next)));
  __builtin_prefetch(reinterpret_cast<const void *>(ahead + offsetof(AclClientEntry, terms)));
  __builtin_prefetch(reinterpret_cast<const void *>(ahead + offsetof(AclClientEntry, termCount)));
}

// Returns the first term of the table that is of the type and matches. There are entries.
template <typename Matches>
Match findMatch(std::uint32_t type, Matches matches) noexcept {
  AclClientEntry *const first = gClientEntryList.first;
  AclClientEntry *entry = first;
  do {
    prefetchAhead(entry);
    const AclRuleTerm *const end = endOfTerms(*entry);
    for (const AclRuleTerm *term = entry->terms; term != end; ++term) {
      if (term->type == type && matches(*term)) return {entry, term};
    }
    entry = entry->next;
  } while (entry != first);
  return {nullptr, nullptr};
}

Match findMatchOfType(std::uint32_t fieldType, const AclEvalPacket &packet) noexcept {
  if (fieldType == kMatchValue) {
    return findMatch(fieldType, [value = wordAt(packet.field)](const AclRuleTerm &term) {
      return matchesValue(term, value);
    });
  }
  if (fieldType == kMatchIpv6Prefix) {
    return findMatch(fieldType,
                     [&packet](const AclRuleTerm &term) { return matchesAddress(term, packet); });
  }
  // Nothing else matches, even where a term has that type.
  return {nullptr, nullptr};
}

// Returns the first action behind a term, 0 when there is none.
std::uint32_t actionBehind(const Match &match) noexcept {
  const auto *const action = std::find_if(
      match.term + 1, endOfTerms(*match.entry),
      [](const AclRuleTerm &term) { return term.type == kPermit || term.type == kDeny; });
  return action == endOfTerms(*match.entry) ? 0 : action->type;
}

Verdict evaluate(std::uint32_t fieldType, const AclEvalPacket &packet,
                 std::uint32_t &action) noexcept {
  const RuleTableLock lock;
  if (gClientEntryList.first == nullptr) return {nullptr, nullptr};
  const Match match = findMatchOfType(fieldType, packet);
  if (match.entry == nullptr) {
    action = kDeny;
    return {nullptr, kNoMatchLine};
  }
  const std::uint32_t ruleAction = actionBehind(match);
  // A rule without an action behind its match leaves the decision to the caller's preset, but
  // decides where there is none.
  const char *line = nullptr;
  if (ruleAction != 0) {
    action = ruleAction;
  } else if (action == 0) {
    action = kPermit;
    line = kNoActionLine;
  }
  countHit(*match.entry, action);
  return {ruleAction != 0 ? match.entry->name : nullptr, line};
}

}  // namespace
}  // namespace acl

extern "C" {

const char *aclLibEvaluateRule(std::uint32_t /*ignored*/, std::uint32_t fieldType,
                               const AclEvalPacket *packet, std::uint32_t *action) noexcept {
  const acl::Verdict verdict = acl::evaluate(fieldType, *packet, *action);
  if (verdict.line != nullptr && acl::loadShared(aclLibDebug) != 0) {
    std::fputs(verdict.line, stdout);
  }
  return verdict.ruleName;
}

}  // extern "C"
