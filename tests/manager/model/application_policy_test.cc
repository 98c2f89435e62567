#include "manager/model/application_policy.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/bytes.h"

namespace aclmgr {
namespace {

using test_support::hex;

ApplicationPolicyKey keyMatching(int type, std::string_view bytes) {
  ApplicationPolicyKey key{.appId = 5, .kind = 2, .tag = 7, .word3 = 8};
  key.match.type = static_cast<MatchType>(type);
  std::ranges::copy(hex(bytes), key.match.bytes.begin());
  return key;
}

TEST(UnapplyKey, LeavesOutMatchedNamesAndMasks) {
  EXPECT_EQ(unapplyKey(keyMatching(26, "6162")), keyMatching(0, ""));
  EXPECT_EQ(unapplyKey(keyMatching(62, "010203040506 0708090A0B0C")),
            keyMatching(62, "010203040506"));
  EXPECT_EQ(unapplyKey(keyMatching(63, "010203040506 0708090A0B0C")),
            keyMatching(63, "010203040506"));
}

TEST(UnapplyKey, KeepsWordsAndNoMatch) {
  EXPECT_EQ(unapplyKey(keyMatching(39, "0102030405060708")), keyMatching(39, "0102030405060708"));
  EXPECT_EQ(unapplyKey(keyMatching(0, "")), keyMatching(0, ""));
}

}  // namespace
}  // namespace aclmgr
