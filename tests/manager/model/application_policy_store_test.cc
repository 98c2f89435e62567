#include "manager/model/application_policy_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/bytes.h"
#include "tests/support/failing_allocator.h"

namespace aclmgr {
namespace {

using test_support::hex;

constexpr ApplicationPolicyKey kKey{.appId = 5, .kind = 2, .tag = 7, .word3 = 8};

using Entries = std::vector<ApplicationPolicyEntry>;

Entries entriesOf(std::initializer_list<const char *> names) {
  Entries entries;
  for (const char *name : names) entries.push_back({name, 1});
  return entries;
}

ApplicationPolicy policyOf(std::initializer_list<const char *> names, std::uint16_t attribute = 0) {
  return {.name = "guard", .attribute = attribute, .entries = entriesOf(names)};
}

ApplicationPolicyKey keyMatching(int type, std::string_view bytes) {
  ApplicationPolicyKey key = kKey;
  key.match.type = static_cast<MatchType>(type);
  std::ranges::copy(hex(bytes), key.match.bytes.begin());
  return key;
}

// Keys of one address, which one unapply means.
ApplicationPolicyKey addressWithMask(int lastByte) {
  ApplicationPolicyKey key = keyMatching(62, "010203040506");
  key.match.bytes[11] = static_cast<std::byte>(lastByte);
  return key;
}

DynamicRule ruleNamed(std::string name) {
  return {.name = std::move(name), .owner = 3, .rule = {}, .counterNames = {}};
}

class ApplicationPolicyStoreTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const char *name : {"a", "b", "c"}) rules_.add(ruleNamed(name));
    policies_.add({.name = "p", .rules = {}});
  }

  bool isInUse(const char *rule) {
    if (rules_.remove(rule, 3) == Status::kRuleInUse) return true;
    rules_.add(ruleNamed(rule));
    return false;
  }

  DynamicRuleStore rules_;
  PolicyStore policies_;
  ApplicationPolicyStore store_{rules_, policies_, 4};
};

TEST_F(ApplicationPolicyStoreTest, AppliedPolicyIsFoundByItsKeyAndHoldsItsRules) {
  EXPECT_EQ(store_.apply(kKey, policyOf({"a", "p"})), Status::kOk);
  ASSERT_NE(store_.find(kKey), nullptr);
  EXPECT_EQ(*store_.find(kKey), policyOf({"a", "p"}));
  EXPECT_TRUE(isInUse("a"));
  EXPECT_FALSE(isInUse("b"));
  EXPECT_EQ(policies_.remove("p"), Status::kPolicyInUse);
}

TEST_F(ApplicationPolicyStoreTest, ApplyingTheVerySameAgainIsOkAndHoldsOnce) {
  EXPECT_EQ(store_.apply(kKey, policyOf({"a"})), Status::kOk);
  EXPECT_EQ(store_.apply(kKey, policyOf({"a"})), Status::kOk);
  EXPECT_EQ(store_.size(), 1U);
  EXPECT_EQ(store_.unapply(kKey, entriesOf({"a"})), Status::kOk);
  EXPECT_FALSE(isInUse("a"));
}

TEST_F(ApplicationPolicyStoreTest, TheVerySameAgainHoldsWhatItsNamesMeanByNow) {
  EXPECT_EQ(store_.apply(kKey, policyOf({"p"})), Status::kOk);
  rules_.add(ruleNamed("p"));
  EXPECT_FALSE(isInUse("p"));
  EXPECT_EQ(policies_.remove("p"), Status::kPolicyInUse);
  EXPECT_EQ(store_.apply(kKey, policyOf({"p"})), Status::kOk);
  EXPECT_TRUE(isInUse("p"));
  EXPECT_EQ(policies_.remove("p"), Status::kOk);
}

TEST_F(ApplicationPolicyStoreTest, OtherContentUnderTheKeyReplacesThePolicy) {
  store_.apply(kKey, policyOf({"a", "b"}));
  EXPECT_EQ(store_.apply(kKey, policyOf({"b", "c"})), Status::kOk);
  EXPECT_EQ(*store_.find(kKey), policyOf({"b", "c"}));
  EXPECT_FALSE(isInUse("a"));
  EXPECT_TRUE(isInUse("b"));
  EXPECT_TRUE(isInUse("c"));
  EXPECT_EQ(store_.apply(kKey, policyOf({"b", "c"}, 1)), Status::kOk);
  EXPECT_EQ(store_.find(kKey)->attribute, 1);
  EXPECT_EQ(store_.size(), 1U);
}

