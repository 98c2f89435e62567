#include "acl_lib/client/rule_table.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "acl_lib/client/rule_index.h"
#include "acl_lib/transport/shared_word.h"

// Written under the lock; with shared stores, as programs look at it without.
AclClientEntryList gClientEntryList = {nullptr, 0};

namespace acl {
namespace {

constinit std::mutex tableMutex;

// aclLibCreateRule() places an entry before the reference for this position only.
constexpr std::int32_t kBefore = 1;

void setFirst(AclClientEntry *entry) noexcept {
  storeShared(gClientEntryList.first, entry);
}

void setCount(std::int32_t count) noexcept {
  storeShared(gClientEntryList.count, count);
}

// Wraps: a program may have written any number there.
void addToCount(std::int32_t difference) noexcept {
  setCount(static_cast<std::int32_t>(static_cast<std::uint32_t>(gClientEntryList.count) +
                                     static_cast<std::uint32_t>(difference)));
}

// Whatever deletes rules asks this first. The count is the program's too: it decides, even where it
// contradicts the ring.
bool canDelete() noexcept {
  return gClientEntryList.count != 0;
}

// A null name stands for the first entry.
AclClientEntry *findEntryOrFirst(const char *name) noexcept {
  return name == nullptr ? gClientEntryList.first : findEntry(name);
}

void linkBefore(AclClientEntry *entry, AclClientEntry *next) noexcept {
  entry->next = next;
  entry->prev = next->prev;
  next->prev->next = entry;
  next->prev = entry;
}

// Links an entry beside another one, into an empty table where there is none.
void insert(AclClientEntry *entry, AclClientEntry *reference, std::int32_t position) noexcept {
  if (reference == nullptr) {
    entry->next = entry->prev = entry;
    setFirst(entry);
  } else if (position == kBefore) {
    linkBefore(entry, reference);
    if (reference == gClientEntryList.first) setFirst(entry);
  } else {
    linkBefore(entry, reference->next);
  }
  addToCount(1);
  addToIndex(entry);
}

// Unlinks and frees an entry.
void remove(AclClientEntry *entry) noexcept {
  removeFromIndex(entry);
  const bool wasAlone = entry->next == entry;
  if (entry == gClientEntryList.first) setFirst(wasAlone ? nullptr : entry->next);
  entry->prev->next = entry->next;
  entry->next->prev = entry->prev;
  std::free(entry);
  addToCount(-1);
  // Here too the count decides.
  if (gClientEntryList.count == 0) setFirst(nullptr);
}

void removeAll() noexcept {
  AclClientEntry *const first = gClientEntryList.first;
  clearIndex();
  setFirst(nullptr);
  setCount(0);
  if (first == nullptr) return;
  for (AclClientEntry *entry = first->next; entry != first;) {
    AclClientEntry *const next = entry->next;
    std::free(entry);
    entry = next;
  }
  std::free(first);
}

// What a term's type uses of it.
AclRuleTerm usedPartOf(const AclRuleTerm &term) noexcept {
  AclRuleTerm part{};
  part.type = term.type;
  if (term.type == kMatchValue) {
    part.wildcard = term.wildcard;
    std::memcpy(part.matchData, term.matchData, sizeof(ValueAndMask));
  } else if (term.type == kMatchIpv6Prefix) {
    part.wildcard = term.wildcard;
    std::memcpy(part.matchData, term.matchData, sizeof(part.matchData));
    part.prefixLen = term.prefixLen;
  }
  return part;
}

void clearCounters(AclClientEntry &entry) noexcept {
  entry.permitHits = 0;
  entry.denyHits = 0;
}

}  // namespace

RuleTableLock::RuleTableLock() noexcept : guard_(tableMutex) {
  followRing();
}

void countHit(AclClientEntry &entry, std::uint32_t action) noexcept {
  if (action == kPermit) ++entry.permitHits;
  if (action == kDeny) ++entry.denyHits;
}

std::optional<DeletedRule> deleteRuleOrFirst(const char *name) noexcept {
  const RuleTableLock lock;
  if (!canDelete()) return std::nullopt;
  AclClientEntry *entry = findEntryOrFirst(name);
  if (entry == nullptr) entry = gClientEntryList.first;
  if (entry == nullptr) return std::nullopt;
  DeletedRule deleted;
  std::ranges::copy(entry->name, deleted.name.begin());
  std::ranges::copy(entry->next->name, deleted.following.begin());
  deleted.wasLast = entry->next == gClientEntryList.first;
  remove(entry);
  return deleted;
}

}  // namespace acl

