#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "platform/board.h"
#include "platform/procmon.h"
#include "tests/platform/host/child.h"
#include "tests/platform/host/test_directory.h"

namespace {

using host_test::Child;
using host_test::uniqueName;

std::string reportFile(const std::string &name, pid_t process) {
  return host_test::directory() + "/components/" + name + "." + std::to_string(process);
}

int reportedState(const std::string &name, pid_t process) {
  int state = 0;
  std::ifstream(reportFile(name, process)) >> state;
  return state;
}

TEST(ComponentStateTest, StatesAreReportedPerProcess) {
  const std::string name = uniqueName("component");
  EXPECT_EQ(procmonSetState(name.c_str(), 1), 0);
  EXPECT_EQ(reportedState(name, getpid()), 1);
  EXPECT_EQ(procmonSetState(name.c_str(), 3), 0);
  EXPECT_EQ(reportedState(name, getpid()), 3);
}

TEST(ComponentStateTest, AReportIsNoStatementAboutTheDaemonOfThatName) {
  const std::string name = uniqueName("component");
  EXPECT_EQ(procmonSetState(name.c_str(), 9), 0);
  EXPECT_EQ(boardGetProcessState(name.c_str()), 0);
}

TEST(ComponentStateTest, ReportsOfDeadProcessesAreRemovedWithTheNextNewReport) {
  const std::string name = uniqueName("component");
  Child dead([&] { procmonSetState(name.c_str(), 2); });
  Child alive([&] { procmonSetState(name.c_str(), 2); });
  dead.kill();
  EXPECT_TRUE(std::filesystem::exists(reportFile(name, dead.pid())));
  EXPECT_EQ(procmonSetState(name.c_str(), 1), 0);
  EXPECT_FALSE(std::filesystem::exists(reportFile(name, dead.pid())));
  EXPECT_EQ(reportedState(name, alive.pid()), 2);
}

TEST(ComponentStateTest, OnlyTheFirst33CharactersOfANameCount) {
  const std::string longest(33, 'c');
  EXPECT_EQ(procmonSetState((longest + "xyz").c_str(), 2), 0);
  EXPECT_EQ(reportedState(longest, getpid()), 2);
}

TEST(ComponentStateTest, NamesThatAreNoneAreRefused) {
  EXPECT_EQ(procmonSetState(nullptr, 1), -1);
  EXPECT_EQ(procmonSetState("", 1), -1);
  EXPECT_EQ(procmonSetState("a/b", 1), -1);
}

}  // namespace
