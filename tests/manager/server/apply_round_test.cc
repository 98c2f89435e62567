#include "manager/server/apply_round.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "manager/server/manager.h"
#include "tests/manager/app_policy_bytes.h"
#include "tests/manager/dynamic_rule_bytes.h"
#include "tests/support/failing_allocator.h"

namespace aclmgr {
namespace {

using test_support::addRuleBody;
using test_support::AppPolicyFields;
using test_support::Bytes;
using test_support::checkBody;
using test_support::chunkBody;
using test_support::encodedRule;
using test_support::hex;
using test_support::join;
using test_support::putAt;

// Connections that take a number of packets and remember them.
class RecordingConnections final : public Connections {
 public:
  bool send(std::uint32_t connection, std::span<const std::byte> packet) override {
    const test_support::AllocationExemption exemption;
    if (sent.size() == room) return false;
    sent.emplace_back(packet.begin(), packet.end());
    connections.push_back(connection);
    return true;
  }
  void disconnect(std::uint32_t connection) noexcept override {
    const test_support::AllocationExemption exemption;
    closed.push_back(connection);
    manager->disconnected(connection);
  }

  Manager *manager = nullptr;
  std::size_t room = 1000;
  std::vector<Bytes> sent;
  std::vector<std::uint32_t> connections;
  std::vector<std::uint32_t> closed;
};

std::uint32_t numberAt(const Bytes &packet, std::size_t bodyOffset, std::size_t width) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < width; ++i) {
    number = number << 8 | std::to_integer<std::uint32_t>(packet.at(4 + bodyOffset + i));
  }
  return number;
}

// "apply 1-3: 0", "unapply 4: -14" or "check: 0".
std::string textOf(const Bytes &packet) {
  std::string text;
  switch (numberAt(packet, 0, 2)) {
    case 0x300B:
      text = "apply " + std::to_string(numberAt(packet, 600, 4)) + "-" +
             std::to_string(numberAt(packet, 604, 4));
      break;
    case 0x300C:
      text = "unapply " + std::to_string(numberAt(packet, 588, 4));
      break;
    default:
      text = "check";
  }
  return text + ": " + std::to_string(static_cast<std::int16_t>(numberAt(packet, 2, 2)));
}

Bytes apply(AppPolicyFields fields) {
  return test_support::appPolicyBody(fields);
}

Bytes unapply(AppPolicyFields fields) {
  return test_support::unapplyBody(fields);
}

Bytes packetOf(const std::vector<Bytes> &bodies) {
  Bytes packet;
  for (const Bytes &body : bodies) {
    packet = join(packet, hex("1002"), test_support::bigEndian(body.size(), 2), body,
                  Bytes(body.size() % 2));
  }
  return packet;
}

struct CloseFile {
  void operator()(std::FILE *file) const { std::fclose(file); }
};

class ApplyRoundTest : public testing::Test {
 protected:
  void SetUp() override {
    connections_.manager = &manager_;
    manager_.connected(1, {.processId = 100, .processName = ""});
    for (const char *name : {"r", "s"}) {
      manager_.received(1, packetOf({addRuleBody(name, encodedRule("in", 1, "", "00010000"))}));
    }
    forget();
  }

  void forget() {
    connections_.sent.clear();
    connections_.connections.clear();
  }

