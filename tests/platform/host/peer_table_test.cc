#include "platform/host/peer_table.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <vector>

namespace swplat {
namespace {

uint32_t addPeer(PeerTable &table) {
  const LockedPeer peer = table.add();
  return peer ? peer->id.load() : 0;
}

TEST(PeerTableTest, APeerIsFoundByItsIdUntilItIsRemoved) {
  PeerTable table;
  const uint32_t id = addPeer(table);
  EXPECT_NE(id, 0u);
  EXPECT_TRUE(table.contains(id));
  EXPECT_EQ(table.find(id)->id, id);
  table.remove(table.find(id));
  EXPECT_FALSE(table.contains(id));
  EXPECT_FALSE(table.find(id));
}

TEST(PeerTableTest, ZeroIsNoPeer) {
  PeerTable table;
  EXPECT_FALSE(table.contains(0));
  EXPECT_FALSE(table.find(0));
  addPeer(table);
  EXPECT_FALSE(table.contains(0));
  EXPECT_FALSE(table.find(0));
  EXPECT_FALSE(table.find(4096));
}

TEST(PeerTableTest, IdsAreNotUsedAgainSoon) {
  PeerTable table;
  std::set<uint32_t> ids;
  for (int count = 0; count < 10'000; ++count) {
    const uint32_t id = addPeer(table);
    ASSERT_TRUE(ids.insert(id).second);
    table.remove(table.find(id));
  }
}

TEST(PeerTableTest, ARemovedPeersPlaceStartsAfresh) {
  PeerTable table;
  std::vector<uint32_t> first;
  for (uint32_t id = 0; (id = addPeer(table)) != 0;) {
    first.push_back(id);
  }
  EXPECT_EQ(first.size(), 4095u);
  {
    const LockedPeer peer = table.find(first[7]);
    peer->queueLimit = 5;
    peer->keepAlive = false;
    peer->addressState = std::make_unique<AddressPeerState>();
    const uint8_t byte = 0;
    peer->queue.push(&byte, 1);
  }
  table.remove(table.find(first[7]));
  const LockedPeer again = table.add();
  ASSERT_TRUE(again);
  EXPECT_NE(again->id, first[7]);
  EXPECT_EQ(again->queueLimit, 1024u);
  EXPECT_TRUE(again->keepAlive);
  EXPECT_EQ(again->addressState, nullptr);
  EXPECT_TRUE(again->queue.empty());
}

}  // namespace
}  // namespace swplat
