#include "manager/model/status.h"

#include <gtest/gtest.h>

#include <string_view>
#include <utility>

namespace aclmgr {
namespace {

TEST(StatusText, EveryStatusHasItsNumberAndWords) {
  const std::pair<int, std::string_view> expected[] = {
      {0, "OK"},
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
      {-33, "Policy has attribute"},
      {-41, "Unable to install new rule. No more hardware resource."},
      {-42, "Counter does not exist."},
      {-43, "Pending config request is cancelled out."},
      {-140, "Meter not found"},
      {-159, "Meter is already bound to client"},
      {-160, "Meter is not bound to client"},
  };
  for (const auto &[number, text] : expected) {
    EXPECT_EQ(statusText(static_cast<Status>(number)), text);
  }
}

TEST(StatusText, AnyOtherNumberIsUnknown) {
  EXPECT_EQ(statusText(static_cast<Status>(-12)), "unknown status");
  EXPECT_EQ(statusText(static_cast<Status>(1)), "unknown status");
}

}  // namespace
}  // namespace aclmgr
