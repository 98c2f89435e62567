#include "manager/server/apply_round.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/manager/app_policy_bytes.h"
#include "tests/manager/dynamic_rule_bytes.h"
#include "tests/manager/server/served_manager.h"
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
using test_support::packetOf;
using test_support::putAt;

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

// Each number that packets answer, with its status.
void addStatuses(const std::vector<Bytes> &packets, std::map<std::uint32_t, int> &statuses) {
  for (const Bytes &packet : packets) {
    const bool isApply = numberAt(packet, 0, 2) == 0x300B;
    const std::uint32_t last = numberAt(packet, isApply ? 604 : 588, 4);
    for (std::uint32_t number = isApply ? numberAt(packet, 600, 4) : last; number <= last;
         ++number) {
      statuses.emplace(number, static_cast<std::int16_t>(numberAt(packet, 2, 2)));
    }
  }
}

// How many requests packets answer.
std::size_t requestsAnsweredBy(const std::vector<Bytes> &packets) {
  std::size_t requests = 0;
  for (const Bytes &packet : packets) {
    const bool isApply = numberAt(packet, 0, 2) == 0x300B;
    requests += isApply ? numberAt(packet, 604, 4) - numberAt(packet, 600, 4) + 1 : 1;
  }
  return requests;
}

Bytes apply(AppPolicyFields fields) {
  return test_support::appPolicyBody(fields);
}

Bytes unapply(AppPolicyFields fields) {
  return test_support::unapplyBody(fields);
}

constexpr ApplicationPolicyKey kPlainKey{
    .appId = 5, .kind = 2, .tag = 0x11121314, .word3 = 0x21222324};

// The names in a policy, each with a blank behind it.
std::string rulesOf(const ManagerState &state, const ApplicationPolicyKey &key) {
  const ApplicationPolicy *policy = state.applicationPolicies.find(key);
  std::string names;
  if (policy == nullptr) return names;
  for (const ApplicationPolicyEntry &entry : policy->entries) names += entry.ruleName + " ";
  return names;
}

struct RandomMatch {
  std::uint8_t type;
  std::string_view bytes;
};
constexpr RandomMatch kRandomMatches[] = {
    {0, ""}, {26, "61"}, {62, "010203040506"}, {62, "010203040506 FFFFFFFFFFFF"}};

Bytes randomRequest(std::mt19937 &random, std::uint32_t seqNo) {
  const RandomMatch &match = kRandomMatches[random() % std::size(kRandomMatches)];
  const std::vector<std::string_view> rules[] = {{"r"}, {"s"}, {"r", "s"}, {"x"}, {}};
  const AppPolicyFields fields{.seqNo = seqNo,
                               .appId = static_cast<std::uint8_t>(random() % 8 == 0 ? 6 : 5),
                               .rules = rules[random() % 16 < 13 ? random() % 3 : random() % 5],
                               .match1Type = match.type,
                               .match1 = hex(match.bytes)};
  return random() % 2 == 0 ? apply(fields) : unapply(fields);
}

// Every key that randomRequest() may apply.
std::vector<ApplicationPolicyKey> keysOfRandomRequests() {
  std::vector<ApplicationPolicyKey> keys;
  for (const RandomMatch &match : kRandomMatches) {
    ApplicationPolicyKey key = kPlainKey;
    key.match.type = static_cast<MatchType>(match.type);
    std::ranges::copy(hex(match.bytes), key.match.bytes.begin());
    keys.push_back(key);
    key.appId = 6;
    keys.push_back(key);
  }
  return keys;
}

class ApplyRoundTest : public testing::Test, protected test_support::ServedManager {
 protected:
  void SetUp() override {
    connect(manager);
    sent().clear();
  }

  static void connect(Manager &toManager) {
    toManager.connected(1, {.processId = 100, .processName = ""});
    for (const char *name : {"r", "s"}) {
      toManager.received(1, packetOf({addRuleBody(name, encodedRule("in", 1, "", "00010000"))}));
    }
  }

