#include "manager/server/manager.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/manager/dynamic_rule_bytes.h"
#include "tests/manager/request_bytes.h"
#include "tests/support/failing_allocator.h"

namespace aclmgr {
namespace {

using test_support::bigEndian;
using test_support::bindingBody;
using test_support::Bytes;
using test_support::bytesOf;
using test_support::chunkBody;
using test_support::deleteBody;
using test_support::encodedRule;
using test_support::hex;
using test_support::join;
using test_support::modifyBody;
using test_support::policyBody;
using test_support::processInfoBody;
using test_support::putAt;
using test_support::zeros;

// Connections that only remember, and tell the manager of a disconnection at once.
class RecordingConnections final : public Connections {
 public:
  bool send(std::uint32_t connection, std::span<const std::byte> packet) override {
    const test_support::AllocationExemption exemption;
    if (full) return false;
    sent[connection].emplace_back(packet.begin(), packet.end());
    return true;
  }
  void disconnect(std::uint32_t connection) noexcept override {
    const test_support::AllocationExemption exemption;
    closed.push_back(connection);
    manager->disconnected(connection);
  }

  Manager *manager = nullptr;
  bool full = false;
  std::map<std::uint32_t, std::vector<Bytes>> sent;
  std::vector<std::uint32_t> closed;
};

// The packet of requests that are bodies.
template <typename... Bodies>
Bytes packetOf(const Bodies &...bodies) {
  Bytes packet;
  const auto append = [&packet](const Bytes &body) {
    packet = join(packet, hex("1002"), bigEndian(body.size(), 2), body, Bytes(body.size() % 2));
  };
  (append(bodies), ...);
  return packet;
}

struct CloseFile {
  void operator()(std::FILE *file) const { std::fclose(file); }
};

class ManagerTest : public testing::Test {
 protected:
  void SetUp() override {
    connections_.manager = &manager_;
    manager_.connected(1, {.processId = 100, .processName = ""});
    manager_.connected(2, {.processId = 200, .processName = ""});
  }

  // Code and status of each answer to a connection, then forgets them.
  std::string answers(std::uint32_t connection) {
    std::string text;
    for (const Bytes &packet : connections_.sent[connection]) {
      for (std::size_t i = 4; i < 8; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof(digits), "%02x", std::to_integer<unsigned>(packet[i]));
        text += digits;
      }
      text += " ";
    }
    connections_.sent[connection].clear();
    return text;
  }

  // What people have been told so far.
  std::string notices() {
    EXPECT_EQ(std::fseek(notices_.get(), 0, SEEK_SET), 0);
    std::string text;
    for (int character; (character = std::fgetc(notices_.get())) != EOF;) {
      text += static_cast<char>(character);
    }
    return text;
  }

  Bytes web() { return policyBody(0x2001, "web", encodedRule("r", 1), 1); }

  std::unique_ptr<std::FILE, CloseFile> notices_{std::tmpfile()};
  RecordingConnections connections_;
  RequestLog log_{nullptr, notices_.get()};
  Manager manager_{connections_, log_};
};

TEST_F(ManagerTest, DeleteReplyIsOneObjectWithStatusAndName) {
  manager_.received(1, packetOf(deleteBody("web")));
  ASSERT_EQ(connections_.sent[1].size(), 1U);
  Bytes expected = zeros(4 + 652);
  putAt(expected, 0, hex("1003 028C 2002 FFF5"));  // 652 bytes, -11
  putAt(expected, 4 + 592, bytesOf("web"));
  EXPECT_EQ(connections_.sent[1][0], expected);
}

TEST_F(ManagerTest, EveryRequestOfAPacketIsAnsweredInOrder) {
  manager_.received(
      1, packetOf(processInfoBody("stpd"), web(), bindingBody(0x2004, "web", 1, 2), hex("3005"),
                  deleteBody("web"), bindingBody(0x2005, "web", 1, 2), deleteBody("web")));
  EXPECT_EQ(answers(1), "20000000 20010000 20040000 3005fffd 2002fff3 20050000 20020000 ");
}

TEST_F(ManagerTest, ChunksAreAnsweredOnceWithTheLast) {
  const Bytes rules = join(encodedRule("a", 1), encodedRule("b", 2));
  const Bytes first(rules.begin(), rules.begin() + 47);
  const Bytes second(rules.begin() + 47, rules.end());
  manager_.received(1, packetOf(chunkBody({.total = 96, .ruleCount = 2}, first)));
  EXPECT_EQ(answers(1), "");
  manager_.received(1, packetOf(chunkBody({.total = 96, .offset = 47, .ruleCount = 2}, second)));
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
    manager_.received(
        1, packetOf(chunkBody({.total = total, .offset = offset, .ruleCount = 60000}, chunk)));
  }
  EXPECT_EQ(answers(1), "20010000 ");
  EXPECT_EQ(manager_.state().policies.find("web")->rules.size(), 60000U);
}

