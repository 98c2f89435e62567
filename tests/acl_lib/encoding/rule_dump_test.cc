#include "acl_lib/encoding/rule_dump.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "acl_lib.h"
#include "tests/support/bytes.h"
#include "tests/support/output_capture.h"

namespace {

using test_support::Bytes;
using test_support::bytesOf;
using test_support::hex;
using test_support::join;
using test_support::OutputCapture;

// ---- Walking any block --------------------------------------------------------------------------

// The first 44 bytes of a record: its name, then its id.
Bytes recordHead(const std::string &name, const char *idHex) {
  return join(bytesOf(name), Bytes(36 - name.size()), hex(idHex), hex("00000000"));
}

// What is printed for a block that lies alone in a heap block of exactly its size.
std::string printed(std::uint32_t ruleCount, const Bytes &rules) {
  char *text = nullptr;
  std::size_t length = 0;
  std::FILE *out = ::open_memstream(&text, &length);
  const auto block = std::make_unique<std::byte[]>(rules.size());
  std::copy(rules.begin(), rules.end(), block.get());
  acl::printRules(out, ruleCount, {block.get(), rules.size()});
  std::fclose(out);
  std::string result(text, length);
  std::free(text);
  return result;
}

TEST(RuleWalk, RuleWithoutEntriesPrintsItsNameAndAnEmptyLine) {
  EXPECT_EQ(printed(1, join(recordHead("plain", "00000007"), hex("0000C030"))),
            "Rule Name: plain Index: 7\n\n");
}

TEST(RuleWalk, ConditionsComeBeforeActionsEachOnItsLine) {
  // actionOffset 64 (0x40 << 10), ruleLength 72.
  const Bytes rule = join(recordHead("web", "00000001"), hex("00010048"), hex("0003 0004 06ff0000"),
                          hex("000e 0004 02020000"), hex("0001 0000"), hex("000a 0000"));
  EXPECT_EQ(printed(1, rule),
            "Rule Name: web Index: 1\n"
            "CONDITION: PROTO 6 MASK 0xff \n"
            "CONDITION: TCP_FLAGS 0x02 MASK 0x02 \n"
            "ACTION: Accept \n"
            "ACTION: log \n"
            "\n");
}

TEST(RuleWalk, CodeWithoutALabelMakesAnEmptyLine) {
  // Condition 34 and action 15.
  const Bytes rule = join(recordHead("odd", "00000001"), hex("0000F044"),
                          hex("0022 0008 0a000001ffffffff"), hex("000f 0004 01000000"));
  EXPECT_EQ(printed(1, rule), "Rule Name: odd Index: 1\n\n\n\n");
}

TEST(RuleWalk, ActionEntriesAreReadInTheActionCodeSpace) {
  const Bytes rule = join(recordHead("", "00000001"), hex("0000C034"), hex("0002 0000"));
  EXPECT_EQ(printed(1, rule), "Rule Name:  Index: 1\nACTION: Deny \n\n");
}

TEST(RuleWalk, RulesFollowEachOtherByTheirLength) {
  const Bytes rules = join(recordHead("first", "00000001"), hex("0000C034"), hex("0001 0000"),
                           recordHead("second", "00000002"), hex("0000C030"));
  EXPECT_EQ(printed(2, rules),
            "Rule Name: first Index: 1\nACTION: Accept \n\nRule Name: second Index: 2\n\n");
  EXPECT_EQ(printed(1, rules), "Rule Name: first Index: 1\nACTION: Accept \n\n");
  EXPECT_EQ(printed(0, rules), "");
}

TEST(RuleWalk, IndexIsASignedNumber) {
  EXPECT_EQ(printed(1, join(recordHead("r", "FFFFFFFF"), hex("0000C030"))),
            "Rule Name: r Index: -1\n\n");
}

TEST(RuleWalk, UnassignedBitsOfTheRuleWordDoNotMatter) {
  EXPECT_EQ(printed(1, join(recordHead("r", "00000001"), hex("FFF0C030"))),
            "Rule Name: r Index: 1\n\n");
}

TEST(RuleWalk, NameWithoutNulEndsAfter32Characters) {
  const Bytes rule = join(Bytes(36, std::byte{'x'}), hex("00000001 00000000 0000C030"));
  EXPECT_EQ(printed(1, rule), "Rule Name: " + std::string(32, 'x') + " Index: 1\n\n");
}

TEST(RuleWalk, RuleLengthOfZeroPrintsTheSameRuleRuleCountTimes) {
  EXPECT_EQ(printed(3, join(recordHead("r", "00000001"), hex("0000C000"))),
            "Rule Name: r Index: 1\n\nRule Name: r Index: 1\n\nRule Name: r Index: 1\n\n");
}

TEST(RuleWalk, EntryThatReachesBehindTheBlockIsPrintedFromWhatIsThere) {
  // The condition claims 8 bytes of data; the block ends after 4 of them.
  const Bytes rule = join(recordHead("r", "00000001"), hex("0000F03C"), hex("0000 0008 0a000001"));
  EXPECT_EQ(printed(1, rule), "Rule Name: r Index: 1\nCONDITION: SRCADDR 0xa000001/0x0 \n\n");
}

TEST(RuleWalk, EntryHeaderThatReachesBehindTheBlockEndsTheEntries) {
  const Bytes rule = join(recordHead("r", "00000001"), hex("0000F03C"), hex("0003 00"));
  EXPECT_EQ(printed(1, rule), "Rule Name: r Index: 1\n\n");
}

TEST(RuleWalk, EntryLongerThanItsRecordEndsTheEntries) {
  // A protocol of 0xFFFC bytes, in a record of 56 bytes whose conditions fill it.
  const Bytes rules = join(recordHead("r", "00000001"), hex("0000E038"), hex("0003 FFFC 0101 0000"),
                           recordHead("next", "00000002"), hex("0000C030"));
  EXPECT_EQ(printed(2, rules),
            "Rule Name: r Index: 1\nCONDITION: PROTO 1 MASK 0x01 \n\n"
            "Rule Name: next Index: 2\n\n");
}

TEST(RuleWalk, RecordThatReachesBehindTheBlockIsTheLast) {
  const Bytes rule = join(recordHead("r", "00000001"), hex("0000C3FF"));
  EXPECT_EQ(printed(2, rule), "Rule Name: r Index: 1\n\n");
}

TEST(RuleWalk, BlockTooShortForAHeaderPrintsNothing) {
  const Bytes rule = join(recordHead("r", "00000001"), hex("0000C030"));
  for (std::size_t length = 0; length < 48; ++length) {
    EXPECT_EQ(printed(1, Bytes(rule.begin(), rule.begin() + static_cast<long>(length))), "");
  }
}

TEST(RuleWalk, MoreRulesThanTheBlockHoldsEndWithTheBlock) {
  EXPECT_EQ(printed(65535, join(recordHead("r", "00000001"), hex("0000C030"))),
            "Rule Name: r Index: 1\n\n");
}

TEST(RuleWalk, EveryPairOfLengthsStaysInsideTheBlock) {
  Bytes rule = join(recordHead("r", "00000001"), hex("00000000"), Bytes(16, std::byte{0x01}));
  for (std::uint32_t actionOffset = 0; actionOffset < 1024; actionOffset += 13) {
    for (std::uint32_t ruleLength = 0; ruleLength < 1024; ruleLength += 17) {
      const std::uint32_t word = actionOffset << 10 | ruleLength;
      for (std::size_t i = 0; i < 4; ++i) {
        rule[44 + i] = static_cast<std::byte>(word >> (24 - 8 * i) & 0xff);
      }
      printed(3, rule);
    }
  }
}

// ---- The exported call --------------------------------------------------------------------------

struct Streams {
  std::string output;
  std::string error;
};

Streams dumped(AclPolicyHandle policy) {
  OutputCapture capture;
  aclLibDumpRules(policy);
  return {capture.standardOutput(), capture.standardError()};
}

TEST(DumpRules, PolicyWithoutRulesPrintsOnlyTheSummary) {
  const Streams streams = dumped(aclLibNewPolicy("empty"));
  EXPECT_EQ(streams.output, "ACL: empty Rules: 0 Size = 0 \n");
  EXPECT_EQ(streams.error, "");
}

TEST(DumpRules, SummaryGoesToStandardOutputAndRulesToStandardError) {
  const AclPolicyHandle policy = aclLibNewPolicy("acl1");
  aclLibNewRule(policy, "rule1", 5);
  const std::uint8_t protocol[] = {17, 0xff};
  aclLibAddRuleCondProtocol(policy, 5, protocol);
  aclLibConfigRuleAction(policy, 5, 2);
  aclLibEndRule(policy);

  const Streams streams = dumped(policy);

  EXPECT_EQ(streams.output, "ACL: acl1 Rules: 1 Size = 60 \n");
  EXPECT_EQ(streams.error,
            "Rule Name: rule1 Index: 5\n"
            "CONDITION: PROTO 17 MASK 0xff \n"
            "ACTION: Deny \n"
            "\n");
}

TEST(DumpRules, RuleThatIsStillOpenIsPrintedButNotInTheSize) {
  const AclPolicyHandle policy = aclLibNewPolicy("open");
  aclLibNewRule(policy, nullptr, 1);
  const Streams streams = dumped(policy);
  EXPECT_EQ(streams.output, "ACL: open Rules: 1 Size = 0 \n");
  EXPECT_EQ(streams.error, "Rule Name: def-rule-1 Index: 1\n\n");
}

TEST(DumpRules, ClearedPolicyPrintsOnlyTheSummary) {
  const AclPolicyHandle policy = aclLibNewPolicy("cleared");
  aclLibNewRule(policy, "gone", 1);
  aclLibEndRule(policy);
  aclLibClearRule(policy);
  const Streams streams = dumped(policy);
  EXPECT_EQ(streams.output, "ACL: cleared Rules: 0 Size = 0 \n");
  EXPECT_EQ(streams.error, "");
}

TEST(DumpRules, InvalidHandlePrintsNothing) {
  AclPolicy notAPolicy{};
  for (const AclPolicyHandle handle :
       {AclPolicyHandle{0}, AclPolicyHandle{-1}, AclPolicyHandle{-2}, AclPolicyHandle{1},
        AclPolicyHandle{4096}, reinterpret_cast<AclPolicyHandle>(&notAPolicy)}) {
    const Streams streams = dumped(handle);
    EXPECT_EQ(streams.output, "") << handle;
    EXPECT_EQ(streams.error, "") << handle;
  }
}

TEST(DumpRules, CorruptRuleWordsEndInsideTheRuleBlock) {
  const AclPolicyHandle handle = aclLibNewPolicy("corrupt");
  aclLibNewRule(handle, "r", 1);
  aclLibEndRule(handle);
  auto *policy = reinterpret_cast<AclPolicy *>(handle);
  policy->ruleCount = 65535;
  for (const unsigned last : {0x00u, 0x01u, 0x2fu, 0x31u, 0xffu}) {
    policy->ruleBuffer[46] = 0xff;
    policy->ruleBuffer[47] = static_cast<std::uint8_t>(last);
    EXPECT_EQ(dumped(handle).output, "ACL: corrupt Rules: 65535 Size = 48 \n");
  }
}

TEST(DumpRules, CallersOwnRecordIsPrintedWithoutReadingBehindItsBuffer) {
  const Bytes rules = join(recordHead("own", "00000001"), hex("0000C030"));
  const auto buffer = std::make_unique<std::uint8_t[]>(rules.size());
  std::memcpy(buffer.get(), rules.data(), rules.size());
  AclPolicy policy{};
  policy.selfCheck = &policy;
  policy.ruleCount = 2;
  policy.usedSize = 48;
  policy.bufferSize = 48;
  policy.ruleBuffer = buffer.get();
  std::memcpy(policy.policyName, "mine", 5);

  const Streams streams = dumped(reinterpret_cast<AclPolicyHandle>(&policy));

  EXPECT_EQ(streams.output, "ACL: mine Rules: 2 Size = 48 \n");
  EXPECT_EQ(streams.error, "Rule Name: own Index: 1\n\n");
}

TEST(DumpRules, CountWithoutABufferPrintsOnlyTheSummary) {
  const AclPolicyHandle handle = aclLibNewPolicy("hollow");
  reinterpret_cast<AclPolicy *>(handle)->ruleCount = 3;
  const Streams streams = dumped(handle);
  EXPECT_EQ(streams.output, "ACL: hollow Rules: 3 Size = 0 \n");
  EXPECT_EQ(streams.error, "");
}

}  // namespace
