#include "platform/host/process_state.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <string>

#include "platform/board.h"
#include "swplat/server.h"
#include "tests/platform/host/child.h"
#include "tests/platform/host/test_directory.h"

namespace {

using host_test::Child;
using host_test::uniqueName;

TEST(ProcessStateTest, NobodyRunsAtFirst) {
  EXPECT_EQ(boardGetProcessState(uniqueName("daemon").c_str()), 0);
  EXPECT_EQ(boardGetProcessState(""), 0);
  EXPECT_EQ(boardGetProcessState(nullptr), 0);
  EXPECT_EQ(boardGetProcessState("../states/x"), 0);
}

TEST(ProcessStateTest, APublishedStateIsSeenUntilItIsWithdrawn) {
  const std::string name = uniqueName("daemon");
  EXPECT_EQ(swplatPublishProcessState(name.c_str(), 9), 0);
  EXPECT_EQ(boardGetProcessState(name.c_str()), 9);
  EXPECT_EQ(swplatPublishProcessState(name.c_str(), -3), 0);
  EXPECT_EQ(boardGetProcessState(name.c_str()), -3);
  EXPECT_EQ(swplatPublishProcessState(name.c_str(), 0), 0);
  EXPECT_EQ(boardGetProcessState(name.c_str()), 0);
}

TEST(ProcessStateTest, EveryNumberButZeroCanBeAState) {
  const std::string name = uniqueName("daemon");
  for (const int32_t state : {1, -1, INT32_MAX, INT32_MIN}) {
    EXPECT_EQ(swplatPublishProcessState(name.c_str(), state), 0);
    EXPECT_EQ(boardGetProcessState(name.c_str()), state);
  }
}

TEST(ProcessStateTest, AStateDisappearsWithAProcessThatIsKilled) {
  const std::string name = uniqueName("daemon");
  Child child([&] { swplatPublishProcessState(name.c_str(), 9); });
  EXPECT_EQ(boardGetProcessState(name.c_str()), 9);
  child.kill();
  EXPECT_EQ(boardGetProcessState(name.c_str()), 0);
}

TEST(ProcessStateTest, ANameBelongsToOneLiveProcess) {
  const std::string name = uniqueName("daemon");
  Child child([&] { swplatPublishProcessState(name.c_str(), 9); });
  errno = 0;
  EXPECT_EQ(swplatPublishProcessState(name.c_str(), 4), -1);
  EXPECT_EQ(errno, EBUSY);
  EXPECT_EQ(boardGetProcessState(name.c_str()), 9);
  child.kill();
  EXPECT_EQ(swplatPublishProcessState(name.c_str(), 4), 0);
  EXPECT_EQ(boardGetProcessState(name.c_str()), 4);
}

TEST(ProcessStateTest, NamesHaveUpTo33Characters) {
  const std::string longest(33, 'n');
  EXPECT_EQ(swplatPublishProcessState(longest.c_str(), 9), 0);
  EXPECT_EQ(boardGetProcessState(longest.c_str()), 9);
  errno = 0;
  EXPECT_EQ(swplatPublishProcessState((longest + "n").c_str(), 9), -1);
  EXPECT_EQ(errno, EINVAL);
}

}  // namespace
