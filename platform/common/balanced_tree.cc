#include "platform/common/balanced_tree.h"

#include <algorithm>

namespace swplat::tree {
namespace {

// The link that leads to `node`: the root word or a child link of its parent.
KvNode *&linkTo(const KvNode *node, KvNode *&root) noexcept {
  KvNode *const parent = node->parent;
  if (parent == nullptr) return root;
  return parent->left == node ? parent->left : parent->right;
}

void adopt(KvNode *parent, KvNode *child) noexcept {
  if (child != nullptr) child->parent = parent;
}

// Puts `replacement`, which may be null, where `node` hangs.
void replace(KvNode *node, KvNode *replacement, KvNode *&root) noexcept {
  linkTo(node, root) = replacement;
  adopt(node->parent, replacement);
}

KvNode *rotateLeft(KvNode *node, KvNode *&root) noexcept {
  KvNode *const pivot = node->right;
  replace(node, pivot, root);
  node->right = pivot->left;
  adopt(node, node->right);
  pivot->left = node;
  node->parent = pivot;
  node->balance -= 1 + std::max<std::intptr_t>(pivot->balance, 0);
  pivot->balance -= 1 - std::min<std::intptr_t>(node->balance, 0);
  return pivot;
}

KvNode *rotateRight(KvNode *node, KvNode *&root) noexcept {
  KvNode *const pivot = node->left;
  replace(node, pivot, root);
  node->left = pivot->right;
  adopt(node, node->left);
  pivot->right = node;
  node->parent = pivot;
  node->balance += 1 - std::min<std::intptr_t>(pivot->balance, 0);
  pivot->balance += 1 + std::max<std::intptr_t>(node->balance, 0);
  return pivot;
}

// Balances a node whose subtrees differ in height by two. Returns what hangs in its place now.
KvNode *rebalance(KvNode *node, KvNode *&root) noexcept {
  if (node->balance > 0) {
    if (node->right->balance < 0) rotateRight(node->right, root);
    return rotateLeft(node, root);
  }
  if (node->left->balance > 0) rotateLeft(node->left, root);
  return rotateRight(node, root);
}

// The subtree at `node` has become one higher: tells its ancestors until one's height is the same.
void propagateGrowth(KvNode *node, KvNode *&root) noexcept {
  for (KvNode *parent = node->parent; parent != nullptr; node = parent, parent = node->parent) {
    parent->balance += parent->left == node ? -1 : 1;
    if (parent->balance == 0) return;
    if (parent->balance != 1 && parent->balance != -1) {
      rebalance(parent, root);
      return;
    }
  }
}

// The left or the right subtree of `node` has become one lower: the opposite of propagateGrowth().
void propagateShrinkage(KvNode *node, bool leftShrank, KvNode *&root) noexcept {
  while (node != nullptr) {
    node->balance += leftShrank ? 1 : -1;
    if (node->balance == 1 || node->balance == -1) return;
    if (node->balance != 0) {
      node = rebalance(node, root);
      if (node->balance != 0) return;
    }
    KvNode *const parent = node->parent;
    leftShrank = parent != nullptr && parent->left == node;
    node = parent;
  }
}

KvNode *lowest(KvNode *node) noexcept {
  while (node->left != nullptr) node = node->left;
  return node;
}

// The links must lead to the node, and up from it to the root: a zeroed or removed node and a copy
// of a record in the tree fail the first test, a node of another tree the second.
bool isInTree(KvNode *node, KvNode *&root) noexcept {
  if (linkTo(node, root) != node) return false;
  const KvNode *top = node;
  while (top->parent != nullptr) top = top->parent;
  return top == root;
}

// Takes a node with at most one child out.
void removeOuter(KvNode *node, KvNode *&root) noexcept {
  KvNode *const parent = node->parent;
  const bool wasLeft = parent != nullptr && parent->left == node;
  replace(node, node->left != nullptr ? node->left : node->right, root);
  propagateShrinkage(parent, wasLeft, root);
}

// Lets `successor`, which is outside the tree, take the place of `node`.
void takePlace(KvNode *successor, KvNode *node, KvNode *&root) noexcept {
  replace(node, successor, root);
  *successor = *node;
  adopt(successor, successor->left);
  adopt(successor, successor->right);
}

}  // namespace

std::int32_t insert(KvNode *node, KvNode *&root, KvCompare compare) noexcept {
  if (node == nullptr) return -1;
  KvNode *parent = nullptr;
  KvNode **link = &root;
  while (*link != nullptr) {
    parent = *link;
    const std::int32_t order = compare(node, parent);
    if (order == 0) return -1;
    link = order < 0 ? &parent->left : &parent->right;
  }
  *node = KvNode{nullptr, nullptr, parent, 0};
  *link = node;
  propagateGrowth(node, root);
  return 0;
}

std::int32_t remove(KvNode *node, KvNode *&root) noexcept {
  if (node == nullptr || !isInTree(node, root)) return -1;
  if (node->left != nullptr && node->right != nullptr) {
    KvNode *const successor = lowest(node->right);
    removeOuter(successor, root);
    takePlace(successor, node, root);
  } else {
    removeOuter(node, root);
  }
  *node = KvNode{};
  return 0;
}

KvNode *first(KvNode *root) noexcept {
  return root == nullptr ? nullptr : lowest(root);
}

KvNode *next(const KvNode *node) noexcept {
  if (node == nullptr) return nullptr;
  if (node->right != nullptr) return lowest(node->right);
  while (node->parent != nullptr && node->parent->right == node) node = node->parent;
  return node->parent;
}

KvNode *find(const void *key, KvNode *root, KvCompare compare) noexcept {
  for (KvNode *node = root; node != nullptr;) {
    // In a large tree the way down is a row of cache misses. Both children are asked for before the
    // comparison tells which one it is, whose guess is wrong every other time.
    __builtin_prefetch(node->left);
    __builtin_prefetch(node->right);
    const std::int32_t order = compare(key, node);
    if (order == 0) return node;
    node = order < 0 ? node->left : node->right;
  }
  return nullptr;
}

}  // namespace swplat::tree