extern "C" {

std::int32_t aclLibGetRuleCount() noexcept {
  const acl::RuleTableLock lock;
  return gClientEntryList.first == nullptr ? 0 : gClientEntryList.count;
}

const char *aclLibGetFirstRule() noexcept {
  return aclLibFindNextRule(nullptr);
}

const char *aclLibFindNextRule(const char *name) noexcept {
  const acl::RuleTableLock lock;
  AclClientEntry *const first = gClientEntryList.first;
  if (name == nullptr) return first == nullptr ? nullptr : first->name;
  const AclClientEntry *entry = acl::findEntry(name);
  return entry == nullptr || entry->next == first ? nullptr : entry->next->name;
}

AclClientEntry *aclLibFindClientEntry(const char *name) noexcept {
  const acl::RuleTableLock lock;
  return acl::findEntryOrFirst(name);
}

std::int32_t aclLibCreateRule(const char *name, const char *refName,
                              std::int32_t position) noexcept {
  auto *block = static_cast<acl::IndexedEntry *>(std::calloc(1, sizeof(acl::IndexedEntry)));
  if (block == nullptr) return 0;
  AclClientEntry *const entry = &block->entry;
  acl::copyText(reinterpret_cast<std::byte *>(entry->name), sizeof(entry->name), name);
  const acl::RuleTableLock lock;
  AclClientEntry *reference = nullptr;
  // The first rule needs no reference: whatever is given is not looked at.
  if (gClientEntryList.first != nullptr) {
    reference = acl::findEntryOrFirst(refName);
    if (reference == nullptr) {
      std::free(block);
      return 0;
    }
  }
  // Whether another entry has the name is not looked at.
  acl::insert(entry, reference, position);
  return 1;
}

void aclLibDeleteRule(const char *name) noexcept {
  const acl::RuleTableLock lock;
  if (!acl::canDelete()) return;
  if (name == nullptr) {
    acl::removeAll();
  } else if (AclClientEntry *entry = acl::findEntry(name)) {
    acl::remove(entry);
  }
}

void aclLibCopyDynRule(const AclClientEntry *desc, std::uint32_t /*ignored1*/,
                       std::uint32_t /*ignored2*/) noexcept {
  if (desc == nullptr) return;
  const acl::RuleTableLock lock;
  AclClientEntry *entry = acl::findEntry(desc->name);
  if (entry == nullptr) return;
  entry->ruleWord = desc->ruleWord;
  entry->attrA = desc->attrA;
  entry->attrB = desc->attrB;
  entry->termCount = desc->termCount;
  acl::clearCounters(*entry);
  // All of them, whatever termCount says.
  std::ranges::transform(desc->terms, entry->terms, acl::usedPartOf);
}

std::int32_t aclLibCopyRuleToDisplay(char *buf) noexcept {
  constexpr std::size_t kDisplaySize = 31;
  std::int32_t count;
  {
    const acl::RuleTableLock lock;
    count = gClientEntryList.count;
  }
  if (count < 1) return std::snprintf(buf, kDisplaySize, "not set");
  // Of a text that does not fit, the length uncut.
  return std::snprintf(buf, kDisplaySize, "%d Dynamic %s configured", count,
                       count == 1 ? "rule" : "rules");
}

std::int32_t aclLibGetRuleStats(const char *name, std::uint64_t *permitOut,
                                std::uint64_t *denyOut) noexcept {
  const acl::RuleTableLock lock;
  const AclClientEntry *entry = acl::findEntryOrFirst(name);
  if (entry == nullptr) return 0;
  *permitOut = entry->permitHits;
  *denyOut = entry->denyHits;
  return 1;
}

void aclLibClearClientCounters() noexcept {
  const acl::RuleTableLock lock;
  AclClientEntry *const first = gClientEntryList.first;
  if (first == nullptr) return;
  AclClientEntry *entry = first;
  do {
    acl::clearCounters(*entry);
    entry = entry->next;
  } while (entry != first);
}

void aclLibUpdateCounter(AclClientEntry *entry, std::uint32_t action) noexcept {
  if (entry == nullptr) return;
  const acl::RuleTableLock lock;
  acl::countHit(*entry, action);
}

}  // extern "C"