TEST_F(ManagerTest, MalformedPacketsCloseTheirConnectionAndNoOther) {
  const Bytes packets[] = {hex("1002 0010 2002"), hex("1003 0002 2002"), hex("1002 0001 20 00"),
                           hex("10")};
  std::uint32_t connection = 10;
  for (const Bytes &packet : packets) {
    manager_.connected(connection, {});
    manager_.received(connection, packet);
    EXPECT_EQ(connections_.closed, std::vector{connection});
    EXPECT_EQ(answers(connection), "");
    EXPECT_EQ(manager_.state().peers.find(connection), nullptr);
    connections_.closed.clear();
    ++connection;
  }
  manager_.received(2, packetOf(web()));
  EXPECT_EQ(answers(2), "20010000 ");
}

TEST_F(ManagerTest, ObjectsOfNoneOrOneByteCloseTheirConnection) {
  manager_.received(1, hex("1002 0000"));
  manager_.received(2, hex("1002 0001 20 00"));
  EXPECT_EQ(connections_.closed, (std::vector{1U, 2U}));
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
      packetOf(policyBody(0x2001, "p", rules, 2)),
      packetOf(processInfoBody("x"), deleteBody("p")),
      packetOf(bindingBody(0x2004, "p", 1, 2)),
      packetOf(modifyBody("p", rules)),
      Bytes(60),
      packetOf(test_support::addRuleBody("r", test_support::countingRule()),
               test_support::ruleBindingBody({})),
      packetOf(test_support::appRuleBody(0x3007, "r"), test_support::counterBody({})),
      packetOf(test_support::meterBody(0x3012, "m"), test_support::configMeterBody("m"),
               test_support::meterBindingBody(0x301E, "m"))};
  for (unsigned round = 0; round < 3000; ++round) {
    Bytes packet = seeds[round % std::size(seeds)];
    packet.resize(random() % 8 == 0 ? random() % packet.size() + 1 : packet.size());
    for (auto change = random() % 6; change > 0; --change) {
      packet[random() % packet.size()] = static_cast<std::byte>(random());
    }
    const std::uint32_t connection = 100 + round;
    manager_.connected(connection, {});
    manager_.received(connection, packet);
    // Answered, closed, or the beginning of a policy.
    EXPECT_TRUE(!connections_.sent[connection].empty() || !connections_.closed.empty() ||
                manager_.state().assembler.partialCount() == 1);
    manager_.disconnected(connection);
    connections_.sent.clear();
    connections_.closed.clear();
  }
  EXPECT_EQ(manager_.state().assembler.partialCount(), 0U);
  manager_.received(2, packetOf(web()));
  EXPECT_EQ(answers(2), "20010000 ");
}

TEST_F(ManagerTest, PacketThatIsMalformedAtItsEndIsNotCarriedOutAtAll) {
  manager_.received(1, join(packetOf(web()), hex("1002")));
  EXPECT_EQ(manager_.state().policies.size(), 0U);
  EXPECT_EQ(answers(1), "");
}

