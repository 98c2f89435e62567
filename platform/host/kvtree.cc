#include "platform/kvtree.h"

#include "platform/common/balanced_tree.h"

extern "C" {

int32_t kvtreeInsert(void *node, KvNode **root, KvCompare compare) noexcept {
  return swplat::tree::insert(static_cast<KvNode *>(node), *root, compare);
}

int32_t kvtreeDelete(void *node, KvNode **root) noexcept {
  return swplat::tree::remove(static_cast<KvNode *>(node), *root);
}

void *kvtreeFirst(KvNode **root) noexcept {
  return swplat::tree::first(*root);
}

void *kvtreeNext(const void *node) noexcept {
  return swplat::tree::next(static_cast<const KvNode *>(node));
}

void *findNode(const void *key, KvNode *root, KvCompare compare) noexcept {
  return swplat::tree::find(key, root, compare);
}

}  // extern "C"
