#include "manager/server/apply_round.h"

#include <string>
#include <vector>

#include "tests/manager/server/apply_round_test.h"

namespace aclmgr {
namespace {

using test_support::apply;
using test_support::ApplyRoundTest;
using test_support::AppPolicyFields;
using test_support::Bytes;
using test_support::checkBody;
using test_support::chunkBody;
using test_support::hex;
using test_support::kPlainKey;
using test_support::numberAt;
using test_support::packetOf;
using test_support::putAt;
using test_support::rulesOf;
using test_support::unapply;

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

}  // namespace
}  // namespace aclmgr