TEST_F(ApplicationPolicyStoreTest, EachPartOfTheKeyMakesAnotherPolicy) {
  ApplicationPolicyStore store(rules_, policies_);
  ApplicationPolicyKey keys[] = {kKey,
                                 kKey,
                                 kKey,
                                 kKey,
                                 kKey,
                                 keyMatching(39, "00000001 00000002"),
                                 keyMatching(39, "00000001 00000003"),
                                 keyMatching(26, "61"),
                                 keyMatching(26, "62"),
                                 keyMatching(62, "010203040506 FFFFFFFFFFFF"),
                                 keyMatching(62, "010203040506 FFFFFFFFFF00"),
                                 keyMatching(63, "010203040506 FFFFFFFFFF00")};
  keys[1].appId = 6;
  keys[2].kind = 3;
  keys[3].tag = 8;
  keys[4].word3 = 9;
  for (const ApplicationPolicyKey &key : keys) {
    EXPECT_EQ(store.apply(key, policyOf({"a"})), Status::kOk);
  }
  EXPECT_EQ(store.size(), std::size(keys));
}

TEST_F(ApplicationPolicyStoreTest, EntryThatNamesNothingIsRefusedAndChangesNothing) {
  EXPECT_EQ(store_.apply(kKey, policyOf({"a", "x"})), Status::kRuleNotExist);
  EXPECT_EQ(store_.find(kKey), nullptr);
  EXPECT_FALSE(isInUse("a"));
  store_.apply(kKey, policyOf({"b"}));
  EXPECT_EQ(store_.apply(kKey, policyOf({"a", "x"})), Status::kRuleNotExist);
  EXPECT_EQ(*store_.find(kKey), policyOf({"b"}));
  EXPECT_FALSE(isInUse("a"));
  EXPECT_TRUE(isInUse("b"));
}

TEST_F(ApplicationPolicyStoreTest, OneMoreThanTheLimitIsRefusedAndReplacingIsNot) {
  ApplicationPolicyKey key = kKey;
  for (key.tag = 1; key.tag <= 4; ++key.tag) {
    EXPECT_EQ(store_.apply(key, policyOf({"a"})), Status::kOk);
  }
  EXPECT_EQ(store_.apply(key, policyOf({"b"})), Status::kNoMemory);
  EXPECT_FALSE(isInUse("b"));
  key.tag = 4;
  EXPECT_EQ(store_.apply(key, policyOf({"b"})), Status::kOk);
  EXPECT_EQ(store_.size(), 4U);
}

TEST_F(ApplicationPolicyStoreTest, UnapplyTakesNamedEntriesAndThePolicyGoesWithItsLast) {
  store_.apply(kKey, policyOf({"a", "b", "a", "c"}));
  EXPECT_EQ(store_.unapply(kKey, entriesOf({"a", "x"})), Status::kOk);
  EXPECT_EQ(*store_.find(kKey), policyOf({"b", "c"}));
  EXPECT_FALSE(isInUse("a"));
  EXPECT_TRUE(isInUse("b"));
  EXPECT_EQ(store_.unapply(kKey, entriesOf({"c"})), Status::kOk);
  EXPECT_EQ(store_.unapply(kKey, entriesOf({"b"})), Status::kOk);
  EXPECT_EQ(store_.find(kKey), nullptr);
  EXPECT_EQ(store_.size(), 0U);
  EXPECT_FALSE(isInUse("b"));
}

TEST_F(ApplicationPolicyStoreTest, AttributesOfUnappliedEntriesDoNotMatter) {
  store_.apply(kKey, policyOf({"a"}));
  const Entries other = {{"a", 99}};
  EXPECT_EQ(store_.unapply(kKey, other), Status::kOk);
}

TEST_F(ApplicationPolicyStoreTest, UnapplyOfNothingThatIsThereIsRefusedAndChangesNothing) {
  EXPECT_EQ(store_.unapply(kKey, entriesOf({"a"})), Status::kInstanceNotExist);
  store_.apply(kKey, policyOf({"a", "b"}));
  EXPECT_EQ(store_.unapply(kKey, entriesOf({"c"})), Status::kInstanceNotExist);
  ApplicationPolicyKey others[] = {kKey, kKey, kKey, kKey, keyMatching(39, "00000001")};
  others[0].appId = 4;
  others[1].kind = 1;
  others[2].tag = 6;
  others[3].word3 = 7;
  for (const ApplicationPolicyKey &other : others) {
    EXPECT_EQ(store_.unapply(other, entriesOf({"a"})), Status::kInstanceNotExist);
  }
  EXPECT_EQ(*store_.find(kKey), policyOf({"a", "b"}));
}

