#include "manager/decode/rules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>

#include "tests/manager/request_bytes.h"

namespace aclmgr {
namespace {

using test_support::Bytes;
using test_support::bytesOf;
using test_support::encodedRule;
using test_support::hex;
using test_support::join;
using test_support::putAt;

// Decodes from a heap block of exactly the buffer's size.
Outcome<std::vector<Rule>> decode(const Bytes &rules, std::optional<std::uint32_t> count) {
  const auto block = std::make_unique<std::byte[]>(rules.size());
  std::copy(rules.begin(), rules.end(), block.get());
  return decodeRules({block.get(), rules.size()}, count);
}

void expectRefused(const Bytes &rules, std::optional<std::uint32_t> count,
                   const std::string &reason) {
  const auto decoded = decode(rules, count);
  ASSERT_FALSE(decoded) << reason;
  EXPECT_EQ(decoded.refusal().status, Status::kInvalidRule);
  EXPECT_EQ(decoded.refusal().reason, reason);
}

// A record of 48 bytes and what follows, with any rule word.
Bytes ruleWithWord(const char *wordHex, const Bytes &entries = {}) {
  Bytes rule = encodedRule("r", 1);
  putAt(rule, 44, hex(wordHex));
  return join(rule, entries);
}

TEST(DecodeRules, BufferWithoutRulesIsAPolicyWithoutRules) {
  const auto decoded = decode({}, 0);
  ASSERT_TRUE(decoded);
  EXPECT_TRUE(decoded.value().empty());
}

TEST(DecodeRules, RuleHasItsNameIdConditionsAndActions) {
  Bytes rule = join(bytesOf("web"), Bytes(33), hex("0000002A 00000000 0000F044"),
                    hex("0000 0008 0a000001 ffffffff"), hex("000e 0004 05000000"));
  const auto decoded = decode(rule, 1);
  ASSERT_TRUE(decoded) << decoded.refusal().reason;
  ASSERT_EQ(decoded.value().size(), 1U);
  EXPECT_EQ(decoded.value()[0], (Rule{.name = "web",
                                      .id = 42,
                                      .conditions = {{0, hex("0a000001ffffffff")}},
                                      .actions = {{14, hex("05")}}}));
}

TEST(DecodeRules, RulesFollowEachOther) {
  const auto decoded =
      decode(join(encodedRule("a", 1, "000a0000"), encodedRule("b", 2, "", "00010000")), 2);
  ASSERT_TRUE(decoded);
  ASSERT_EQ(decoded.value().size(), 2U);
  EXPECT_EQ(decoded.value()[0].conditions.size(), 1U);
  EXPECT_EQ(decoded.value()[1].name, "b");
  EXPECT_EQ(decoded.value()[1].actions.size(), 1U);
}

TEST(DecodeRules, PaddingAndUnassignedBitsDoNotMatter) {
  Bytes noisy = encodedRule("r", 1, "0003 0004 06ff abcd");
  putAt(noisy, 33, hex("112233"));
  putAt(noisy, 40, hex("44556677"));
  putAt(noisy, 44, hex("FFF0E038"));
  const auto decoded = decode(noisy, 1);
  const auto plain = decode(encodedRule("r", 1, "0003 0004 06ff 0000"), 1);
  ASSERT_TRUE(decoded) << decoded.refusal().reason;
  ASSERT_TRUE(plain);
  EXPECT_EQ(decoded.value(), plain.value());
}

TEST(DecodeRules, BytesBehindTheNamesNulDoNotMatter) {
  Bytes rule = encodedRule("r", 1);
  putAt(rule, 2, Bytes(31, std::byte{'x'}));
  const auto decoded = decode(rule, 1);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value()[0].name, "r");
}

TEST(DecodeRules, NameOf32CharactersIsAcceptedAndOneWithoutNulIsNot) {
  EXPECT_TRUE(decode(encodedRule(std::string(32, 'n'), 1), 1));
  expectRefused(encodedRule(std::string(33, 'n'), 1), 1,
                "rule at byte 0: the rule's name is not terminated");
}

TEST(DecodeRules, EmptyNameIsAccepted) {
  EXPECT_TRUE(decode(encodedRule("", 1), 1));
}

TEST(DecodeRules, LongestRuleIsAccepted) {
  // 48 bytes of header, 12 port lists of 68, 7 IPv6 next hops of 20 and 4 actions of 4 make 1020,
  // the largest multiple of 4 that a 10-bit length can hold.
  std::string conditions;
  for (int i = 0; i < 12; ++i) conditions += "002f0040" + std::string(128, '0');
  for (int i = 0; i < 7; ++i) conditions += "00350010" + std::string(32, '0');
  std::string actions;
  for (int i = 0; i < 4; ++i) actions += "000a0000";
  const Bytes rule = encodedRule("long", 1, conditions, actions);
  ASSERT_EQ(rule.size(), 1020U);
  EXPECT_TRUE(decode(rule, 1));
}

TEST(DecodeRules, MoreBytesThanTheTypeNeedsAreAcceptedAndLeftOut) {
  const auto decoded = decode(encodedRule("r", 1, "0003 0008 06ff0000 00000000"), 1);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value()[0].conditions[0].value, hex("06ff"));
}

