#include "tests/support/failing_allocator.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <thread>

namespace test_support {
namespace {

struct FreeBlock {
  void operator()(void *block) const { std::free(block); }
};
using Block = std::unique_ptr<void, FreeBlock>;

// Calls through a volatile pointer, so that no compiler removes an unused allocation.
Block allocate(std::size_t size) {
  void *(*volatile function)(std::size_t) = std::malloc;
  return Block(function(size));
}

TEST(FailingAllocatorTest, OnlyTheNumberedAllocationFails) {
  FailAllocation guard(2);
  const bool first = allocate(8) != nullptr;
  const bool second = allocate(8) != nullptr;
  const bool third = allocate(8) != nullptr;
  const unsigned made = guard.allocationsMade();
  AllocationExemption exemption;
  EXPECT_TRUE(first);
  EXPECT_FALSE(second);
  EXPECT_TRUE(third);
  EXPECT_EQ(made, 3u);
  EXPECT_TRUE(guard.failed());
}

TEST(FailingAllocatorTest, NumberZeroOnlyCounts) {
  FailAllocation guard(0);
  const bool given = allocate(8) != nullptr;
  AllocationExemption exemption;
  EXPECT_TRUE(given);
  EXPECT_EQ(guard.allocationsMade(), 1u);
  EXPECT_FALSE(guard.failed());
}

TEST(FailingAllocatorTest, NothingFailsAfterTheGuard) {
  {
    FailAllocation guard(1);
  }
  EXPECT_NE(allocate(8), nullptr);
}

TEST(FailingAllocatorTest, EveryKindOfAllocationFails) {
  void *(*volatile zeroed)(std::size_t, std::size_t) = std::calloc;
  void *(*volatile resized)(void *, std::size_t) = std::realloc;
  void *(*volatile aligned)(std::size_t, std::size_t) = aligned_alloc;
  void *(*volatile newOne)(std::size_t, const std::nothrow_t &) = ::operator new;
  void *(*volatile newSeveral)(std::size_t, const std::nothrow_t &) = ::operator new[];
  Block old = allocate(8);
  const auto fails = [](auto function) {
    FailAllocation guard(1);
    return function() == nullptr && guard.failed();
  };
  EXPECT_TRUE(fails([&] { return zeroed(2, 8); }));
  EXPECT_TRUE(fails([&] { return resized(old.get(), 800); }));
  EXPECT_TRUE(fails([&] { return aligned(16, 32); }));
  EXPECT_TRUE(fails([&] { return newOne(8, std::nothrow); }));
  EXPECT_TRUE(fails([&] { return newSeveral(8, std::nothrow); }));
}

TEST(FailingAllocatorTest, ThrowingOperatorNewThrows) {
  int *number = nullptr;
  int *numbers = nullptr;
  {
    FailAllocation guard(1);
    EXPECT_THROW(number = new int, std::bad_alloc);
  }
  {
    FailAllocation guard(1);
    EXPECT_THROW(numbers = new int[3], std::bad_alloc);
  }
  EXPECT_EQ(number, nullptr);
  EXPECT_EQ(numbers, nullptr);
}

TEST(FailingAllocatorTest, ExemptAllocationsNeitherFailNorCount) {
  FailAllocation guard(1);
  Block exempt;
  {
    AllocationExemption exemption;
    exempt = allocate(8);
  }
  const unsigned made = guard.allocationsMade();
  const Block failing = allocate(8);
  AllocationExemption exemption;
  EXPECT_NE(exempt, nullptr);
  EXPECT_EQ(made, 0u);
  EXPECT_EQ(failing, nullptr);
}

TEST(FailingAllocatorTest, OtherThreadsAreLeftAlone) {
  bool given = false;
  std::thread other;
  {
    FailAllocation guard(1);
    {
      AllocationExemption exemption;  // of the thread object itself
      other = std::thread([&given] { given = allocate(8) != nullptr; });
    }
    other.join();
  }
  EXPECT_TRUE(given);
}

TEST(FailingAllocatorTest, EachAllocationOfARunIsLetFailInTurn) {
  unsigned runs = 0;
  unsigned complete = 0;
  const unsigned failures = forEachAllocationFailure([&] {
    ++runs;
    const Block first = allocate(8);
    if (first == nullptr) return;
    const Block second = allocate(8);
    if (second != nullptr) ++complete;
  });
  EXPECT_EQ(failures, 2u);
  EXPECT_EQ(runs, 3u);
  EXPECT_EQ(complete, 1u);
}

}  // namespace
}  // namespace test_support
