// Rules that come, are found by their names and go, in the order of the table.
#include <cstdlib>
#include <cstring>

#include "tests/acl_lib/client/rule_table_test.h"

namespace {

using namespace acl_test;
using testing::StrEq;

// ---- Creating

TEST_F(RuleTableTest, FirstRuleIgnoresReferenceAndPosition) {
  for (const std::int32_t position : {kBefore, kAfter, 0, -1}) {
    EXPECT_EQ(aclLibCreateRule("a", "not there", position), 1);
    EXPECT_THAT(ringNames(), ElementsAre("a"));
    EXPECT_EQ(gClientEntryList.first->next, gClientEntryList.first);
    aclLibDeleteRule("a");
  }
}

TEST_F(RuleTableTest, NewRuleIsZeroButForItsName) {
  ASSERT_EQ(aclLibCreateRule("a", nullptr, 0), 1);
  AclClientEntry expected{};
  expected.next = expected.prev = gClientEntryList.first;
  expected.name[0] = 'a';
  EXPECT_EQ(std::memcmp(gClientEntryList.first, &expected, sizeof(expected)), 0);
}

TEST_F(RuleTableTest, Position1BeforeTheFirstRuleMakesANewFirstRule) {
  createRules({"a"});
  EXPECT_EQ(aclLibCreateRule("b", "a", 1), 1);
  EXPECT_THAT(ringNames(), ElementsAre("b", "a"));
  EXPECT_THAT(aclLibGetFirstRule(), StrEq("b"));
}

TEST_F(RuleTableTest, Position2PutsTheRuleBehindItsReference) {
  createRules({"a", "c"});
  EXPECT_EQ(aclLibCreateRule("b", "a", 2), 1);
  EXPECT_THAT(ringNames(), ElementsAre("a", "b", "c"));
}

TEST_F(RuleTableTest, Position1BeforeAnotherRuleKeepsTheFirst) {
  createRules({"a", "c"});
  EXPECT_EQ(aclLibCreateRule("b", "c", 1), 1);
  EXPECT_THAT(ringNames(), ElementsAre("a", "b", "c"));
}

TEST_F(RuleTableTest, EveryOtherPositionIsBehindTheReference) {
  for (const std::int32_t position : {0, 2, 3, -1, kHighest, kLowest}) {
    createRules({"a", "c"});
    EXPECT_EQ(aclLibCreateRule("b", "a", position), 1);
    EXPECT_THAT(ringNames(), ElementsAre("a", "b", "c")) << position;
    aclLibDeleteRule(nullptr);
  }
}

TEST_F(RuleTableTest, RuleBehindTheLastOneIsTheLast) {
  createRules({"a", "b"});
  EXPECT_EQ(aclLibCreateRule("c", "b", kAfter), 1);
  EXPECT_THAT(ringNames(), ElementsAre("a", "b", "c"));
}

TEST_F(RuleTableTest, NullReferenceIsTheFirstRule) {
  createRules({"a", "z"});
  EXPECT_EQ(aclLibCreateRule("b", nullptr, kAfter), 1);
  EXPECT_EQ(aclLibCreateRule("c", nullptr, kBefore), 1);
  EXPECT_THAT(ringNames(), ElementsAre("c", "a", "b", "z"));
}

TEST_F(RuleTableTest, UnknownReferenceRefusesTheRule) {
  createRules({"a"});
  EXPECT_EQ(aclLibCreateRule("b", "not there", kBefore), 0);
  EXPECT_EQ(aclLibCreateRule("b", "A", kAfter), 0);
  EXPECT_EQ(aclLibCreateRule("b", "", kAfter), 0);
  EXPECT_THAT(ringNames(), ElementsAre("a"));
  EXPECT_EQ(aclLibGetRuleCount(), 1);
}

TEST_F(RuleTableTest, SecondRuleOfANameIsAddedLikeAnyOther) {
  createRules({"a"});
  EXPECT_EQ(aclLibCreateRule("a", "a", kAfter), 1);
  EXPECT_EQ(aclLibCreateRule("a", "a", kBefore), 1);
  EXPECT_THAT(ringNames(), ElementsAre("a", "a", "a"));
  EXPECT_EQ(aclLibGetRuleCount(), 3);
}

TEST_F(RuleTableTest, RuleMayBeItsOwnNamesReference) {
  createRules({"b", "a"});
  EXPECT_EQ(aclLibCreateRule("a", "a", kBefore), 1);
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("a")), 1);
}

