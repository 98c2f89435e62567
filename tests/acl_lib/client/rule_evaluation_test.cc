#include "tests/acl_lib/client/rule_table_test.h"

#include <limits>

namespace {

using namespace acl_test;
using testing::StrEq;

constexpr std::uint32_t kPermit = 1;
constexpr std::uint32_t kDeny = 2;
constexpr std::uint32_t kValue = 0xC0A80105;

const Bytes kAddress = hex("2001 0db8 1234 5678 9abc def0 1122 3344");

AclEvalPacket valuePacket(std::uint32_t value) {
  AclEvalPacket packet;
  std::memset(&packet, 0xEE, sizeof(packet));
  std::memcpy(packet.field, &value, sizeof(value));
  return packet;
}

AclEvalPacket addressPacket(const Bytes &address, std::uint32_t prefixLen) {
  AclEvalPacket packet;
  std::memset(&packet, 0xEE, sizeof(packet));
  std::memcpy(packet.field, address.data(), address.size());
  packet.prefixLen = prefixLen;
  return packet;
}

// kAddress with one bit turned; bit 0 is the first.
Bytes addressWithout(std::size_t bit) {
  Bytes address = kAddress;
  address[bit / 8] ^= std::byte{0x80} >> (bit % 8);
  return address;
}

class RuleEvaluationTest : public LibraryTest {
 protected:
  // The name of the deciding rule, "null" without one.
  std::string evaluate(std::uint32_t type, const AclEvalPacket &packet, std::uint32_t preset = 0) {
    action_ = preset;
    const char *name = aclLibEvaluateRule(0xFFFFFFFF, type, &packet, &action_);
    return name == nullptr ? "null" : name;
  }
  std::string evaluateValue(std::uint32_t value, std::uint32_t preset = 0) {
    return evaluate(3, valuePacket(value), preset);
  }
  bool matchesAddress(const AclRuleTerm &term, const Bytes &address, std::uint32_t prefixLen) {
    aclLibDeleteRule(nullptr);
    appendRule("r", {term, actionTerm(kPermit)});
    return evaluate(4, addressPacket(address, prefixLen)) == "r";
  }

  std::uint32_t action() const { return action_; }

