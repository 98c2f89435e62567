#include "manager/model/dynamic_rule_store.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>

#include "tests/support/failing_allocator.h"

namespace aclmgr {
namespace {

constexpr std::uint32_t kOwner = 3;
constexpr std::uint32_t kConnection = 1;
constexpr std::uint32_t kOtherConnection = 2;
constexpr BindingPoint kPoint{.port = 0x30007, .vlan = 10, .direction = 1};
constexpr BindingPoint kOtherPoint{.port = 0x30007, .vlan = 11, .direction = 1};

DynamicRule ruleNamed(std::string name, std::uint32_t id = 1) {
  return {.name = std::move(name),
          .owner = kOwner,
          .rule = {"inner", id, {}, {{1, {}}}},
          .counterNames = {"hits", "bytes"}};
}

BindingAttributes priority(std::int32_t number) {
  return {.relativeRuleName = "", .priority = number};
}

BindingAttributes beside(std::string name, std::int32_t number) {
  return {.relativeRuleName = std::move(name), .priority = number};
}

class DynamicRuleStoreTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const char *name : {"a", "b", "c", "d"}) {
      ASSERT_EQ(store_.add(ruleNamed(name)), Status::kOk);
    }
  }

  // The rules at a point in their order.
  std::string orderAt(const BindingPoint &point) {
    std::string order(store_.bindingCount(), '\0');
    std::size_t count = 0;
    for (const char *name : {"a", "b", "c", "d"}) {
      const std::uint32_t index = store_.indexAt(name, point);
      if (index != 0) order.at(index - 1) = *name, ++count;
    }
    return order.substr(0, count);
  }

  std::uint64_t counter(std::string_view rule, const BindingPoint &point, std::string_view name) {
    std::uint64_t value = 4711;
    EXPECT_EQ(store_.readCounter(rule, point, name, value), Status::kOk);
    return value;
  }

  DynamicRuleStore store_;
};

TEST_F(DynamicRuleStoreTest, AddedRuleIsFoundByItsNameAndNotByThatOfItsRecord) {
  ASSERT_NE(store_.find("a"), nullptr);
  EXPECT_EQ(*store_.find("a"), ruleNamed("a"));
  EXPECT_EQ(store_.find("inner"), nullptr);
  EXPECT_EQ(store_.size(), 4U);
}

TEST_F(DynamicRuleStoreTest, TheSameRuleAgainIsOkAndAnyOtherOfItsNameExists) {
  EXPECT_EQ(store_.add(ruleNamed("a")), Status::kOk);
  EXPECT_EQ(store_.add(ruleNamed("a", 2)), Status::kRuleExist);
  DynamicRule others = ruleNamed("a");
  others.owner = kOwner + 1;
  EXPECT_EQ(store_.add(others), Status::kRuleExist);
  EXPECT_EQ(*store_.find("a"), ruleNamed("a"));
  EXPECT_EQ(store_.size(), 4U);
}

TEST_F(DynamicRuleStoreTest, AsManyRulesAreKeptAsTheLimitAllows) {
  DynamicRuleStore store({.rules = 2});
  EXPECT_EQ(store.add(ruleNamed("a")), Status::kOk);
  EXPECT_EQ(store.add(ruleNamed("b")), Status::kOk);
  EXPECT_EQ(store.add(ruleNamed("c")), Status::kNoMemory);
  EXPECT_EQ(store.find("c"), nullptr);
  EXPECT_EQ(store.add(ruleNamed("b")), Status::kOk);  // is there already
  EXPECT_EQ(store.remove("a", kOwner), Status::kOk);
  EXPECT_EQ(store.add(ruleNamed("c")), Status::kOk);
}

TEST_F(DynamicRuleStoreTest, RemovedRuleIsGone) {
  EXPECT_EQ(store_.remove("a", kOwner), Status::kOk);
  EXPECT_EQ(store_.find("a"), nullptr);
  EXPECT_EQ(store_.remove("a", kOwner), Status::kRuleNotExist);
}

TEST_F(DynamicRuleStoreTest, RuleOfAnotherOwnerIsNotRemoved) {
  EXPECT_EQ(store_.remove("a", kOwner + 1), Status::kRuleNotExist);
  EXPECT_NE(store_.find("a"), nullptr);
}

