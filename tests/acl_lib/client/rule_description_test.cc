#include "acl_lib/client/rule_description.h"

#include <cstring>
#include <span>

#include "tests/acl_lib/library_test.h"

namespace {

using namespace acl_test;
using testing::Each;
using testing::ElementsAreArray;

AclClientEntry decode(const Bytes &description) {
  return acl::decodeRuleDescription(std::span<const std::byte, 480>(description));
}

AclClientEntry decodedSample() {
  return decode(test_support::golden("client/rule_description.golden"));
}

std::vector<std::uint32_t> wordsOf(const AclRuleTerm &term) {
  std::vector<std::uint32_t> words(4);
  std::memcpy(words.data(), term.matchData, 16);
  return words;
}

TEST(RuleDescription, WordsAreNumbersOfTheHost) {
  const AclClientEntry entry = decodedSample();
  EXPECT_EQ(entry.ruleWord, 0x01020304U);
  EXPECT_STREQ(entry.name, "block-telnet");
  EXPECT_EQ(entry.attrA, 0x0A0B0C0DU);
  EXPECT_EQ(entry.attrB, 0xF0000001U);
  EXPECT_EQ(entry.termCount, 5);
}

TEST(RuleDescription, LinksAndCountersAreZeroWhateverWasSent) {
  const AclClientEntry entry = decodedSample();
  EXPECT_EQ(entry.next, nullptr);
  EXPECT_EQ(entry.prev, nullptr);
  EXPECT_EQ(entry.permitHits, 0U);
  EXPECT_EQ(entry.denyHits, 0U);
}

TEST(RuleDescription, TypesWildcardsAndPrefixLengthsOfAllFiveTermsAreNumbers) {
  const AclClientEntry entry = decodedSample();
  const std::uint32_t types[] = {3, 2, 4, 1, 0xFFFFFFFF};
  const std::uint32_t wildcards[] = {1, 0, 0x80000000, 2, 3};
  const std::uint32_t prefixLengths[] = {0, 0, 64, 129, 0x7FFFFFFF};
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(entry.terms[i].type, types[i]) << i;
    EXPECT_EQ(entry.terms[i].wildcard, wildcards[i]) << i;
    EXPECT_EQ(entry.terms[i].prefixLen, prefixLengths[i]) << i;
  }
}

TEST(RuleDescription, ValueAndMaskOfAType3TermAreNumbersOfTheHost) {
  const auto words = wordsOf(decodedSample().terms[0]);
  EXPECT_EQ(words[0], 0x1700U);
  EXPECT_EQ(words[1], 0xFFFFFF00U);
}

TEST(RuleDescription, AddressOfAType4TermStaysBytesInNetworkOrder) {
  EXPECT_THAT(decodedSample().terms[2].matchData,
              ElementsAreArray({0x20, 0x01, 0x0D, 0xB8, 0, 1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6}));
}

TEST(RuleDescription, UnusedWordsOfATermAreZero) {
  for (const AclRuleTerm &term : decodedSample().terms) {
    EXPECT_THAT(term.lead, Each(0U));
    EXPECT_THAT(term.pad1, Each(0U));
    EXPECT_THAT(term.pad2, Each(0U));
    EXPECT_THAT(term.pad3, Each(0U));
  }
}

TEST(RuleDescription, NameWithoutANulLosesItsLastCharacter) {
  Bytes description(480);
  std::fill_n(description.begin() + 12, 33, std::byte{'n'});
  EXPECT_EQ(std::string(decode(description).name), std::string(32, 'n'));
}

TEST(RuleDescription, NameOf32CharactersIsWhole) {
  Bytes description(480);
  std::fill_n(description.begin() + 12, 32, std::byte{'n'});
  EXPECT_EQ(std::string(decode(description).name), std::string(32, 'n'));
}

TEST(RuleDescription, NothingBehindTheNulOfANameIsCopied) {
  Bytes description(480);
  std::ranges::copy(hex("61 00 62 63"), description.begin() + 12);
  const AclClientEntry entry = decode(description);
  EXPECT_EQ(std::string(entry.name, 33), "a" + std::string(32, '\0'));
}

TEST(RuleDescription, CountOfTermsIsKeptAsSent) {
  Bytes description(480);
  for (const char *count : {"ffffffff", "80000000", "00000006", "7fffffff"}) {
    std::ranges::copy(hex(count), description.begin() + 476);
    EXPECT_EQ(static_cast<std::uint32_t>(decode(description).termCount),
              std::stoul(count, nullptr, 16));
  }
}

TEST(RuleDescription, ZerosAreAnEntryWithoutNameAndTerms) {
  const AclClientEntry entry = decode(Bytes(480));
  EXPECT_STREQ(entry.name, "");
  EXPECT_EQ(entry.termCount, 0);
  for (const AclRuleTerm &term : entry.terms) EXPECT_EQ(term.type, 0U);
}

}  // namespace
