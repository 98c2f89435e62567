#include "platform/kvtree.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <random>
#include <vector>

#include "tests/platform/contract/contract_test.h"

namespace contract {
namespace {

struct Entry {
  KvNode node{};
  int key = 0;
};
static_assert(offsetof(Entry, node) == 0);

std::int32_t compareEntries(const void *a, const void *b) {
  return static_cast<const Entry *>(a)->key - static_cast<const Entry *>(b)->key;
}

// NOLINTBEGIN(misc-no-recursion): no deeper than the tree is high
int heightOf(const KvNode *node) {
  return node == nullptr ? 0 : 1 + std::max(heightOf(node->left), heightOf(node->right));
}

bool linksAreConsistent(const KvNode *node, const KvNode *parent) {
  return node == nullptr || (node->parent == parent && linksAreConsistent(node->left, node) &&
                             linksAreConsistent(node->right, node));
}

// Appends the keys that the links lead to: those on the left, the node's own, those on the right.
void followLinks(const KvNode *node, std::vector<int> &keys) {
  if (node == nullptr) return;
  followLinks(node->left, keys);
  keys.push_back(reinterpret_cast<const Entry *>(node)->key);
  followLinks(node->right, keys);
}
// NOLINTEND(misc-no-recursion)

class KvtreeContract : public ContractTest {
 protected:
  std::int32_t insert(Entry &entry) { return kvtreeInsert(&entry, &root_, compareEntries); }
  std::int32_t remove(Entry &entry) { return kvtreeDelete(&entry, &root_); }

  Entry *find(int key) {
    Entry wanted;
    wanted.key = key;
    return static_cast<Entry *>(findNode(&wanted, root_, compareEntries));
  }

  std::vector<int> keys() {
    std::vector<int> keys;
    for (void *node = kvtreeFirst(&root_); node != nullptr; node = kvtreeNext(node)) {
      keys.push_back(static_cast<Entry *>(node)->key);
    }
    return keys;
  }

  std::vector<int> keysByLinks() const {
    std::vector<int> keys;
    followLinks(root_, keys);
    return keys;
  }

  // A balanced tree of n nodes is not much higher than the logarithm of n.
  void expectBalanced(std::size_t size) {
    EXPECT_TRUE(linksAreConsistent(root_, nullptr));
    EXPECT_LE(heightOf(root_), 2 * std::log2(static_cast<double>(size) + 1) + 1);
  }

