#include "acl_lib/client/rule_index.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <list>
#include <map>
#include <random>
#include <utility>

#include "tests/acl_lib/client/rule_table_test.h"

namespace {

using namespace acl_test;

std::uint64_t placeOf(AclClientEntry *entry) {
  return reinterpret_cast<acl::IndexedEntry *>(entry)->index.place;
}

// Places ascend from the first entry, counted from it.
void expectAscendingPlaces() {
  const std::vector<AclClientEntry *> entries = ringEntries();
  for (std::size_t i = 1; i < entries.size(); ++i) {
    const std::uint64_t start = placeOf(entries[0]);
    ASSERT_GT(placeOf(entries[i]) - start, placeOf(entries[i - 1]) - start) << i;
  }
}

// The table as a plain list: every search is a walk.
class ModelTable {
 public:
  std::list<std::string>::iterator find(const std::string &name) {
    return std::find(rules_.begin(), rules_.end(), name);
  }

  std::int32_t create(const std::string &name, const std::string *refName, std::int32_t position) {
    if (rules_.empty()) {
      rules_.push_back(name);
      return 1;
    }
    auto reference = refName == nullptr ? rules_.begin() : find(*refName);
    if (reference == rules_.end()) return 0;
    rules_.insert(position == 1 ? reference : std::next(reference), name);
    return 1;
  }

  void remove(const std::string &name) {
    if (const auto rule = find(name); rule != rules_.end()) rules_.erase(rule);
  }

  // The number of the first rule of a name, -1 when there is none.
  int positionOf(const std::string &name) {
    const auto rule = find(name);
    return rule == rules_.end() ? -1 : static_cast<int>(std::distance(rules_.begin(), rule));
  }

  std::list<std::string> &rules() { return rules_; }

 private:
  std::list<std::string> rules_;
};

class RuleIndexTest : public LibraryTest {
 protected:
  static void expectSame(ModelTable &model, int names) {
    EXPECT_EQ(ringNames(), std::vector<std::string>(model.rules().begin(), model.rules().end()));
    for (int i = 0; i < names; ++i) {
      const std::string name = std::to_string(i);
      ASSERT_EQ(ringPosition(aclLibFindClientEntry(name.c_str())), model.positionOf(name)) << name;
    }
    expectAscendingPlaces();
  }

  // Does `steps` random steps with rules of so many names, more creating than deleting ones as long
  // as there are fewer than `size` rules.
  static void walkRandomly(unsigned seed, int steps, int names, std::size_t size) {
    std::mt19937 random(seed);
    const auto upTo = [&random](int limit) {
      return static_cast<int>(random() % static_cast<unsigned>(limit));
    };
    ModelTable model;
    for (int step = 0; step < steps; ++step) {
      const std::string name = std::to_string(upTo(names));
      const std::string reference = std::to_string(upTo(names + 1));
      const int kind = upTo(model.rules().size() < size ? 6 : 12);
      if (kind < 5) {
        const std::string *refName = upTo(8) == 0 ? nullptr : &reference;
        const std::int32_t position = upTo(4);
        ASSERT_EQ(aclLibCreateRule(name.c_str(), refName == nullptr ? nullptr : refName->c_str(),
                                   position),
                  model.create(name, refName, position));
      } else {
        aclLibDeleteRule(name.c_str());
        model.remove(name);
      }
      ASSERT_EQ(gClientEntryList.count, static_cast<std::int32_t>(model.rules().size()));
      if (step % 50 == 0) expectSame(model, names + 1);
      if (HasFatalFailure()) return;
      if (step % 997 == 996) {
        aclLibDeleteRule(nullptr);
        model.rules().clear();
      }
    }
    expectSame(model, names + 1);
  }
};

TEST_F(RuleIndexTest, RandomRulesOfFewNamesBehaveLikeAList) {
  walkRandomly(1, 4000, 5, 60);
}

TEST_F(RuleIndexTest, RandomRulesOfOneNameBehaveLikeAList) {
  walkRandomly(2, 2000, 1, 40);
}

TEST_F(RuleIndexTest, RandomRulesOfManyNamesBehaveLikeAList) {
  walkRandomly(3, 4000, 150, 200);
}

TEST_F(RuleIndexTest, RandomRulesOfATinyTableBehaveLikeAList) {
  walkRandomly(4, 3000, 3, 3);
}

TEST_F(RuleIndexTest, RandomRulesBehaveLikeAListWhenNodesOfTheTreeAreRareDuplicates) {
  walkRandomly(5, 4000, 40, 80);
}

// One of the neighbours is always the same, so the places between them run out every 32 rules.
TEST_F(RuleIndexTest, PlacesDoNotRunOutBehindOneRule) {
  createRules({"a", "z"});
  for (int i = 0; i < 3000; ++i) ASSERT_EQ(aclLibCreateRule("m", "a", kAfter), 1);
  expectAscendingPlaces();
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("m")), 1);
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("z")), 3001);
}

