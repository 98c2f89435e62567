#include "manager/server/manager.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "tests/manager/dynamic_rule_bytes.h"
#include "tests/manager/request_bytes.h"
#include "tests/manager/server/served_manager.h"
#include "tests/support/failing_allocator.h"

namespace aclmgr {
namespace {

using test_support::addRuleBody;
using test_support::appRuleBody;
using test_support::bindingBody;
using test_support::Bytes;
using test_support::bytesOf;
using test_support::chunkBody;
using test_support::countingRule;
using test_support::deleteBody;
using test_support::encodedRule;
using test_support::hex;
using test_support::join;
using test_support::modifyBody;
using test_support::packetOf;
using test_support::policyBody;
using test_support::processInfoBody;
using test_support::putAt;
using test_support::zeros;

class ManagerTest : public testing::Test, protected test_support::ServedManager {
 protected:
  void SetUp() override {
    manager.connected(1, {.processId = 100, .processName = ""});
    manager.connected(2, {.processId = 200, .processName = ""});
  }

  // Code and status of each answer to a connection, then forgets them.
  std::string answers(std::uint32_t connection) {
    std::string text;
    for (const Bytes &packet : connections.sent[connection]) {
      for (std::size_t i = 4; i < 8; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof(digits), "%02x", std::to_integer<unsigned>(packet[i]));
        text += digits;
      }
      text += " ";
    }
    connections.sent[connection].clear();
    return text;
  }

