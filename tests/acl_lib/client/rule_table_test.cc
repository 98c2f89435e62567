#include "tests/acl_lib/client/rule_table_test.h"

#include <cstring>

namespace {

using namespace acl_test;

// ---- The empty table

TEST_F(RuleTableTest, EmptyTableHasNoRules) {
  EXPECT_EQ(gClientEntryList.first, nullptr);
  EXPECT_EQ(gClientEntryList.count, 0);
  EXPECT_EQ(aclLibGetRuleCount(), 0);
  EXPECT_EQ(aclLibGetFirstRule(), nullptr);
  EXPECT_EQ(aclLibFindNextRule(nullptr), nullptr);
  EXPECT_EQ(aclLibFindNextRule("a"), nullptr);
  EXPECT_EQ(aclLibFindClientEntry(nullptr), nullptr);
  EXPECT_EQ(aclLibFindClientEntry("a"), nullptr);
}

TEST_F(RuleTableTest, NothingHappensToAnEmptyTable) {
  AclClientEntry desc{};
  aclLibDeleteRule("a");
  aclLibDeleteRule(nullptr);
  aclLibClearClientCounters();
  aclLibCopyDynRule(&desc, 0, 0);
  EXPECT_THAT(ringNames(), IsEmpty());
}

TEST_F(RuleTableTest, CountOfAnEmptyRingIsZeroWhateverTheCountWordSays) {
  gClientEntryList.count = 5;
  EXPECT_EQ(aclLibGetRuleCount(), 0);
  gClientEntryList.count = 0;
}
// ---- Copying a description

AclClientEntry description(const char *name) {
  AclClientEntry desc;
  std::memset(&desc, 0xA5, sizeof(desc));
  std::memset(desc.name, 0, sizeof(desc.name));
  std::strcpy(desc.name, name);
  desc.ruleWord = 0x01020304;
  desc.attrA = 0x11121314;
  desc.attrB = 0x21222324;
  desc.termCount = 3;
  for (std::uint32_t i = 0; i < 5; ++i) {
    desc.terms[i].type = i;
    desc.terms[i].wildcard = 0x31 + i;
    desc.terms[i].prefixLen = 0x41 + i;
    for (std::uint8_t byte = 0; byte < 16; ++byte) desc.terms[i].matchData[byte] = byte;
  }
  return desc;
}

TEST_F(RuleTableTest, DescriptionIsCopiedIntoTheRuleOfItsName) {
  createRules({"a", "b"});
  AclClientEntry *entry = aclLibFindClientEntry("b");
  entry->permitHits = 5;
  entry->denyHits = 6;
  const AclClientEntry desc = description("b");
  aclLibCopyDynRule(&desc, 0xFFFFFFFF, 0xFFFFFFFF);
  EXPECT_EQ(entry->ruleWord, 0x01020304U);
  EXPECT_EQ(entry->attrA, 0x11121314U);
  EXPECT_EQ(entry->attrB, 0x21222324U);
  EXPECT_EQ(entry->termCount, 3);
  EXPECT_EQ(entry->permitHits, 0U);
  EXPECT_EQ(entry->denyHits, 0U);
  EXPECT_THAT(ringNames(), ElementsAre("a", "b"));
  EXPECT_EQ(gClientEntryList.first->ruleWord, 0U);
}

TEST_F(RuleTableTest, AllFiveTermsAreCopiedWhateverTheTermCountSays) {
  createRules({"a"});
  AclClientEntry *entry = gClientEntryList.first;
  for (const std::int32_t count : {0, 5, -1, 6, kHighest, kLowest}) {
    std::memset(entry->terms, 0xEE, sizeof(entry->terms));
    AclClientEntry desc = description("a");
    desc.termCount = count;
    aclLibCopyDynRule(&desc, 0, 0);
    EXPECT_EQ(entry->termCount, count);
    for (std::uint32_t i = 0; i < 5; ++i) EXPECT_EQ(entry->terms[i].type, i);
  }
}

TEST_F(RuleTableTest, OfEachTermOnlyWhatItsTypeUsesIsCopied) {
  createRules({"a"});
  AclClientEntry *entry = gClientEntryList.first;
  std::memset(entry->terms, 0xEE, sizeof(entry->terms));
  const AclClientEntry desc = description("a");
  aclLibCopyDynRule(&desc, 0, 0);
  AclRuleTerm expected[5] = {};
  for (std::uint32_t i = 0; i < 5; ++i) expected[i].type = i;
  expected[3].wildcard = 0x34;
  for (std::uint8_t byte = 0; byte < 8; ++byte) expected[3].matchData[byte] = byte;
  expected[4].wildcard = 0x35;
  for (std::uint8_t byte = 0; byte < 16; ++byte) expected[4].matchData[byte] = byte;
  expected[4].prefixLen = 0x45;
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(std::memcmp(&entry->terms[i], &expected[i], sizeof(AclRuleTerm)), 0) << i;
  }
}