TEST_F(DynamicRuleStoreTest, FirstPointOfARuleIsTheSmallestWhereItIsBound) {
  EXPECT_EQ(store_.firstPointOf("none"), nullptr);
  EXPECT_EQ(store_.firstPointOf("a"), nullptr);
  store_.bind("a", {2, 1, 0}, {});
  store_.bind("a", {1, 9, 1}, {});
  ASSERT_NE(store_.firstPointOf("a"), nullptr);
  EXPECT_EQ(*store_.firstPointOf("a"), (BindingPoint{1, 9, 1}));
  store_.unbindAll("a");
  EXPECT_EQ(store_.firstPointOf("a"), nullptr);
}

TEST_F(DynamicRuleStoreTest, BoundInstalledAndHeldRulesAreInUse) {
  store_.bind("a", kPoint, {});
  EXPECT_EQ(store_.remove("a", kOwner), Status::kRuleInUse);
  store_.unbind("a", kPoint);
  store_.install("a", kConnection);
  EXPECT_EQ(store_.remove("a", kOwner), Status::kRuleInUse);
  store_.uninstall("a", kConnection);
  store_.hold("a");
  store_.hold("a");
  EXPECT_EQ(store_.remove("a", kOwner), Status::kRuleInUse);
  store_.release("a");
  EXPECT_EQ(store_.remove("a", kOwner), Status::kRuleInUse);
  store_.release("a");
  EXPECT_EQ(store_.remove("a", kOwner), Status::kOk);
}

TEST_F(DynamicRuleStoreTest, HoldingNeedsARuleAndReleasingTooOftenIsIgnored) {
  EXPECT_EQ(store_.hold("none"), Status::kRuleNotExist);
  store_.release("none");
  store_.release("a");
  EXPECT_EQ(store_.hold("a"), Status::kOk);
  EXPECT_EQ(store_.remove("a", kOwner), Status::kRuleInUse);
}

TEST_F(DynamicRuleStoreTest, RulesOfOnePriorityStandInTheOrderOfTheirBinding) {
  for (const char *name : {"c", "a", "b"}) EXPECT_EQ(store_.bind(name, kPoint, {}), Status::kOk);
  EXPECT_EQ(orderAt(kPoint), "cab");
  EXPECT_EQ(orderAt(kOtherPoint), "");
}

TEST_F(DynamicRuleStoreTest, SmallerPrioritiesComeFirst) {
  store_.bind("a", kPoint, priority(5));
  store_.bind("b", kPoint, priority(-1));
  store_.bind("c", kPoint, priority(5));
  store_.bind("d", kPoint, priority(0));
  EXPECT_EQ(orderAt(kPoint), "bdac");
}

TEST_F(DynamicRuleStoreTest, RuleBesideAnotherComesBeforeItWithPriority1AndBehindItOtherwise) {
  store_.bind("a", kPoint, {});
  store_.bind("b", kPoint, {});
  EXPECT_EQ(store_.bind("c", kPoint, beside("b", 1)), Status::kOk);
  EXPECT_EQ(orderAt(kPoint), "acb");
  EXPECT_EQ(store_.bind("d", kPoint, beside("a", 2)), Status::kOk);
  EXPECT_EQ(orderAt(kPoint), "adcb");
  store_.unbind("d", kPoint);
  EXPECT_EQ(store_.bind("d", kPoint, beside("a", 1)), Status::kOk);
  EXPECT_EQ(orderAt(kPoint), "dacb");
  store_.unbind("d", kPoint);
  EXPECT_EQ(store_.bind("d", kPoint, beside("b", 0)), Status::kOk);
  EXPECT_EQ(orderAt(kPoint), "acbd");
}

TEST_F(DynamicRuleStoreTest, RuleBesideAnotherCountsAsHavingItsPriority) {
  store_.bind("a", kPoint, priority(7));
  store_.bind("b", kPoint, beside("a", 0));
  store_.bind("c", kPoint, priority(3));
  store_.bind("d", kPoint, priority(7));
  EXPECT_EQ(orderAt(kPoint), "cabd");
}

