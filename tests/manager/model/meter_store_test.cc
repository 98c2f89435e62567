#include "manager/model/meter_store.h"

#include <gtest/gtest.h>

#include <new>

#include "tests/support/failing_allocator.h"

namespace aclmgr {
namespace {

constexpr std::uint32_t kOwner = 3;
constexpr std::uint32_t kContext = 9;

class MeterStoreTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(store_.create("m", kOwner, kContext), Status::kOk); }

  MeterStore store_;
};

TEST_F(MeterStoreTest, CreatedMeterIsNeitherConfiguredNorBound) {
  const Meter *meter = store_.find("m");
  ASSERT_NE(meter, nullptr);
  EXPECT_EQ(meter->owner, kOwner);
  EXPECT_EQ(meter->context, kContext);
  EXPECT_FALSE(meter->rates.has_value());
  EXPECT_TRUE(meter->targets.empty());
  EXPECT_EQ(store_.find("n"), nullptr);
}

TEST_F(MeterStoreTest, TheSameMeterAgainIsOkAndAnyOtherOfItsNameExists) {
  EXPECT_EQ(store_.create("m", kOwner, kContext), Status::kOk);
  EXPECT_EQ(store_.create("m", kOwner + 1, kContext), Status::kInstanceExist);
  EXPECT_EQ(store_.create("m", kOwner, kContext + 1), Status::kInstanceExist);
  EXPECT_EQ(store_.find("m")->context, kContext);
  EXPECT_EQ(store_.size(), 1U);
}

TEST_F(MeterStoreTest, AsManyMetersAreKeptAsTheLimitAllows) {
  MeterStore store(2);
  EXPECT_EQ(store.create("a", kOwner, 0), Status::kOk);
  EXPECT_EQ(store.create("b", kOwner, 0), Status::kOk);
  EXPECT_EQ(store.create("c", kOwner, 0), Status::kNoMemory);
  EXPECT_EQ(store.create("b", kOwner, 0), Status::kOk);  // is there already
  EXPECT_EQ(store.remove("a", kOwner), Status::kOk);
  EXPECT_EQ(store.create("c", kOwner, 0), Status::kOk);
}

TEST_F(MeterStoreTest, ConfiguringReplacesTheRates) {
  const MeterRates first{1, 2, 3, 4, 5, 6, 7};
  const MeterRates second{.cirRate = 8};
  EXPECT_EQ(store_.configure("m", kOwner, first), Status::kOk);
  EXPECT_EQ(store_.find("m")->rates, first);
  EXPECT_EQ(store_.configure("m", kOwner, second), Status::kOk);
  EXPECT_EQ(store_.find("m")->rates, second);
}

TEST_F(MeterStoreTest, OnlyTheOwnersMeterIsConfigured) {
  EXPECT_EQ(store_.configure("n", kOwner, {}), Status::kMeterNotFound);
  EXPECT_EQ(store_.configure("m", kOwner + 1, {}), Status::kMeterNotFound);
  EXPECT_FALSE(store_.find("m")->rates.has_value());
}

TEST_F(MeterStoreTest, OnlyTheOwnersMeterIsRemoved) {
  EXPECT_EQ(store_.remove("n", kOwner), Status::kMeterNotFound);
  EXPECT_EQ(store_.remove("m", kOwner + 1), Status::kMeterNotFound);
  EXPECT_EQ(store_.remove("m", kOwner), Status::kOk);
  EXPECT_EQ(store_.remove("m", kOwner), Status::kMeterNotFound);
}

TEST_F(MeterStoreTest, BoundMeterIsRemovedOnlyAfterItsLastTarget) {
  store_.bind("m", 0);
  store_.bind("m", 255);
  EXPECT_EQ(store_.remove("m", kOwner), Status::kInstanceInUse);
  store_.unbind("m", 0);
  EXPECT_EQ(store_.remove("m", kOwner), Status::kInstanceInUse);
  store_.unbind("m", 255);
  EXPECT_EQ(store_.remove("m", kOwner), Status::kOk);
}

TEST_F(MeterStoreTest, MeterIsBoundToEveryTargetOnce) {
  EXPECT_EQ(store_.bind("n", 1), Status::kMeterNotFound);
  EXPECT_EQ(store_.bind("m", 1), Status::kOk);
  EXPECT_EQ(store_.bind("m", 1), Status::kMeterBound);
  EXPECT_EQ(store_.bind("m", 2), Status::kOk);
}

TEST_F(MeterStoreTest, MeterIsUnboundFromWhatItIsBoundTo) {
  EXPECT_EQ(store_.unbind("n", 1), Status::kMeterNotFound);
  EXPECT_EQ(store_.unbind("m", 1), Status::kMeterNotBound);
  store_.bind("m", 1);
  EXPECT_EQ(store_.unbind("m", 2), Status::kMeterNotBound);
  EXPECT_EQ(store_.unbind("m", 1), Status::kOk);
  EXPECT_EQ(store_.unbind("m", 1), Status::kMeterNotBound);
}

TEST_F(MeterStoreTest, TwoMetersMayHaveOneTarget) {
  store_.create("n", kOwner, kContext);
  EXPECT_EQ(store_.bind("m", 1), Status::kOk);
  EXPECT_EQ(store_.bind("n", 1), Status::kOk);
}

TEST_F(MeterStoreTest, RemovingAllOfAnOwnerForgetsBoundMetersTooAndLeavesThoseOfOthers) {
  store_.create("n", kOwner, 0);
  store_.create("other", kOwner + 1, 0);
  store_.bind("n", 1);
  EXPECT_EQ(store_.removeAllOf(kOwner), 2U);
  EXPECT_EQ(store_.removeAllOf(kOwner), 0U);
  EXPECT_EQ(store_.size(), 1U);
  EXPECT_NE(store_.find("other"), nullptr);
}

TEST_F(MeterStoreTest, ExhaustedMemoryChangesNothing) {
  constexpr std::string_view kName = "a meter with quite a long name";
  const unsigned failures = test_support::forEachAllocationFailure([&] {
    bool isCreated = false;
    bool isBound = false;
    try {
      isCreated = store_.create(kName, kOwner, 0) == Status::kOk;
      isBound = store_.bind(kName, 1) == Status::kOk;
    } catch (const std::bad_alloc &) {
    }
    const test_support::AllocationExemption exemption;
    EXPECT_EQ(store_.find(kName) != nullptr, isCreated);
    EXPECT_EQ(store_.unbind(kName, 1), !isCreated ? Status::kMeterNotFound
                                       : isBound  ? Status::kOk
                                                  : Status::kMeterNotBound);
    store_.remove(kName, kOwner);
  });
  EXPECT_GT(failures, 0U);
}

}  // namespace
}  // namespace aclmgr