TEST_F(RuleTableTest, TermTypesAreComparedAsWholeWords) {
  createRules({"a"});
  AclClientEntry desc = description("a");
  desc.terms[0].type = 0x10003;
  desc.terms[1].type = 0x104;
  aclLibCopyDynRule(&desc, 0, 0);
  EXPECT_EQ(gClientEntryList.first->terms[0].type, 0x10003U);
  EXPECT_EQ(gClientEntryList.first->terms[0].wildcard, 0U);
  EXPECT_EQ(gClientEntryList.first->terms[1].type, 0x104U);
  EXPECT_EQ(gClientEntryList.first->terms[1].prefixLen, 0U);
}

TEST_F(RuleTableTest, RuleMayBeItsOwnDescription) {
  createRules({"a"});
  AclClientEntry *entry = appendRule("b", {valueTerm(1, 2, 3), actionTerm(2)});
  entry->terms[0].lead[0] = 9;
  aclLibCopyDynRule(entry, 0, 0);
  EXPECT_EQ(entry->terms[0].type, 3U);
  EXPECT_EQ(entry->terms[0].wildcard, 3U);
  EXPECT_EQ(entry->terms[0].lead[0], 0U);
  EXPECT_EQ(entry->terms[1].type, 2U);
}

TEST_F(RuleTableTest, NullDescriptionAndUnknownNameAreIgnored) {
  createRules({"a"});
  aclLibCopyDynRule(nullptr, 0, 0);
  const AclClientEntry desc = description("b");
  aclLibCopyDynRule(&desc, 0, 0);
  EXPECT_EQ(gClientEntryList.first->ruleWord, 0U);
  EXPECT_EQ(gClientEntryList.first->termCount, 0);
}

TEST_F(RuleTableTest, DescriptionWithoutANulInItsNameIsThatOf32Characters) {
  createRules({k32Characters.c_str()});
  AclClientEntry desc = description("");
  k40Characters.copy(desc.name, sizeof(desc.name));
  aclLibCopyDynRule(&desc, 0, 0);
  EXPECT_EQ(gClientEntryList.first->ruleWord, 0x01020304U);
}

// ---- Summary

TEST_F(RuleTableTest, DisplayOfAnEmptyTableIsNotSet) {
  EXPECT_EQ(displayed(), "not set");
  EXPECT_EQ(displayResult(), 7);
}

TEST_F(RuleTableTest, DisplayWritesTheEightBytesOfNotSetOnly) {
  char text[9] = "########";
  EXPECT_EQ(aclLibCopyRuleToDisplay(text), 7);
  EXPECT_EQ(Bytes(bytesOf(std::string(text, 9))), bytesOf(std::string("not set\0\0", 9)));
}

TEST_F(RuleTableTest, DisplayOfOneRuleIsSingular) {
  createRules({"a"});
  EXPECT_EQ(displayed(), "1 Dynamic rule configured");
  EXPECT_EQ(displayResult(), 25);
}

TEST_F(RuleTableTest, DisplayOfTwoRulesIsPlural) {
  createRules({"a", "b"});
  EXPECT_EQ(displayed(), "2 Dynamic rules configured");
  EXPECT_EQ(displayResult(), 26);
}

