#include "manager/decode/app_policy_requests.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/manager/app_policy_bytes.h"
#include "tests/manager/decode/decoding.h"

namespace aclmgr {
namespace {

using test_support::appPolicyBody;
using test_support::Bytes;
using test_support::bytesOf;
using test_support::expectOneLength;
using test_support::hex;
using test_support::join;
using test_support::putAt;
using test_support::refusalOf;
using test_support::unapplyBody;

// The value of `bytes`, then zeros.
MatchValue matchOf(int type, const Bytes &bytes) {
  MatchValue match{.type = static_cast<MatchType>(type)};
  std::ranges::copy(bytes, match.bytes.begin());
  return match;
}

TEST(DecodeApply, EveryFieldIsRead) {
  Bytes body = test_support::zeros(2360);
  putAt(body, 0, hex("300B"));
  putAt(body, 8, hex("00000001"));
  putAt(body, 588, hex("01020304"));
  putAt(body, 592, hex("02 05 EE 07"));
  putAt(body, 596, hex("0802 0A"));
  putAt(body, 612, hex("27"));
  putAt(body, 620, hex("00000011 00000012"));
  putAt(body, 668, hex("3E"));
  putAt(body, 676, hex("0A0B0C0D0E0F FFFFFFFFFF00"));
  putAt(body, 712, hex("21222324"));
  putAt(body, 716, hex("31323334"));
  putAt(body, 720, bytesOf("guard"));
  putAt(body, 756, hex("41424344"));
  putAt(body, 760, bytesOf("first"));
  putAt(body, 796, hex("51525354"));
  putAt(body, 800, bytesOf("second"));
  putAt(body, 836, hex("61626364"));
  const auto decoded = decodeApply(body);
  ASSERT_TRUE(decoded);
  const auto &[head, policy] = decoded.value();
  EXPECT_EQ(head.code, 0x300B);
  EXPECT_EQ(head.seqNo, 0x01020304U);
  EXPECT_EQ(head.key, (ApplicationPolicyKey{.appId = 5,
                                            .kind = 7,
                                            .tag = 0x21222324,
                                            .word3 = 0x31323334,
                                            .match = matchOf(39, hex("00000011 00000012"))}));
  EXPECT_EQ(policy,
            (ApplicationPolicy{.name = "guard",
                               .attribute = 0x0802,
                               .word0 = 0x41424344,
                               .word1 = 0x0A,
                               .secondMatch = matchOf(62, hex("0A0B0C0D0E0F FFFFFFFFFF00")),
                               .entries = {{"first", 0x51525354}, {"second", 0x61626364}}}));
}

TEST(DecodeApply, OtherLengthsThan2360AreRefused) {
  expectOneLength(decodeApply, appPolicyBody({}));
  expectOneLength(decodeUnapply, unapplyBody({}));
}

TEST(DecodeApply, OneTo40RulesAreTaken) {
  const std::vector<std::string_view> rules(41, "rule");
  for (const std::size_t count : {0U, 1U, 40U, 41U}) {
    const std::vector<std::string_view> some(rules.begin(),
                                             rules.begin() + static_cast<std::ptrdiff_t>(count));
    const std::string expected =
        count == 0 || count == 41 ? "-2 " + std::to_string(count) + " rules" : "";
    EXPECT_EQ(refusalOf(decodeApply, appPolicyBody({.rules = some})), expected);
    EXPECT_EQ(refusalOf(decodeUnapply, unapplyBody({.rules = some})), expected);
  }
  const auto decoded =
      decodeApply(appPolicyBody({.rules = std::vector<std::string_view>(40, "rule")}));
  EXPECT_EQ(decoded.value().policy.entries.size(), 40U);
  EXPECT_EQ(decoded.value().policy.entries[39].attribute, 139U);
}

TEST(DecodeApply, CountIsAByteOf255AtMost) {
  Bytes body = appPolicyBody({});
  putAt(body, 592, hex("FF"));
  EXPECT_EQ(refusalOf(decodeApply, body), "-2 255 rules");
}

TEST(DecodeApply, AnotherFixedWordThan1IsRefused) {
  Bytes body = appPolicyBody({});
  putAt(body, 8, hex("00000002"));
  EXPECT_EQ(refusalOf(decodeApply, body), "-3 the fixed word is 2, 1 expected");
  EXPECT_EQ(refusalOf(decodeUnapply, body), "-3 the fixed word is 2, 1 expected");
}

TEST(DecodeApply, BadNamesAreRefusedAndThePolicysMayBeEmpty) {
  const std::string longest(32, 'n');
  const std::string unterminated(33, 'n');
  EXPECT_EQ(refusalOf(decodeApply, appPolicyBody({.rules = {"a", longest}})), "");
  EXPECT_EQ(refusalOf(decodeApply, appPolicyBody({.rules = {"a", unterminated}})),
            "-3 the name is not terminated");
  EXPECT_EQ(refusalOf(decodeApply, appPolicyBody({.rules = {"a", ""}})),
            "-3 the rule's name is empty");
  EXPECT_EQ(refusalOf(decodeUnapply, unapplyBody({.rules = {""}})), "-3 the rule's name is empty");
  EXPECT_EQ(refusalOf(decodeApply, appPolicyBody({.policyName = longest})), "");
  EXPECT_EQ(refusalOf(decodeApply, appPolicyBody({.policyName = unterminated})),
            "-3 the name is not terminated");
}

TEST(DecodeApply, MatchTypesThatThereAreNotAreRefused) {
  for (int type = 0; type < 256; ++type) {
    const bool isKnown = type == 0 || type == 26 || type == 39 || type == 62 || type == 63;
    const std::string expected = isKnown ? "" : "-2 unknown match type " + std::to_string(type);
    Bytes first = appPolicyBody({});
    putAt(first, 612, test_support::bigEndian(static_cast<std::uint64_t>(type), 1));
    EXPECT_EQ(refusalOf(decodeApply, first), expected);
    if (type != 26) {
      EXPECT_EQ(refusalOf(decodeUnapply, first), expected);
    }
    Bytes second = appPolicyBody({});
    putAt(second, 668, test_support::bigEndian(static_cast<std::uint64_t>(type), 1));
    EXPECT_EQ(refusalOf(decodeApply, second), expected);
  }
}

// A body whose attribute and match types are these; the types are known ones or 0.
Bytes countedBody(std::string_view attribute, std::string_view type1, std::string_view type2) {
  Bytes body = appPolicyBody({});
  putAt(body, 596, hex(attribute));
  putAt(body, 612, hex(type1));
  putAt(body, 668, hex(type2));
  return body;
}

TEST(DecodeApply, AsManyMatchValuesAsTheAttributeCountsHaveToBeThere) {
  const struct {
    const char *attribute, *type1, *type2, *expected;
  } rows[] = {
      {"0000", "00", "00", ""},
      {"0100", "00", "00", ""},  // only the low byte counts
      {"0001", "27", "00", ""},
      {"FF01", "27", "00", ""},
      {"0001", "00", "00", "-2 match value 1 of 1 is missing"},
      {"0001", "00", "27", "-2 match value 1 of 1 is missing"},
      {"0002", "27", "3E", ""},
      {"0002", "27", "00", "-2 match value 2 of 2 is missing"},
      {"0002", "00", "3E", "-2 match value 1 of 2 is missing"},
      {"0002", "00", "00", "-2 match value 1 of 2 is missing"},
      {"0003", "27", "3E", "-2 3 match values"},
      {"00FF", "27", "3E", "-2 255 match values"},
  };
  for (const auto &[attribute, type1, type2, expected] : rows) {
    EXPECT_EQ(refusalOf(decodeApply, countedBody(attribute, type1, type2)), expected)
        << attribute << ' ' << type1 << ' ' << type2;
  }
}

TEST(DecodeApply, MatchValuesBeyondThoseThatAreCountedAreTaken) {
  EXPECT_EQ(refusalOf(decodeApply, countedBody("0000", "27", "3E")), "");
  EXPECT_EQ(refusalOf(decodeApply, countedBody("0001", "27", "3E")), "");
}

TEST(DecodeUnapply, MatchValuesAreNotCounted) {
  for (const char *attribute : {"0001", "0002", "00FF"}) {
    Bytes body = unapplyBody({});
    putAt(body, 596, hex(attribute));
    EXPECT_EQ(refusalOf(decodeUnapply, body), "") << attribute;
  }
}

TEST(DecodeApply, MatchedNameEndsWithinItsField) {
  const Bytes unterminated = bytesOf(std::string(33, 'z'));
  EXPECT_EQ(refusalOf(decodeApply, appPolicyBody({.match1Type = 26, .match1 = unterminated})),
            "-3 the name is not terminated");
  Bytes second = appPolicyBody({});
  putAt(second, 668, hex("1A"));
  putAt(second, 676, unterminated);
  EXPECT_EQ(refusalOf(decodeApply, second), "-3 the name is not terminated");
  const Bytes longest = bytesOf(std::string(32, 'z'));
  const auto decoded = decodeApply(appPolicyBody({.match1Type = 26, .match1 = longest}));
  EXPECT_EQ(decoded.value().head.key.match, matchOf(26, longest));
}

TEST(DecodeApply, BytesBehindAMatchValueAreNotKept) {
  const Bytes rest = Bytes(20, std::byte{0xEE});
  const struct {
    std::uint8_t type;
    Bytes value;
  } rows[] = {{0, {}},
              {26, hex("61 00")},
              {39, hex("0102030405060708")},
              {62, hex("010203040506 0708090A0B0C")},
              {63, hex("010203040506 0708090A0B0C")}};
  for (const auto &[type, value] : rows) {
    const auto decoded =
        decodeApply(appPolicyBody({.match1Type = type, .match1 = join(value, rest)}));
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded.value().head.key.match, matchOf(type, value)) << int{type};
  }
}

TEST(DecodeUnapply, KeyAndRulesAreRead) {
  const auto decoded = decodeUnapply(unapplyBody(
      {.seqNo = 9, .rules = {"a", "b"}, .match1Type = 39, .match1 = hex("00000001 00000002")}));
  ASSERT_TRUE(decoded);
  const auto &[head, entries] = decoded.value();
  EXPECT_EQ(head.code, 0x300C);
  EXPECT_EQ(head.seqNo, 9U);
  EXPECT_EQ(head.key, (ApplicationPolicyKey{.appId = 5,
                                            .kind = 2,
                                            .tag = 0x11121314,
                                            .word3 = 0x21222324,
                                            .match = matchOf(39, hex("0000000100000002"))}));
  EXPECT_EQ(entries, (std::vector<ApplicationPolicyEntry>{{"a", 100}, {"b", 101}}));
}

TEST(DecodeUnapply, AddressesHaveNoMaskAndNamesAreNotMatched) {
  const auto decoded =
      decodeUnapply(unapplyBody({.match1Type = 63, .match1 = hex("010203040506 FFFFFFFFFFFF")}));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().head.key.match, matchOf(63, hex("010203040506")));
  EXPECT_EQ(refusalOf(decodeUnapply, unapplyBody({.match1Type = 26, .match1 = bytesOf("zone")})),
            "-2 a name is matched");
}