TEST_F(DynamicRuleStoreTest, RelativeRuleHasToBeBoundAtThePoint) {
  EXPECT_EQ(store_.bind("a", kPoint, beside("none", 0)), Status::kRuleNotExist);
  EXPECT_EQ(store_.bind("a", kPoint, beside("b", 0)), Status::kRuleNotExist);
  store_.bind("b", kOtherPoint, {});
  EXPECT_EQ(store_.bind("a", kPoint, beside("b", 0)), Status::kRuleNotExist);
  EXPECT_EQ(store_.bind("a", kPoint, beside("a", 0)), Status::kRuleNotExist);
  EXPECT_EQ(store_.bindingCount(), 1U);
}

TEST_F(DynamicRuleStoreTest, UnknownRuleIsNotBound) {
  EXPECT_EQ(store_.bind("none", kPoint, {}), Status::kRuleNotExist);
  EXPECT_EQ(store_.bindingCount(), 0U);
}

TEST_F(DynamicRuleStoreTest, TheSameBindingAgainIsOkAndKeepsItsPlaceAndItsCounters) {
  store_.bind("a", kPoint, beside("", 4));
  store_.bind("b", kPoint, beside("a", 1));
  store_.count("b", kPoint, 5);
  EXPECT_EQ(store_.bind("b", kPoint, beside("a", 1)), Status::kOk);
  EXPECT_EQ(orderAt(kPoint), "ba");
  EXPECT_EQ(counter("b", kPoint, "hits"), 5U);
  EXPECT_EQ(store_.bindingCount(), 2U);
}

TEST_F(DynamicRuleStoreTest, BindingAgainWithAnyOtherAttributeIsRefused) {
  const BindingAttributes bound{.relativeRuleName = "",
                                .priority = 1,
                                .ruleFlags = 2,
                                .ruleKind = 3,
                                .bindAttr = 4,
                                .bindFlags = 5};
  store_.bind("b", kPoint, {});
  store_.bind("a", kPoint, bound);
  std::vector<BindingAttributes> others(6, bound);
  others[0].relativeRuleName = "b";
  others[1].priority = 0;
  others[2].ruleFlags = 0;
  others[3].ruleKind = 0;
  others[4].bindAttr = 0;
  others[5].bindFlags = 0;
  for (const BindingAttributes &other : others) {
    EXPECT_EQ(store_.bind("a", kPoint, other), Status::kRuleInUse);
  }
  EXPECT_EQ(store_.bind("a", kPoint, bound), Status::kOk);
  EXPECT_EQ(store_.bind("a", kOtherPoint, {}), Status::kOk);
}

TEST_F(DynamicRuleStoreTest, BindingsOfAllPointsShareOneTable) {
  DynamicRuleStore store({.bindings = 2});
  for (const char *name : {"a", "b"}) store.add(ruleNamed(name));
  EXPECT_EQ(store.bind("a", kPoint, {}), Status::kOk);
  EXPECT_FALSE(store.tableIsFull());
  EXPECT_EQ(store.bind("a", kOtherPoint, {}), Status::kOk);
  EXPECT_TRUE(store.tableIsFull());
  EXPECT_EQ(store.bind("b", kPoint, {}), Status::kNoHardwareResource);
  EXPECT_EQ(store.bindingCount(), 2U);
  EXPECT_EQ(store.bind("a", kPoint, {}), Status::kOk);  // is there already
  EXPECT_EQ(store.unbind("a", kOtherPoint), Status::kOk);
  EXPECT_EQ(store.bind("b", kPoint, {}), Status::kOk);
}

TEST_F(DynamicRuleStoreTest, UnbindingNeedsTheRuleAtThePoint) {
  store_.bind("a", kPoint, {});
  EXPECT_EQ(store_.unbind("none", kPoint), Status::kRuleNotExist);
  EXPECT_EQ(store_.unbind("b", kPoint), Status::kInstanceNotExist);
  EXPECT_EQ(store_.unbind("a", kOtherPoint), Status::kInstanceNotExist);
  EXPECT_EQ(store_.unbind("a", kPoint), Status::kOk);
  EXPECT_EQ(store_.unbind("a", kPoint), Status::kInstanceNotExist);
  EXPECT_EQ(store_.bindingCount(), 0U);
}

