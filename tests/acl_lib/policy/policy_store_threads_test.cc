#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "tests/acl_lib/library_test.h"

namespace {

using namespace acl_test;

constexpr unsigned kReaders = 4;
constexpr unsigned kWriters = 2;
constexpr int kRounds = 100;

using PolicyStoreThreadsTest = LibraryTest;

// Two policies that one writer always inserts and deletes together.
struct Pair {
  explicit Pair(unsigned writer)
      : first(0, "a" + std::to_string(writer)), second(0, "b" + std::to_string(writer)) {}

  OwnPolicy first, second;
};

void insertAndDelete(Pair &pair) {
  for (int round = 0; round < kRounds; ++round) {
    aclBtreeWriteLock();
    EXPECT_EQ(aclBtreeInsertPolicy(pair.first.handle()), 0);
    EXPECT_EQ(aclBtreeInsertPolicy(pair.second.handle()), 0);
    aclBtreeUnlock();
    std::this_thread::yield();
    aclBtreeWriteLock();
    EXPECT_EQ(aclBtreeDeletePolicy(pair.first.handle()), 0);
    EXPECT_EQ(aclBtreeDeletePolicy(pair.second.handle()), 0);
    aclBtreeUnlock();
  }
}

// Under one lock a reader sees both policies of a pair, or neither, by walk and by name.
void look() {
  aclBtreeReadLock();
  std::array<int, kWriters> firsts{};
  std::array<int, kWriters> seconds{};
  for (AclPolicyHandle policy = aclFindFirstPolicy(); policy != 0;
       policy = aclGetNextPolicy(policy)) {
    const char *name = reinterpret_cast<const AclPolicy *>(policy)->policyName;
    const auto writer = static_cast<std::size_t>(name[1] - '0');
    ++(name[0] == 'a' ? firsts : seconds).at(writer);
    EXPECT_EQ(aclFindPolicy(name), policy);
  }
  EXPECT_EQ(firsts, seconds);
  EXPECT_EQ(aclFindPolicy("a0") != 0, aclFindPolicy("b0") != 0);
  aclBtreeUnlock();
}

// Readers pause, as the lock prefers them and writers would wait for long.
void lookOftenUntil(const std::atomic<bool> &stop) {
  while (!stop) {
    look();
    std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
}

TEST_F(PolicyStoreThreadsTest, ReadersUnderTheirLockSeeWholeChangesOfWriters) {
  std::array<Pair, kWriters> pairs{Pair(0), Pair(1)};
  std::atomic<bool> stop = false;
  std::vector<std::thread> readers;
  readers.reserve(kReaders);
  for (unsigned i = 0; i < kReaders; ++i) readers.emplace_back(lookOftenUntil, std::cref(stop));
  std::vector<std::thread> writers;
  writers.reserve(kWriters);
  for (Pair &pair : pairs) writers.emplace_back(insertAndDelete, std::ref(pair));
  for (std::thread &writer : writers) writer.join();
  stop = true;
  for (std::thread &reader : readers) reader.join();
  EXPECT_EQ(aclPolicyTree, nullptr);
}

}  // namespace
