#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <deque>
#include <random>
#include <set>

#include "acl_lib/encoding/policy_handle.h"
#include "tests/acl_lib/library_test.h"

namespace {

using namespace acl_test;

class PolicyStoreTest : public LibraryTest {
 protected:
  // Registers a policy of a name. Returns its handle.
  AclPolicyHandle insert(const std::string &name) {
    const AclPolicyHandle policy = policies_.emplace_back(0, name).handle();
    EXPECT_EQ(aclBtreeInsertPolicy(policy), 0) << name;
    return policy;
  }

  // A policy that is not registered.
  AclPolicyHandle make(const std::string &name) { return policies_.emplace_back(0, name).handle(); }

  // The same, whose name field is filled up behind the end of the name.
  AclPolicyHandle makeWithBytesBehind(const std::string &name, char filling) {
    OwnPolicy &policy = policies_.emplace_back(0, name);
    std::memset(policy->policyName + name.size() + 1, filling, 32 - name.size());
    return policy.handle();
  }

  // Expects none of the handles to be taken for a policy, while "edge" alone is registered.
  static void expectRefusals(const std::vector<AclPolicyHandle> &handles) {
    OutputCapture capture;
    fake().forgetCalls();
    for (const AclPolicyHandle handle : handles) {
      EXPECT_EQ(aclBtreeInsertPolicy(handle), -2) << handle;
      EXPECT_EQ(aclBtreeDeletePolicy(handle), -2) << handle;
      EXPECT_EQ(aclGetNextPolicy(handle), 0) << handle;
    }
    EXPECT_THAT(fake().calls(), IsEmpty());
    capture.finish();
    EXPECT_EQ(capture.standardOutput(), "");
    EXPECT_EQ(capture.standardError(), "");
    EXPECT_THAT(walk(), ElementsAre("edge"));
  }

  static std::string hexOf(const std::string &name) { return test_support::hexText(bytesOf(name)); }

  // The names in the order of a walk.
  static std::vector<std::string> walk() {
    std::vector<std::string> names;
    for (AclPolicyHandle policy = aclFindFirstPolicy(); policy != 0;
         policy = aclGetNextPolicy(policy)) {
      names.emplace_back(reinterpret_cast<const AclPolicy *>(policy)->policyName);
    }
    return names;
  }