  KvNode *root_ = nullptr;
};

TEST_F(KvtreeContract, AnEmptyTreeHasNothing) {
  EXPECT_EQ(kvtreeFirst(&root_), nullptr);
  EXPECT_EQ(find(1), nullptr);
}

TEST_F(KvtreeContract, NodesAreWalkedInAscendingOrder) {
  std::vector<Entry> entries(5);
  const int order[] = {30, 10, 50, 20, 40};
  for (std::size_t i = 0; i < 5; ++i) {
    entries[i].key = order[i];
    EXPECT_EQ(insert(entries[i]), 0);
  }
  EXPECT_EQ(keys(), (std::vector<int>{10, 20, 30, 40, 50}));
  EXPECT_EQ(find(40), &entries[4]);
  EXPECT_EQ(find(35), nullptr);
}

TEST_F(KvtreeContract, LowerNodesHangOnTheLeftAndHigherOnesOnTheRight) {
  Entry low;
  Entry middle;
  Entry high;
  low.key = 10;
  middle.key = 20;
  high.key = 30;
  for (Entry *entry : {&middle, &high, &low}) ASSERT_EQ(insert(*entry), 0);
  EXPECT_EQ(root_, &middle.node);
  EXPECT_EQ(middle.node.parent, nullptr);
  EXPECT_EQ(middle.node.left, &low.node);
  EXPECT_EQ(middle.node.right, &high.node);
  for (const Entry *outer : {&low, &high}) {
    EXPECT_EQ(outer->node.parent, &middle.node);
    EXPECT_EQ(outer->node.left, nullptr);
    EXPECT_EQ(outer->node.right, nullptr);
  }
}

TEST_F(KvtreeContract, LinksKeepTheirOrderThroughEveryInsertionAndRemoval) {
  std::vector<Entry> entries(61);
  std::vector<int> expected;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    entries[i].key = static_cast<int>(i * 23 % entries.size());
    ASSERT_EQ(insert(entries[i]), 0);
    expected.insert(std::ranges::lower_bound(expected, entries[i].key), entries[i].key);
    ASSERT_EQ(keysByLinks(), expected);
    ASSERT_TRUE(linksAreConsistent(root_, nullptr));
  }
  for (std::size_t i = 0; i < entries.size(); ++i) {
    Entry &entry = entries[i * 37 % entries.size()];
    ASSERT_EQ(remove(entry), 0);
    expected.erase(std::ranges::lower_bound(expected, entry.key));
    ASSERT_EQ(keysByLinks(), expected);
    ASSERT_TRUE(linksAreConsistent(root_, nullptr));
  }
}

TEST_F(KvtreeContract, NullIsNotInsertedAndHasNoFollower) {
  Entry entry;
  EXPECT_EQ(kvtreeInsert(nullptr, &root_, compareEntries), -1);
  EXPECT_EQ(root_, nullptr);
  ASSERT_EQ(insert(entry), 0);
  EXPECT_EQ(kvtreeInsert(nullptr, &root_, compareEntries), -1);
  EXPECT_EQ(keys(), std::vector<int>{0});
  EXPECT_EQ(kvtreeNext(nullptr), nullptr);
}

TEST_F(KvtreeContract, AnEqualNodeIsRefusedAndNeitherTreeNorNodeChanges) {
  Entry first;
  Entry second;
  first.key = second.key = 7;
  KvNode other{};
  second.node = {&other, &other, &other, 5};
  ASSERT_EQ(insert(first), 0);
  EXPECT_EQ(insert(second), -1);
  EXPECT_EQ(second.node.left, &other);
  EXPECT_EQ(second.node.right, &other);
  EXPECT_EQ(second.node.parent, &other);
  EXPECT_EQ(second.node.balance, 5);
  EXPECT_EQ(find(7), &first);
  EXPECT_EQ(keys().size(), 1u);
}

TEST_F(KvtreeContract, InsertingANodeThatIsInTheTreeIsRefused) {
  Entry entry;
  ASSERT_EQ(insert(entry), 0);
  EXPECT_EQ(insert(entry), -1);
  EXPECT_EQ(keys().size(), 1u);
}

TEST_F(KvtreeContract, LinksOfANewNodeNeedNotBeInitialised) {
  KvNode other{};
  Entry entry;
  entry.node = {&other, &other, &other, 99};
  EXPECT_EQ(insert(entry), 0);
  EXPECT_EQ(keys(), std::vector<int>{0});
  EXPECT_TRUE(linksAreConsistent(root_, nullptr));
}

TEST_F(KvtreeContract, RemovingNullOrAStrangerIsRefused) {
  Entry member;
  Entry stranger;
  stranger.key = 3;
  ASSERT_EQ(insert(member), 0);
  EXPECT_EQ(kvtreeDelete(nullptr, &root_), -1);
  EXPECT_EQ(remove(stranger), -1);
  EXPECT_EQ(keys().size(), 1u);
}

TEST_F(KvtreeContract, RemovingTwiceIsRefused) {
  std::vector<Entry> entries(3);
  for (int i = 0; i < 3; ++i) {
    entries[static_cast<std::size_t>(i)].key = i;
    ASSERT_EQ(insert(entries[static_cast<std::size_t>(i)]), 0);
  }
  EXPECT_EQ(remove(entries[1]), 0);
  EXPECT_EQ(remove(entries[1]), -1);
  EXPECT_EQ(keys(), (std::vector<int>{0, 2}));
}

TEST_F(KvtreeContract, RemovingFromAnEmptyTreeIsRefused) {
  Entry entry;
  EXPECT_EQ(remove(entry), -1);
  EXPECT_EQ(root_, nullptr);
}

TEST_F(KvtreeContract, ANodeOfAnotherTreeIsRefused) {
  Entry here;
  Entry there;
  KvNode *otherRoot = nullptr;
  ASSERT_EQ(insert(here), 0);
  ASSERT_EQ(kvtreeInsert(&there, &otherRoot, compareEntries), 0);
  EXPECT_EQ(remove(there), -1);
  EXPECT_EQ(otherRoot, &there.node);
}

TEST_F(KvtreeContract, TheLastNodeLeavesAnEmptyTree) {
  Entry entry;
  ASSERT_EQ(insert(entry), 0);
  EXPECT_EQ(remove(entry), 0);
  EXPECT_EQ(root_, nullptr);
  EXPECT_EQ(insert(entry), 0) << "a removed node can be inserted again";
}

TEST_F(KvtreeContract, AscendingInsertionStaysBalanced) {
  std::vector<Entry> entries(2000);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    entries[i].key = static_cast<int>(i);
    ASSERT_EQ(insert(entries[i]), 0);
  }
  expectBalanced(entries.size());
  for (std::size_t i = 0; i < 1500; ++i) ASSERT_EQ(remove(entries[i]), 0);
  expectBalanced(500);
  EXPECT_EQ(keys().front(), 1500);
}

TEST_F(KvtreeContract, BehavesAsAnOrderedMapUnderRandomOperations) {
  std::mt19937 random(20260101);
  std::vector<Entry> entries(400);
  std::map<int, Entry *> model;
  for (int step = 0; step < 20'000; ++step) {
    Entry &entry = entries[random() % entries.size()];
    const auto at = model.find(entry.key);
    const bool isMember = at != model.end() && at->second == &entry;
    if (random() % 2 == 0) {
      ASSERT_EQ(remove(entry), isMember ? 0 : -1);
      if (isMember) model.erase(at);
    } else if (!isMember) {
      entry.key = static_cast<int>(random() % 300);
      ASSERT_EQ(insert(entry), model.emplace(entry.key, &entry).second ? 0 : -1);
    }
    const int key = static_cast<int>(random() % 300);
    const auto wanted = model.find(key);
    ASSERT_EQ(find(key), wanted == model.end() ? nullptr : wanted->second);
    if (step % 500 != 0) continue;
    std::vector<int> expected;
    expected.reserve(model.size());
    for (const auto &[modelKey, value] : model) expected.push_back(modelKey);
    ASSERT_EQ(keys(), expected);
    expectBalanced(model.size());
  }
}

}  // namespace
}  // namespace contract