TEST(AppPolicyHeadOf, WhatABodyIsTooShortForIsZero) {
  const Bytes body = appPolicyBody({.seqNo = 0x01020304, .match1Type = 39, .match1 = hex("0102")});
  const auto cutTo = [&body](std::size_t length) {
    const auto block = std::make_unique<std::byte[]>(length);
    std::copy_n(body.begin(), length, block.get());
    return appPolicyHeadOf(std::span<const std::byte>(block.get(), length));
  };
  EXPECT_EQ(cutTo(2).code, 0x300B);
  EXPECT_EQ(cutTo(2).seqNo, 0U);
  EXPECT_EQ(cutTo(590).seqNo, 0x01020000U);
  EXPECT_EQ(cutTo(594).key.appId, 5);
  EXPECT_EQ(cutTo(594).key.kind, 0);
  EXPECT_EQ(cutTo(716).key.tag, 0x11121314U);
  EXPECT_EQ(cutTo(716).key.word3, 0U);
  EXPECT_EQ(cutTo(2360).key.match, matchOf(39, hex("0102")));
}

TEST(AppPolicyHeadOf, MatchValueOfATypeThatThereIsNotIsNone) {
  EXPECT_EQ(appPolicyHeadOf(appPolicyBody({.match1Type = 40, .match1 = hex("0102")})).key.match,
            MatchValue{});
}

}  // namespace
}  // namespace aclmgr