TEST_F(RuleTableTest, CreatingTakesNamesOfTheTable) {
  createRules({"a", "b"});
  EXPECT_EQ(aclLibCreateRule(aclLibGetFirstRule(), aclLibFindNextRule("a"), kBefore), 1);
  EXPECT_EQ(aclLibCreateRule(aclLibFindClientEntry("b")->name, aclLibGetFirstRule(), kBefore), 1);
  EXPECT_THAT(ringNames(), ElementsAre("b", "a", "a", "b"));
}

TEST_F(RuleTableTest, CountThatAProgramHasWrittenWraps) {
  createRules({"a"});
  gClientEntryList.count = kHighest;
  EXPECT_EQ(aclLibCreateRule("b", "a", kAfter), 1);
  EXPECT_EQ(gClientEntryList.count, kLowest);
  aclLibDeleteRule("a");
  EXPECT_EQ(gClientEntryList.count, kHighest);
  gClientEntryList.count = 1;
  EXPECT_THAT(ringNames(), ElementsAre("b"));
}

TEST_F(RuleTableTest, CreationFailsWithoutMemoryAndChangesNothing) {
  createRules({"a"});
  const unsigned failures = test_support::forEachAllocationFailure([failed = true]() mutable {
    EXPECT_EQ(aclLibCreateRule("b", "a", kBefore), failed ? 0 : 1);
    const test_support::AllocationExemption exemption;
    EXPECT_EQ(ringNames(),
              (failed ? std::vector<std::string>{"a"} : std::vector<std::string>{"b", "a"}));
    failed = false;
  });
  EXPECT_EQ(failures, 1U);
}

TEST_F(RuleTableTest, FirstRuleFailsWithoutMemoryToo) {
  {
    const FailAllocation guard(1);
    EXPECT_EQ(aclLibCreateRule("a", nullptr, 0), 0);
  }
  EXPECT_THAT(ringNames(), IsEmpty());
}

TEST_F(RuleTableTest, OnlyCreatingNeedsMemory) {
  createRules({"a", "b"});
  AclClientEntry desc{};
  desc.name[0] = 'a';
  std::uint64_t permits;
  std::uint64_t denies;
  char text[31];
  FailAllocation guard(1);
  aclLibGetRuleCount();
  aclLibGetFirstRule();
  aclLibFindNextRule("a");
  aclLibFindClientEntry("b");
  aclLibCopyDynRule(&desc, 0, 0);
  aclLibCopyRuleToDisplay(text);
  aclLibGetRuleStats("a", &permits, &denies);
  aclLibClearClientCounters();
  aclLibUpdateCounter(gClientEntryList.first, 1);
  aclLibDeleteRule("a");
  aclLibDeleteRule(nullptr);
  EXPECT_EQ(guard.allocationsMade(), 0U);
}

// ---- Names

TEST_F(RuleTableTest, NameOf32CharactersIsKeptWhole) {
  ASSERT_EQ(aclLibCreateRule(k32Characters.c_str(), nullptr, 0), 1);
  EXPECT_THAT(aclLibGetFirstRule(), StrEq(k32Characters));
  EXPECT_NE(aclLibFindClientEntry(k32Characters.c_str()), nullptr);
}

TEST_F(RuleTableTest, NameOf40CharactersIsCutTo32) {
  ASSERT_EQ(aclLibCreateRule(k40Characters.c_str(), nullptr, 0), 1);
  EXPECT_THAT(aclLibGetFirstRule(), StrEq(k32Characters));
}

