#include "manager/server/handler_tables.h"

#include <gtest/gtest.h>

#include "tests/manager/app_policy_bytes.h"
#include "tests/manager/server/served_requests.h"

namespace aclmgr {
namespace {

using test_support::Bytes;
using test_support::hex;
using test_support::putAt;
using test_support::sliceBody;
using test_support::zeros;

class SliceHandlersTest : public testing::Test, protected test_support::ServedRequests {
 protected:
};

TEST_F(SliceHandlersTest, CodeHasItsName) {
  EXPECT_EQ(handlerOf(0x301C).codeName, "ACL_MSG_SLICE_CONFIG");
}

TEST_F(SliceHandlersTest, SlicesAreReservedAndGivenBack) {
  EXPECT_EQ(serve(sliceBody({.count = 3, .doubleWide = 1})), 0);
  EXPECT_EQ(text.fields, "application 5 reserves 3 double-wide slices, stage 1, type 4");
  EXPECT_EQ(state.slices.freeIn(1), 10U);
  EXPECT_EQ(serve(sliceBody({.unreserve = true, .count = 3})), -14);
  EXPECT_EQ(text.fields, "application 5 gives back 3 slices, stage 1, type 4");
  EXPECT_EQ(serve(sliceBody({.unreserve = true, .count = 4, .doubleWide = 1})), -14);
  EXPECT_EQ(serve(sliceBody({.unreserve = true, .count = 3, .doubleWide = 1})), 0);
  EXPECT_EQ(state.slices.freeIn(1), 16U);
}

TEST_F(SliceHandlersTest, EveryRefusalHasItsStatus) {
  EXPECT_EQ(serve(sliceBody({.count = 16})), 0);
  EXPECT_EQ(serve(sliceBody({.count = 1})), -41);
  EXPECT_EQ(serve(sliceBody({.stage = 4})), -2);
  EXPECT_EQ(serve(sliceBody({.type = 7})), -2);
  EXPECT_EQ(serve(sliceBody({.count = 0})), -2);
  EXPECT_EQ(serve(sliceBody({.unreserve = true, .count = 0})), -2);
  const Bytes body = sliceBody({.unreserve = true});
  for (std::size_t length = 2; length < body.size(); ++length) {
    const Bytes cut(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(length));
    ASSERT_EQ(serve(cut), -3) << length;
  }
  EXPECT_EQ(state.slices.freeIn(1), 0U);
}

TEST_F(SliceHandlersTest, ReplyHas616BytesUnderItsOwnCodeWithAllThatWasAsked) {
  Bytes request = sliceBody({.unreserve = true,
                             .stage = 0x01020304,
                             .type = 0x11121314,
                             .count = 9,
                             .doubleWide = 0x21222324,
                             .appId = 0x31323334});
  for (const std::size_t place : {4U, 16U, 49U, 587U}) putAt(request, place, hex("EE"));
  Bytes expected = zeros(616);
  putAt(expected, 0, hex("301D FFD7"));  // -41
  putAt(expected, 588, hex("0A0B0C0D 00000007 01020304 11121314 09AABBCC 21222324 31323334"));
  EXPECT_EQ(handlerOf(0x301C).makeReply(request, Status::kNoHardwareResource), expected);
}

TEST_F(SliceHandlersTest, ShortRequestIsEchoedAsIfZerosFollowed) {
  Bytes expected = zeros(616);
  putAt(expected, 0, hex("301D FFFD"));
  EXPECT_EQ(handlerOf(0x301C).makeReply(hex("301C 1122"), Status::kInvalidMessage), expected);
}

}  // namespace
}  // namespace aclmgr
