#include "manager/server/replies.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/manager/request_bytes.h"

namespace aclmgr {
namespace {

using test_support::bindingBody;
using test_support::Bytes;
using test_support::bytesOf;
using test_support::chunkBody;
using test_support::deleteBody;
using test_support::hex;
using test_support::modifyBody;
using test_support::processInfoBody;
using test_support::putAt;
using test_support::zeros;

// Puts a request header of bytes 0x00 to 0xFF over and over into a body, behind its code.
void putHeader(Bytes &body) {
  for (std::size_t i = 2; i < 592; ++i) body[i] = static_cast<std::byte>(i & 0xFF);
}

// The header that comes back: behind the code and the status.
void putEchoedHeader(Bytes &reply) {
  for (std::size_t i = 4; i < 592; ++i) reply[i] = static_cast<std::byte>(i & 0xFF);
}

TEST(Replies, ProcessInfoReplyHas628BytesWithTheName) {
  Bytes expected = zeros(628);
  putAt(expected, 0, hex("2000 0000"));
  putAt(expected, 592, bytesOf("stpd"));
  EXPECT_EQ(processInfoReply(processInfoBody("stpd"), Status::kOk), expected);
}

TEST(Replies, PolicyReplyHas652BytesWithHeaderAndName) {
  Bytes request = deleteBody("web");
  putHeader(request);
  Bytes expected = zeros(652);
  putEchoedHeader(expected);
  putAt(expected, 0, hex("2002 FFF3"));  // -13
  putAt(expected, 592, bytesOf("web"));
  EXPECT_EQ(policyReply(request, Status::kPolicyInUse), expected);
}

TEST(Replies, ModifyReplyLeavesArgumentsAndRulesOut) {
  Bytes request = modifyBody("web", Bytes(20, std::byte{0xAA}));
  putHeader(request);
  Bytes expected = zeros(652);
  putEchoedHeader(expected);
  putAt(expected, 0, hex("2006 FFEA"));  // -22
  putAt(expected, 592, bytesOf("web"));
  EXPECT_EQ(policyReply(request, Status::kInvalidRule), expected);
}

TEST(Replies, PolicyChunkReplyHasNoHeaderSinceItsRequestHasNone) {
  Bytes request = chunkBody({.name = "web", .total = 2}, hex("0102"));
  putHeader(request);
  Bytes expected = zeros(652);
  putAt(expected, 0, hex("2001 FFF6"));  // -10
  putAt(expected, 592, bytesOf("web"));
  EXPECT_EQ(policyChunkReply(request, Status::kPolicyExist), expected);
}

TEST(Replies, BindingReplyHas2096BytesWithThePointAndTheFlags) {
  Bytes request = bindingBody(0x2004, "web", 0x00010203, 0x0A0B0C0D, 2, 1);
  putHeader(request);
  putAt(request, 700, hex("EE"));  // between the fields
  Bytes expected = zeros(2096);
  putEchoedHeader(expected);
  putAt(expected, 0, hex("2004 FFF5"));  // -11
  putAt(expected, 608, bytesOf("web"));
  putAt(expected, 744, hex("02"));
  putAt(expected, 748, hex("00010203"));
  putAt(expected, 2068, hex("0A0B0C0D"));
  putAt(expected, 2072, hex("01"));
  EXPECT_EQ(bindingReply(request, Status::kPolicyNotExist), expected);
}

TEST(Replies, UnknownCodeReplyHasTheHeader) {
  Bytes request = zeros(640);
  putHeader(request);
  putAt(request, 0, hex("3005"));
  Bytes expected = zeros(592);
  putEchoedHeader(expected);
  putAt(expected, 0, hex("3005 FFFD"));  // -3
  EXPECT_EQ(unknownCodeReply(request, Status::kInvalidMessage), expected);
}

TEST(Replies, ShortRequestIsEchoedAsIfZerosFollowed) {
  Bytes expected = zeros(652);
  putAt(expected, 0, hex("2002 FFFD 3344"));
  EXPECT_EQ(policyReply(hex("2002 1122 3344"), Status::kInvalidMessage), expected);
  Bytes expectedUnknown = zeros(592);
  putAt(expectedUnknown, 0, hex("4000 FFFD"));
  EXPECT_EQ(unknownCodeReply(hex("4000"), Status::kInvalidMessage), expectedUnknown);
}

TEST(Replies, NameWithoutNulIsCutTo32Characters) {
  const Bytes reply = policyReply(deleteBody(std::string(33, 'n')), Status::kInvalidMessage);
  EXPECT_EQ(reply[592 + 31], std::byte{'n'});
  EXPECT_EQ(reply[592 + 32], std::byte{0});
}

}  // namespace
}  // namespace aclmgr