TEST_F(RuleIndexTest, PlacesDoNotRunOutBeforeOneRule) {
  createRules({"a", "z"});
  for (int i = 0; i < 3000; ++i) ASSERT_EQ(aclLibCreateRule("m", "z", kBefore), 1);
  expectAscendingPlaces();
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("m")), 1);
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("z")), 3001);
}

TEST_F(RuleIndexTest, PlacesDoNotRunOutWhereEachRuleStandsBehindTheOneBefore) {
  createRules({"0", "z"});
  for (int i = 0; i < 3000; ++i) {
    ASSERT_EQ(aclLibCreateRule(std::to_string(i + 1).c_str(), std::to_string(i).c_str(), kAfter),
              1);
  }
  expectAscendingPlaces();
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("3000")), 3000);
}

// Makes a table of these rules that leaves no place free between the last one and the first one.
void createRulesWithoutAPlaceAtTheEnds(std::initializer_list<const char *> names) {
  createRules(names);
  AclClientEntry *first = gClientEntryList.first;
  reinterpret_cast<acl::IndexedEntry *>(first->prev)->index.place = placeOf(first) - 1;
  expectAscendingPlaces();
}

void expectInRing(std::initializer_list<const char *> names) {
  expectAscendingPlaces();
  EXPECT_EQ(ringNames(), std::vector<std::string>(names.begin(), names.end()));
  int position = 0;
  for (const char *name : names) EXPECT_EQ(ringPosition(aclLibFindClientEntry(name)), position++);
}

TEST_F(RuleIndexTest, RuleBehindTheLastOneMovesTheFirstWhereNoPlaceIsFreeBetweenThem) {
  createRulesWithoutAPlaceAtTheEnds({"a", "m", "z"});
  const std::uint64_t place = placeOf(gClientEntryList.first);
  ASSERT_EQ(aclLibCreateRule("new", "z", kAfter), 1);
  EXPECT_NE(placeOf(aclLibFindClientEntry("a")), place);
  expectInRing({"a", "m", "z", "new"});
}

TEST_F(RuleIndexTest, RuleBeforeTheFirstOneMovesThatOneWhereNoPlaceIsFreeBehindTheLast) {
  createRulesWithoutAPlaceAtTheEnds({"a", "m", "z"});
  const std::uint64_t place = placeOf(gClientEntryList.first);
  ASSERT_EQ(aclLibCreateRule("new", "a", kBefore), 1);
  EXPECT_NE(placeOf(aclLibFindClientEntry("a")), place);
  expectInRing({"new", "a", "m", "z"});
}

TEST_F(RuleIndexTest, RulesOfOneNameStayInOrderWhenThoseAtTheEndsMove) {
  for (const char *reference : {"m", "z"}) {
    createRulesWithoutAPlaceAtTheEnds({"m", "m", "m", "z"});
    const bool isFirst = *reference == 'm';
    ASSERT_EQ(aclLibCreateRule("m", reference, isFirst ? kBefore : kAfter), 1);
    expectAscendingPlaces();
    for (int rules = isFirst ? 4 : 3; rules > 0; --rules) {
      EXPECT_EQ(ringPosition(aclLibFindClientEntry("m")), 0);
      aclLibDeleteRule("m");
    }
    EXPECT_EQ(ringPosition(aclLibFindClientEntry("z")), 0);
    aclLibDeleteRule(nullptr);
  }
}

