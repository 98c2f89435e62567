#include "platform/host/claim_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/host/runtime_directory.h"
#include "tests/platform/host/child.h"
#include "tests/platform/host/test_directory.h"

namespace swplat {
namespace {

class ClaimFileTest : public testing::Test {
 protected:
  ClaimFileTest() : directory_(openRuntimeDirectory(OpenDirectory::kCreate)) {}

  FileDescriptor directory_;
  std::string name_ = host_test::uniqueName("claim");
};

TEST_F(ClaimFileTest, OneHolderAtATimeAlsoWithinAProcess) {
  std::optional<ClaimFile> first = ClaimFile::claim(directory_.number(), name_);
  ASSERT_TRUE(first);
  EXPECT_FALSE(ClaimFile::claim(directory_.number(), name_));
  first.reset();
  EXPECT_TRUE(ClaimFile::claim(directory_.number(), name_));
}

TEST_F(ClaimFileTest, AClaimIsNoAnnouncement) {
  std::optional<ClaimFile> file = ClaimFile::claim(directory_.number(), name_);
  ASSERT_TRUE(file);
  EXPECT_TRUE(ClaimFile::isClaimed(directory_.number(), name_));
  EXPECT_FALSE(ClaimFile::isAnnounced(directory_.number(), name_));
  file->announce();
  EXPECT_TRUE(ClaimFile::isAnnounced(directory_.number(), name_));
  file.reset();
  EXPECT_FALSE(ClaimFile::isClaimed(directory_.number(), name_));
  EXPECT_FALSE(ClaimFile::isAnnounced(directory_.number(), name_));
}

TEST_F(ClaimFileTest, ContentIsReadableOnlyWhileAnnounced) {
  std::optional<ClaimFile> file = ClaimFile::claim(directory_.number(), name_);
  ASSERT_TRUE(file);
  file->write("9");
  EXPECT_FALSE(ClaimFile::readAnnounced(directory_.number(), name_));
  file->announce();
  EXPECT_EQ(ClaimFile::readAnnounced(directory_.number(), name_)->substr(0, 2), "9 ");
  file->write("-12");
  EXPECT_EQ(ClaimFile::readAnnounced(directory_.number(), name_)->substr(0, 4), "-12 ");
  file.reset();
  EXPECT_FALSE(ClaimFile::readAnnounced(directory_.number(), name_));
}

TEST_F(ClaimFileTest, LookingDoesNotKeepAnybodyFromClaiming) {
  EXPECT_FALSE(ClaimFile::isClaimed(directory_.number(), name_));
  const std::optional<ClaimFile> file = ClaimFile::claim(directory_.number(), name_);
  EXPECT_TRUE(ClaimFile::isClaimed(directory_.number(), name_));
  EXPECT_TRUE(ClaimFile::isClaimed(directory_.number(), name_));
  EXPECT_TRUE(file);
}

TEST_F(ClaimFileTest, AMissingFileIsNeitherClaimedNorAnnounced) {
  EXPECT_FALSE(ClaimFile::isClaimed(directory_.number(), "missing"));
  EXPECT_FALSE(ClaimFile::isAnnounced(directory_.number(), "missing"));
  EXPECT_FALSE(ClaimFile::readAnnounced(directory_.number(), "missing"));
}

TEST_F(ClaimFileTest, AClaimEndsWithItsProcess) {
  host_test::Child child([this] {
    static std::optional<ClaimFile> held = ClaimFile::claim(directory_.number(), name_);
    held->announce();
  });
  EXPECT_TRUE(ClaimFile::isAnnounced(directory_.number(), name_));
  EXPECT_FALSE(ClaimFile::claim(directory_.number(), name_));
  child.kill();
  EXPECT_FALSE(ClaimFile::isAnnounced(directory_.number(), name_));
  EXPECT_TRUE(ClaimFile::claim(directory_.number(), name_));
}

}  // namespace
}  // namespace swplat
