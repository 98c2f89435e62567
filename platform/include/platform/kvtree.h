/*
 * Ordered trees: intrusive, balanced, without allocation.
 *
 * A node is any record that begins with a KvNode. A tree is its root word, null when empty. The
 * tree never owns its nodes. Trees take no lock: their users bracket them.
 */
#ifndef PLATFORM_KVTREE_H
#define PLATFORM_KVTREE_H

#include <stdint.h>

#include "platform/linkage.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The links of a node: lower nodes hang on the left, higher ones on the right, null where there are
 * none; the parent is null at the root. A tree is searched by following them, too. They and the
 * balance are written by the tree only.
 */
typedef struct KvNode {
  struct KvNode *left, *right, *parent;
  intptr_t balance;
} KvNode;

/* Orders two nodes (or a key shaped like a node and a node): negative, zero or positive. */
typedef int32_t (*KvCompare)(const void *a, const void *b);

/*
 * Links a node into the tree.
 * Returns 0; -1 where an equal node is there already (the tree and the node are unchanged), and for
 * a null node.
 */
SWITCH_API int32_t kvtreeInsert(void *node, KvNode **root, KvCompare compare) SWITCH_NOEXCEPT;

/*
 * Unlinks a node.
 * Returns 0; -1 when the node is null or not in this tree (nothing changes).
 */
SWITCH_API int32_t kvtreeDelete(void *node, KvNode **root) SWITCH_NOEXCEPT;

/* Returns the lowest node, or null when the tree is empty. */
SWITCH_API void *kvtreeFirst(KvNode **root) SWITCH_NOEXCEPT;

/* Returns the node that follows `node` in ascending order, or null after the last one and for a
 * null node. */
SWITCH_API void *kvtreeNext(const void *node) SWITCH_NOEXCEPT;

/*
 * Finds the node that compares equal to a key.
 *   key   given to `compare` as its first argument
 *   root  the root word itself, not its address
 * Returns the node, or null.
 */
SWITCH_API void *findNode(const void *key, KvNode *root, KvCompare compare) SWITCH_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_KVTREE_H */