TEST_F(ManagerTest, PoliciesAndBindingsOutliveTheirClientAndPartialOnesDoNot) {
  manager_.received(1,
                    packetOf(web(), bindingBody(0x2004, "web", 1, 2),
                             chunkBody({.name = "half", .total = 96, .ruleCount = 2}, Bytes(48))));
  EXPECT_EQ(manager_.state().assembler.partialCount(), 1U);
  manager_.disconnected(1);
  EXPECT_EQ(manager_.state().assembler.partialCount(), 0U);
  EXPECT_EQ(manager_.state().peers.find(1), nullptr);
  manager_.received(2, packetOf(bindingBody(0x2005, "web", 1, 2), deleteBody("web")));
  EXPECT_EQ(answers(2), "20050000 20020000 ");
}

TEST_F(ManagerTest, ChunksOfTwoClientsDoNotMix) {
  const Bytes rules = join(encodedRule("a", 1), encodedRule("b", 2));
  const Bytes first(rules.begin(), rules.begin() + 48);
  const Bytes second(rules.begin() + 48, rules.end());
  const test_support::ChunkHead head{.total = 96, .offset = 0, .ruleCount = 2};
  const test_support::ChunkHead tail{.total = 96, .offset = 48, .ruleCount = 2};
  manager_.received(1, packetOf(chunkBody(head, first)));
  manager_.received(2, packetOf(chunkBody(head, first)));
  manager_.received(1, packetOf(chunkBody(tail, second)));
  manager_.received(2, packetOf(chunkBody(tail, second)));
  EXPECT_EQ(answers(1), "20010000 ");
  EXPECT_EQ(answers(2), "20010000 ");
}

TEST_F(ManagerTest, ClientThatDoesNotTakeItsAnswersIsDisconnected) {
  connections_.full = true;
  manager_.received(1, packetOf(web(), deleteBody("web")));
  EXPECT_EQ(connections_.closed, std::vector{1U});
  EXPECT_NE(manager_.state().policies.find("web"), nullptr);  // the second was not carried out
  EXPECT_EQ(notices(), "aclmgrd: closed connection 1 (pid 100): it does not take its answers\n");
}

TEST_F(ManagerTest, ExhaustedMemoryIsAnsweredOrClosesTheConnectionAndLeavesNothingHalfDone) {
  const Bytes packet = packetOf(web());
  const unsigned failures = test_support::forEachAllocationFailure([&] {
    manager_.received(1, packet);
    const test_support::AllocationExemption exemption;
    const bool kept = manager_.state().policies.find("web") != nullptr;
    const std::string answered = answers(1);
    EXPECT_TRUE(answered == "20010000 " || answered == "2001ffee " || !connections_.closed.empty());
    EXPECT_EQ(answered == "2001ffee " && kept, false);  // -18
    EXPECT_EQ(connections_.closed.empty(),
              notices().find("closed a connection: out of memory") == std::string::npos);
    ASSERT_EQ(ftruncate(fileno(notices_.get()), 0), 0);
    ASSERT_EQ(std::fseek(notices_.get(), 0, SEEK_SET), 0);
    EXPECT_EQ(manager_.state().assembler.partialCount(), 0U);
    connections_.closed.clear();
    manager_.connected(1, {.processId = 100, .processName = ""});
    manager_.received(1, packetOf(deleteBody("web")));
    EXPECT_EQ(answers(1), kept ? "20020000 " : "2002fff5 ");
  });
  EXPECT_GT(failures, 0U);
}

TEST_F(ManagerTest, RefusedRequestIsNoticed) {
  manager_.received(1, packetOf(processInfoBody("stpd"), deleteBody("web")));
  EXPECT_EQ(notices(),
            "aclmgrd: refused: connection 1 (\"stpd\", pid 100): ACL_MSG_DELETE_POLICY "
            "policy \"web\": -11 PolicyNotExist\n");
}

}  // namespace
}  // namespace aclmgr
