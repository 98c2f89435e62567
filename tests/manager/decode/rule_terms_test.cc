#include "manager/decode/rule_terms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "tests/support/bytes.h"

namespace aclmgr {
namespace {

using test_support::Bytes;
using test_support::hex;
using test_support::join;

RuleTerm term(std::uint32_t type, const Bytes &data = {}, std::uint32_t prefixLength = 0) {
  RuleTerm expected{static_cast<TermType>(type), {}, prefixLength};
  std::ranges::copy(data, expected.matchData.begin());
  return expected;
}

// Rules that deny what meets their conditions.
Outcome<std::vector<RuleTerm>> termsOfConditions(std::vector<Entry> conditions) {
  return termsOf(Rule{"r", 1, std::move(conditions), {{2, {}}}});
}

// Rules that do something with everything.
Outcome<std::vector<RuleTerm>> termsOfActions(std::vector<Entry> actions) {
  return termsOf(Rule{"r", 1, {}, std::move(actions)});
}

// Why there are no terms; empty when there are.
std::string refusalOf(const Outcome<std::vector<RuleTerm>> &terms) {
  if (terms) return "";
  return std::to_string(static_cast<int>(terms.refusal().status)) + " " + terms.refusal().reason;
}

TEST(RuleTerms, ConditionOfAValueUnderAMaskIsATermBeforeTheVerdict) {
  const Bytes data = hex("0A000001 FFFFFF00");
  for (const std::uint32_t type : {0U, 1U, 34U, 35U, 40U, 41U}) {
    EXPECT_EQ(termsOfConditions({{type, data}}).value(), (std::vector{term(3, data), term(2)}))
        << type;
  }
}

const Bytes kAddress = hex("20010DB8 00000000 00000000 00000001");

Bytes ipv6(const Bytes &mask) {
  return join(kAddress, mask, hex("EEEEEEEE"));
}

TEST(RuleTerms, IPv6AddressIsATermWithThePrefixOfItsMask) {
  const std::pair<Bytes, std::uint32_t> masks[] = {
      {Bytes(16), 0},
      {hex("80000000 00000000 00000000 00000000"), 1},
      {hex("FFFFFFFF FFFFFFFF 00000000 00000000"), 64},
      {hex("FFFFFFFF FFFFFFFF FE000000 00000000"), 71},
      {hex("FFFFFFFF FFFFFFFF FFFFFFFF FFFFFFFF"), 128},
  };
  for (const auto &[mask, length] : masks) {
    for (const std::uint32_t type : {23U, 24U}) {
      EXPECT_EQ(termsOfConditions({{type, ipv6(mask)}}).value(),
                (std::vector{term(4, kAddress, length), term(2)}));
    }
  }
}

TEST(RuleTerms, IPv6MaskThatIsNoPrefixCannotBeDescribed) {
  for (const char *mask :
       {"00000000 00000000 00000000 00000001", "FFFFFFFF FFFFFFFF 40000000 00000000",
        "FF00FF00 00000000 00000000 00000000", "F0800000 00000000 00000000 00000000"}) {
    EXPECT_EQ(refusalOf(termsOfConditions({{23, ipv6(hex(mask))}})),
              "-17 the mask of an IPv6 address is no prefix")
        << mask;
  }
}

TEST(RuleTerms, OtherConditionsCannotBeDescribed) {
  EXPECT_EQ(refusalOf(termsOfConditions({{3, Bytes(2)}})), "-17 condition 3 is no term");
  EXPECT_EQ(refusalOf(termsOfConditions({{26, Bytes(8)}})), "-17 condition 26 is no term");
}

TEST(RuleTerms, VxlanNetworkIdentifierIsNotTakenForAnAddress) {
  EXPECT_EQ(refusalOf(termsOfConditions({{54, hex("00001234 FFFFFFFF")}})),
            "-17 condition 54 is no term");
}

TEST(RuleTerms, SeveralConditionsCannotBeDescribedSinceTermsAreAlternatives) {
  const Entry source{0, hex("0A000001 FFFFFFFF")};
  const Entry destination{1, hex("0B000001 FFFFFFFF")};
  EXPECT_EQ(refusalOf(termsOfConditions({source, destination})), "-17 2 conditions, 1 can be told");
  EXPECT_EQ(refusalOf(termsOfConditions({source, source, {3, Bytes(2)}})),
            "-17 3 conditions, 1 can be told");
}

TEST(RuleTerms, RuleWithoutConditionsMatchesEveryValueAndEveryAddress) {
  EXPECT_EQ(termsOfActions({{1, {}}}).value(), (std::vector{term(3), term(4), term(1)}));
  EXPECT_EQ(termsOfActions({{2, {}}}).value(), (std::vector{term(3), term(4), term(2)}));
}

TEST(RuleTerms, ActionsThatDoNotDecideAreLeftOut) {
  EXPECT_EQ(termsOfActions({{10, {}}, {12, Bytes(38)}, {1, {}}, {11, {}}}).value(),
            (std::vector{term(3), term(4), term(1)}));
}

TEST(RuleTerms, VerdictOfAnActionGroupIsTheRules) {
  EXPECT_EQ(termsOfActions({{9, hex("00000020")}}).value().back(), term(1));
  EXPECT_EQ(termsOfActions({{9, hex("00000060")}}).value().back(), term(2));
}

TEST(RuleTerms, RuleThatNeitherAcceptsNorDeniesCannotBeDescribed) {
  const std::string reason = "-17 the rule neither accepts nor denies";
  EXPECT_EQ(refusalOf(termsOfActions({})), reason);
  EXPECT_EQ(refusalOf(termsOfActions({{10, {}}, {12, Bytes(38)}})), reason);
  EXPECT_EQ(refusalOf(termsOfActions({{9, hex("00000640")}})), reason);  // no verdict in it
}

TEST(RuleTerms, RuleThatBothAcceptsAndDeniesCannotBeDescribed) {
  const std::string reason = "-17 the rule both accepts and denies";
  EXPECT_EQ(refusalOf(termsOfActions({{1, {}}, {2, {}}})), reason);
  EXPECT_EQ(refusalOf(termsOfActions({{2, {}}, {10, {}}, {9, hex("00000020")}})), reason);
  EXPECT_EQ(termsOfActions({{2, {}}, {9, hex("00000060")}, {2, {}}}).value(),
            (std::vector{term(3), term(4), term(2)}));
}

}  // namespace
}  // namespace aclmgr
