// Where an entry of the rule table is, by name, in logarithmic time.
//
// The table is the ring of gClientEntryList. Behind each entry, in the same block, lies what the
// index needs: a node of a search tree, and a place. Places are numbers that ascend along the ring
// from its first entry, counted round 2^64. The tree is ordered by name and then by place, so the
// first entry of a name in ring order is the lowest of its nodes, however many have that name.
//
// A new entry gets a place between its neighbours'. Where none is left the entries that follow get
// new ones, as many of them as it takes to spread them; that is a logarithmic number on average
// (Dietz and Sleator's order maintenance).
//
// The index covers the ring that the table has made. A program may put another ring, or none, into
// gClientEntryList; the index then forgets its own, and searches walk until the table is empty.
//
// Every function is called with the table's lock held (rule_table.h).
#ifndef ACL_LIB_CLIENT_RULE_INDEX_H
#define ACL_LIB_CLIENT_RULE_INDEX_H

#include <array>
#include <cstdint>

#include "acl_lib.h"
#include "platform/kvtree.h"

namespace acl {

// A name as four big-endian numbers, which compare like its bytes; behind its end are zeros.
using NameKey = std::array<std::uint64_t, 4>;

// What follows an entry in its block; begins with the node, as the tree asks for. The name is here
// once more so that a search reads one part of each block.
struct IndexPart {
  KvNode node;
  std::uint64_t place;
  NameKey name;
};

// The block of an entry: zeroed memory of calloc(), which belongs to the table once it is linked.
struct IndexedEntry {
  AclClientEntry entry;
  IndexPart index;
};

// Compares gClientEntryList with the ring that the index covers, and forgets that one if the
// program has replaced it.
void followRing() noexcept;

// Returns the first entry of a name in ring order, or null. The first 32 characters of `name`
// count.
AclClientEntry *findEntry(const char *name) noexcept;

// Adds an entry, the head of an IndexedEntry, that has just been linked into the ring.
void addToIndex(AclClientEntry *entry) noexcept;

// Removes an entry that is about to be unlinked.
void removeFromIndex(AclClientEntry *entry) noexcept;

// Removes all entries.
void clearIndex() noexcept;

}  // namespace acl

#endif  // ACL_LIB_CLIENT_RULE_INDEX_H
