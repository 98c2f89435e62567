#include "manager/model/status.h"

#include <gtest/gtest.h>

#include <string_view>
#include <utility>

namespace aclmgr {
namespace {

TEST(StatusText, EveryStatusHasItsNumberAndWords) {
  const std::pair<int, std::string_view> expected[] = {{0, "OK"},
                                                       {-2, "InvalidParameter"},
                                                       {-3, "InvalidMessage"},
                                                       {-10, "PolicyExist"},
                                                       {-11, "PolicyNotExist"},
                                                       {-13, "PolicyInUse"},
                                                       {-14, "InstNotExist"},
                                                       {-15, "InstExist"},
                                                       {-16, "InstInUse"},
                                                       {-18, "No memory"},
                                                       {-22, "Invalid rule"}};
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