  // The packets that the client has been sent.
  std::vector<Bytes> &sent() { return connections.sent[1]; }

  // What a packet of bodies is answered with.
  std::string answersTo(const std::vector<Bytes> &bodies) {
    manager.received(1, packetOf(bodies));
    std::string text;
    for (const Bytes &packet : sent()) text += textOf(packet) + ". ";
    sent().clear();
    return text;
  }

  std::size_t policyCount() { return manager.state().applicationPolicies.size(); }
};

TEST_F(ApplyRoundTest, OneApplyIsAnsweredWithARangeOfOne) {
  manager.received(1, packetOf({apply({.seqNo = 0x01020304})}));
  Bytes expected = test_support::zeros(4 + 608);
  putAt(expected, 0, hex("1003 0260 300B 0000"));
  putAt(expected, 4 + 592, hex("05 02"));
  putAt(expected, 4 + 596, hex("11121314 01020304 01020304"));
  EXPECT_EQ(sent(), std::vector<Bytes>{expected});
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

TEST_F(ApplyRoundTest, UnapplyBeforeAnAcceptedApplyOfThePolicyIsCancelled) {
  answersTo({apply({.seqNo = 1})});
  EXPECT_EQ(answersTo({unapply({.seqNo = 2}), apply({.seqNo = 3, .rules = {"s"}})}),
            "apply 2-3: 0. ");
  EXPECT_EQ(rulesOf(manager.state(), kPlainKey), "s ");
  EXPECT_EQ(notices(), "");
}

TEST_F(ApplyRoundTest, CancelledUnapplyIsToldApartFromRefusedOnes) {
  const Bytes bodies[] = {unapply({.seqNo = 1}), unapply({.seqNo = 2, .word3 = 9}),
                          unapply({.seqNo = 3}), apply({.seqNo = 4})};
  std::vector<CarriedOut> round;
  for (const Bytes &body : bodies) {
    const auto code = static_cast<std::uint16_t>(&body == &bodies[3] ? 0x300B : 0x300C);
    round.push_back({&handlerOf(code), {1, code, body, false}, {}, Answer{}});
  }
  EXPECT_EQ(answerRound(round).size(), 3U);
  EXPECT_EQ(round[0].answer.value().status, Status::kOk);
  EXPECT_EQ(round[1].answer.value().status, Status::kOk);
  EXPECT_EQ(round[2].answer.value().status, Status::kCancelled);
  EXPECT_EQ(round[2].answer.value().reason, "a request behind it applies the policy anew");
  EXPECT_EQ(round[3].answer.value().status, Status::kOk);
}

TEST_F(ApplyRoundTest, CancelledUnapplyOfNothingIsNotNoticedAsRefused) {
  EXPECT_EQ(answersTo({unapply({.seqNo = 1}), apply({.seqNo = 2})}), "apply 1-2: 0. ");
  EXPECT_EQ(notices(), "");
}

TEST_F(ApplyRoundTest, UnapplyWithinARunIsCancelledByWhateverApplyOfThePolicyIsBehindIt) {
  EXPECT_EQ(answersTo({apply({.seqNo = 1}), unapply({.seqNo = 2}), unapply({.seqNo = 3}),
                       apply({.seqNo = 4, .word3 = 9}), apply({.seqNo = 5})}),
            "apply 1-5: 0. ");
  EXPECT_EQ(policyCount(), 2U);
}

TEST_F(ApplyRoundTest, UnapplyBeforeARefusedApplyOfThePolicyIsAnsweredByItsNumber) {
  answersTo({apply({.seqNo = 1})});
  EXPECT_EQ(answersTo({unapply({.seqNo = 2}), apply({.seqNo = 3, .rules = {"x"}})}),
            "unapply 2: 0. apply 3-3: -19. ");
  EXPECT_EQ(policyCount(), 0U);
}

TEST_F(ApplyRoundTest, RefusedApplyEndsTheRunThatWouldHaveCancelledAnUnapply) {
  EXPECT_EQ(answersTo({apply({.seqNo = 4}), unapply({.seqNo = 5}),
                       apply({.seqNo = 6, .rules = {"x"}}), apply({.seqNo = 7})}),
            "apply 4-4: 0. unapply 5: 0. apply 6-6: -19. apply 7-7: 0. ");
  EXPECT_EQ(policyCount(), 1U);
}

TEST_F(ApplyRoundTest, UnapplyBeforeAMalformedApplyOfThePolicyIsAnsweredByItsNumber) {
  answersTo({apply({.seqNo = 1})});
  EXPECT_EQ(answersTo({unapply({.seqNo = 2}), apply({.seqNo = 3, .rules = {}})}),
            "unapply 2: 0. apply 3-3: -2. ");
  EXPECT_EQ(policyCount(), 0U);
  answersTo({apply({.seqNo = 4})});
  Bytes wrongWord = apply({.seqNo = 6});
  putAt(wrongWord, 8, hex("00000002"));
  EXPECT_EQ(answersTo({unapply({.seqNo = 5}), wrongWord}), "unapply 5: 0. apply 6-6: -3. ");
  EXPECT_EQ(policyCount(), 0U);
}

TEST_F(ApplyRoundTest, ApplyThatThereIsNoRoomForDoesNotCancelAnUnapply) {
  for (std::uint32_t tag = 1; tag <= 4096; ++tag) {
    manager.received(1, packetOf({apply({.tag = tag})}));
  }
  sent().clear();
  EXPECT_EQ(answersTo({unapply({.seqNo = 1, .tag = 1}), apply({.seqNo = 2, .tag = 1, .word3 = 9}),
                       apply({.seqNo = 3, .tag = 1})}),
            "unapply 1: 0. apply 2-2: 0. apply 3-3: -18. ");
  EXPECT_EQ(policyCount(), 4096U);
}

TEST_F(ApplyRoundTest, UnapplyOfAnotherPolicyThanIsAppliedBehindItIsAnswered) {
  answersTo({apply({.seqNo = 1}), apply({.seqNo = 2, .word3 = 9})});
  EXPECT_EQ(answersTo({unapply({.seqNo = 3, .word3 = 9}), apply({.seqNo = 4})}),
            "unapply 3: 0. apply 4-4: 0. ");
  EXPECT_EQ(
      answersTo({apply({.seqNo = 5}), unapply({.seqNo = 6, .word3 = 9}), apply({.seqNo = 7})}),
      "apply 5-5: 0. unapply 6: -14. apply 7-7: 0. ");
  EXPECT_EQ(policyCount(), 1U);
}

TEST_F(ApplyRoundTest, UnapplyIsCancelledOnlyInARunOfItsApplicationKindTagAndNumbers) {
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

TEST_F(ApplyRoundTest, UnapplyBehindOneThatIsAnsweredMayBeCancelled) {
  answersTo({apply({.seqNo = 1})});
  EXPECT_EQ(
      answersTo({unapply({.seqNo = 2, .word3 = 9}), unapply({.seqNo = 3}), apply({.seqNo = 4})}),
      "unapply 2: -14. apply 3-4: 0. ");
  EXPECT_EQ(
      answersTo({unapply({.seqNo = 5}), unapply({.seqNo = 6, .word3 = 9}), apply({.seqNo = 7})}),
      "unapply 5: 0. unapply 6: -14. apply 7-7: 0. ");
}

TEST_F(ApplyRoundTest, ApplyThatMatchesANameOrHasAMaskDoesNotCancelAnUnapply) {
  answersTo({apply({.seqNo = 1})});
  EXPECT_EQ(answersTo({unapply({.seqNo = 2}),
                       apply({.seqNo = 3, .match1Type = 26, .match1 = hex("6162")})}),
            "unapply 2: 0. apply 3-3: 0. ");
  EXPECT_EQ(policyCount(), 1U);
  for (const std::uint8_t type : {std::uint8_t{62}, std::uint8_t{63}}) {
    const Bytes address = hex("010203040506");
    answersTo(
        {apply({.seqNo = 1, .match1Type = type, .match1 = hex("010203040506 FF0000000000")})});
    EXPECT_EQ(
        answersTo(
            {unapply({.seqNo = 2, .match1Type = type, .match1 = address}),
             apply({.seqNo = 3, .match1Type = type, .match1 = hex("010203040506 FFFFFFFFFFFF")})}),
        "unapply 2: 0. apply 3-3: 0. ");
    EXPECT_EQ(answersTo({unapply({.seqNo = 4, .match1Type = type, .match1 = address}),
                         apply({.seqNo = 5, .match1Type = type, .match1 = address})}),
              "apply 4-5: 0. ");
  }
  EXPECT_EQ(policyCount(), 3U);  // those of other masks are gone
}

TEST_F(ApplyRoundTest, CancelledUnapplyTakesRulesFromPoliciesOfMatchedNamesAllTheSame) {
  answersTo({apply({.seqNo = 1}), apply({.seqNo = 2, .match1Type = 26, .match1 = hex("6162")})});
  EXPECT_EQ(answersTo({unapply({.seqNo = 3}), apply({.seqNo = 4})}), "apply 3-4: 0. ");
  EXPECT_EQ(policyCount(), 1U);
}

TEST_F(ApplyRoundTest, UnapplyOfOtherWordsThanAreAppliedBehindItIsAnswered) {
  EXPECT_EQ(answersTo({unapply({.seqNo = 5, .match1Type = 39, .match1 = hex("00000001")}),
                       apply({.seqNo = 6, .match1Type = 39, .match1 = hex("00000002")})}),
            "unapply 5: -14. apply 6-6: 0. ");
  EXPECT_EQ(answersTo({unapply({.seqNo = 7, .match1Type = 39, .match1 = hex("00000001")}),
                       apply({.seqNo = 8, .match1Type = 39, .match1 = hex("00000001")})}),
            "apply 7-8: 0. ");
}

TEST_F(ApplyRoundTest, MalformedUnapplyIsAnsweredAndNotCancelled) {
  EXPECT_EQ(
      answersTo({unapply({.seqNo = 1}), unapply({.seqNo = 2, .rules = {}}), apply({.seqNo = 3})}),
      "unapply 1: -14. unapply 2: -2. apply 3-3: 0. ");
  EXPECT_EQ(answersTo({unapply({.seqNo = 4, .match1Type = 26}), apply({.seqNo = 5})}),
            "unapply 4: -2. apply 5-5: 0. ");
}

TEST_F(ApplyRoundTest, EveryMalformedApplyIsAnswered) {
  const Bytes body = apply({.seqNo = 0x01020304});
  for (std::size_t length = 2; length < body.size(); ++length) {
    const Bytes cut(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(length));
    manager.received(1, packetOf({cut, cut}));
    ASSERT_EQ(sent().size(), 2U) << length;
    ASSERT_EQ(sent()[0], sent()[1]) << length;
    ASSERT_EQ(numberAt(sent()[0], 0, 4), 0x300BFFFDU) << length;
    sent().clear();
  }
  EXPECT_EQ(policyCount(), 0U);
  EXPECT_EQ(answersTo({apply({.seqNo = 1, .rules = {}}), apply({.seqNo = 2, .rules = {}})}),
            "apply 1-2: -2. ");
}

TEST_F(ApplyRoundTest, RoundsOfTwoConnectionsDoNotMix) {
  manager.connected(2, {.processId = 200, .processName = ""});
  manager.received(1, packetOf({apply({.seqNo = 1})}));
  manager.received(2, packetOf({apply({.seqNo = 2})}));
  ASSERT_EQ(sent().size(), 1U);
  EXPECT_EQ(textOf(sent()[0]), "apply 1-1: 0");
  ASSERT_EQ(connections.sent[2].size(), 1U);
  EXPECT_EQ(textOf(connections.sent[2][0]), "apply 2-2: 0");
}

TEST_F(ApplyRoundTest, ClientThatDoesNotTakeItsAnswersLosesItsRound) {
  connections.full = true;
  EXPECT_EQ(answersTo({apply({.seqNo = 1}), apply({.seqNo = 2, .word3 = 2}), checkBody({}),
                       apply({.seqNo = 3, .word3 = 3})}),
            "");
  EXPECT_EQ(connections.closed, std::vector{1U});
  EXPECT_EQ(policyCount(), 2U);  // the last was not carried out
  connections.closed.clear();
  manager.connected(1, {});
  EXPECT_EQ(answersTo({apply({.seqNo = 4})}), "");
  EXPECT_EQ(connections.closed, std::vector{1U});
}

// Random requests of few keys and numbers, in one packet for one manager and each in a packet of
// its own for the other.
TEST_F(ApplyRoundTest, PacketLeavesWhatItsRequestsInOrderLeaveAndAnswersEachNumberOnce) {
  std::mt19937 random(20261123);  // NOLINT: the same packets in every run
  test_support::ServedManager inOrder;
  connect(inOrder.manager);
  for (unsigned round = 0; round < 2000; ++round) {
    std::map<std::uint32_t, int> expected;
    std::vector<Bytes> bodies;
    std::uint32_t seqNo = 0;
    for (auto count = random() % 8 + 1; count > 0; --count) {
      seqNo += random() % 8 == 0 ? 2 : 1;
      bodies.push_back(randomRequest(random, seqNo));
      inOrder.connections.sent.clear();
      inOrder.manager.received(1, packetOf({bodies.back()}));
      addStatuses(inOrder.connections.sent[1], expected);
    }
    manager.received(1, packetOf(bodies));
    std::map<std::uint32_t, int> answered;
    addStatuses(sent(), answered);
    EXPECT_EQ(requestsAnsweredBy(sent()), bodies.size());
    for (const auto &[number, status] : answered) {
      const bool isCancelled = status == 0 && expected.at(number) == -14;
      EXPECT_TRUE(isCancelled || status == expected.at(number)) << number << ": " << status;
    }
    EXPECT_EQ(answered.size(), expected.size());
    for (const ApplicationPolicyKey &key : keysOfRandomRequests()) {
      ASSERT_EQ(rulesOf(manager.state(), key), rulesOf(inOrder.manager.state(), key));
    }
    EXPECT_EQ(policyCount(), inOrder.manager.state().applicationPolicies.size());
    sent().clear();
  }
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
    manager.received(1, packetOf(some));
    EXPECT_EQ(requestsAnsweredBy(sent()), some.size());
    sent().clear();
  }
}

TEST_F(ApplyRoundTest, ExhaustedMemoryIsAnsweredOrClosesTheConnectionAndLeavesNothingHalfDone) {
  const Bytes packet = packetOf({unapply({.seqNo = 1}), apply({.seqNo = 2})});
  const std::vector<std::string> whole = {"apply 1-2: 0. ", "unapply 1: -18. apply 2-2: 0. ",
                                          "unapply 1: -14. apply 2-2: -18. ",
                                          "unapply 1: -18. apply 2-2: -18. "};
  const unsigned failures = test_support::forEachAllocationFailure([&] {
    manager.received(1, packet);
    const test_support::AllocationExemption exemption;
    const std::size_t kept = policyCount();
    std::string answered;
    for (const Bytes &reply : sent()) answered += textOf(reply) + ". ";
    sent().clear();
    const bool isWhole = std::ranges::count(whole, answered) == 1;
    EXPECT_TRUE(isWhole || !connections.closed.empty()) << answered;
    if (isWhole) {
      EXPECT_EQ(kept, answered.ends_with(": 0. ") ? 1U : 0U);
    }
    connections.closed.clear();
    manager.connected(1, {.processId = 100, .processName = ""});
    EXPECT_EQ(answersTo({unapply({.seqNo = 3})}),
              kept == 1 ? "unapply 3: 0. " : "unapply 3: -14. ");
  });
  EXPECT_GT(failures, 0U);
}

}  // namespace
}  // namespace aclmgr
