// Packets of many requests: of several connections, random, hostile, and short of memory.
#include <algorithm>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/manager/server/apply_round_test.h"
#include "tests/support/failing_allocator.h"

namespace aclmgr {
namespace {

using test_support::apply;
using test_support::ApplyRoundTest;
using test_support::AppPolicyFields;
using test_support::Bytes;
using test_support::checkBody;
using test_support::hex;
using test_support::kPlainKey;
using test_support::numberAt;
using test_support::packetOf;
using test_support::rulesOf;
using test_support::textOf;
using test_support::unapply;

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
