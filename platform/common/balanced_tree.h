// Intrusive balanced trees: the code behind platform/kvtree.h, whose comments are the contract.
//
// A tree is an AVL tree: KvNode's `balance` is the height of the right subtree less the height of
// the left one, always -1, 0 or 1. No call recurses or allocates; insertion, removal and search
// take logarithmic time. No locks.
#ifndef PLATFORM_COMMON_BALANCED_TREE_H
#define PLATFORM_COMMON_BALANCED_TREE_H

#include <cstdint>

#include "platform/kvtree.h"

namespace swplat::tree {

// kvtreeInsert(). -1 also for a null node.
std::int32_t insert(KvNode *node, KvNode *&root, KvCompare compare) noexcept;

// kvtreeDelete(). A node's own links tell whether it is in the tree: one that was never inserted
// must be zeroed, and the links of a removed one are. So removing twice is refused.
std::int32_t remove(KvNode *node, KvNode *&root) noexcept;

// kvtreeFirst().
KvNode *first(KvNode *root) noexcept;

// kvtreeNext(). Null has no follower.
KvNode *next(const KvNode *node) noexcept;

// findNode().
KvNode *find(const void *key, KvNode *root, KvCompare compare) noexcept;

}  // namespace swplat::tree

#endif  // PLATFORM_COMMON_BALANCED_TREE_H