 private:
  std::uint32_t action_ = 0;
};

// ---- Empty table

TEST_F(RuleEvaluationTest, EmptyTableReturnsNullAndKeepsTheAction) {
  aclLibDebug = 1;
  OutputCapture capture;
  for (const std::uint32_t preset : {0U, 1U, 2U, 3U, 0xFFFFFFFFU}) {
    EXPECT_EQ(evaluateValue(kValue, preset), "null");
    EXPECT_EQ(action(), preset);
  }
  EXPECT_EQ(capture.standardOutput(), "");
}

// ---- Values

TEST_F(RuleEvaluationTest, ValueMatchesUnderItsMask) {
  appendRule("r", {valueTerm(0xC0A80100, 0xFFFFFF00), actionTerm(kPermit)});
  EXPECT_EQ(evaluateValue(0xC0A80105), "r");
  EXPECT_EQ(action(), kPermit);
  EXPECT_EQ(evaluateValue(0xC0A80205), "null");
  EXPECT_EQ(action(), kDeny);
}

TEST_F(RuleEvaluationTest, MaskOf0MatchesEveryValue) {
  appendRule("r", {valueTerm(0xC0A80100, 0), actionTerm(kDeny)});
  for (const std::uint32_t value : {0U, 1U, 0xFFFFFFFFU}) EXPECT_EQ(evaluateValue(value), "r");
}

TEST_F(RuleEvaluationTest, FullMaskMatchesOneValue) {
  appendRule("r", {valueTerm(kValue, 0xFFFFFFFF), actionTerm(kDeny)});
  EXPECT_EQ(evaluateValue(kValue), "r");
  EXPECT_EQ(evaluateValue(kValue ^ 1), "null");
  EXPECT_EQ(evaluateValue(kValue ^ 0x80000000), "null");
}

TEST_F(RuleEvaluationTest, Wildcard1AloneMatchesAnyValue) {
  appendRule("r", {valueTerm(kValue, 0xFFFFFFFF, 1), actionTerm(kDeny)});
  EXPECT_EQ(evaluateValue(~kValue), "r");
  for (const std::uint32_t wildcard : {0U, 2U, 0x101U, 0xFFFFFFFFU}) {
    gClientEntryList.first->terms[0].wildcard = wildcard;
    EXPECT_EQ(evaluateValue(~kValue), "null") << wildcard;
    EXPECT_EQ(evaluateValue(kValue), "r") << wildcard;
  }
}

// ---- Addresses

TEST_F(RuleEvaluationTest, PrefixOf64NeedsAPacketOf64BitsOrMore) {
  const AclRuleTerm term = addressTerm(kAddress, 64);
  EXPECT_FALSE(matchesAddress(term, kAddress, 48));
  EXPECT_FALSE(matchesAddress(term, kAddress, 63));
  EXPECT_TRUE(matchesAddress(term, kAddress, 64));
  EXPECT_TRUE(matchesAddress(term, kAddress, 128));
  EXPECT_TRUE(matchesAddress(term, kAddress, 0xFFFFFFFF));
}

TEST_F(RuleEvaluationTest, PrefixLongerThanThePacketsDoesNotMatchEvenAsWildcard) {
  const AclRuleTerm term = addressTerm(kAddress, 64, 1);
  EXPECT_FALSE(matchesAddress(term, kAddress, 48));
  EXPECT_TRUE(matchesAddress(term, kAddress, 64));
  EXPECT_TRUE(matchesAddress(term, addressWithout(0), 64));
}

TEST_F(RuleEvaluationTest, FirstBitsOfThePrefixDecide) {
  for (const std::uint32_t prefixLen : {1U, 7U, 8U, 9U, 32U, 63U, 64U, 65U, 127U}) {
    const AclRuleTerm term = addressTerm(kAddress, prefixLen);
    EXPECT_FALSE(matchesAddress(term, addressWithout(0), 128)) << prefixLen;
    EXPECT_FALSE(matchesAddress(term, addressWithout(prefixLen - 1), 128)) << prefixLen;
    EXPECT_TRUE(matchesAddress(term, addressWithout(prefixLen), 128)) << prefixLen;
    EXPECT_TRUE(matchesAddress(term, addressWithout(127), 128)) << prefixLen;
  }
}

TEST_F(RuleEvaluationTest, PrefixOf0MatchesEveryAddress) {
  EXPECT_TRUE(matchesAddress(addressTerm(kAddress, 0),
                             hex("00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"), 0));
}

TEST_F(RuleEvaluationTest, PrefixOf128OrMoreComparesWholeAddresses) {
  for (const std::uint32_t prefixLen : {128U, 129U, 0xFFFFFFFFU}) {
    const AclRuleTerm term = addressTerm(kAddress, prefixLen);
    EXPECT_TRUE(matchesAddress(term, kAddress, 0xFFFFFFFF)) << prefixLen;
    EXPECT_FALSE(matchesAddress(term, addressWithout(127), 0xFFFFFFFF)) << prefixLen;
    EXPECT_FALSE(matchesAddress(term, kAddress, prefixLen - 1)) << prefixLen;
  }
}

TEST_F(RuleEvaluationTest, Wildcard1AloneMatchesAnyAddress) {
  for (const std::uint32_t wildcard : {0U, 1U, 2U, 0xFFFFFFFFU}) {
    const AclRuleTerm term = addressTerm(kAddress, 64, wildcard);
    EXPECT_EQ(matchesAddress(term, addressWithout(3), 128), wildcard == 1) << wildcard;
    EXPECT_TRUE(matchesAddress(term, kAddress, 128)) << wildcard;
  }
}

TEST_F(RuleEvaluationTest, EvaluationChangesNeitherPacketNorTerms) {
  AclClientEntry *entry = appendRule("r", {addressTerm(kAddress, 60), actionTerm(kPermit)});
  const AclEvalPacket packet = addressPacket(addressWithout(127), 64);
  const AclEvalPacket packetBefore = packet;
  const AclRuleTerm termBefore = entry->terms[0];
  EXPECT_EQ(evaluate(4, packet), "r");
  EXPECT_EQ(std::memcmp(&packet, &packetBefore, sizeof(packet)), 0);
  EXPECT_EQ(std::memcmp(&entry->terms[0], &termBefore, sizeof(termBefore)), 0);
}

// ---- Types

TEST_F(RuleEvaluationTest, TermsOfAnotherTypeAreSkipped) {
  appendRule("address", {addressTerm(kAddress, 0, 1), actionTerm(kDeny)});
  appendRule("value", {valueTerm(0, 0), actionTerm(kPermit)});
  EXPECT_EQ(evaluateValue(kValue), "value");
  EXPECT_EQ(evaluate(4, addressPacket(kAddress, 128)), "address");
}

TEST_F(RuleEvaluationTest, OnlyFieldTypes3And4CanMatch) {
  for (const std::uint32_t type : {0U, 1U, 2U, 5U, 0x10003U, 0xFFFFFFFFU}) {
    aclLibDeleteRule(nullptr);
    AclRuleTerm term = valueTerm(0, 0, 1);
    term.type = type;
    appendRule("r", {term, actionTerm(kPermit)});
    EXPECT_EQ(evaluate(type, valuePacket(kValue)), "null") << type;
    EXPECT_EQ(action(), kDeny) << type;
  }
}

// ---- What follows the match

TEST_F(RuleEvaluationTest, MatchFollowedByADenyDenies) {
  const AclClientEntry *entry = appendRule("r", {valueTerm(0, 0), actionTerm(kDeny)});
  EXPECT_EQ(evaluateValue(kValue, kPermit), "r");
  EXPECT_EQ(action(), kDeny);
  EXPECT_EQ(entry->permitHits, 0U);
  EXPECT_EQ(entry->denyHits, 1U);
}

TEST_F(RuleEvaluationTest, MatchFollowedByAPermitPermits) {
  const AclClientEntry *entry = appendRule("r", {valueTerm(0, 0), actionTerm(kPermit)});
  EXPECT_EQ(evaluateValue(kValue, kDeny), "r");
  EXPECT_EQ(action(), kPermit);
  EXPECT_EQ(entry->permitHits, 1U);
  EXPECT_EQ(entry->denyHits, 0U);
}

TEST_F(RuleEvaluationTest, NameIsTheOneInTheEntry) {
  const AclClientEntry *entry = appendRule("r", {valueTerm(0, 0), actionTerm(kPermit)});
  const AclEvalPacket packet = valuePacket(kValue);
  std::uint32_t action = 0;
  EXPECT_EQ(aclLibEvaluateRule(0, 3, &packet, &action), entry->name);
}

TEST_F(RuleEvaluationTest, ActionBeforeTheMatchDoesNotCount) {
  const AclClientEntry *entry = appendRule("r", {actionTerm(kDeny), valueTerm(0, 0)});
  EXPECT_EQ(evaluateValue(kValue), "null");
  EXPECT_EQ(action(), kPermit);
  EXPECT_EQ(entry->permitHits, 1U);
  EXPECT_EQ(entry->denyHits, 0U);
}

TEST_F(RuleEvaluationTest, OtherTermsBetweenMatchAndActionAreSkipped) {
  appendRule("r", {valueTerm(0, 0), addressTerm(kAddress, 128), actionTerm(kPermit)});
  EXPECT_EQ(evaluateValue(kValue), "r");
  EXPECT_EQ(action(), kPermit);
}

TEST_F(RuleEvaluationTest, ConditionsOfTheSameTypeBehindTheMatchAreSkippedToo) {
  appendRule("r", {valueTerm(kValue, 0xFFFFFFFF), valueTerm(~kValue, 0xFFFFFFFF), actionTerm(0),
                   actionTerm(7), actionTerm(kDeny)});
  EXPECT_EQ(evaluateValue(kValue), "r");
  EXPECT_EQ(action(), kDeny);
}

TEST_F(RuleEvaluationTest, FirstOfSeveralActionsCounts) {
  appendRule("r", {valueTerm(0, 0), actionTerm(kDeny), actionTerm(kPermit)});
  EXPECT_EQ(evaluateValue(kValue), "r");
  EXPECT_EQ(action(), kDeny);
}

TEST_F(RuleEvaluationTest, SecondTermOfARuleMayMatch) {
  appendRule("r", {valueTerm(~kValue, 0xFFFFFFFF), actionTerm(kDeny), valueTerm(kValue, 0xFFFFFFFF),
                   actionTerm(kPermit)});
  EXPECT_EQ(evaluateValue(kValue), "r");
  EXPECT_EQ(action(), kPermit);
}

TEST_F(RuleEvaluationTest, FirstMatchingRuleEndsTheSearch) {
  const AclClientEntry *first =
      appendRule("a", {valueTerm(~kValue, 0xFFFFFFFF), actionTerm(kDeny)});
  const AclClientEntry *second = appendRule("b", {valueTerm(0, 0), actionTerm(kPermit)});
  const AclClientEntry *third = appendRule("c", {valueTerm(0, 0), actionTerm(kDeny)});
  EXPECT_EQ(evaluateValue(kValue), "b");
  EXPECT_EQ(first->denyHits, 0U);
  EXPECT_EQ(second->permitHits, 1U);
  EXPECT_EQ(third->denyHits, 0U);
}

TEST_F(RuleEvaluationTest, MatchWithoutAnActionEndsTheSearchToo) {
  appendRule("a", {valueTerm(0, 0)});
  const AclClientEntry *second = appendRule("b", {valueTerm(0, 0), actionTerm(kDeny)});
  EXPECT_EQ(evaluateValue(kValue), "null");
  EXPECT_EQ(action(), kPermit);
  EXPECT_EQ(second->denyHits, 0U);
}

TEST_F(RuleEvaluationTest, MatchWithoutAnActionKeepsThePresetOneAndCountsIt) {
  const AclClientEntry *entry = appendRule("r", {valueTerm(0, 0)});
  EXPECT_EQ(evaluateValue(kValue, kDeny), "null");
  EXPECT_EQ(action(), kDeny);
  EXPECT_EQ(entry->denyHits, 1U);
  EXPECT_EQ(evaluateValue(kValue, kPermit), "null");
  EXPECT_EQ(action(), kPermit);
  EXPECT_EQ(entry->permitHits, 1U);
  for (const std::uint32_t preset : {3U, 0xFFFFFFFFU}) {
    EXPECT_EQ(evaluateValue(kValue, preset), "null");
    EXPECT_EQ(action(), preset);
  }
  EXPECT_EQ(entry->denyHits, 1U);
  EXPECT_EQ(entry->permitHits, 1U);
}

TEST_F(RuleEvaluationTest, NoMatchDeniesAndCountsNothing) {
  const AclClientEntry *entry =
      appendRule("r", {valueTerm(~kValue, 0xFFFFFFFF), actionTerm(kPermit)});
  for (const std::uint32_t preset : {0U, 1U, 2U, 3U}) {
    EXPECT_EQ(evaluateValue(kValue, preset), "null");
    EXPECT_EQ(action(), kDeny);
  }
  EXPECT_EQ(entry->permitHits, 0U);
  EXPECT_EQ(entry->denyHits, 0U);
}

TEST_F(RuleEvaluationTest, HitsWrapAt32Bits) {
  AclClientEntry *entry = appendRule("r", {valueTerm(0, 0), actionTerm(kDeny)});
  entry->denyHits = 0xFFFFFFFF;
  EXPECT_EQ(evaluateValue(kValue), "r");
  EXPECT_EQ(entry->denyHits, 0U);
}

// ---- Number of terms

TEST_F(RuleEvaluationTest, TermsBehindTheTermCountAreNotLookedAt) {
  AclClientEntry *entry =
      appendRule("r", {actionTerm(0), valueTerm(0, 0), actionTerm(0), actionTerm(kPermit)});
  entry->termCount = 1;
  EXPECT_EQ(evaluateValue(kValue), "null");
  EXPECT_EQ(action(), kDeny);
  entry->termCount = 3;
  EXPECT_EQ(evaluateValue(kValue), "null");
  EXPECT_EQ(action(), kPermit);
  EXPECT_EQ(entry->permitHits, 1U);
  entry->termCount = 4;
  EXPECT_EQ(evaluateValue(kValue), "r");
}

TEST_F(RuleEvaluationTest, TermCountBelow0IsNone) {
  AclClientEntry *entry = appendRule("r", {valueTerm(0, 0), actionTerm(kPermit)});
  for (const std::int32_t count : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
    entry->termCount = count;
    EXPECT_EQ(evaluateValue(kValue), "null") << count;
    EXPECT_EQ(action(), kDeny) << count;
  }
}

TEST_F(RuleEvaluationTest, TermCountAbove5IsAll) {
  AclClientEntry *entry = appendRule("last term", {actionTerm(0), actionTerm(0), actionTerm(0),
                                                   valueTerm(0, 0), actionTerm(kPermit)});
  for (const std::int32_t count : {5, 6, std::numeric_limits<std::int32_t>::max()}) {
    entry->termCount = count;
    EXPECT_EQ(evaluateValue(kValue), "last term") << count;
  }
  // What lies behind the terms must not be taken for an action.
  entry->terms[4].type = 0;
  EXPECT_EQ(evaluateValue(kValue), "null");
  EXPECT_EQ(action(), kPermit);
}

// ---- Output

TEST_F(RuleEvaluationTest, DecisionsWithoutARulesActionArePrintedWithoutALineEnd) {
  appendRule("r", {valueTerm(kValue, 0xFFFFFFFF)});
  aclLibDebug = 1;
  OutputCapture capture;
  evaluateValue(kValue);
  evaluateValue(~kValue);
  EXPECT_EQ(capture.standardOutput(),
            "aclLibEvaluateRule: Have Match: No Action specified, setting action to Permit"
            "aclLibEvaluateRule: No Match:  setting action to Deny");
  EXPECT_EQ(capture.standardError(), "");
}

TEST_F(RuleEvaluationTest, AnyDebugFlagPrints) {
  appendRule("r", {actionTerm(0)});
  for (const std::uint32_t flag : {2U, 0x80000000U}) {
    aclLibDebug = flag;
    OutputCapture capture;
    evaluateValue(kValue);
    EXPECT_EQ(capture.standardOutput(), "aclLibEvaluateRule: No Match:  setting action to Deny");
  }
}

TEST_F(RuleEvaluationTest, NothingIsPrintedWithoutTheDebugFlag) {
  appendRule("r", {valueTerm(kValue, 0xFFFFFFFF)});
  OutputCapture capture;
  evaluateValue(kValue);
  evaluateValue(~kValue);
  EXPECT_EQ(capture.standardOutput(), "");
}

TEST_F(RuleEvaluationTest, KeptActionAndRulesActionArePrintedNever) {
  appendRule("kept", {valueTerm(kValue, 0xFFFFFFFF)});
  appendRule("own", {valueTerm(0, 0), actionTerm(kDeny)});
  aclLibDebug = 1;
  OutputCapture capture;
  evaluateValue(kValue, kDeny);
  evaluateValue(~kValue);
  EXPECT_EQ(capture.standardOutput(), "");
}

TEST_F(RuleEvaluationTest, EvaluationNeedsNoMemory) {
  for (int i = 0; i < 100; ++i) appendRule("r", {addressTerm(kAddress, 128), valueTerm(1, 1)});
  const AclEvalPacket value = valuePacket(0);
  const AclEvalPacket address = addressPacket(addressWithout(127), 128);
  std::uint32_t action = 0;
  const FailAllocation guard(1);
  EXPECT_EQ(aclLibEvaluateRule(0, 3, &value, &action), nullptr);
  EXPECT_EQ(aclLibEvaluateRule(0, 4, &address, &action), nullptr);
  EXPECT_EQ(guard.allocationsMade(), 0U);
  EXPECT_EQ(action, kDeny);
}

}  // namespace
