#include "platform/host/board_facts.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "platform/board.h"
#include "platform/process.h"

namespace swplat {
namespace {

class BoardFactsTest : public testing::Test {
 protected:
  void read(const std::string &lines) {
    std::istringstream stream(lines);
    readConfiguration(stream, facts_, complaints_);
  }
  void readVariables(const std::map<std::string, std::string> &variables) {
    readEnvironment(
        [&](const char *name) {
          const auto found = variables.find(name);
          return found == variables.end() ? nullptr : found->second.c_str();
        },
        facts_, complaints_);
  }

  BoardFacts facts_;
  std::vector<std::string> complaints_;
};

TEST_F(BoardFactsTest, EverythingIsOneUnlessSet) {
  read("");
  readVariables({});
  EXPECT_EQ(facts_.slot, 1u);
  EXPECT_EQ(facts_.chassis, 1u);
  EXPECT_EQ(facts_.platform, 1u);
  EXPECT_EQ(facts_.egressAcl, 1u);
  EXPECT_TRUE(complaints_.empty());
}

TEST_F(BoardFactsTest, TheFileSetsEveryFact) {
  read(
      "# board\n"
      "\n"
      "  slot = 3\r\n"
      "chassis=2\n"
      "\tplatform\t=\t77\n"
      "egress_acl = 0\n"
      "process_name = line card agent\n");
  EXPECT_EQ(facts_.slot, 3u);
  EXPECT_EQ(facts_.chassis, 2u);
  EXPECT_EQ(facts_.platform, 77u);
  EXPECT_EQ(facts_.egressAcl, 0u);
  EXPECT_EQ(facts_.processName, "line card agent");
  EXPECT_TRUE(complaints_.empty());
}

TEST_F(BoardFactsTest, TheEnvironmentOverridesTheFile) {
  read("slot = 3\nprocess_name = file\n");
  readVariables({{"SWPLAT_SLOT", "4"},
                 {"SWPLAT_CHASSIS", "5"},
                 {"SWPLAT_PLATFORM", "6"},
                 {"SWPLAT_EGRESS_ACL", "0"},
                 {"SWPLAT_PROCESS_NAME", "environment"}});
  EXPECT_EQ(facts_.slot, 4u);
  EXPECT_EQ(facts_.chassis, 5u);
  EXPECT_EQ(facts_.platform, 6u);
  EXPECT_EQ(facts_.egressAcl, 0u);
  EXPECT_EQ(facts_.processName, "environment");
}

TEST_F(BoardFactsTest, NumbersAreTakenUpToTheirLimits) {
  read("slot = 0\nchassis = 255\nplatform = 4294967295\n");
  EXPECT_EQ(facts_.slot, 0u);
  EXPECT_EQ(facts_.chassis, 255u);
  EXPECT_EQ(facts_.platform, 4294967295u);
  EXPECT_TRUE(complaints_.empty());
}

TEST_F(BoardFactsTest, NumbersBeyondTheirLimitsAreIgnoredWithAComplaint) {
  read("slot = 256\nplatform = 4294967296\negress_acl = 2\n");
  EXPECT_EQ(facts_.slot, 1u);
  EXPECT_EQ(facts_.platform, 1u);
  EXPECT_EQ(facts_.egressAcl, 1u);
  ASSERT_EQ(complaints_.size(), 3u);
  EXPECT_EQ(complaints_[0], "slot: \"256\" is not a number from 0 to 255; ignored");
}

TEST_F(BoardFactsTest, WhatIsNoNumberIsIgnoredWithAComplaint) {
  readVariables({{"SWPLAT_SLOT", "two"}, {"SWPLAT_CHASSIS", "-1"}, {"SWPLAT_PLATFORM", "1x"}});
  EXPECT_EQ(facts_.slot, 1u);
  EXPECT_EQ(facts_.chassis, 1u);
  EXPECT_EQ(facts_.platform, 1u);
  EXPECT_EQ(complaints_.size(), 3u);
}

TEST_F(BoardFactsTest, UnknownLinesAndEmptyNamesAreIgnoredWithAComplaint) {
  facts_.processName = "kept";
  read("speed = 100\nslot\nnonsense\nprocess_name =\n");
  EXPECT_EQ(facts_.slot, 1u);
  EXPECT_EQ(facts_.processName, "kept");
  ASSERT_EQ(complaints_.size(), 4u);
  EXPECT_EQ(complaints_[0], "\"speed = 100\" is no setting known here; ignored");
}

TEST_F(BoardFactsTest, TheProcessIsNamedAfterItsProgramUnlessSet) {
  EXPECT_STREQ(platGetProcessName(), "host_files");
  EXPECT_EQ(boardGetSlotSelf(), 1u);
  EXPECT_EQ(boardGetChassisId(), 1u);
  EXPECT_EQ(boardGetPlatformId(), 1u);
  EXPECT_EQ(boardCardEgressAclCapable(9), 1);
}

}  // namespace
}  // namespace swplat
