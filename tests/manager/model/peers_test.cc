#include "manager/model/peers.h"

#include <gtest/gtest.h>

namespace aclmgr {
namespace {

TEST(Peers, UnknownConnectionHasNoPeer) {
  Peers peers;
  EXPECT_EQ(peers.find(1), nullptr);
  peers.setProcessName(1, "stpd");
  peers.remove(1);
  EXPECT_EQ(peers.find(1), nullptr);
  EXPECT_EQ(peers.size(), 0U);
}

TEST(Peers, PeerHasNoNameUntilItAnnouncesItself) {
  Peers peers;
  peers.add(7, {.processId = 812, .userId = 1, .groupId = 2, .processName = ""});
  ASSERT_NE(peers.find(7), nullptr);
  EXPECT_EQ(peers.find(7)->processId, 812U);
  EXPECT_EQ(peers.find(7)->processName, "");
  peers.setProcessName(7, "stpd");
  EXPECT_EQ(peers.find(7)->processName, "stpd");
}

TEST(Peers, PeersOfOtherConnectionsStayWhenOneGoes) {
  Peers peers;
  peers.add(1, {.processId = 10, .processName = ""});
  peers.add(2, {.processId = 20, .processName = ""});
  peers.remove(1);
  EXPECT_EQ(peers.find(1), nullptr);
  ASSERT_NE(peers.find(2), nullptr);
  EXPECT_EQ(peers.find(2)->processId, 20U);
}

}  // namespace
}  // namespace aclmgr
