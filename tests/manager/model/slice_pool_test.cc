#include "manager/model/slice_pool.h"

#include <gtest/gtest.h>

#include <new>

#include "tests/support/failing_allocator.h"

namespace aclmgr {
namespace {

// Slices of stage 1 and type 4.
Slices some(std::uint32_t count, bool doubleWide = false) {
  return {.stage = 1, .type = 4, .doubleWide = doubleWide, .count = count};
}

TEST(SlicePool, StageHas16SlicesForAllApplicationsAndTypes) {
  SlicePool pool;
  EXPECT_EQ(pool.freeIn(1), 16U);
  EXPECT_EQ(pool.reserve(5, some(10)), Status::kOk);
  EXPECT_EQ(pool.reserve(6, {.stage = 1, .type = 2, .count = 6}), Status::kOk);
  EXPECT_EQ(pool.freeIn(1), 0U);
  EXPECT_EQ(pool.reserve(5, some(1)), Status::kNoHardwareResource);
  EXPECT_EQ(pool.freeIn(0), 16U);
}

TEST(SlicePool, MoreThanIsFreeIsRefusedAndNothingIsTaken) {
  SlicePool pool;
  EXPECT_EQ(pool.reserve(5, some(17)), Status::kNoHardwareResource);
  EXPECT_EQ(pool.reserve(5, some(255)), Status::kNoHardwareResource);
  EXPECT_EQ(pool.freeIn(1), 16U);
  EXPECT_EQ(pool.giveBack(5, some(1)), Status::kInstanceNotExist);
  EXPECT_EQ(pool.reserve(5, some(16)), Status::kOk);
}

TEST(SlicePool, SliceOfDoubleWidthTakesTheRoomOfTwo) {
  SlicePool pool;
  EXPECT_EQ(pool.reserve(5, some(9, true)), Status::kNoHardwareResource);
  EXPECT_EQ(pool.reserve(5, some(255, true)), Status::kNoHardwareResource);
  EXPECT_EQ(pool.reserve(5, some(7, true)), Status::kOk);
  EXPECT_EQ(pool.freeIn(1), 2U);
  EXPECT_EQ(pool.reserve(5, some(1)), Status::kOk);
  EXPECT_EQ(pool.reserve(5, some(1, true)), Status::kNoHardwareResource);
  EXPECT_EQ(pool.giveBack(5, some(7, true)), Status::kOk);
  EXPECT_EQ(pool.freeIn(1), 15U);
}

TEST(SlicePool, UnknownStagesAndTypesAndNoSlicesAreRefused) {
  SlicePool pool;
  for (const std::uint32_t stage : {0U, 3U}) {
    EXPECT_EQ(pool.reserve(5, {.stage = stage, .type = 4, .count = 1}), Status::kOk);
    EXPECT_EQ(pool.giveBack(5, {.stage = stage, .type = 4, .count = 1}), Status::kOk);
  }
  for (const std::uint32_t stage : {4U, 0xFFFFFFFFU}) {
    EXPECT_EQ(pool.reserve(5, {.stage = stage, .type = 4, .count = 1}), Status::kInvalidParameter);
    EXPECT_EQ(pool.giveBack(5, {.stage = stage, .type = 4, .count = 1}), Status::kInvalidParameter);
  }
  for (const std::uint32_t type : {2U, 3U, 4U, 5U, 6U}) {
    EXPECT_EQ(pool.reserve(5, {.stage = 1, .type = type, .count = 1}), Status::kOk);
  }
  for (const std::uint32_t type : {0U, 1U, 7U, 0xFFFFFFFFU}) {
    EXPECT_EQ(pool.reserve(5, {.stage = 1, .type = type, .count = 1}), Status::kInvalidParameter);
    EXPECT_EQ(pool.giveBack(5, {.stage = 1, .type = type, .count = 1}), Status::kInvalidParameter);
  }
  EXPECT_EQ(pool.reserve(5, some(0)), Status::kInvalidParameter);
  EXPECT_EQ(pool.giveBack(5, some(0)), Status::kInvalidParameter);
}

TEST(SlicePool, OnlyWhatAnApplicationHasOfAStageTypeAndWidthIsGivenBack) {
  SlicePool pool;
  EXPECT_EQ(pool.reserve(5, some(3)), Status::kOk);
  EXPECT_EQ(pool.reserve(5, some(2)), Status::kOk);
  EXPECT_EQ(pool.giveBack(5, some(6)), Status::kInstanceNotExist);
  EXPECT_EQ(pool.giveBack(6, some(1)), Status::kInstanceNotExist);
  EXPECT_EQ(pool.giveBack(5, some(1, true)), Status::kInstanceNotExist);
  EXPECT_EQ(pool.giveBack(5, {.stage = 2, .type = 4, .count = 1}), Status::kInstanceNotExist);
  EXPECT_EQ(pool.giveBack(5, {.stage = 1, .type = 5, .count = 1}), Status::kInstanceNotExist);
  EXPECT_EQ(pool.freeIn(1), 11U);
  EXPECT_EQ(pool.giveBack(5, some(4)), Status::kOk);
  EXPECT_EQ(pool.giveBack(5, some(1)), Status::kOk);
  EXPECT_EQ(pool.giveBack(5, some(1)), Status::kInstanceNotExist);
  EXPECT_EQ(pool.freeIn(1), 16U);
}

TEST(SlicePool, RemovingAllOfAnApplicationLeavesTheOthers) {
  SlicePool pool;
  pool.reserve(5, some(3));
  pool.reserve(5, some(2, true));
  pool.reserve(5, {.stage = 0, .type = 2, .count = 16});
  pool.reserve(6, some(1));
  EXPECT_EQ(pool.removeAllOf(5), 21U);
  EXPECT_EQ(pool.removeAllOf(5), 0U);
  EXPECT_EQ(pool.freeIn(0), 16U);
  EXPECT_EQ(pool.freeIn(1), 15U);
  EXPECT_EQ(pool.giveBack(6, some(1)), Status::kOk);
}

TEST(SlicePool, ExhaustedMemoryTakesNothing) {
  SlicePool pool;
  const unsigned failures = test_support::forEachAllocationFailure([&] {
    bool isReserved = false;
    try {
      isReserved = pool.reserve(5, some(3)) == Status::kOk;
    } catch (const std::bad_alloc &) {
    }
    const test_support::AllocationExemption exemption;
    EXPECT_EQ(pool.freeIn(1), isReserved ? 13U : 16U);
    EXPECT_EQ(pool.giveBack(5, some(1)), isReserved ? Status::kOk : Status::kInstanceNotExist);
  });
  EXPECT_GT(failures, 0U);
}

}  // namespace
}  // namespace aclmgr
