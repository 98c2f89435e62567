#include "tests/acl_lib/library_test.h"

namespace {

using namespace acl_test;

class ProcessInfoTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    connectHandle();
  }

  static testing::AssertionResult announcementMatches(const char *name, const char *vector) {
    if (aclLibSendProcessInfo(name) != 0) return testing::AssertionFailure() << "not sent";
    const std::vector<Bytes> bodies = sentBodies();
    if (bodies.size() != 1) return testing::AssertionFailure() << bodies.size() << " requests";
    return matchesGolden(bodies[0], vector);
  }
};

TEST_F(ProcessInfoTest, AnnouncementIs628BytesWithTheProcessName) {
  EXPECT_TRUE(announcementMatches("edge-agent", "transport/process_info.golden"));
}

TEST_F(ProcessInfoTest, NameOf40CharactersIsSentAsItsFirst32) {
  EXPECT_TRUE(announcementMatches("abcdefghijklmnopqrstuvwxyz0123456789ABCD",
                                  "transport/process_info_of_40_characters.golden"));
}

TEST_F(ProcessInfoTest, NameOf32CharactersIsSentWhole) {
  EXPECT_TRUE(announcementMatches("abcdefghijklmnopqrstuvwxyz012345",
                                  "transport/process_info_of_40_characters.golden"));
}

TEST_F(ProcessInfoTest, NameIsReadNoFurtherThan32Characters) {
  const std::vector<char> name = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k',
                                  'l', 'm', 'n', 'o', 'p', 'q', 'r', 's', 't', 'u', 'v',
                                  'w', 'x', 'y', 'z', '0', '1', '2', '3', '4', '5'};
  EXPECT_TRUE(announcementMatches(name.data(), "transport/process_info_of_40_characters.golden"));
}

TEST_F(ProcessInfoTest, EmptyNameIsSentEmpty) {
  EXPECT_TRUE(announcementMatches("", "transport/process_info_without_name.golden"));
}

TEST_F(ProcessInfoTest, NullNameIsSentEmpty) {
  EXPECT_TRUE(announcementMatches(nullptr, "transport/process_info_without_name.golden"));
}

TEST_F(ProcessInfoTest, AnnouncementIsSentAtOnceAndReturnsTheResultOfTheSend) {
  fake().queueResults("msgbusSend", {628 + 4, -116, -115, -1});
  EXPECT_EQ(aclLibSendProcessInfo("edge-agent"), 0);
  EXPECT_EQ(aclLibSendProcessInfo("edge-agent"), 0);
  EXPECT_EQ(aclLibSendProcessInfo("edge-agent"), -115);
  EXPECT_EQ(aclLibSendProcessInfo("edge-agent"), -1);
}

TEST_F(ProcessInfoTest, AnnouncementWithoutAConnectionReturnsMinusOne) {
  transHandleSetPeer(aclHandle, 0);
  EXPECT_EQ(aclLibSendProcessInfo("edge-agent"), -1);
}

TEST_F(ProcessInfoTest, AnnouncementNeedsNoMemory) {
  const FailAllocation guard(1);
  EXPECT_EQ(aclLibSendProcessInfo("edge-agent"), 0);
  EXPECT_FALSE(guard.failed());
}

}  // namespace