TEST_F(RuleIndexTest, AddingAtEitherEndMovesNoEntry) {
  createRules({"m"});
  AclClientEntry *middle = gClientEntryList.first;
  const std::uint64_t place = placeOf(middle);
  for (int i = 0; i < 200; ++i) {
    ASSERT_EQ(aclLibCreateRule("a", nullptr, kBefore), 1);
    ASSERT_EQ(aclLibCreateRule("z", i == 0 ? "m" : "z", kAfter), 1);
  }
  EXPECT_EQ(placeOf(middle), place);
  expectAscendingPlaces();
}

// ---- Growth

// The ring from the first entry on is one entry long while it lives: a walk finds nothing else.
class ShortCircuit {
 public:
  ShortCircuit() : next_(std::exchange(gClientEntryList.first->next, gClientEntryList.first)) {}
  ~ShortCircuit() { gClientEntryList.first->next = next_; }
  ShortCircuit(const ShortCircuit &) = delete;
  ShortCircuit &operator=(const ShortCircuit &) = delete;

 private:
  AclClientEntry *next_;
};

TEST_F(RuleIndexTest, NamesAreFoundWithoutAWalk) {
  createRules({"a", "b", "c", "d", "c"});
  AclClientEntry *wanted = gClientEntryList.first->next->next;
  {
    const ShortCircuit circuit;
    EXPECT_EQ(aclLibFindClientEntry("c"), wanted);
    EXPECT_STREQ(aclLibFindNextRule("c"), "d");
    EXPECT_EQ(aclLibFindClientEntry("e"), nullptr);
    EXPECT_EQ(aclLibCreateRule("new", "d", kAfter), 1);
    aclLibDeleteRule("d");
  }
  EXPECT_THAT(ringNames(), ElementsAre("a", "b", "c", "new", "c"));
}

TEST_F(RuleIndexTest, FirstOfManyEqualNamesIsDeletedWithoutAWalk) {
  createRules({"head", "other"});
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(aclLibCreateRule("same", "other", kAfter), 1);
  {
    const ShortCircuit circuit;
    for (int i = 0; i < 1000; ++i) aclLibDeleteRule("same");
    EXPECT_EQ(aclLibFindClientEntry("same"), nullptr);
  }
  EXPECT_THAT(ringNames(), ElementsAre("head", "other"));
}

// Creates `count` rules by calling create(0), create(1), ... and returns how many entries were
// given another place by it.
template <typename Create>
std::size_t placesMoved(int count, Create create) {
  std::size_t moved = 0;
  std::map<AclClientEntry *, std::uint64_t> places;
  for (int i = 0; i < count; ++i) {
    EXPECT_EQ(create(i), 1);
    AclClientEntry *entry = gClientEntryList.first;
    do {
      const auto [known, isNew] = places.try_emplace(entry, placeOf(entry));
      if (!isNew && known->second != placeOf(entry)) {
        known->second = placeOf(entry);
        ++moved;
      }
      entry = entry->next;
    } while (entry != gClientEntryList.first);
  }
  return moved;
}

TEST_F(RuleIndexTest, AddingARuleMovesALogarithmicNumberOfOthersOnAverage) {
  constexpr int kCount = 1000;
  constexpr std::size_t kMost = 10 * kCount;
  const auto begin = [] {
    aclLibDeleteRule(nullptr);
    createRules({"0", "z"});
  };
  begin();
  EXPECT_LT(placesMoved(kCount, [](int) { return aclLibCreateRule("m", "0", kAfter); }), kMost);
  begin();
  EXPECT_LT(placesMoved(kCount, [](int) { return aclLibCreateRule("m", "z", kBefore); }), kMost);
  begin();
  EXPECT_LT(placesMoved(kCount,
                        [](int i) {
                          return aclLibCreateRule(std::to_string(i + 1).c_str(),
                                                  std::to_string(i).c_str(), kAfter);
                        }),
            kMost);
}

// ---- A program that writes the head itself

TEST_F(RuleIndexTest, RingThatTheProgramDropsIsForgotten) {
  createRules({"a", "b"});
  const AclClientEntryList dropped = std::exchange(gClientEntryList, {nullptr, 0});
  EXPECT_EQ(aclLibFindClientEntry("a"), nullptr);
  EXPECT_EQ(aclLibFindNextRule("a"), nullptr);
  EXPECT_EQ(aclLibCreateRule("b", "a", kAfter), 1);
  EXPECT_THAT(ringNames(), ElementsAre("b"));
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("b")), 0);
  std::free(dropped.first->next);
  std::free(dropped.first);
}