  Bytes web() { return policyBody(0x2001, "web", encodedRule("r", 1), 1); }
};

TEST_F(ManagerTest, DeleteReplyIsOneObjectWithStatusAndName) {
  manager.received(1, packetOf({deleteBody("web")}));
  ASSERT_EQ(connections.sent[1].size(), 1U);
  Bytes expected = zeros(4 + 652);
  putAt(expected, 0, hex("1003 028C 2002 FFF5"));  // 652 bytes, -11
  putAt(expected, 4 + 592, bytesOf("web"));
  EXPECT_EQ(connections.sent[1][0], expected);
}

TEST_F(ManagerTest, EveryRequestOfAPacketIsAnsweredInOrder) {
  manager.received(
      1, packetOf({processInfoBody("stpd"), web(), bindingBody(0x2004, "web", 1, 2), hex("3005"),
                   deleteBody("web"), bindingBody(0x2005, "web", 1, 2), deleteBody("web")}));
  EXPECT_EQ(answers(1), "20000000 20010000 20040000 3005fffd 2002fff3 20050000 20020000 ");
}

TEST_F(ManagerTest, ChunksAreAnsweredOnceWithTheLast) {
  const Bytes rules = join(encodedRule("a", 1), encodedRule("b", 2));
  const Bytes first(rules.begin(), rules.begin() + 47);
  const Bytes second(rules.begin() + 47, rules.end());
  manager.received(1, packetOf({chunkBody({.total = 96, .ruleCount = 2}, first)}));
  EXPECT_EQ(answers(1), "");
  manager.received(1, packetOf({chunkBody({.total = 96, .offset = 47, .ruleCount = 2}, second)}));
  EXPECT_EQ(answers(1), "20010000 ");
}

TEST_F(ManagerTest, PolicyOfSixtyThousandRulesIsTaken) {
  const Bytes one = encodedRule("rule", 1, "0000 0008 0a000001 ffffffff", "0001 0000");
  Bytes rules;
  for (int i = 0; i < 60000; ++i) rules.insert(rules.end(), one.begin(), one.end());
  ASSERT_EQ(rules.size(), 3840000U);
  const auto total = static_cast<std::uint32_t>(rules.size());
  for (std::uint32_t offset = 0; offset < total; offset += 7872) {
    EXPECT_EQ(answers(1), "");
    const std::uint32_t length = std::min(7872U, total - offset);
    const Bytes chunk(rules.begin() + offset, rules.begin() + offset + length);
    manager.received(
        1, packetOf({chunkBody({.total = total, .offset = offset, .ruleCount = 60000}, chunk)}));
  }
  EXPECT_EQ(answers(1), "20010000 ");
  EXPECT_EQ(manager.state().policies.find("web")->rules.size(), 60000U);
}

TEST_F(ManagerTest, MalformedPacketsCloseTheirConnectionAndNoOther) {
  const Bytes packets[] = {hex("1002 0010 2002"), hex("1003 0002 2002"), hex("1002 0001 20 00"),
                           hex("10")};
  std::uint32_t connection = 10;
  for (const Bytes &packet : packets) {
    manager.connected(connection, {});
    manager.received(connection, packet);
    EXPECT_EQ(connections.closed, std::vector{connection});
    EXPECT_EQ(answers(connection), "");
    EXPECT_EQ(manager.state().peers.find(connection), nullptr);
    connections.closed.clear();
    ++connection;
  }
  manager.received(2, packetOf({web()}));
  EXPECT_EQ(answers(2), "20010000 ");
}

TEST_F(ManagerTest, ObjectsOfNoneOrOneByteCloseTheirConnection) {
  manager.received(1, hex("1002 0000"));
  manager.received(2, hex("1002 0001 20 00"));
  EXPECT_EQ(connections.closed, (std::vector{1U, 2U}));
  EXPECT_EQ(notices(),
            "aclmgrd: closed connection 1 (pid 100): malformed packet: request of 0 bytes\n"
            "aclmgrd: closed connection 2 (pid 200): malformed packet: request of 1 bytes\n");
}

// Random packets, and requests with random bytes in them, each in a heap block of its own size.
TEST_F(ManagerTest, HostilePacketsAreAnsweredOrCloseTheirConnectionAndHarmNoOther) {
  std::mt19937 random(20261121);  // NOLINT: the same packets in every run
  const Bytes rules =
      join(encodedRule("a", 1, "0003 0004 06ff0000", "0001 0000"),
           encodedRule("b", 2, "0000 0008 0a000001 ffffffff", "000e 0004 05000000"));
  const Bytes seeds[] = {
      packetOf({policyBody(0x2001, "p", rules, 2)}),
      packetOf({processInfoBody("x"), deleteBody("p")}),
      packetOf({bindingBody(0x2004, "p", 1, 2)}),
      packetOf({modifyBody("p", rules)}),
      Bytes(60),
      packetOf({test_support::addRuleBody("r", test_support::countingRule()),
                test_support::ruleBindingBody({})}),
      packetOf({test_support::appRuleBody(0x3007, "r"), test_support::counterBody({})}),
      packetOf({test_support::meterBody(0x3012, "m"), test_support::configMeterBody("m"),
                test_support::meterBindingBody(0x301E, "m")})};
  for (unsigned round = 0; round < 3000; ++round) {
    Bytes packet = seeds[round % std::size(seeds)];
    packet.resize(random() % 8 == 0 ? random() % packet.size() + 1 : packet.size());
    for (auto change = random() % 6; change > 0; --change) {
      packet[random() % packet.size()] = static_cast<std::byte>(random());
    }
    const std::uint32_t connection = 100 + round;
    manager.connected(connection, {});
    manager.received(connection, packet);
    // Answered, closed, or the beginning of a policy.
    EXPECT_TRUE(!connections.sent[connection].empty() || !connections.closed.empty() ||
                manager.state().assembler.partialCount() == 1);
    manager.disconnected(connection);
    connections.sent.clear();
    connections.closed.clear();
  }
  EXPECT_EQ(manager.state().assembler.partialCount(), 0U);
  manager.received(2, packetOf({web()}));
  EXPECT_EQ(answers(2), "20010000 ");
}

TEST_F(ManagerTest, PacketThatIsMalformedAtItsEndIsNotCarriedOutAtAll) {
  manager.received(1, join(packetOf({web()}), hex("1002")));
  EXPECT_EQ(manager.state().policies.size(), 0U);
  EXPECT_EQ(answers(1), "");
}

TEST_F(ManagerTest, PoliciesAndBindingsOutliveTheirClientAndPartialOnesDoNot) {
  manager.received(1,
                   packetOf({web(), bindingBody(0x2004, "web", 1, 2),
                             chunkBody({.name = "half", .total = 96, .ruleCount = 2}, Bytes(48))}));
  EXPECT_EQ(manager.state().assembler.partialCount(), 1U);
  manager.disconnected(1);
  EXPECT_EQ(manager.state().assembler.partialCount(), 0U);
  EXPECT_EQ(manager.state().peers.find(1), nullptr);
  manager.received(2, packetOf({bindingBody(0x2005, "web", 1, 2), deleteBody("web")}));
  EXPECT_EQ(answers(2), "20050000 20020000 ");
}

TEST_F(ManagerTest, RulesAreInstalledForAClientAsLongAsItIsConnected) {
  const Bytes install = appRuleBody(0x3007, "guard");
  manager.received(1, packetOf({addRuleBody("guard", countingRule()), install}));
  manager.received(2, packetOf({install}));
  manager.disconnected(1);
  EXPECT_TRUE(manager.state().dynamicRules.isInstalled("guard"));
  manager.disconnected(2);
  EXPECT_FALSE(manager.state().dynamicRules.isInstalled("guard"));
  EXPECT_NE(manager.state().dynamicRules.find("guard"), nullptr);
}

TEST_F(ManagerTest, ChunksOfTwoClientsDoNotMix) {
  const Bytes rules = join(encodedRule("a", 1), encodedRule("b", 2));
  const Bytes first(rules.begin(), rules.begin() + 48);
  const Bytes second(rules.begin() + 48, rules.end());
  const test_support::ChunkHead head{.total = 96, .offset = 0, .ruleCount = 2};
  const test_support::ChunkHead tail{.total = 96, .offset = 48, .ruleCount = 2};
  manager.received(1, packetOf({chunkBody(head, first)}));
  manager.received(2, packetOf({chunkBody(head, first)}));
  manager.received(1, packetOf({chunkBody(tail, second)}));
  manager.received(2, packetOf({chunkBody(tail, second)}));
  EXPECT_EQ(answers(1), "20010000 ");
  EXPECT_EQ(answers(2), "20010000 ");
}

TEST_F(ManagerTest, ClientThatDoesNotTakeItsAnswersIsDisconnected) {
  connections.full = true;
  manager.received(1, packetOf({web(), deleteBody("web")}));
  EXPECT_EQ(connections.closed, std::vector{1U});
  EXPECT_NE(manager.state().policies.find("web"), nullptr);  // the second was not carried out
  EXPECT_EQ(notices(), "aclmgrd: closed connection 1 (pid 100): it does not take its answers\n");
}

TEST_F(ManagerTest, ExhaustedMemoryIsAnsweredOrClosesTheConnectionAndLeavesNothingHalfDone) {
  const Bytes packet = packetOf({web()});
  const unsigned failures = test_support::forEachAllocationFailure([&] {
    manager.received(1, packet);
    const test_support::AllocationExemption exemption;
    const bool kept = manager.state().policies.find("web") != nullptr;
    const std::string answered = answers(1);
    EXPECT_TRUE(answered == "20010000 " || answered == "2001ffee " || !connections.closed.empty());
    EXPECT_EQ(answered == "2001ffee " && kept, false);  // -18
    EXPECT_EQ(connections.closed.empty(),
              notices().find("closed a connection: out of memory") == std::string::npos);
    forgetNotices();
    EXPECT_EQ(manager.state().assembler.partialCount(), 0U);
    connections.closed.clear();
    manager.connected(1, {.processId = 100, .processName = ""});
    manager.received(1, packetOf({deleteBody("web")}));
    EXPECT_EQ(answers(1), kept ? "20020000 " : "2002fff5 ");
  });
  EXPECT_GT(failures, 0U);
}

TEST_F(ManagerTest, RefusedRequestIsNoticed) {
  manager.received(1, packetOf({processInfoBody("stpd"), deleteBody("web")}));
  EXPECT_EQ(notices(),
            "aclmgrd: refused: connection 1 (\"stpd\", pid 100): ACL_MSG_DELETE_POLICY "
            "policy \"web\": -11 PolicyNotExist\n");
}

}  // namespace
}  // namespace aclmgr