 private:
  std::deque<OwnPolicy> policies_;
};

// ---- Finding and walking

TEST_F(PolicyStoreTest, EmptyStoreFindsNothing) {
  EXPECT_EQ(aclPolicyTree, nullptr);
  EXPECT_EQ(aclFindFirstPolicy(), 0);
  EXPECT_EQ(aclFindPolicy("x"), 0);
  EXPECT_EQ(aclFindPolicy(""), 0);
  EXPECT_EQ(aclFindPolicy(nullptr), 0);
}

TEST_F(PolicyStoreTest, PoliciesInsertedAsBAndAAndCAreWalkedAsAAndBAndC) {
  insert("b");
  insert("a");
  insert("c");
  EXPECT_THAT(walk(), ElementsAre("a", "b", "c"));
}

TEST_F(PolicyStoreTest, EachPolicyIsFoundByItsName) {
  const AclPolicyHandle b = insert("b");
  const AclPolicyHandle a = insert("a");
  const AclPolicyHandle c = insert("c");
  EXPECT_EQ(aclFindPolicy("a"), a);
  EXPECT_EQ(aclFindPolicy("b"), b);
  EXPECT_EQ(aclFindPolicy("c"), c);
  EXPECT_EQ(aclFindPolicy("d"), 0);
  EXPECT_EQ(aclFindPolicy("aa"), 0);
}

TEST_F(PolicyStoreTest, NamesDifferingOnlyInCaseAreDifferentKeys) {
  const AclPolicyHandle lower = insert("edge");
  const AclPolicyHandle upper = insert("EDGE");
  const AclPolicyHandle mixed = insert("Edge");
  EXPECT_EQ(aclFindPolicy("edge"), lower);
  EXPECT_EQ(aclFindPolicy("EDGE"), upper);
  EXPECT_EQ(aclFindPolicy("Edge"), mixed);
  EXPECT_EQ(aclFindPolicy("eDGE"), 0);
  EXPECT_THAT(walk(), ElementsAre("EDGE", "Edge", "edge"));
}

TEST_F(PolicyStoreTest, NamesAreOrderedByBytesAsUnsignedNumbers) {
  for (const char *name : {"\xC3\xA9", "z", "a-", "a", "~", "a0", "A", "0"}) insert(name);
  EXPECT_THAT(walk(), ElementsAre("0", "A", "a", "a-", "a0", "z", "~", "\xC3\xA9"));
}

// Short and long ones, with common beginnings, and with bytes above 127.
TEST_F(PolicyStoreTest, NamesAreOrderedAsStrcmpOrdersThem) {
  std::mt19937 random(4711);
  const auto less = [](const std::string &a, const std::string &b) {
    return std::strcmp(a.c_str(), b.c_str()) < 0;
  };
  std::set<std::string, decltype(less)> names(less);
  while (names.size() < 500) {
    std::string name(random() % 20, 'a');
    for (char &character : name) character = "aab\x01\x7F\x80\xFF"[random() % 7];
    names.insert(name);
  }
  std::vector<std::string> shuffled(names.begin(), names.end());
  std::ranges::shuffle(shuffled, random);
  for (const std::string &name : shuffled) insert(name);
  EXPECT_EQ(walk(), std::vector<std::string>(names.begin(), names.end()));
  for (const std::string &name : shuffled) EXPECT_NE(aclFindPolicy(name.c_str()), 0) << hexOf(name);
}

TEST_F(PolicyStoreTest, BytesBehindTheEndOfANameDoNotCount) {
  const AclPolicyHandle first = makeWithBytesBehind("abc", 'x');
  const AclPolicyHandle second = makeWithBytesBehind("abd", 'a');
  EXPECT_EQ(aclBtreeInsertPolicy(second), 0);
  EXPECT_EQ(aclBtreeInsertPolicy(first), 0);
  EXPECT_EQ(aclBtreeInsertPolicy(makeWithBytesBehind("abc", 'y')), -1);
  EXPECT_EQ(aclBtreeInsertPolicy(make("abc")), -1);
  EXPECT_EQ(aclFindPolicy("abc"), first);
  EXPECT_EQ(aclFindPolicy("abd"), second);
  EXPECT_EQ(aclFindPolicy("ab"), 0);
  EXPECT_THAT(walk(), ElementsAre("abc", "abd"));
}

TEST_F(PolicyStoreTest, NameThatEndsWithinItsFirstEightBytesComesBeforeTheLongerOne) {
  const AclPolicyHandle longer = insert("abcdefgh");
  const AclPolicyHandle shorter = makeWithBytesBehind("abc", 'z');
  EXPECT_EQ(aclBtreeInsertPolicy(shorter), 0);
  EXPECT_THAT(walk(), ElementsAre("abc", "abcdefgh"));
  EXPECT_EQ(aclFindPolicy("abc"), shorter);
  EXPECT_EQ(aclFindPolicy("abcdefgh"), longer);
  EXPECT_EQ(aclFindPolicy("abczzzzz"), 0);
}

TEST_F(PolicyStoreTest, NamesOf32CharactersMayDifferInTheLastOneAlone) {
  const AclPolicyHandle second = insert("abcdefghijklmnopqrstuvwxyz012342");
  const AclPolicyHandle third = insert("abcdefghijklmnopqrstuvwxyz012343");
  const AclPolicyHandle first = insert("abcdefghijklmnopqrstuvwxyz012341");
  EXPECT_THAT(walk(),
              ElementsAre("abcdefghijklmnopqrstuvwxyz012341", "abcdefghijklmnopqrstuvwxyz012342",
                          "abcdefghijklmnopqrstuvwxyz012343"));
  EXPECT_EQ(aclFindPolicy("abcdefghijklmnopqrstuvwxyz012341"), first);
  EXPECT_EQ(aclFindPolicy("abcdefghijklmnopqrstuvwxyz012342"), second);
  EXPECT_EQ(aclFindPolicy("abcdefghijklmnopqrstuvwxyz012343"), third);
  EXPECT_EQ(aclFindPolicy("abcdefghijklmnopqrstuvwxyz012344"), 0);
}

TEST_F(PolicyStoreTest, NameOf40CharactersIsLookedUpByItsFirst32) {
  const AclPolicyHandle policy = insert("abcdefghijklmnopqrstuvwxyz012345");
  EXPECT_EQ(aclFindPolicy("abcdefghijklmnopqrstuvwxyz01234567890123"), policy);
  EXPECT_EQ(aclFindPolicy("abcdefghijklmnopqrstuvwxyz0123456"), policy);
  EXPECT_EQ(aclFindPolicy("abcdefghijklmnopqrstuvwxyz012345"), policy);
  EXPECT_EQ(aclFindPolicy("abcdefghijklmnopqrstuvwxyz01234"), 0);
  EXPECT_EQ(aclFindPolicy("abcdefghijklmnopqrstuvwxyz01234x"), 0);
}

TEST_F(PolicyStoreTest, OnlyTheFirst32CharactersOfTheNameAreRead) {
  const std::array<char, 32> name = {'w', 'i', 't', 'h', 'o', 'u', 't', ' ', 'a', ' ', 'N',
                                     'U', 'L', ' ', 'b', 'e', 'h', 'i', 'n', 'd', ' ', 't',
                                     'h', 'i', 's', ' ', 'a', 'r', 'r', 'a', 'y', '.'};
  const std::vector<char> onHeap(name.begin(), name.end());
  const AclPolicyHandle policy = insert(std::string(name.begin(), name.end()));
  EXPECT_EQ(aclFindPolicy(onHeap.data()), policy);
}

TEST_F(PolicyStoreTest, NullIsTheEmptyName) {
  insert("a");
  const AclPolicyHandle nameless = insert("");
  EXPECT_EQ(aclFindPolicy(nullptr), nameless);
  EXPECT_EQ(aclFindPolicy(""), nameless);
  EXPECT_EQ(aclFindFirstPolicy(), nameless);
}

TEST_F(PolicyStoreTest, PoliciesOfTheLibraryAreStoredAsTheyAre) {
  const AclPolicyHandle policy = aclLibNewPolicy("edge-in");
  EXPECT_EQ(aclBtreeInsertPolicy(policy), 0);
  EXPECT_EQ(aclFindPolicy("edge-in"), policy);
  EXPECT_EQ(aclFindFirstPolicy(), policy);
  EXPECT_EQ(aclBtreeDeletePolicy(policy), 0);
  acl::destroyPolicy(acl::findPolicy(policy));
}

TEST_F(PolicyStoreTest, ThousandPoliciesAreFoundAndWalkedInOrder) {
  std::mt19937 random(4711);
  std::set<std::string> names;
  while (names.size() < 1000) names.insert("policy-" + std::to_string(random()));
  std::vector<std::string> shuffled(names.begin(), names.end());
  std::ranges::shuffle(shuffled, random);
  for (const std::string &name : shuffled) insert(name);
  EXPECT_EQ(walk(), std::vector<std::string>(names.begin(), names.end()));
  for (const std::string &name : shuffled) {
    const AclPolicyHandle found = aclFindPolicy(name.c_str());
    ASSERT_NE(found, 0) << name;
    EXPECT_EQ(reinterpret_cast<const AclPolicy *>(found)->policyName, name);
  }
}

// ---- Inserting and deleting

TEST_F(PolicyStoreTest, SecondPolicyOfANameIsRefusedAndChangesNothing) {
  const AclPolicyHandle first = insert("edge");
  const AclPolicyHandle second = make("edge");
  EXPECT_EQ(aclBtreeInsertPolicy(second), -1);
  EXPECT_EQ(aclFindPolicy("edge"), first);
  EXPECT_THAT(walk(), ElementsAre("edge"));
  EXPECT_EQ(aclBtreeDeletePolicy(second), -1);
  EXPECT_EQ(aclFindPolicy("edge"), first);
}

TEST_F(PolicyStoreTest, SecondInsertionOfTheSamePolicyIsRefused) {
  const AclPolicyHandle policy = insert("edge");
  EXPECT_EQ(aclBtreeInsertPolicy(policy), -1);
  EXPECT_THAT(walk(), ElementsAre("edge"));
}

TEST_F(PolicyStoreTest, DeletedPolicyIsNoLongerFoundButLives) {
  const AclPolicyHandle a = insert("a");
  const AclPolicyHandle b = insert("b");
  const AclPolicyHandle c = insert("c");
  EXPECT_EQ(aclBtreeDeletePolicy(b), 0);
  EXPECT_EQ(aclFindPolicy("b"), 0);
  EXPECT_EQ(acl::findPolicy(b), reinterpret_cast<AclPolicy *>(b));
  EXPECT_THAT(walk(), ElementsAre("a", "c"));
  EXPECT_EQ(aclBtreeDeletePolicy(a), 0);
  EXPECT_EQ(aclBtreeDeletePolicy(c), 0);
  EXPECT_EQ(aclPolicyTree, nullptr);
}

TEST_F(PolicyStoreTest, DeletedPolicyMayBeInsertedAgain) {
  const AclPolicyHandle policy = insert("edge");
  EXPECT_EQ(aclBtreeDeletePolicy(policy), 0);
  EXPECT_EQ(aclBtreeInsertPolicy(policy), 0);
  EXPECT_EQ(aclFindPolicy("edge"), policy);
}

TEST_F(PolicyStoreTest, PolicyThatIsNotInTheStoreCannotBeDeleted) {
  const AclPolicyHandle stored = insert("edge");
  EXPECT_EQ(aclBtreeDeletePolicy(make("other")), -1);
  EXPECT_EQ(aclBtreeDeletePolicy(stored), 0);
  EXPECT_EQ(aclBtreeDeletePolicy(stored), -1);
}

TEST_F(PolicyStoreTest, NumbersThatAreNoPolicyAreRefusedInSilence) {
  const AclPolicyHandle stored = insert("edge");
  expectRefusals(
      {0, -1, -2, -3, 16, stored + 1, stored + static_cast<AclPolicyHandle>(alignof(AclPolicy))});
}

TEST_F(PolicyStoreTest, FreedPolicyIsRefusedInSilence) {
  insert("edge");
  const AclPolicyHandle freed = aclLibNewPolicy("freed");
  acl::destroyPolicy(acl::findPolicy(freed));
  expectRefusals({freed});
}

TEST_F(PolicyStoreTest, CallersOwnRecordIsAcceptedWhileItsSelfCheckHolds) {
  insert("edge");
  OwnPolicy own(0, "own");
  EXPECT_EQ(aclBtreeInsertPolicy(own.handle()), 0);
  EXPECT_THAT(walk(), ElementsAre("edge", "own"));
  EXPECT_EQ(aclGetNextPolicy(own.handle()), 0);
  EXPECT_EQ(aclBtreeDeletePolicy(own.handle()), 0);
  own->selfCheck = nullptr;
  expectRefusals({own.handle()});
}

TEST_F(PolicyStoreTest, ResultsOfTheTreeAreReturnedAsTheyAre) {
  OwnPolicy policy(0, "edge");
  fake().queueResults("kvtreeInsert", {-5});
  EXPECT_EQ(aclBtreeInsertPolicy(policy.handle()), -5);
  fake().queueResults("kvtreeDelete", {-6});
  EXPECT_EQ(aclBtreeDeletePolicy(policy.handle()), -6);
}

TEST_F(PolicyStoreTest, StoreIsTheExportedTreeAndAPolicyItsOwnNode) {
  OwnPolicy policy(0, "edge");
  const void *node = policy.operator->();
  const auto anything = Argument::anything();
  aclBtreeInsertPolicy(policy.handle());
  EXPECT_EQ(aclPolicyTree, &policy->node);
  aclFindPolicy("edge");
  aclFindFirstPolicy();
  aclGetNextPolicy(policy.handle());
  aclBtreeDeletePolicy(policy.handle());
  const void *tree = &aclPolicyTree;
  EXPECT_THAT(
      fake().calls(),
      ElementsAre(Call::of("kvtreeInsert", node, tree, anything),
                  Call::of("findNode", anything, node, anything), Call::of("kvtreeFirst", tree),
                  Call::of("kvtreeNext", node), Call::of("kvtreeDelete", node, tree)));
}

TEST_F(PolicyStoreTest, NothingIsAllocated) {
  OwnPolicy policy(0, "edge");
  const FailAllocation guard(1);
  EXPECT_EQ(aclBtreeInsertPolicy(policy.handle()), 0);
  EXPECT_EQ(aclFindPolicy("edge"), policy.handle());
  EXPECT_EQ(aclFindFirstPolicy(), policy.handle());
  EXPECT_EQ(aclGetNextPolicy(policy.handle()), 0);
  EXPECT_EQ(aclBtreeDeletePolicy(policy.handle()), 0);
  EXPECT_FALSE(guard.failed());
}

// ---- The lock

TEST_F(PolicyStoreTest, LocksAreTakenAndReleasedWithTheResultOfTheLockCall) {
  EXPECT_EQ(aclBtreeReadLock(), 0);
  EXPECT_EQ(pthread_rwlock_trywrlock(&aclPolicyLock), EBUSY);
  EXPECT_EQ(aclBtreeUnlock(), 0);
  EXPECT_EQ(aclBtreeWriteLock(), 0);
  EXPECT_EQ(pthread_rwlock_tryrdlock(&aclPolicyLock), EBUSY);
  EXPECT_EQ(aclBtreeUnlock(), 0);
  EXPECT_EQ(pthread_rwlock_trywrlock(&aclPolicyLock), 0);
  EXPECT_EQ(aclBtreeUnlock(), 0);
}

TEST_F(PolicyStoreTest, TwoReadersMayHoldTheLock) {
  EXPECT_EQ(aclBtreeReadLock(), 0);
  EXPECT_EQ(pthread_rwlock_tryrdlock(&aclPolicyLock), 0);
  EXPECT_EQ(aclBtreeUnlock(), 0);
  EXPECT_EQ(aclBtreeUnlock(), 0);
}

TEST_F(PolicyStoreTest, LockThatThisThreadHoldsForWritingIsRefusedAndTheErrorReturned) {
  ASSERT_EQ(aclBtreeWriteLock(), 0);
  EXPECT_EQ(aclBtreeWriteLock(), EDEADLK);
  EXPECT_EQ(aclBtreeReadLock(), EDEADLK);
  EXPECT_EQ(aclBtreeUnlock(), 0);
}

TEST_F(PolicyStoreTest, CallsLeaveTheLockToTheirCaller) {
  ASSERT_EQ(aclBtreeWriteLock(), 0);
  const AclPolicyHandle policy = insert("edge");
  EXPECT_EQ(aclFindPolicy("edge"), policy);
  EXPECT_THAT(walk(), ElementsAre("edge"));
  EXPECT_EQ(aclBtreeDeletePolicy(policy), 0);
  EXPECT_EQ(aclBtreeUnlock(), 0);
}

TEST_F(PolicyStoreTest, LockWorksBeforeAndAfterInitialisation) {
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(aclBtreeWriteLock(), 0);
    EXPECT_EQ(aclBtreeUnlock(), 0);
    EXPECT_EQ(aclLibInit(), 0);
  }
}

}  // namespace
