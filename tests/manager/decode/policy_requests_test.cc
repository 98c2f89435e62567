#include "manager/decode/policy_requests.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <tuple>

#include "tests/manager/request_bytes.h"

namespace aclmgr {
namespace {

using test_support::bindingBody;
using test_support::Bytes;
using test_support::bytesOf;
using test_support::chunkBody;
using test_support::deleteBody;
using test_support::hex;
using test_support::join;
using test_support::modifyBody;
using test_support::processInfoBody;
using test_support::putAt;

// Decodes from a heap block of exactly the body's size and shows why it is refused, or "".
template <typename Decode>
std::string refusalOf(Decode decode, const Bytes &body) {
  const auto block = std::make_unique<std::byte[]>(body.size());
  std::copy(body.begin(), body.end(), block.get());
  const auto decoded = decode(std::span<const std::byte>(block.get(), body.size()));
  if (decoded) return "";
  return std::to_string(static_cast<int>(decoded.refusal().status)) + " " +
         decoded.refusal().reason;
}

template <typename Decode>
void expectRefusedAtEveryShorterLength(Decode decode, const Bytes &body) {
  ASSERT_EQ(refusalOf(decode, body), "");
  for (std::size_t length = 0; length < body.size(); ++length) {
    const Bytes cut(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_EQ(refusalOf(decode, cut).substr(0, 3), "-3 ") << length;
  }
}

TEST(DecodeProcessInfo, NameStandsAt592) {
  const Bytes body = processInfoBody("stpd");
  const auto decoded = decodeProcessInfo(body);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().processName, "stpd");
}

TEST(DecodeProcessInfo, EmptyNameIsAccepted) {
  EXPECT_EQ(refusalOf(decodeProcessInfo, processInfoBody("")), "");
}

TEST(DecodeProcessInfo, NameWithoutNulIsRefused) {
  EXPECT_EQ(refusalOf(decodeProcessInfo, processInfoBody(std::string(32, 'p'))), "");
  EXPECT_EQ(refusalOf(decodeProcessInfo, processInfoBody(std::string(33, 'p'))),
            "-3 the name is not terminated");
}

TEST(DecodeProcessInfo, OtherLengthsThan628AreRefused) {
  expectRefusedAtEveryShorterLength(decodeProcessInfo, processInfoBody("stpd"));
  EXPECT_EQ(refusalOf(decodeProcessInfo, join(processInfoBody("stpd"), hex("00"))),
            "-3 body of 629 bytes, 628 expected");
}

TEST(DecodePolicyChunk, EveryFieldIsRead) {
  Bytes body = test_support::zeros(652);
  putAt(body, 0, hex("2001"));
  putAt(body, 592, bytesOf("guard"));
  putAt(body, 628, hex("00004E20"));  // 20000 bytes in all
  putAt(body, 632, hex("00000003"));
  putAt(body, 636, hex("00001EC0"));  // 7872
  putAt(body, 640, hex("0102"));
  putAt(body, 642, hex("0304"));
  putAt(body, 644, hex("00000000 7fff1234"));
  body = join(body, hex("AABBCC"));
  const auto decoded = decodePolicyChunk(body);
  ASSERT_TRUE(decoded);
  const PolicyChunkRequest &chunk = decoded.value();
  EXPECT_EQ(chunk.policyName, "guard");
  EXPECT_EQ(chunk.totalLength, 20000U);
  EXPECT_EQ(chunk.chunkOffset, 7872U);
  EXPECT_EQ(chunk.ruleCount, 0x0102);
  EXPECT_EQ(chunk.attribute, 0x0304);
  EXPECT_TRUE(std::ranges::equal(chunk.chunk, hex("AABBCC")));
}

TEST(DecodePolicyChunk, OtherLengthsThanAnnouncedAreRefused) {
  const Bytes body = chunkBody({.total = 100}, Bytes(20));
  expectRefusedAtEveryShorterLength(decodePolicyChunk, body);
  EXPECT_EQ(refusalOf(decodePolicyChunk, Bytes(651)), "-3 body of 651 bytes, its head has 652");
  EXPECT_EQ(refusalOf(decodePolicyChunk, join(body, hex("00"))),
            "-3 21 bytes behind the body's head, 20 announced");
}

TEST(DecodePolicyChunk, EmptyNameAndNameWithoutNulAreRefused) {
  EXPECT_EQ(refusalOf(decodePolicyChunk, chunkBody({.name = ""}, {})),
            "-3 the policy's name is empty");
  const std::string longest(32, 'n');
  EXPECT_EQ(refusalOf(decodePolicyChunk, chunkBody({.name = longest}, {})), "");
  const std::string unterminated(33, 'n');
  EXPECT_EQ(refusalOf(decodePolicyChunk, chunkBody({.name = unterminated}, {})),
            "-3 the name is not terminated");
}

TEST(DecodeDeletePolicy, NameStandsAt592) {
  const auto decoded = decodeDeletePolicy(deleteBody("guard"));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().policyName, "guard");
}

TEST(DecodeDeletePolicy, OtherLengthsThan652AndBadNamesAreRefused) {
  expectRefusedAtEveryShorterLength(decodeDeletePolicy, deleteBody("guard"));
  EXPECT_EQ(refusalOf(decodeDeletePolicy, join(deleteBody("guard"), hex("00"))),
            "-3 body of 653 bytes, 652 expected");
  EXPECT_EQ(refusalOf(decodeDeletePolicy, deleteBody("")), "-3 the policy's name is empty");
  EXPECT_EQ(refusalOf(decodeDeletePolicy, deleteBody(std::string(33, 'n'))),
            "-3 the name is not terminated");
}

TEST(DecodeBinding, EveryFieldIsRead) {
  const auto decoded = decodeBinding(bindingBody(0x2004, "guard", 0x00030007, 4094, 2, 1));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().policyName, "guard");
  EXPECT_EQ(decoded.value().point.port, 0x00030007U);
  EXPECT_EQ(decoded.value().point.vlan, 4094U);
  EXPECT_EQ(decoded.value().point.direction, 1);
  EXPECT_EQ(decoded.value().applyFlags, 2);
}

