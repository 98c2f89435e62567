// What the tree promises beyond platform/kvtree.h; that contract is tested in
// tests/platform/contract.
#include "platform/common/balanced_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

namespace swplat::tree {
namespace {

struct Entry : KvNode {
  explicit Entry(int number) : KvNode{}, key(number) {}
  int key;
};

std::int32_t compareEntries(const void *a, const void *b) {
  return static_cast<const Entry *>(a)->key - static_cast<const Entry *>(b)->key;
}

// Returns the height of a subtree, or -1 when a balance is wrong or leaves -1..1 anywhere in it.
// NOLINTNEXTLINE(misc-no-recursion): no deeper than the tree is high
int checkedHeight(const KvNode *node) {
  if (node == nullptr) return 0;
  const int left = checkedHeight(node->left);
  const int right = checkedHeight(node->right);
  if (left < 0 || right < 0 || node->balance != right - left) return -1;
  return node->balance < -1 || node->balance > 1 ? -1 : 1 + std::max(left, right);
}

std::vector<Entry> makeEntries(int count) {
  std::vector<Entry> entries;
  entries.reserve(static_cast<std::size_t>(count));
  for (int key = 0; key < count; ++key) entries.emplace_back(key);
  return entries;
}

// Inserts the keys in the order given and removes them in the other, checking after every step.
void insertAndRemove(std::vector<Entry> &entries, const std::vector<std::size_t> &insertion,
                     const std::vector<std::size_t> &removal) {
  KvNode *root = nullptr;
  for (const std::size_t index : insertion) {
    ASSERT_EQ(insert(&entries[index], root, compareEntries), 0);
    ASSERT_GE(checkedHeight(root), 1);
  }
  for (const std::size_t index : removal) {
    ASSERT_EQ(remove(&entries[index], root), 0);
    ASSERT_GE(checkedHeight(root), 0);
  }
  ASSERT_EQ(root, nullptr);
}

TEST(BalancedTreeTest, HeightsDifferByOneAtMostInEveryOrderOfSixNodes) {
  std::vector<Entry> entries = makeEntries(6);
  std::vector<std::size_t> order(6);
  std::iota(order.begin(), order.end(), 0);
  std::vector<std::size_t> removal = order;
  do {
    insertAndRemove(entries, order, removal);
    insertAndRemove(entries, removal, order);
  } while (std::ranges::next_permutation(order).found && !testing::Test::HasFatalFailure());
}

TEST(BalancedTreeTest, HeightsDifferByOneAtMostInRandomOrders) {
  std::mt19937 random(4711);
  std::vector<Entry> entries = makeEntries(120);
  std::vector<std::size_t> insertion(entries.size());
  std::iota(insertion.begin(), insertion.end(), 0);
  std::vector<std::size_t> removal = insertion;
  for (int round = 0; round < 30 && !testing::Test::HasFatalFailure(); ++round) {
    std::ranges::shuffle(insertion, random);
    std::ranges::shuffle(removal, random);
    insertAndRemove(entries, insertion, removal);
  }
}

TEST(BalancedTreeTest, ARemovedNodeIsZeroed) {
  Entry entry(1);
  KvNode *root = nullptr;
  ASSERT_EQ(insert(&entry, root, compareEntries), 0);
  ASSERT_EQ(remove(&entry, root), 0);
  EXPECT_EQ(entry.left, nullptr);
  EXPECT_EQ(entry.right, nullptr);
  EXPECT_EQ(entry.parent, nullptr);
  EXPECT_EQ(entry.balance, 0);
}

TEST(BalancedTreeTest, ACopyOfANodeIsNotInTheTree) {
  std::vector<Entry> entries = makeEntries(3);
  KvNode *root = nullptr;
  for (Entry &entry : entries) ASSERT_EQ(insert(&entry, root, compareEntries), 0);
  for (Entry &entry : entries) {
    Entry copy = entry;
    EXPECT_EQ(remove(&copy, root), -1);
  }
  EXPECT_EQ(checkedHeight(root), 2);
}

TEST(BalancedTreeTest, NullIsNoNode) {
  KvNode *root = nullptr;
  EXPECT_EQ(insert(nullptr, root, compareEntries), -1);
  EXPECT_EQ(remove(nullptr, root), -1);
  EXPECT_EQ(next(nullptr), nullptr);
}

}  // namespace
}  // namespace swplat::tree