  // What a packet of bodies is answered with.
  std::string answersTo(const std::vector<Bytes> &bodies) {
    manager_.received(1, packetOf(bodies));
    std::string text;
    for (const Bytes &packet : connections_.sent) text += textOf(packet) + ". ";
    forget();
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

  std::size_t policyCount() { return manager_.state().applicationPolicies.size(); }

  std::unique_ptr<std::FILE, CloseFile> notices_{std::tmpfile()};
  RecordingConnections connections_;
  RequestLog log_{nullptr, notices_.get()};
  Manager manager_{connections_, log_};
};

TEST_F(ApplyRoundTest, OneApplyIsAnsweredWithARangeOfOne) {
  manager_.received(1, packetOf({apply({.seqNo = 0x01020304})}));
  Bytes expected = test_support::zeros(4 + 608);
  putAt(expected, 0, hex("1003 0260 300B 0000"));
  putAt(expected, 4 + 592, hex("05 02"));
  putAt(expected, 4 + 596, hex("11121314 01020304 01020304"));
  EXPECT_EQ(connections_.sent, std::vector<Bytes>{expected});
}

TEST_F(ApplyRoundTest, AppliesThatFollowOneAnotherAreAnsweredByOneReply) {
  EXPECT_EQ(answersTo({apply({.seqNo = 7}), apply({.seqNo = 8, .word3 = 2}),
                       apply({.seqNo = 9, .word3 = 3})}),
            "apply 7-9: 0. ");
  EXPECT_EQ(policyCount(), 3U);
}

TEST_F(ApplyRoundTest, AppliesOfTwoPacketsAreAnsweredApart) {
  EXPECT_EQ(answersTo({apply({.seqNo = 1})}), "apply 1-1: 0. ");
  EXPECT_EQ(answersTo({apply({.seqNo = 2})}), "apply 2-2: 0. ");
}

TEST_F(ApplyRoundTest, AnotherApplicationKindTagOrStatusEndsARun) {
  EXPECT_EQ(answersTo({apply({.seqNo = 1}), apply({.seqNo = 2, .appId = 6}),
                       apply({.seqNo = 3, .appId = 6})}),
            "apply 1-1: 0. apply 2-3: 0. ");
  EXPECT_EQ(answersTo({apply({.seqNo = 1}), apply({.seqNo = 2}), apply({.seqNo = 3, .kind = 3})}),
            "apply 1-2: 0. apply 3-3: 0. ");
  EXPECT_EQ(answersTo({apply({.seqNo = 1}), apply({.seqNo = 2, .tag = 3}), apply({.seqNo = 3})}),
            "apply 1-1: 0. apply 2-2: 0. apply 3-3: 0. ");
  EXPECT_EQ(answersTo({apply({.seqNo = 1}), apply({.seqNo = 2, .rules = {"x"}}),
                       apply({.seqNo = 3, .rules = {"y"}}), apply({.seqNo = 4})}),
            "apply 1-1: 0. apply 2-3: -19. apply 4-4: 0. ");
}

TEST_F(ApplyRoundTest, NumbersThatDoNotFollowOneAnotherEndARun) {
  EXPECT_EQ(answersTo({apply({.seqNo = 1}), apply({.seqNo = 3}), apply({.seqNo = 4}),
                       apply({.seqNo = 4}), apply({.seqNo = 3})}),
            "apply 1-1: 0. apply 3-4: 0. apply 4-4: 0. apply 3-3: 0. ");
}

TEST_F(ApplyRoundTest, RangesDoNotGoPastTheLastNumber) {
  EXPECT_EQ(answersTo({apply({.seqNo = 0xFFFFFFFE}), apply({.seqNo = 0xFFFFFFFF}),
                       apply({.seqNo = 0}), apply({.seqNo = 1})}),
            "apply 4294967294-4294967295: 0. apply 0-1: 0. ");
  EXPECT_EQ(answersTo({unapply({.seqNo = 0xFFFFFFFF}), apply({.seqNo = 0})}),
            "unapply 4294967295: 0. apply 0-0: 0. ");
}

TEST_F(ApplyRoundTest, OtherRequestsEndARunAndAreAnsweredInOrder) {
  EXPECT_EQ(answersTo({checkBody({}), apply({.seqNo = 1}), apply({.seqNo = 2}), checkBody({}),
                       apply({.seqNo = 3}), checkBody({"none"})}),
            "check: 0. apply 1-2: 0. check: 0. apply 3-3: 0. check: -11. ");
}

TEST_F(ApplyRoundTest, ChunkThatGetsNoAnswerEndsARunToo) {
  EXPECT_EQ(answersTo({apply({.seqNo = 1}), chunkBody({.total = 96, .ruleCount = 2}, Bytes(48)),
                       apply({.seqNo = 2})}),
            "apply 1-1: 0. apply 2-2: 0. ");
}

TEST_F(ApplyRoundTest, UnapplyBehindAnApplyIsCarriedOutAndAnsweredByItsNumber) {
  EXPECT_EQ(answersTo({apply({.seqNo = 1}), unapply({.seqNo = 2}), unapply({.seqNo = 3})}),
            "apply 1-1: 0. unapply 2: 0. unapply 3: -14. ");
  EXPECT_EQ(policyCount(), 0U);
}

TEST_F(ApplyRoundTest, UnapplyBeforeAnApplyOfThePolicyIsSuperseded) {
  answersTo({apply({.seqNo = 1})});
  EXPECT_EQ(answersTo({unapply({.seqNo = 2}), apply({.seqNo = 3, .rules = {"s"}})}),
            "apply 2-3: 0. ");
  EXPECT_EQ(policyCount(), 1U);
  EXPECT_EQ(notices(),
            "aclmgrd: refused: connection 1 (pid 100): ACL_MSG_UNAPPLY_APP_POLICY number 2, "
            "application 5, kind 2, tag 286397204, word 555885348, match nothing, 1 rules: -43 "
            "Pending config request is cancelled out. (a request behind it applies the policy "
            "anew)\n");
}

TEST_F(ApplyRoundTest, UnapplyWithinARunIsSupersededByWhateverApplyOfThePolicyIsBehindIt) {
  EXPECT_EQ(answersTo({apply({.seqNo = 1}), unapply({.seqNo = 2}), unapply({.seqNo = 3}),
                       apply({.seqNo = 4, .word3 = 9}), apply({.seqNo = 5})}),
            "apply 1-5: 0. ");
  EXPECT_EQ(policyCount(), 2U);
}

TEST_F(ApplyRoundTest, SupersededUnapplyIsOneWhateverBecomesOfTheApply) {
  answersTo({apply({.seqNo = 1})});
  EXPECT_EQ(answersTo({unapply({.seqNo = 2}), apply({.seqNo = 3, .rules = {"x"}})}),
            "apply 2-3: -19. ");
  EXPECT_EQ(policyCount(), 1U);
  EXPECT_EQ(answersTo({apply({.seqNo = 4}), unapply({.seqNo = 5}),
                       apply({.seqNo = 6, .rules = {"x"}}), apply({.seqNo = 7})}),
            "apply 4-5: 0. apply 6-6: -19. apply 7-7: 0. ");
}

TEST_F(ApplyRoundTest, UnapplyOfAnotherPolicyThanIsAppliedBehindItIsCarriedOut) {
  answersTo({apply({.seqNo = 1}), apply({.seqNo = 2, .word3 = 9})});
  EXPECT_EQ(answersTo({unapply({.seqNo = 3, .word3 = 9}), apply({.seqNo = 4})}),
            "unapply 3: 0. apply 4-4: 0. ");
  EXPECT_EQ(
      answersTo({apply({.seqNo = 5}), unapply({.seqNo = 6, .word3 = 9}), apply({.seqNo = 7})}),
      "apply 5-5: 0. unapply 6: -14. apply 7-7: 0. ");
  EXPECT_EQ(policyCount(), 1U);
}

TEST_F(ApplyRoundTest, UnapplyIsSupersededOnlyInARunOfItsApplicationKindTagAndNumbers) {
  const AppPolicyFields others[] = {
      {.seqNo = 3, .appId = 6}, {.seqNo = 3, .kind = 3}, {.seqNo = 3, .tag = 3}};
  for (const AppPolicyFields &other : others) {
    answersTo({apply({.seqNo = 1})});
    const std::string answers = answersTo({unapply({.seqNo = 2}), apply(other)});
    EXPECT_EQ(answers, "unapply 2: 0. apply 3-3: 0. ");
    answersTo({apply({.seqNo = 1})});
    EXPECT_EQ(answersTo({unapply({.seqNo = 2}), apply(other), apply({.seqNo = 4})}),
              "unapply 2: 0. apply 3-3: 0. apply 4-4: 0. ");
  }
  EXPECT_EQ(answersTo({unapply({.seqNo = 2}), apply({.seqNo = 4})}),
            "unapply 2: 0. apply 4-4: 0. ");
  EXPECT_EQ(answersTo({unapply({.seqNo = 5}), checkBody({}), apply({.seqNo = 6})}),
            "unapply 5: 0. check: 0. apply 6-6: 0. ");
}

TEST_F(ApplyRoundTest, UnapplyThatStandsBehindOneThatIsCarriedOutMayBeSuperseded) {
  answersTo({apply({.seqNo = 1})});
  EXPECT_EQ(
      answersTo({unapply({.seqNo = 2, .word3 = 9}), unapply({.seqNo = 3}), apply({.seqNo = 4})}),
      "unapply 2: -14. apply 3-4: 0. ");
  EXPECT_EQ(
      answersTo({unapply({.seqNo = 5}), unapply({.seqNo = 6, .word3 = 9}), apply({.seqNo = 7})}),
      "unapply 5: 0. unapply 6: -14. apply 7-7: 0. ");
}

TEST_F(ApplyRoundTest, MatchedNamesAndMasksDoNotKeepAnUnapplyFromBeingSuperseded) {
  EXPECT_EQ(answersTo({unapply({.seqNo = 1}),
                       apply({.seqNo = 2, .match1Type = 26, .match1 = hex("6162")})}),
            "apply 1-2: 0. ");
  EXPECT_EQ(
      answersTo(
          {unapply({.seqNo = 3, .match1Type = 62, .match1 = hex("010203040506")}),
           apply({.seqNo = 4, .match1Type = 62, .match1 = hex("010203040506 FFFFFFFFFFFF")})}),
      "apply 3-4: 0. ");
  EXPECT_EQ(answersTo({unapply({.seqNo = 5, .match1Type = 39, .match1 = hex("00000001")}),
                       apply({.seqNo = 6, .match1Type = 39, .match1 = hex("00000002")})}),
            "unapply 5: -14. apply 6-6: 0. ");
}

TEST_F(ApplyRoundTest, MalformedSupersededUnapplyIsCoveredLikeAnyOther) {
  EXPECT_EQ(
      answersTo({unapply({.seqNo = 1}), unapply({.seqNo = 2, .rules = {}}), apply({.seqNo = 3})}),
      "apply 1-3: 0. ");
}

TEST_F(ApplyRoundTest, EveryMalformedApplyIsAnswered) {
  const Bytes body = apply({.seqNo = 0x01020304});
  for (std::size_t length = 2; length < body.size(); ++length) {
    const Bytes cut(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(length));
    manager_.received(1, packetOf({cut, cut}));
    ASSERT_EQ(connections_.sent.size(), 2U) << length;
    ASSERT_EQ(connections_.sent[0], connections_.sent[1]) << length;
    ASSERT_EQ(numberAt(connections_.sent[0], 0, 4), 0x300BFFFDU) << length;
    forget();
  }
  EXPECT_EQ(policyCount(), 0U);
  EXPECT_EQ(answersTo({apply({.seqNo = 1, .rules = {}}), apply({.seqNo = 2, .rules = {}})}),
            "apply 1-2: -2. ");
}

TEST_F(ApplyRoundTest, RoundsOfTwoConnectionsDoNotMix) {
  manager_.connected(2, {.processId = 200, .processName = ""});
  manager_.received(1, packetOf({apply({.seqNo = 1})}));
  manager_.received(2, packetOf({apply({.seqNo = 2})}));
  EXPECT_EQ(connections_.connections, (std::vector{1U, 2U}));
  EXPECT_EQ(textOf(connections_.sent.at(1)), "apply 2-2: 0");
}

TEST_F(ApplyRoundTest, ClientThatDoesNotTakeItsAnswersLosesItsRound) {
  connections_.room = 0;
  EXPECT_EQ(answersTo({apply({.seqNo = 1}), apply({.seqNo = 2, .word3 = 2}), checkBody({}),
                       apply({.seqNo = 3, .word3 = 3})}),
            "");
  EXPECT_EQ(connections_.closed, std::vector{1U});
  EXPECT_EQ(policyCount(), 2U);  // the last was not carried out
  connections_.closed.clear();
  manager_.connected(1, {});
  EXPECT_EQ(answersTo({apply({.seqNo = 4})}), "");
  EXPECT_EQ(connections_.closed, std::vector{1U});
}

// Requests with random bytes in them, several to a packet, each packet in a block of its own size.
TEST_F(ApplyRoundTest, HostilePacketsAreAnsweredOrCloseTheirConnection) {
  std::mt19937 random(20261122);  // NOLINT: the same packets in every run
  const std::vector<Bytes> bodies = {apply({}),
                                     unapply({}),
                                     checkBody({"web"}),
                                     test_support::sliceBody({}),
                                     test_support::moveBody(2, 5, 6),
                                     test_support::cleanBody(5)};
  for (unsigned round = 0; round < 1000; ++round) {
    std::vector<Bytes> some;
    for (auto count = random() % 5 + 1; count > 0; --count) {
      Bytes body = bodies[random() % bodies.size()];
      if (random() % 8 == 0) body.resize(random() % (body.size() - 1) + 2);
      for (auto change = random() % 4; change > 0; --change) {
        body[random() % body.size()] = static_cast<std::byte>(random());
      }
      some.push_back(body);
    }
    manager_.received(1, packetOf(some));
    EXPECT_GE(connections_.sent.size() + connections_.closed.size(), 1U);
    EXPECT_LE(connections_.sent.size(), some.size());
    forget();
  }
}

TEST_F(ApplyRoundTest, ExhaustedMemoryIsAnsweredOrClosesTheConnectionAndLeavesNothingHalfDone) {
  const Bytes packet = packetOf({unapply({.seqNo = 1}), apply({.seqNo = 2})});
  const unsigned failures = test_support::forEachAllocationFailure([&] {
    manager_.received(1, packet);
    const test_support::AllocationExemption exemption;
    const std::size_t kept = policyCount();
    std::string answered;
    for (const Bytes &sent : connections_.sent) answered += textOf(sent) + ". ";
    forget();
    EXPECT_TRUE(answered == "apply 1-2: 0. " || answered == "apply 1-2: -18. " ||
                (answered.empty() && !connections_.closed.empty()))
        << answered;
    EXPECT_EQ(kept, answered == "apply 1-2: 0. " ? 1U : answered.empty() ? kept : 0U);
    connections_.closed.clear();
    manager_.connected(1, {.processId = 100, .processName = ""});
    EXPECT_EQ(answersTo({unapply({.seqNo = 3})}),
              kept == 1 ? "unapply 3: 0. " : "unapply 3: -14. ");
  });
  EXPECT_GT(failures, 0U);
}

}  // namespace
}  // namespace aclmgr
