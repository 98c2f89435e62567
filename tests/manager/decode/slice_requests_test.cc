#include "manager/decode/slice_requests.h"

#include <gtest/gtest.h>

#include "tests/manager/app_policy_bytes.h"
#include "tests/manager/decode/decoding.h"

namespace aclmgr {
namespace {

using test_support::sliceBody;

TEST(DecodeSlices, EveryFieldIsReadAndTheCountIsTheMostSignificantByte) {
  const auto decoded = decodeSlices(sliceBody({.unreserve = true,
                                               .stage = 0x01020304,
                                               .type = 0x11121314,
                                               .count = 0xFE,
                                               .doubleWide = 0x80000000,
                                               .appId = 0x21222324}));
  ASSERT_TRUE(decoded);
  const auto &[appId, givesBack, slices] = decoded.value();
  EXPECT_EQ(appId, 0x21222324U);
  EXPECT_TRUE(givesBack);
  EXPECT_EQ(slices.stage, 0x01020304U);
  EXPECT_EQ(slices.type, 0x11121314U);
  EXPECT_TRUE(slices.doubleWide);
  EXPECT_EQ(slices.count, 0xFEU);
}

TEST(DecodeSlices, ZeroWordsReserveSlicesOfSingleWidth) {
  const auto decoded = decodeSlices(sliceBody({}));
  ASSERT_TRUE(decoded);
  EXPECT_FALSE(decoded.value().givesBack);
  EXPECT_FALSE(decoded.value().slices.doubleWide);
}

TEST(DecodeSlices, OtherLengthsThan616AreRefused) {
  test_support::expectOneLength(decodeSlices, sliceBody({}));
}

}  // namespace
}  // namespace aclmgr
