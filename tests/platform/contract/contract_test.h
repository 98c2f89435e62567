// The fixture of the contract suite, and what differs between the platforms it runs against.
#ifndef TESTS_PLATFORM_CONTRACT_CONTRACT_TEST_H
#define TESTS_PLATFORM_CONTRACT_CONTRACT_TEST_H

#include <gtest/gtest.h>

#include <functional>

namespace contract {

// Given by fake_glue.cc and host_glue.cc.
void setUpPlatform();
void checkPlatformAfterTest();

// Lets the dispatcher work until `done` returns true. Returns false when it does not within
// seconds.
bool dispatchUntil(const std::function<bool()> &done);

// Lets the dispatcher work for a time.
void dispatchFor(unsigned milliseconds);

class ContractTest : public testing::Test {
 protected:
  void SetUp() override { setUpPlatform(); }
  void TearDown() override { checkPlatformAfterTest(); }
};

}  // namespace contract

#endif  // TESTS_PLATFORM_CONTRACT_CONTRACT_TEST_H