TEST(DecodeRules, EveryTruncationIsRefused) {
  const Bytes rules =
      join(encodedRule("a", 1, "0000 0008 0a000001 ffffffff", "0001 0000"), encodedRule("b", 2));
  ASSERT_TRUE(decode(rules, 2));
  for (std::size_t length = 0; length < rules.size(); ++length) {
    const auto decoded =
        decode(Bytes(rules.begin(), rules.begin() + static_cast<std::ptrdiff_t>(length)), 2);
    EXPECT_FALSE(decoded) << length;
  }
}

TEST(DecodeRules, HeaderCutShortIsRefused) {
  expectRefused(Bytes(47), 1, "rule at byte 0: 47 bytes are no whole rule header");
}

TEST(DecodeRules, TrailingBytesAreRefused) {
  expectRefused(join(encodedRule("r", 1), Bytes(4)), std::nullopt,
                "rule at byte 48: 4 bytes are no whole rule header");
  expectRefused(join(encodedRule("r", 1), Bytes(4)), 1, "more rules, but 1 are announced");
}

TEST(DecodeRules, RuleLengthBelowTheHeadersIsRefused) {
  expectRefused(ruleWithWord("0000C02F"), 1,
                "rule at byte 0: rule length 47 is less than the header's");
  expectRefused(ruleWithWord("0000C000"), 1,
                "rule at byte 0: rule length 0 is less than the header's");
}

TEST(DecodeRules, RuleLengthBeyondTheBufferIsRefused) {
  expectRefused(ruleWithWord("0000C034"), 1,
                "rule at byte 0: rule length 52, but only 48 bytes are left");
}

TEST(DecodeRules, ActionOffsetInsideTheHeaderIsRefused) {
  expectRefused(ruleWithWord("0000BC30"), 1,
                "rule at byte 0: action offset 47 lies outside the entries of a rule of 48 bytes");
}

TEST(DecodeRules, ActionOffsetBehindTheRuleIsRefused) {
  expectRefused(ruleWithWord("0000C430"), 1,
                "rule at byte 0: action offset 49 lies outside the entries of a rule of 48 bytes");
}

TEST(DecodeRules, RecordThatOverlapsTheNextIsRefused) {
  // The condition of 12 bytes reaches beyond the record, whose length covers 8 of them.
  expectRefused(join(ruleWithWord("0000E038", hex("0000 0008 0a000001")), hex("ffffffff")), 1,
                "rule at byte 0: condition 0 at 48: 12 bytes do not fit");
}

TEST(DecodeRules, ConditionThatReachesIntoTheActionsIsRefused) {
  expectRefused(ruleWithWord("0000E03C", hex("0000 0008 0a000001 00010000")), 1,
                "rule at byte 0: condition 0 at 48: 12 bytes do not fit");
}

TEST(DecodeRules, ActionThatReachesBeyondTheRuleIsRefused) {
  expectRefused(join(ruleWithWord("0000C038", hex("0014 0008 00000001")), encodedRule("x", 2)), 2,
                "rule at byte 0: action 20 at 48: 12 bytes do not fit");
}

TEST(DecodeRules, EntryHeaderCutByTheActionOffsetIsRefused) {
  expectRefused(ruleWithWord("0000C834", hex("0001 0000")), 1,
                "rule at byte 0: 2 bytes at 48 are no whole entry");
}

TEST(DecodeRules, EntryHeaderCutByTheRulesEndIsRefused) {
  expectRefused(ruleWithWord("0000C033", hex("0001 00")), 1,
                "rule at byte 0: 3 bytes at 48 are no whole entry");
}

TEST(DecodeRules, EntryLengthThatIsNoMultipleOf4IsRefused) {
  for (const char *entry :
       {"0003 0005 06ff000000", "0003 0006 06ff00000000", "0003 0007 06ff0000000000"}) {
    const auto decoded = decode(encodedRule("r", 1, entry), 1);
    ASSERT_FALSE(decoded) << entry;
    EXPECT_NE(decoded.refusal().reason.find("is no multiple of 4"), std::string::npos);
  }
  expectRefused(encodedRule("r", 1, "0003 0002 06ff"), 1,
                "rule at byte 0: condition 3 at 48: length 2 is no multiple of 4");
}

TEST(DecodeRules, EntryShorterThanItsTypeNeedsIsRefused) {
  expectRefused(encodedRule("r", 1, "0000 0004 0a000001"), 1,
                "rule at byte 0: condition 0 at 48: 4 of 8 bytes");
  expectRefused(encodedRule("r", 1, "", "000e 0000"), 1,
                "rule at byte 0: action 14 at 48: 0 of 1 bytes");
}