TEST_F(RuleTableTest, DisplayIsCutTo30CharactersAndReturnsTheLengthUncut) {
  gClientEntryList.count = 99999;
  EXPECT_EQ(displayed(), "99999 Dynamic rules configured");
  EXPECT_EQ(displayResult(), 30);
  gClientEntryList.count = 100000;
  EXPECT_EQ(displayed(), "100000 Dynamic rules configure");
  EXPECT_EQ(displayResult(), 31);
  gClientEntryList.count = kHighest;
  EXPECT_EQ(displayed(), "2147483647 Dynamic rules confi");
  EXPECT_EQ(displayResult(), 35);
  gClientEntryList.count = -1;
  EXPECT_EQ(displayed(), "not set");
  gClientEntryList.count = 0;
}

// ---- Counters

TEST_F(RuleTableTest, StatisticsAreTheCountersAs64Bits) {
  createRules({"a", "b"});
  AclClientEntry *entry = aclLibFindClientEntry("b");
  entry->permitHits = 0xFFFFFFFF;
  entry->denyHits = 0x80000000;
  std::uint64_t permits = ~std::uint64_t{0};
  std::uint64_t denies = ~std::uint64_t{0};
  EXPECT_EQ(aclLibGetRuleStats("b", &permits, &denies), 1);
  EXPECT_EQ(permits, 0xFFFFFFFFU);
  EXPECT_EQ(denies, 0x80000000U);
}

TEST_F(RuleTableTest, StatisticsOfANullNameAreTheFirstRules) {
  createRules({"a", "b"});
  gClientEntryList.first->denyHits = 3;
  std::uint64_t permits = 9;
  std::uint64_t denies = 9;
  EXPECT_EQ(aclLibGetRuleStats(nullptr, &permits, &denies), 1);
  EXPECT_EQ(permits, 0U);
  EXPECT_EQ(denies, 3U);
}

TEST_F(RuleTableTest, StatisticsOfAnUnknownRuleLeaveTheOutputs) {
  std::uint64_t permits = 8;
  std::uint64_t denies = 9;
  EXPECT_EQ(aclLibGetRuleStats("a", &permits, &denies), 0);
  EXPECT_EQ(aclLibGetRuleStats(nullptr, &permits, &denies), 0);
  createRules({"a"});
  EXPECT_EQ(aclLibGetRuleStats("b", &permits, &denies), 0);
  EXPECT_EQ(permits, 8U);
  EXPECT_EQ(denies, 9U);
}

TEST_F(RuleTableTest, ClearingCountersClearsThoseOfEveryRule) {
  createRules({"a", "b", "c"});
  for (AclClientEntry *entry : ringEntries()) entry->permitHits = entry->denyHits = 7;
  aclLibClearClientCounters();
  for (const AclClientEntry *entry : ringEntries()) {
    EXPECT_EQ(entry->permitHits, 0U);
    EXPECT_EQ(entry->denyHits, 0U);
  }
}

TEST_F(RuleTableTest, UpdatingCountsPermitsAndDenies) {
  AclClientEntry entry{};
  aclLibUpdateCounter(&entry, 1);
  aclLibUpdateCounter(&entry, 1);
  aclLibUpdateCounter(&entry, 2);
  EXPECT_EQ(entry.permitHits, 2U);
  EXPECT_EQ(entry.denyHits, 1U);
}

TEST_F(RuleTableTest, UpdatingWithAnotherActionCountsNothing) {
  AclClientEntry entry{};
  for (const std::uint32_t action : {0U, 3U, 0x10001U, 0xFFFFFFFFU}) {
    aclLibUpdateCounter(&entry, action);
  }
  EXPECT_EQ(entry.permitHits, 0U);
  EXPECT_EQ(entry.denyHits, 0U);
}

TEST_F(RuleTableTest, UpdatingNoEntryDoesNothing) {
  aclLibUpdateCounter(nullptr, 1);
  aclLibUpdateCounter(nullptr, 2);
}

TEST_F(RuleTableTest, CountersWrapAt32Bits) {
  AclClientEntry entry{};
  entry.permitHits = entry.denyHits = 0xFFFFFFFF;
  aclLibUpdateCounter(&entry, 1);
  EXPECT_EQ(entry.permitHits, 0U);
  EXPECT_EQ(entry.denyHits, 0xFFFFFFFFU);
  aclLibUpdateCounter(&entry, 2);
  EXPECT_EQ(entry.denyHits, 0U);
}

}  // namespace