TEST_F(DynamicRuleStoreTest, UnbindingAllTakesARuleOffEveryPointAndNoOther) {
  store_.bind("a", kPoint, {});
  store_.bind("b", kPoint, {});
  store_.bind("a", kOtherPoint, {});
  EXPECT_EQ(store_.unbindAll("a"), Status::kOk);
  EXPECT_EQ(orderAt(kPoint), "b");
  EXPECT_EQ(store_.bindingCount(), 1U);
  EXPECT_EQ(store_.unbindAll("a"), Status::kInstanceNotExist);
  EXPECT_EQ(store_.unbindAll("none"), Status::kRuleNotExist);
  EXPECT_EQ(store_.remove("a", kOwner), Status::kOk);
}

TEST_F(DynamicRuleStoreTest, EveryBindingHasCountersOfItsOwn) {
  store_.bind("a", kPoint, {});
  store_.bind("a", kOtherPoint, {});
  EXPECT_EQ(store_.count("a", kPoint, 3), Status::kOk);
  EXPECT_EQ(store_.count("a", kPoint, 4), Status::kOk);
  EXPECT_EQ(counter("a", kPoint, "hits"), 7U);
  EXPECT_EQ(counter("a", kPoint, "bytes"), 7U);
  EXPECT_EQ(counter("a", kOtherPoint, "hits"), 0U);
  EXPECT_EQ(store_.clearCounter("a", kPoint, "hits"), Status::kOk);
  EXPECT_EQ(counter("a", kPoint, "hits"), 0U);
  EXPECT_EQ(counter("a", kPoint, "bytes"), 7U);
}

