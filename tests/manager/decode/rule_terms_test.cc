#include "manager/decode/rule_terms.h"

#include <gtest/gtest.h>

#include <algorithm>

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

std::vector<RuleTerm> termsOfEntries(std::vector<Entry> conditions, std::vector<Entry> actions) {
  return termsOf(Rule{"r", 1, std::move(conditions), std::move(actions)}).value();
}

TEST(RuleTerms, ConditionsOfAValueUnderAMaskAreTerms) {
  const Bytes data = hex("0A000001 FFFFFF00");
  for (const std::uint32_t type : {0U, 1U, 34U, 35U, 40U, 41U, 54U}) {
    EXPECT_EQ(termsOfEntries({{type, data}}, {}), std::vector{term(3, data)}) << type;
  }
}

TEST(RuleTerms, OtherConditionsAreNone) {
  EXPECT_TRUE(
      termsOfEntries({{3, Bytes(2)}, {4, Bytes(4)}, {59, Bytes(8)}, {26, Bytes(8)}}, {}).empty());
}

const Bytes kAddress = hex("20010DB8 00000000 00000000 00000001");

Bytes ipv6(const Bytes &mask) {
  return join(kAddress, mask, hex("EEEEEEEE"));
}

TEST(RuleTerms, IPv6AddressesAreTermsWithThePrefixOfTheirMask) {
  const std::pair<Bytes, std::uint32_t> masks[] = {
      {Bytes(16), 0},
      {hex("80000000 00000000 00000000 00000000"), 1},
      {hex("FFFFFFFF FFFFFFFF 00000000 00000000"), 64},
      {hex("FFFFFFFF FFFFFFFF FE000000 00000000"), 71},
      {hex("FFFFFFFF FFFFFFFF FFFFFFFF FFFFFFFF"), 128},
  };
  for (const auto &[mask, length] : masks) {
    for (const std::uint32_t type : {23U, 24U}) {
      EXPECT_EQ(termsOfEntries({{type, ipv6(mask)}}, {}), std::vector{term(4, kAddress, length)});
    }
  }
}

TEST(RuleTerms, IPv6MaskThatIsNoPrefixCannotBeTold) {
  for (const char *mask :
       {"00000000 00000000 00000000 00000001", "FFFFFFFF FFFFFFFF 40000000 00000000",
        "FF00FF00 00000000 00000000 00000000", "F0800000 00000000 00000000 00000000"}) {
    const auto terms = termsOf(Rule{"r", 1, {{23, ipv6(hex(mask))}}, {}});
    ASSERT_FALSE(terms) << mask;
    EXPECT_EQ(terms.refusal().status, Status::kConfigFailed);
    EXPECT_EQ(terms.refusal().reason, "the mask of an IPv6 address is no prefix");
  }
}

TEST(RuleTerms, AcceptAndDenyAreTermsAndOtherActionsAreNone) {
  EXPECT_EQ(termsOfEntries({}, {{10, {}}, {2, {}}, {12, Bytes(38)}, {1, {}}}),
            (std::vector{term(2), term(1)}));
}

TEST(RuleTerms, VerdictOfAnActionGroupIsATerm) {
  EXPECT_EQ(termsOfEntries({}, {{9, hex("00000020")}}), std::vector{term(1)});
  EXPECT_EQ(termsOfEntries({}, {{9, hex("00000060")}}), std::vector{term(2)});
  EXPECT_TRUE(termsOfEntries({}, {{9, hex("00000640")}}).empty());  // no verdict in it
}

TEST(RuleTerms, ActionsComeBehindConditionsEachInTheirOrder) {
  const Bytes first = hex("01010101 FFFFFFFF");
  const Bytes second = hex("02020202 FFFFFFFF");
  EXPECT_EQ(termsOfEntries({{1, second}, {0, first}}, {{2, {}}}),
            (std::vector{term(3, second), term(3, first), term(2)}));
}

}  // namespace
}  // namespace aclmgr