TEST_F(ApplicationPolicyStoreTest, UnapplyMeansWhateverNameIsMatched) {
  store_.apply(kKey, policyOf({"a"}));
  store_.apply(keyMatching(26, "61"), policyOf({"a", "b"}));
  store_.apply(keyMatching(26, "62"), policyOf({"c"}));
  store_.apply(keyMatching(39, "00000001"), policyOf({"a"}));
  EXPECT_EQ(store_.unapply(kKey, entriesOf({"a"})), Status::kOk);
  EXPECT_EQ(store_.find(kKey), nullptr);
  EXPECT_EQ(*store_.find(keyMatching(26, "61")), policyOf({"b"}));
  EXPECT_EQ(*store_.find(keyMatching(26, "62")), policyOf({"c"}));
  EXPECT_EQ(*store_.find(keyMatching(39, "00000001")), policyOf({"a"}));
}

TEST_F(ApplicationPolicyStoreTest, UnapplyMeansWhateverMaskAnAddressHas) {
  store_.apply(keyMatching(62, "010203040506 FFFFFFFFFFFF"), policyOf({"a"}));
  store_.apply(keyMatching(62, "010203040506 FFFFFFFFFF00"), policyOf({"a"}));
  store_.apply(keyMatching(62, "010203040507 FFFFFFFFFF00"), policyOf({"a"}));
  store_.apply(keyMatching(63, "010203040506 FFFFFFFFFF00"), policyOf({"a"}));
  EXPECT_EQ(store_.unapply(keyMatching(62, "010203040506"), entriesOf({"a"})), Status::kOk);
  EXPECT_EQ(store_.size(), 2U);
  EXPECT_EQ(store_.find(keyMatching(62, "010203040506 FFFFFFFFFFFF")), nullptr);
  EXPECT_EQ(store_.find(keyMatching(62, "010203040506 FFFFFFFFFF00")), nullptr);
}

TEST_F(ApplicationPolicyStoreTest, UnapplyMeansTheVeryWordsThatAreMatched) {
  store_.apply(keyMatching(39, "00000001 00000002"), policyOf({"a"}));
  EXPECT_EQ(store_.unapply(keyMatching(39, "00000001 00000003"), entriesOf({"a"})),
            Status::kInstanceNotExist);
  EXPECT_EQ(store_.unapply(kKey, entriesOf({"a"})), Status::kInstanceNotExist);
  EXPECT_EQ(store_.unapply(keyMatching(39, "00000001 00000002"), entriesOf({"a"})), Status::kOk);
}

TEST_F(ApplicationPolicyStoreTest, OneMoreThan64PoliciesOfOneUnapplyIsRefusedAndReplacingIsNot) {
  ApplicationPolicyStore store(rules_, policies_);
  for (int mask = 0; mask < 64; ++mask) {
    ASSERT_EQ(store.apply(addressWithMask(mask), policyOf({"a"})), Status::kOk);
  }
  EXPECT_EQ(store.apply(addressWithMask(64), policyOf({"b"})), Status::kNoMemory);
  EXPECT_FALSE(isInUse("b"));
  EXPECT_EQ(store.apply(addressWithMask(63), policyOf({"b"})), Status::kOk);
  EXPECT_EQ(store.apply(keyMatching(62, "010203040507"), policyOf({"a"})), Status::kOk);
  EXPECT_EQ(store.unapply(addressWithMask(0), entriesOf({"b"})), Status::kOk);
  EXPECT_EQ(store.apply(addressWithMask(64), policyOf({"c"})), Status::kOk);
  EXPECT_EQ(store.unapply(addressWithMask(0), entriesOf({"c", "a"})), Status::kOk);
  EXPECT_EQ(store.size(), 1U);
}

TEST_F(ApplicationPolicyStoreTest, MoveThatGivesOneUnapplyMoreThan64PoliciesIsRefused) {
  ApplicationPolicyStore store(rules_, policies_);
  for (int mask = 0; mask < 65; ++mask) {
    ApplicationPolicyKey key = addressWithMask(mask);
    if (mask > 40) key.appId = 6;
    ASSERT_EQ(store.apply(key, policyOf({"a"})), Status::kOk);
  }
  EXPECT_EQ(store.move(2, 5, 6), Status::kNoMemory);
  EXPECT_NE(store.find(addressWithMask(40)), nullptr);
  EXPECT_EQ(store.move(2, 5, 5), Status::kOk);
  ApplicationPolicyKey last = addressWithMask(64);
  last.appId = 6;
  EXPECT_NE(store.find(last), nullptr);
  EXPECT_EQ(store.removeAllOf(6), 24U);
  EXPECT_EQ(store.move(2, 5, 6), Status::kOk);
}