TEST(DecodeBinding, OnlyApplyFlags0And2AreAccepted) {
  for (int flags = 0; flags < 256; ++flags) {
    const std::string refusal = refusalOf(
        decodeBinding, bindingBody(0x2004, "guard", 1, 1, static_cast<std::uint8_t>(flags)));
    EXPECT_EQ(refusal.empty(), flags == 0 || flags == 2) << flags;
    if (!refusal.empty()) {
      EXPECT_EQ(refusal.substr(0, 3), "-2 ");
    }
  }
}

TEST(DecodeBinding, OtherLengthsThan2096AndBadNamesAreRefused) {
  const Bytes body = bindingBody(0x2005, "guard", 1, 2);
  expectRefusedAtEveryShorterLength(decodeBinding, body);
  EXPECT_EQ(refusalOf(decodeBinding, join(body, hex("00"))),
            "-3 body of 2097 bytes, 2096 expected");
  EXPECT_EQ(refusalOf(decodeBinding, bindingBody(0x2005, "", 1, 2)),
            "-3 the policy's name is empty");
  EXPECT_EQ(refusalOf(decodeBinding, bindingBody(0x2005, std::string(33, 'n'), 1, 2)),
            "-3 the name is not terminated");
}

TEST(DecodeModifyRule, EveryFieldIsRead) {
  const Bytes body = modifyBody("guard", hex("112233"));
  const auto decoded = decodeModifyRule(body);
  ASSERT_TRUE(decoded);
  const ModifyRuleRequest &modify = decoded.value();
  EXPECT_EQ(modify.policyName, "guard");
  EXPECT_EQ(std::tuple(modify.argument1, modify.argument2, modify.argument8bit, modify.argument3),
            std::tuple(1U, 2U, 3, 4U));
  EXPECT_TRUE(std::ranges::equal(modify.rules, hex("112233")));
}

TEST(DecodeModifyRule, OtherLengthsThanAnnouncedAndBadNamesAreRefused) {
  const Bytes body = modifyBody("guard", Bytes(20));
  expectRefusedAtEveryShorterLength(decodeModifyRule, body);
  EXPECT_EQ(refusalOf(decodeModifyRule, join(body, hex("00"))),
            "-3 21 bytes behind the body's head, 20 announced");
  EXPECT_EQ(refusalOf(decodeModifyRule, modifyBody("", {})), "-3 the policy's name is empty");
  EXPECT_EQ(refusalOf(decodeModifyRule, modifyBody(std::string(33, 'n'), {})),
            "-3 the name is not terminated");
}

}  // namespace
}  // namespace aclmgr
