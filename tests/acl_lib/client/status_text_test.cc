#include <map>

#include "tests/acl_lib/library_test.h"

namespace {

using testing::Each;
using testing::StrEq;

const std::map<int, const char *> kTexts = {
    {1, "Pending"},
    {0, "OK"},
    {-1, "Error"},
    {-2, "InvalidParameter"},
    {-3, "InvalidMessage"},
    {-10, "PolicyExist"},
    {-11, "PolicyNotExist"},
    {-13, "PolicyInUse"},
    {-14, "InstNotExist"},
    {-15, "InstExist"},
    {-16, "InstInUse"},
    {-17, "ConfigFailed"},
    {-18, "No memory"},
    {-19, "Rule does not exist"},
    {-20, "Rule rule has already been applied to inst"},
    {-21, "Rule already exists"},
    {-22, "Invalid rule"},
    {-31, "Egress ACLs are not supported"},
    {-32, "Redirect is not supported in egress"},
    {-33, "Policy has attribute"},
    {-39, "Policy entry has network zone and a statement, both having same attribute"},
    {-40, "Source-zone and destination-zone are not supported in dynamic rules"},
    {-41, "Unable to install new rule. No more hardware resource."},
    {-42, "Counter does not exist."},
    {-43, "Pending config request is cancelled out."},
    {-140, "Meter not found"},
    {-158,
     "Associated per-port meter does not have port specific configuration. Need to configure meter "
     "before associating to rule."},
    {-159, "Meter is already bound to client"},
    {-160, "Meter is not bound to client"},
    {-201, "Flow-redirect name is not found"},
    {-301, "Zone already has the same entity value with same or wider mask"},
    {-302, "Specified entity value is not part of the zone"},
    {-303, "Reached maximum number of attributes. Unable to add more"},
    {-304, "Zone does not exist"},
    {-305, "Unable to delete zone. Zone has one or more policies"},
    {-306, "Unable to delete zones. One or more zones are part of policies."},
    {-308, "Network zone in policy has no attributes."},
    {-309, "One or more policies refer the network zone. Cannot delete all entities"},
    {-310, "Network zone in policy does not exist or is not having any entities"},
};

std::string unknown(int status) {
  return "UnknownStatusCode :" + std::to_string(status) + ": ";
}

TEST(StatusText, EveryStatusHasItsTextOrTheUnknownForm) {
  for (int status = -32768; status <= 32767; ++status) {
    const auto known = kTexts.find(status);
    const std::string expected = known != kTexts.end() ? known->second : unknown(status);
    ASSERT_EQ(aclStatusText(static_cast<std::int16_t>(status)), expected);
  }
}

TEST(StatusText, StatusZeroReadsOkOnePendingAndTwoIsUnknown) {
  EXPECT_STREQ(aclStatusText(0), "OK");
  EXPECT_STREQ(aclStatusText(1), "Pending");
  EXPECT_STREQ(aclStatusText(2), "UnknownStatusCode :2: ");
}

TEST(StatusText, GapsOfTheTableAreUnknown) {
  EXPECT_STREQ(aclStatusText(-12), "UnknownStatusCode :-12: ");
  EXPECT_STREQ(aclStatusText(-307), "UnknownStatusCode :-307: ");
}

TEST(StatusText, BothEndsOfTheTableAreKnownAndTheirNeighboursUnknown) {
  EXPECT_STREQ(aclStatusText(-310),
               "Network zone in policy does not exist or is not having any entities");
  EXPECT_STREQ(aclStatusText(-311), "UnknownStatusCode :-311: ");
  EXPECT_STREQ(aclStatusText(1), "Pending");
  EXPECT_STREQ(aclStatusText(2), "UnknownStatusCode :2: ");
}

TEST(StatusText, ExtremesOfTheNumberAreUnknown) {
  EXPECT_STREQ(aclStatusText(-32768), "UnknownStatusCode :-32768: ");
  EXPECT_STREQ(aclStatusText(32767), "UnknownStatusCode :32767: ");
}

TEST(StatusText, UnknownStatusIsWrittenIntoTheBufferWithABlankAtTheEnd) {
  const char *text = aclStatusText(-99);
  EXPECT_EQ(text, aclStatusStringBuff);
  EXPECT_STREQ(aclStatusStringBuff, "UnknownStatusCode :-99: ");
}

TEST(StatusText, TextOfStatusMinus20RepeatsAWord) {
  EXPECT_STREQ(aclStatusText(-20), "Rule rule has already been applied to inst");
}

TEST(StatusText, EveryCallClearsTheWholeBufferAlsoWhenItReturnsAConstantText) {
  for (char &character : aclStatusStringBuff) character = 'x';
  const char *text = aclStatusText(0);
  EXPECT_NE(text, aclStatusStringBuff);
  EXPECT_THAT(aclStatusStringBuff, Each('\0'));
}

TEST(StatusText, UnknownTextIsFollowedByZeros) {
  for (char &character : aclStatusStringBuff) character = 'x';
  aclStatusText(5);
  EXPECT_EQ(std::string(aclStatusStringBuff, 100),
            std::string("UnknownStatusCode :5: ") + std::string(78, '\0'));
}

TEST(StatusText, ConstantTextSurvivesTheNextCall) {
  const char *text = aclStatusText(-10);
  aclStatusText(-99);
  EXPECT_THAT(text, StrEq("PolicyExist"));
  EXPECT_EQ(text, aclStatusText(-10));
}

}  // namespace