TEST_F(RuleTableTest, First32CharactersOfANameCount) {
  ASSERT_EQ(aclLibCreateRule(k40Characters.c_str(), nullptr, 0), 1);
  ASSERT_EQ(aclLibCreateRule("b", k40Characters.c_str(), kAfter), 1);
  EXPECT_EQ(aclLibFindClientEntry(k40Characters.c_str()), gClientEntryList.first);
  EXPECT_EQ(aclLibFindClientEntry(k32Characters.substr(0, 31).c_str()), nullptr);
  EXPECT_THAT(aclLibFindNextRule(k40Characters.c_str()), StrEq("b"));
  aclLibDeleteRule(k40Characters.c_str());
  EXPECT_THAT(ringNames(), ElementsAre("b"));
}

TEST_F(RuleTableTest, NamesAreReadNoFurtherThan32Characters) {
  std::vector<char> name(k32Characters.begin(), k32Characters.end());
  name.shrink_to_fit();
  ASSERT_EQ(aclLibCreateRule(name.data(), nullptr, 0), 1);
  ASSERT_EQ(aclLibCreateRule("b", name.data(), kAfter), 1);
  EXPECT_NE(aclLibFindClientEntry(name.data()), nullptr);
  aclLibDeleteRule(name.data());
  EXPECT_THAT(ringNames(), ElementsAre("b"));
}

TEST_F(RuleTableTest, NamesDifferByCaseAndByLength) {
  createRules({"ssh", "SSH", "ssh-", "ss"});
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("ssh")), 0);
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("SSH")), 1);
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("ssh-")), 2);
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("ss")), 3);
  EXPECT_EQ(aclLibFindClientEntry("s"), nullptr);
}

TEST_F(RuleTableTest, BytesAbove127AreAsGoodAsOthers) {
  createRules({"\xFF", "\x7F", "\x80"});
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("\xFF")), 0);
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("\x7F")), 1);
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("\x80")), 2);
}

TEST_F(RuleTableTest, NullNameOfANewRuleIsTheEmptyName) {
  createRules({"a"});
  ASSERT_EQ(aclLibCreateRule(nullptr, "a", kAfter), 1);
  EXPECT_THAT(ringNames(), ElementsAre("a", ""));
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("")), 1);
  aclLibDeleteRule("");
  EXPECT_THAT(ringNames(), ElementsAre("a"));
}

// ---- Finding

TEST_F(RuleTableTest, RulesAreWalkedByName) {
  createRules({"c", "a", "b"});
  EXPECT_THAT(aclLibGetFirstRule(), StrEq("c"));
  EXPECT_THAT(aclLibFindNextRule(nullptr), StrEq("c"));
  EXPECT_THAT(aclLibFindNextRule("c"), StrEq("a"));
  EXPECT_THAT(aclLibFindNextRule("a"), StrEq("b"));
  EXPECT_EQ(aclLibFindNextRule("b"), nullptr);
  EXPECT_EQ(aclLibFindNextRule("d"), nullptr);
  EXPECT_EQ(aclLibGetRuleCount(), 3);
}

TEST_F(RuleTableTest, OnlyRuleHasNoNextRule) {
  createRules({"a"});
  EXPECT_EQ(aclLibFindNextRule("a"), nullptr);
}

TEST_F(RuleTableTest, NamesAreThoseInTheEntries) {
  createRules({"a", "b"});
  EXPECT_EQ(aclLibGetFirstRule(), gClientEntryList.first->name);
  EXPECT_EQ(aclLibFindNextRule("a"), gClientEntryList.first->next->name);
}

TEST_F(RuleTableTest, NullNameFindsTheFirstEntry) {
  createRules({"b", "a"});
  EXPECT_EQ(aclLibFindClientEntry(nullptr), gClientEntryList.first);
}