TEST(DecodeRules, UnknownTypesAreRefusedWhereTheyStand) {
  expectRefused(encodedRule("r", 1, "003d 0000"), 1,
                "rule at byte 0: condition 61 at 48: unknown type");
  expectRefused(join(encodedRule("a", 1), encodedRule("b", 2, "000a 0000", "0010 0000")), 2,
                "rule at byte 48: action 16 at 52: unknown type");
  // Condition 0 exists, action 0 does not.
  expectRefused(encodedRule("r", 1, "", "0000 0008 0a000001 ffffffff"), 1,
                "rule at byte 0: action 0 at 48: unknown type");
}

TEST(DecodeRules, CountOtherThanAnnouncedIsRefused) {
  const Bytes rules = join(encodedRule("a", 1), encodedRule("b", 2));
  expectRefused(rules, 1, "more rules, but 1 are announced");
  expectRefused(rules, 3, "2 rules, but 3 are announced");
  expectRefused(rules, 0, "more rules, but 0 are announced");
  expectRefused({}, 1, "0 rules, but 1 are announced");
}

TEST(DecodeRules, AnyCountIsAcceptedWhenNoneIsAnnounced) {
  EXPECT_TRUE(decode({}, std::nullopt));
  EXPECT_TRUE(decode(join(encodedRule("a", 1), encodedRule("b", 2)), std::nullopt));
}

TEST(DecodeRules, SixtyThousandRulesAreDecoded) {
  const Bytes one = encodedRule("r", 7, "0003 0004 06ff0000", "0001 0000");
  Bytes rules;
  for (int i = 0; i < 60000; ++i) rules.insert(rules.end(), one.begin(), one.end());
  const auto decoded = decode(rules, 60000);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().size(), 60000U);
}

// Decodes from exact heap blocks, so that a sanitizer sees every byte that is read beyond one.
TEST(DecodeRules, RandomBytesAreDecodedOrRefusedAndNothingElseIsRead) {
  std::mt19937 random(20261121);  // NOLINT: the same bytes in every run
  for (unsigned round = 0; round < 5000; ++round) {
    Bytes rules(random() % 300);
    for (std::byte &byte : rules) byte = static_cast<std::byte>(random());
    const auto decoded = decode(rules, std::nullopt);
    if (!decoded) {
      EXPECT_EQ(decoded.refusal().status, Status::kInvalidRule);
    }
  }
}

TEST(DecodeRules, RulesWithRandomChangesAreDecodedOrRefusedAndNothingElseIsRead) {
  std::mt19937 random(20261121);  // NOLINT: the same bytes in every run
  const Bytes whole =
      join(encodedRule("a", 1, "0003 0004 06ff0000 0000 0008 0a000001 ffffffff", "0001 0000"),
           encodedRule("b", 2, "000c 0008 00010002 ffff0000", "000e 0004 05000000 0001 0000"));
  unsigned taken = 0;
  for (unsigned round = 0; round < 20000; ++round) {
    Bytes rules = whole;
    for (auto change = random() % 4; change > 0; --change) {
      // Mostly where lengths and types are; names may hold nearly anything.
      const std::size_t record = random() % 2 == 0 ? 0 : 72;
      rules[record + 44 + random() % 28] = static_cast<std::byte>(random() % 96);
    }
    if (random() % 4 == 0) rules.resize(random() % rules.size());
    const auto decoded = decode(rules, std::nullopt);
    if (decoded) {
      ++taken;
    } else {
      EXPECT_EQ(decoded.refusal().status, Status::kInvalidRule);
    }
  }
  EXPECT_GT(taken, 1000U);
  EXPECT_LT(taken, 19000U);
}

TEST(DecodeFirstRule, RecordIsTakenByItsOwnLengthAndWhatFollowsIsNotLookedAt) {
  const Bytes record = encodedRule("a", 7, "0003 0004 06ff0000", "0001 0000");
  const auto alone = decodeFirstRule(record);
  const auto followed = decodeFirstRule(join(record, hex("EEEEEE")));
  ASSERT_TRUE(alone);
  ASSERT_TRUE(followed);
  EXPECT_EQ(alone.value().name, "a");
  EXPECT_EQ(alone.value().id, 7U);
  EXPECT_EQ(followed.value(), alone.value());
}

TEST(DecodeFirstRule, RecordThatIsCutShortOrMissingIsRefused) {
  const Bytes record = encodedRule("a", 7, "", "0001 0000");
  for (std::size_t length = 0; length < record.size(); ++length) {
    const auto block = std::make_unique<std::byte[]>(length);
    std::copy_n(record.begin(), length, block.get());
    const auto rule = decodeFirstRule({block.get(), length});
    ASSERT_FALSE(rule) << length;
    EXPECT_EQ(rule.refusal().status, Status::kInvalidRule);
  }
}

}  // namespace
}  // namespace aclmgr
