#include "acl_lib/client/rule_index.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/encoding/message_body.h"

namespace acl {
namespace {

constexpr std::size_t kNameLength = kNameWidth - 1;

// The first entry as the index knows it; null when it covers no entry.
constinit AclClientEntry *coveredFirst = nullptr;
constinit KvNode *root = nullptr;

// How far from its neighbour an entry at either end of the ring is placed where there is room. At
// this distance the 2^31 rules that the table can count take half of the circle, so a table that
// only grows at its ends never moves an entry.
constexpr std::uint64_t kStep = std::uint64_t{1} << 32;

IndexPart &partOf(AclClientEntry *entry) noexcept {
  return reinterpret_cast<IndexedEntry *>(entry)->index;
}

std::uint64_t &placeOf(AclClientEntry *entry) noexcept {
  return partOf(entry).place;
}

AclClientEntry *entryOf(KvNode *node) noexcept {
  auto *part = reinterpret_cast<std::byte *>(node);
  return reinterpret_cast<AclClientEntry *>(part - offsetof(IndexedEntry, index));
}

NameKey keyOf(const char *name) noexcept {
  std::array<std::byte, kNameLength> bytes{};
  std::memcpy(bytes.data(), name, ::strnlen(name, kNameLength));
  NameKey key;
  for (std::size_t i = 0; i < key.size(); ++i) {
    key[i] = loadBig<std::uint64_t>(bytes.data() + i * sizeof(std::uint64_t));
  }
  return key;
}

// Negative, zero or positive.
int compareNames(const NameKey &a, const NameKey &b) noexcept {
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  }
  return 0;
}

std::int32_t compareNodes(const void *a, const void *b) noexcept {
  const auto &first = *static_cast<const IndexPart *>(a);
  const auto &second = *static_cast<const IndexPart *>(b);
  if (const int order = compareNames(first.name, second.name); order != 0) return order;
  const std::uint64_t start = placeOf(coveredFirst);
  const std::uint64_t firstPlace = first.place - start;
  const std::uint64_t secondPlace = second.place - start;
  if (firstPlace == secondPlace) return 0;
  return firstPlace < secondPlace ? -1 : 1;
}

AclClientEntry *findInTree(const char *name) noexcept {
  const NameKey key = keyOf(name);
  KvNode *found = nullptr;
  for (KvNode *node = root; node != nullptr;) {
    const int order = compareNames(key, reinterpret_cast<const IndexPart *>(node)->name);
    if (order == 0) found = node;
    node = order > 0 ? node->right : node->left;
  }
  return found == nullptr ? nullptr : entryOf(found);
}

AclClientEntry *findInRing(const char *name) noexcept {
  AclClientEntry *const first = gClientEntryList.first;
  AclClientEntry *entry = first;
  do {
    if (std::strncmp(entry->name, name, kNameLength) == 0) return entry;
    entry = entry->next;
  } while (entry != first);
  return nullptr;
}

// Free places between two neighbours, plus one. An entry that is its own neighbour has the whole
// circle.
std::uint64_t distance(AclClientEntry *left, AclClientEntry *right) noexcept {
  if (left == right) return std::numeric_limits<std::uint64_t>::max();
  return placeOf(right) - placeOf(left);
}

// Moves `right` and as many of its followers as it takes to leave free places behind `left`: up to
// the first whose distance from `left` is more than the square of the number of steps to it. That
// is `left` itself at the latest, which is a whole circle away.
void makeRoom(AclClientEntry *left, AclClientEntry *right) noexcept {
  std::uint64_t steps = 1;
  AclClientEntry *end = right;
  while (distance(left, end) <= steps * steps) {
    end = end->next;
    ++steps;
  }
  const std::uint64_t stride = distance(left, end) / steps;
  std::uint64_t place = placeOf(left);
  for (AclClientEntry *entry = right; entry != end; entry = entry->next) {
    place += stride;
    placeOf(entry) = place;
  }
}

void choosePlace(AclClientEntry *entry, bool isFirst) noexcept {
  AclClientEntry *const left = entry->prev;
  AclClientEntry *const right = entry->next;
  if (distance(left, right) < 2) makeRoom(left, right);
  const std::uint64_t step = std::min(distance(left, right) / 2, kStep);
  // The first and the last entry are neighbours too. A new first one is placed at the end of the
  // gap between them, and a new last one at its beginning, so that either leaves room for the
  // other.
  placeOf(entry) = isFirst ? placeOf(right) - step : placeOf(left) + step;
}

}  // namespace

void followRing() noexcept {
  if (gClientEntryList.first != coveredFirst) clearIndex();
}

AclClientEntry *findEntry(const char *name) noexcept {
  if (gClientEntryList.first == nullptr) return nullptr;
  return coveredFirst != nullptr ? findInTree(name) : findInRing(name);
}

void addToIndex(AclClientEntry *entry) noexcept {
  const bool isAlone = entry->next == entry;
  if (coveredFirst == nullptr && !isAlone) return;
  if (!isAlone) choosePlace(entry, gClientEntryList.first == entry);
  coveredFirst = gClientEntryList.first;
  partOf(entry).name = keyOf(entry->name);
  kvtreeInsert(&partOf(entry).node, &root, compareNodes);
}

void removeFromIndex(AclClientEntry *entry) noexcept {
  if (coveredFirst == nullptr) return;
  kvtreeDelete(&partOf(entry).node, &root);
  if (entry != coveredFirst) return;
  coveredFirst = entry->next == entry ? nullptr : entry->next;
}

void clearIndex() noexcept {
  coveredFirst = nullptr;
  root = nullptr;
}

}  // namespace acl