TEST_F(RuleTableTest, FirstRuleOfANameInRingOrderCounts) {
  createRules({"b", "a", "b", "a", "c", "a"});
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("a")), 1);
  EXPECT_THAT(aclLibFindNextRule("a"), StrEq("b"));
  ASSERT_EQ(aclLibCreateRule("new", "a", kAfter), 1);
  EXPECT_THAT(ringNames(), ElementsAre("b", "a", "new", "b", "a", "c", "a"));
  aclLibDeleteRule("a");
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("a")), 3);
  ASSERT_EQ(aclLibCreateRule("a", "b", kBefore), 1);
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("a")), 0);
  EXPECT_THAT(ringNames(), ElementsAre("a", "b", "new", "b", "a", "c", "a"));
}

// ---- Deleting

TEST_F(RuleTableTest, DeletingTheOnlyRuleLeavesANullFirstEntry) {
  createRules({"a"});
  aclLibDeleteRule("a");
  EXPECT_EQ(gClientEntryList.first, nullptr);
  EXPECT_EQ(gClientEntryList.count, 0);
}

TEST_F(RuleTableTest, DeletingTheFirstRuleMakesTheNextOneFirst) {
  createRules({"a", "b", "c"});
  aclLibDeleteRule("a");
  EXPECT_THAT(ringNames(), ElementsAre("b", "c"));
}

TEST_F(RuleTableTest, DeletingInsideAndAtTheEndKeepsTheFirst) {
  createRules({"a", "b", "c"});
  aclLibDeleteRule("b");
  EXPECT_THAT(ringNames(), ElementsAre("a", "c"));
  aclLibDeleteRule("c");
  EXPECT_THAT(ringNames(), ElementsAre("a"));
}

TEST_F(RuleTableTest, DeletingAnUnknownNameChangesNothing) {
  createRules({"a", "b"});
  aclLibDeleteRule("c");
  EXPECT_THAT(ringNames(), ElementsAre("a", "b"));
}

TEST_F(RuleTableTest, DeletingANullNameDeletesEverything) {
  createRules({"a", "b", "a"});
  aclLibDeleteRule(nullptr);
  EXPECT_EQ(gClientEntryList.first, nullptr);
  EXPECT_EQ(gClientEntryList.count, 0);
  EXPECT_EQ(aclLibFindClientEntry("a"), nullptr);
  createRules({"a"});
  EXPECT_THAT(ringNames(), ElementsAre("a"));
}

TEST_F(RuleTableTest, DeletingLooksAtTheCountFirst) {
  createRules({"a"});
  gClientEntryList.count = 0;
  aclLibDeleteRule("a");
  aclLibDeleteRule(nullptr);
  gClientEntryList.count = 1;
  EXPECT_THAT(ringNames(), ElementsAre("a"));
}

TEST_F(RuleTableTest, DeletionThatMakesTheCountZeroEmptiesTheTable) {
  createRules({"a", "b"});
  AclClientEntry *left = aclLibFindClientEntry("b");
  gClientEntryList.count = 1;
  aclLibDeleteRule("a");
  EXPECT_THAT(ringNames(), IsEmpty());
  EXPECT_EQ(aclLibFindClientEntry("b"), nullptr);
  std::free(left);
}

TEST_F(RuleTableTest, DeletingTakesANameOfTheTable) {
  createRules({"a", "b", "c", "b"});
  aclLibDeleteRule(aclLibFindNextRule("a"));
  EXPECT_THAT(ringNames(), ElementsAre("a", "c", "b"));
  aclLibDeleteRule(aclLibGetFirstRule());
  EXPECT_THAT(ringNames(), ElementsAre("c", "b"));
}

TEST_F(RuleTableTest, EntriesAreBlocksOfTheirOwn) {
  createRules({"a", "b"});
  const AclClientEntry *entry = aclLibFindClientEntry("b");
  aclLibDeleteRule("a");
  EXPECT_EQ(aclLibFindClientEntry("b"), entry);
}

}  // namespace
