#include "manager/server/app_policy_replies.h"

#include <gtest/gtest.h>

#include "tests/manager/app_policy_bytes.h"

namespace aclmgr {
namespace {

using test_support::appPolicyBody;
using test_support::Bytes;
using test_support::hex;
using test_support::putAt;
using test_support::unapplyBody;
using test_support::zeros;

TEST(AppPolicyReplies, ApplyReplyHasARangeOfOne) {
  Bytes request = appPolicyBody({.seqNo = 0x01020304});
  for (const std::size_t place : {4U, 584U, 594U, 700U, 720U, 2300U}) {
    putAt(request, place, hex("EE"));
  }
  Bytes expected = zeros(608);
  putAt(expected, 0, hex("300B 0000"));
  putAt(expected, 592, hex("05 02"));
  putAt(expected, 596, hex("11121314"));
  putAt(expected, 600, hex("01020304 01020304"));
  EXPECT_EQ(applyReply(request, Status::kOk), expected);
}

TEST(AppPolicyReplies, ExtendedApplyReplyHasAnotherLastNumberAndNothingElse) {
  Bytes reply = applyReply(appPolicyBody({.seqNo = 0x21222324}), Status::kRuleNotExist);
  extendApplyReply(reply, 0x31323334);
  Bytes expected = zeros(608);
  putAt(expected, 0, hex("300B FFED"));  // -19
  putAt(expected, 592, hex("05 02"));
  putAt(expected, 596, hex("11121314"));
  putAt(expected, 600, hex("21222324 31323334"));
  EXPECT_EQ(reply, expected);
}

TEST(AppPolicyReplies, ApplyReplyToAnUnapplyHasItsNumberToo) {
  EXPECT_EQ(applyReply(unapplyBody({.seqNo = 7}), Status::kOk),
            applyReply(appPolicyBody({.seqNo = 7}), Status::kOk));
}

TEST(AppPolicyReplies, UnapplyReplyHas608BytesWithNumberAndApplicationAlone) {
  Bytes request = unapplyBody({.seqNo = 0x01020304});
  putAt(request, 4, hex("EE"));
  Bytes expected = zeros(608);
  putAt(expected, 0, hex("300C FFF2"));  // -14
  putAt(expected, 588, hex("01020304"));
  putAt(expected, 593, hex("05"));
  EXPECT_EQ(unapplyReply(request, Status::kInstanceNotExist), expected);
}

TEST(AppPolicyReplies, ShortRequestIsEchoedAsIfZerosFollowed) {
  Bytes expected = zeros(608);
  putAt(expected, 0, hex("300B FFFD"));
  EXPECT_EQ(applyReply(hex("300B 1122 3344"), Status::kInvalidMessage), expected);
  putAt(expected, 0, hex("300C FFFD"));
  EXPECT_EQ(unapplyReply(hex("300C 1122 3344"), Status::kInvalidMessage), expected);
}

}  // namespace
}  // namespace aclmgr
