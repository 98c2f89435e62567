#include "platform/host/runtime_directory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "swplat/server.h"
#include "tests/platform/host/test_directory.h"

namespace swplat {
namespace {

constexpr unsigned kRoot = 0;
constexpr unsigned kUser = 1000;

TEST(RuntimeDirectoryTest, SwplatDirComesFirstForEverybody) {
  EXPECT_EQ(chooseRuntimeDirectory({"/some/where", "/run/user/1000", kRoot}), "/some/where");
  EXPECT_EQ(chooseRuntimeDirectory({"/some/where", "/run/user/1000", kUser}), "/some/where");
}

TEST(RuntimeDirectoryTest, RootMeetsInRun) {
  EXPECT_EQ(chooseRuntimeDirectory({nullptr, "/run/user/0", kRoot}), "/run/swplat");
}

TEST(RuntimeDirectoryTest, UsersMeetInTheirOwnRuntimeDirectory) {
  EXPECT_EQ(chooseRuntimeDirectory({nullptr, "/run/user/7", kUser}), "/run/user/7/swplat");
  EXPECT_EQ(chooseRuntimeDirectory({nullptr, nullptr, kUser}), "/run/user/1000/swplat");
}

TEST(RuntimeDirectoryTest, EmptyVariablesCountAsNotSet) {
  EXPECT_EQ(chooseRuntimeDirectory({"", "", kUser}), "/run/user/1000/swplat");
}

TEST(RuntimeDirectoryTest, ARelativePathIsTakenFromWhereTheProcessIsNow) {
  EXPECT_EQ(chooseRuntimeDirectory({"here", nullptr, kUser}),
            (std::filesystem::current_path() / "here").string());
}

TEST(RuntimeDirectoryTest, ThePathOfThisProcessIsWhatSwplatDirSaid) {
  EXPECT_EQ(swplatRuntimeDirectory(), host_test::directory());
}

TEST(RuntimeDirectoryTest, DirectoriesAreMadeOnDemandWithMode750WhateverTheUmaskIs) {
  const std::string name = host_test::uniqueName("ondemand");
  const std::string path = host_test::directory() + "/" + name;
  EXPECT_THROW(openRuntimeDirectory(OpenDirectory::kExisting, name.c_str()), std::system_error);
  const mode_t before = umask(077);
  EXPECT_TRUE(openRuntimeDirectory(OpenDirectory::kCreate, name.c_str()));
  umask(before);
  struct stat status = {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777u, 0750u);
  EXPECT_TRUE(openRuntimeDirectory(OpenDirectory::kExisting, name.c_str()));
}

TEST(RuntimeDirectoryTest, DirectoriesBelowOneThatHandsItsGroupOnDoSoToo) {
  const std::string name = host_test::uniqueName("group");
  const std::string path = host_test::directory() + "/" + name;
  ASSERT_EQ(chmod(host_test::directory().c_str(), 02750), 0);
  EXPECT_TRUE(openRuntimeDirectory(OpenDirectory::kCreate, name.c_str()));
  ASSERT_EQ(chmod(host_test::directory().c_str(), 0750), 0);
  struct stat status = {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777u, 02750u);
}

TEST(RuntimeDirectoryTest, AnExistingDirectoryKeepsItsMode) {
  const std::string name = host_test::uniqueName("existing");
  const std::string path = host_test::directory() + "/" + name;
  ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
  EXPECT_TRUE(openRuntimeDirectory(OpenDirectory::kCreate, name.c_str()));
  struct stat status = {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777u, 0700u);
}

}  // namespace
}  // namespace swplat