TEST_F(RuleIndexTest, RingThatTheProgramDropsWithoutItsCountIsForgotten) {
  createRules({"a"});
  AclClientEntry *dropped = std::exchange(gClientEntryList.first, nullptr);
  aclLibDeleteRule("a");
  EXPECT_EQ(gClientEntryList.count, 1);
  aclLibDeleteRule(nullptr);
  EXPECT_THAT(ringNames(), IsEmpty());
  std::free(dropped);
}

TEST_F(RuleIndexTest, RingThatTheProgramPutsBackIsSearchedByWalking) {
  createRules({"a", "b", "a"});
  const AclClientEntryList kept = std::exchange(gClientEntryList, {nullptr, 0});
  createRules({"other"});
  aclLibDeleteRule(nullptr);
  gClientEntryList = kept;
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("a")), 0);
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("b")), 1);
  EXPECT_EQ(aclLibFindClientEntry("c"), nullptr);
  EXPECT_EQ(aclLibCreateRule("c", "b", kBefore), 1);
  EXPECT_EQ(aclLibCreateRule("d", "a", kBefore), 1);
  EXPECT_THAT(ringNames(), ElementsAre("d", "a", "c", "b", "a"));
  aclLibDeleteRule("a");
  aclLibDeleteRule("d");
  EXPECT_THAT(ringNames(), ElementsAre("c", "b", "a"));
  aclLibDeleteRule(nullptr);
  createRules({"a", "b"});
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("b")), 1);
}

TEST_F(RuleIndexTest, RingWhoseFirstEntryTheProgramChangesIsSearchedFromThere) {
  createRules({"a", "b", "a", "c"});
  gClientEntryList.first = gClientEntryList.first->next;
  EXPECT_THAT(ringNames(), ElementsAre("b", "a", "c", "a"));
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("a")), 1);
  EXPECT_STREQ(aclLibFindNextRule("a"), "c");
  EXPECT_EQ(aclLibCreateRule("d", "b", kBefore), 1);
  EXPECT_EQ(aclLibCreateRule("c", "c", kAfter), 1);
  EXPECT_THAT(ringNames(), ElementsAre("d", "b", "a", "c", "c", "a"));
  aclLibDeleteRule("a");
  EXPECT_THAT(ringNames(), ElementsAre("d", "b", "c", "c", "a"));
  gClientEntryList.first = gClientEntryList.first->prev;
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("a")), 0);
  for (const char *name : {"a", "b", "c", "c", "d"}) aclLibDeleteRule(name);
  EXPECT_THAT(ringNames(), IsEmpty());
  createRules({"a", "b"});
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("b")), 1);
}

TEST_F(RuleIndexTest, RingThatBeginsWhereTheDroppedOneDidIsKnownByACallBetween) {
  createRules({"a", "b"});
  AclClientEntry *entry = gClientEntryList.first;
  std::free(entry->next);
  gClientEntryList = {nullptr, 0};
  EXPECT_EQ(aclLibGetRuleCount(), 0);
  std::strcpy(entry->name, "own");
  entry->next = entry->prev = entry;
  gClientEntryList = {entry, 1};
  EXPECT_EQ(aclLibFindClientEntry("own"), entry);
  EXPECT_EQ(aclLibFindClientEntry("a"), nullptr);
}

TEST_F(RuleIndexTest, EntryThatTheProgramPutsInItselfIsFoundAndDeleted) {
  auto *own = static_cast<AclClientEntry *>(std::calloc(1, sizeof(AclClientEntry)));
  ASSERT_NE(own, nullptr);
  own->next = own->prev = own;
  std::strcpy(own->name, "own");
  gClientEntryList = {own, 1};
  EXPECT_EQ(aclLibFindClientEntry("own"), own);
  EXPECT_EQ(aclLibCreateRule("b", "own", kAfter), 1);
  EXPECT_THAT(ringNames(), ElementsAre("own", "b"));
  aclLibDeleteRule("own");
  EXPECT_EQ(ringPosition(aclLibFindClientEntry("b")), 0);
}

}  // namespace
