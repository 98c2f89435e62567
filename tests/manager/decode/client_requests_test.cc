#include "manager/decode/client_requests.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/manager/app_policy_bytes.h"
#include "tests/manager/decode/decoding.h"

namespace aclmgr {
namespace {

using test_support::Bytes;
using test_support::checkBody;
using test_support::cleanBody;
using test_support::expectOneLength;
using test_support::hex;
using test_support::moveBody;
using test_support::putAt;
using test_support::refusalOf;

TEST(DecodeMoveAttribute, EveryFieldIsRead) {
  const auto decoded = decodeMoveAttribute(moveBody(1, 2, 255));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().attribute, 1);
  EXPECT_EQ(decoded.value().fromApplication, 2);
  EXPECT_EQ(decoded.value().toApplication, 255);
}

TEST(DecodeMoveAttribute, OtherLengthsThan2600AndFixedWordsThan9AreRefused) {
  expectOneLength(decodeMoveAttribute, moveBody(1, 2, 3));
  Bytes body = moveBody(1, 2, 3);
  putAt(body, 8, hex("00000001"));
  EXPECT_EQ(refusalOf(decodeMoveAttribute, body), "-3 the fixed word is 1, 9 expected");
}

TEST(DecodeCheckPolicy, EveryFieldIsRead) {
  const auto decoded = decodeCheckPolicy(checkBody({"web", "dns"}));
  ASSERT_TRUE(decoded);
  const std::vector<CheckedPolicy> &policies = decoded.value().policies;
  ASSERT_EQ(policies.size(), 2U);
  EXPECT_EQ(policies[1].type, 3);
  EXPECT_EQ(policies[1].value, 0x00010002U);
  EXPECT_EQ(policies[1].policyName, "dns");
}

TEST(DecodeCheckPolicy, NoneTo100PoliciesAreTaken) {
  EXPECT_EQ(refusalOf(decodeCheckPolicy, checkBody({})), "");
  const auto full = decodeCheckPolicy(checkBody(std::vector<std::string_view>(100, "p")));
  ASSERT_TRUE(full);
  EXPECT_EQ(full.value().policies.size(), 100U);
  EXPECT_EQ(refusalOf(decodeCheckPolicy, checkBody(std::vector<std::string_view>(101, "p"))),
            "-2 101 policies");
  Bytes huge = checkBody({});
  putAt(huge, 592, hex("FFFFFFFF"));
  EXPECT_EQ(refusalOf(decodeCheckPolicy, huge), "-2 4294967295 policies");
}

TEST(DecodeCheckPolicy, OtherLengthsThan5004AndFixedWordsThan1AndBadNamesAreRefused) {
  expectOneLength(decodeCheckPolicy, checkBody({"web"}));
  Bytes body = checkBody({});
  putAt(body, 8, hex("00000000"));
  EXPECT_EQ(refusalOf(decodeCheckPolicy, body), "-3 the fixed word is 0, 1 expected");
  EXPECT_EQ(refusalOf(decodeCheckPolicy, checkBody({"web", ""})), "-3 the policy's name is empty");
  const std::string longest(32, 'p');
  EXPECT_EQ(refusalOf(decodeCheckPolicy, checkBody({longest})), "");
  const std::string unterminated(33, 'p');
  EXPECT_EQ(refusalOf(decodeCheckPolicy, checkBody({unterminated})),
            "-3 the name is not terminated");
}

TEST(DecodeCleanClient, EveryFieldIsRead) {
  const auto decoded = decodeCleanClient(cleanBody(0x0506));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().clientNumber, 0x0506);
  EXPECT_EQ(decoded.value().word1, 0x01020304U);
  EXPECT_EQ(decoded.value().word2, 0x0A0B0C0DU);
}

TEST(DecodeCleanClient, OtherLengthsThan604AreRefused) {
  expectOneLength(decodeCleanClient, cleanBody(5));
}

}  // namespace
}  // namespace aclmgr