TEST_F(DynamicRuleStoreTest, CountersHave64BitsAndWrap) {
  store_.bind("a", kPoint, {});
  store_.count("a", kPoint, std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(counter("a", kPoint, "hits"), 0xFFFFFFFFFFFFFFFFU);
  store_.count("a", kPoint, 2);
  EXPECT_EQ(counter("a", kPoint, "hits"), 1U);
}

TEST_F(DynamicRuleStoreTest, CountersOfANewBindingBeginAtZero) {
  store_.bind("a", kPoint, {});
  store_.count("a", kPoint, 3);
  store_.unbind("a", kPoint);
  store_.bind("a", kPoint, {});
  EXPECT_EQ(counter("a", kPoint, "hits"), 0U);
}

TEST_F(DynamicRuleStoreTest, CountersNeedTheRuleTheBindingAndTheCounter) {
  store_.bind("a", kPoint, {});
  std::uint64_t value = 4711;
  EXPECT_EQ(store_.readCounter("none", kPoint, "hits", value), Status::kRuleNotExist);
  EXPECT_EQ(store_.readCounter("a", kOtherPoint, "hits", value), Status::kInstanceNotExist);
  EXPECT_EQ(store_.readCounter("a", kPoint, "hit", value), Status::kCounterNotExist);
  EXPECT_EQ(value, 4711U);
  EXPECT_EQ(store_.clearCounter("none", kPoint, "hits"), Status::kRuleNotExist);
  EXPECT_EQ(store_.clearCounter("b", kPoint, "hits"), Status::kInstanceNotExist);
  EXPECT_EQ(store_.clearCounter("a", kPoint, "hit"), Status::kCounterNotExist);
  EXPECT_EQ(store_.count("none", kPoint, 1), Status::kRuleNotExist);
  EXPECT_EQ(store_.count("b", kPoint, 1), Status::kInstanceNotExist);
}

TEST_F(DynamicRuleStoreTest, InstalledRuleIsInstalledOnceForAConnection) {
  EXPECT_EQ(store_.install("none", kConnection), Status::kRuleNotExist);
  EXPECT_EQ(store_.uninstall("none", kConnection), Status::kRuleNotExist);
  EXPECT_EQ(store_.uninstall("a", kConnection), Status::kInstanceNotExist);
  EXPECT_EQ(store_.install("a", kConnection), Status::kOk);
  EXPECT_EQ(store_.install("a", kConnection), Status::kOk);
  EXPECT_TRUE(store_.isInstalled("a"));
  EXPECT_FALSE(store_.isInstalled("b"));
  EXPECT_EQ(store_.uninstall("a", kConnection), Status::kOk);
  EXPECT_EQ(store_.uninstall("a", kConnection), Status::kInstanceNotExist);
  EXPECT_FALSE(store_.isInstalled("a"));
}

TEST_F(DynamicRuleStoreTest, EveryConnectionHasAMarkOfItsOwn) {
  store_.install("a", kConnection);
  EXPECT_EQ(store_.uninstall("a", kOtherConnection), Status::kInstanceNotExist);
  store_.install("a", kOtherConnection);
  EXPECT_EQ(store_.uninstall("a", kConnection), Status::kOk);
  EXPECT_TRUE(store_.isInstalled("a"));
  EXPECT_EQ(store_.remove("a", kOwner), Status::kRuleInUse);
  EXPECT_EQ(store_.uninstall("a", kOtherConnection), Status::kOk);
  EXPECT_EQ(store_.remove("a", kOwner), Status::kOk);
}

TEST_F(DynamicRuleStoreTest, ConnectionThatIsGoneHasNothingInstalled) {
  for (const char *name : {"a", "b"}) store_.install(name, kConnection);
  store_.install("b", kOtherConnection);
  store_.uninstallAllOf(kConnection);
  EXPECT_FALSE(store_.isInstalled("a"));
  EXPECT_TRUE(store_.isInstalled("b"));
  EXPECT_EQ(store_.uninstall("b", kConnection), Status::kInstanceNotExist);
}

TEST_F(DynamicRuleStoreTest, MovedStoreKeepsItsBindings) {
  for (const char *name : {"a", "b"}) store_.bind(name, kPoint, {});
  store_ = DynamicRuleStore(std::move(store_));
  EXPECT_EQ(orderAt(kPoint), "ab");
  EXPECT_EQ(store_.unbind("a", kPoint), Status::kOk);
  EXPECT_EQ(orderAt(kPoint), "b");
}

TEST_F(DynamicRuleStoreTest, RemovingAllRulesOfAnOwnerKeepsThoseThatAreHeldAndThoseOfOthers) {
  DynamicRule others = ruleNamed("x");
  others.owner = kOwner + 1;
  store_.add(others);
  store_.bind("a", kPoint, {});
  store_.bind("x", kPoint, {});
  store_.bind("b", kOtherPoint, {});
  store_.hold("b");
  store_.install("c", kConnection);
  EXPECT_EQ(store_.removeAllOf(kOwner), 4U);
  EXPECT_EQ(store_.size(), 2U);
  EXPECT_NE(store_.find("b"), nullptr);
  EXPECT_EQ(store_.indexAt("x", kPoint), 1U);
  EXPECT_EQ(store_.bindingCount(), 1U);
  store_.release("b");
  EXPECT_EQ(store_.removeAllOf(kOwner), 1U);
  EXPECT_EQ(store_.removeAllOf(kOwner), 0U);
}

TEST_F(DynamicRuleStoreTest, ExhaustedMemoryChangesNothing) {
  store_.bind("a", kPoint, {});
  const DynamicRule added = ruleNamed("a rule with a name that is not kept in place");
  const BindingAttributes attributes = beside("a", 1);
  const unsigned failures = test_support::forEachAllocationFailure([&] {
    bool isAdded = false;
    bool isBound = false;
    bool isInstalled = false;
    try {
      isAdded = store_.add(added) == Status::kOk;
      isBound = store_.bind(added.name, kPoint, attributes) == Status::kOk &&
                store_.bind("b", kOtherPoint, {}) == Status::kOk;
      isInstalled = store_.install("b", kConnection) == Status::kOk;
    } catch (const std::bad_alloc &) {
    }
    const test_support::AllocationExemption exemption;
    EXPECT_EQ(store_.find(added.name) != nullptr, isAdded);
    EXPECT_EQ(store_.bindingCount(), 1U + (store_.indexAt(added.name, kPoint) != 0) +
                                         (store_.indexAt("b", kOtherPoint) != 0));
    EXPECT_EQ(store_.bindingCount() == 3, isBound);
    EXPECT_EQ(store_.isInstalled("b"), isInstalled);
    store_.uninstallAllOf(kConnection);
    EXPECT_EQ(store_.unbindAll("b"), isBound ? Status::kOk : Status::kInstanceNotExist);
    store_.unbindAll(added.name);
    EXPECT_EQ(store_.remove(added.name, kOwner), isAdded ? Status::kOk : Status::kRuleNotExist);
    EXPECT_EQ(orderAt(kPoint), "a");
  });
  EXPECT_GT(failures, 0U);
}

}  // namespace
}  // namespace aclmgr