TEST_F(ApplicationPolicyStoreTest, MoveGivesAllPoliciesOfAKindToAnotherApplication) {
  ApplicationPolicyKey otherTag = kKey;
  otherTag.tag = 9;
  ApplicationPolicyKey otherKind = kKey;
  otherKind.kind = 3;
  for (const std::uint8_t to : {std::uint8_t{4}, std::uint8_t{6}}) {  // before and behind
    store_.apply(kKey, policyOf({"a"}));
    store_.apply(otherTag, policyOf({"b"}));
    store_.apply(otherKind, policyOf({"c"}));
    EXPECT_EQ(store_.move(2, 5, to), Status::kOk);
    EXPECT_EQ(store_.size(), 3U);
    ApplicationPolicyKey moved = kKey;
    moved.appId = to;
    EXPECT_EQ(*store_.find(moved), policyOf({"a"}));
    moved.tag = 9;
    EXPECT_EQ(*store_.find(moved), policyOf({"b"}));
    EXPECT_EQ(*store_.find(otherKind), policyOf({"c"}));
    EXPECT_TRUE(isInUse("a"));
    EXPECT_EQ(store_.removeAllOf(to), 2U);
    EXPECT_FALSE(isInUse("a"));
  }
}

TEST_F(ApplicationPolicyStoreTest, MoveOfNothingIsRefused) {
  EXPECT_EQ(store_.move(2, 5, 6), Status::kInstanceNotExist);
  EXPECT_EQ(store_.move(2, 5, 5), Status::kInstanceNotExist);
  store_.apply(kKey, policyOf({"a"}));
  EXPECT_EQ(store_.move(3, 5, 6), Status::kInstanceNotExist);
  EXPECT_EQ(store_.move(2, 4, 6), Status::kInstanceNotExist);
  EXPECT_EQ(store_.move(1, 5, 6), Status::kInstanceNotExist);
  EXPECT_EQ(*store_.find(kKey), policyOf({"a"}));
}

TEST_F(ApplicationPolicyStoreTest, MoveOntoAPolicyOfTheSameKeyIsRefusedAndMovesNone) {
  ApplicationPolicyKey first = kKey;
  first.tag = 1;
  ApplicationPolicyKey taken = kKey;
  taken.appId = 6;
  store_.apply(first, policyOf({"a"}));
  store_.apply(kKey, policyOf({"b"}));
  store_.apply(taken, policyOf({"c"}));
  EXPECT_EQ(store_.move(2, 5, 6), Status::kPolicyHasAttribute);
  EXPECT_EQ(*store_.find(first), policyOf({"a"}));
  EXPECT_EQ(*store_.find(kKey), policyOf({"b"}));
  EXPECT_EQ(*store_.find(taken), policyOf({"c"}));
}

TEST_F(ApplicationPolicyStoreTest, MoveToTheSameApplicationChangesNothing) {
  store_.apply(kKey, policyOf({"a"}));
  EXPECT_EQ(store_.move(2, 5, 5), Status::kOk);
  EXPECT_EQ(*store_.find(kKey), policyOf({"a"}));
}

TEST_F(ApplicationPolicyStoreTest, RemovingAllOfAnApplicationLeavesTheOthers) {
  ApplicationPolicyKey other = kKey;
  other.appId = 6;
  store_.apply(kKey, policyOf({"a", "b"}));
  store_.apply(other, policyOf({"b"}));
  EXPECT_EQ(store_.removeAllOf(5 + 256), 0U);
  EXPECT_EQ(store_.removeAllOf(5), 1U);
  EXPECT_EQ(store_.size(), 1U);
  EXPECT_FALSE(isInUse("a"));
  EXPECT_TRUE(isInUse("b"));
}

TEST_F(ApplicationPolicyStoreTest, ExhaustedMemoryChangesNothing) {
  const char *longName = "a rule whose name is allocated";
  rules_.add(ruleNamed(longName));
  store_.apply(kKey, policyOf({"a"}));
  ApplicationPolicyKey other = kKey;
  other.tag = 9;
  for (const ApplicationPolicyKey &key : {kKey, other}) {
    const unsigned failures = test_support::forEachAllocationFailure([&] {
      bool isApplied = false;
      try {
        isApplied = store_.apply(key, policyOf({"b", longName})) == Status::kOk;
      } catch (const std::bad_alloc &) {
      }
      const test_support::AllocationExemption exemption;
      EXPECT_EQ(rules_.remove(longName, 3), isApplied ? Status::kRuleInUse : Status::kOk);
      rules_.add(ruleNamed(longName));
      EXPECT_EQ(store_.unapply(key, entriesOf({"b", longName})),
                isApplied ? Status::kOk : Status::kInstanceNotExist);
      store_.apply(kKey, policyOf({"a"}));
      EXPECT_EQ(*store_.find(kKey), policyOf({"a"}));
      EXPECT_EQ(store_.size(), 1U);
    });
    EXPECT_GT(failures, 0U);
  }
}

}  // namespace
}  // namespace aclmgr
