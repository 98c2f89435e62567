#include "tests/acl_lib/library_test.h"

namespace {

using namespace acl_test;

class ModifyRuleTest : public LibraryTest {
 protected:
  static const std::vector<RecordingSend::Request> &requests() { return RecordingSend::requests(); }

  static std::int32_t modify(const Bytes &rules, const void *header = nullptr,
                             const char *name = "edge-in") {
    return aclSendModifyRule(name, 0x01020304, 0x0A0B0C0D, 0xE8, 0xF1F2F3F4, rules.data(),
                             static_cast<std::uint32_t>(rules.size()), header, RecordingSend::send);
  }

  const Bytes rules_ = hex("31 32 33 34 35 36 37 38 39 3a 3b 3c");
};

TEST_F(ModifyRuleTest, RequestCarriesArgumentsAndRules) {
  const RecordingSend recorder;
  EXPECT_EQ(modify(rules_), 0);
  ASSERT_EQ(requests().size(), 1U);
  EXPECT_EQ(requests()[0].type, 0x1002);
  EXPECT_TRUE(matchesGolden(requests()[0].body, "policy/modify_rule.golden"));
}

TEST_F(ModifyRuleTest, RequestCarriesTheCallersHeaderUnderTheCode) {
  const RecordingSend recorder;
  EXPECT_EQ(modify(rules_, callersHeader().data()), 0);
  ASSERT_EQ(requests().size(), 1U);
  EXPECT_TRUE(matchesGolden(requests()[0].body, "policy/modify_rule_with_header.golden"));
}

TEST_F(ModifyRuleTest, SendsThroughTheLibrarysOwnSendFunction) {
  connectHandle();
  EXPECT_EQ(aclSendModifyRule("edge-in", 0x01020304, 0x0A0B0C0D, 0xE8, 0xF1F2F3F4, rules_.data(),
                              12, nullptr, aclLibSendMsg),
            0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "policy/modify_rule.golden"));
}

TEST_F(ModifyRuleTest, NullRulesAreAllowedWithoutALength) {
  const RecordingSend recorder;
  EXPECT_EQ(aclSendModifyRule("edge-in", 0, 0, 0, 0, nullptr, 0, nullptr, RecordingSend::send), 0);
  ASSERT_EQ(requests().size(), 1U);
  EXPECT_EQ(requests()[0].length, 652);
  EXPECT_EQ(wordAt(requests()[0].body, 648), 0U);
}

TEST_F(ModifyRuleTest, NullRulesWithALengthAreRefused) {
  const RecordingSend recorder;
  EXPECT_EQ(aclSendModifyRule("edge-in", 0, 0, 0, 0, nullptr, 4, nullptr, RecordingSend::send), -2);
  EXPECT_TRUE(requests().empty());
}

TEST_F(ModifyRuleTest, NullSendFunctionIsRefused) {
  EXPECT_EQ(aclSendModifyRule("edge-in", 0, 0, 0, 0, rules_.data(), 12, nullptr, nullptr), -2);
}

TEST_F(ModifyRuleTest, NameOfMoreThan32CharactersIsCut) {
  const RecordingSend recorder;
  EXPECT_EQ(modify(rules_, nullptr, "abcdefghijklmnopqrstuvwxyz0123456789"), 0);
  const Bytes &body = requests()[0].body;
  EXPECT_EQ(Bytes(body.begin() + 592, body.begin() + 625),
            join(bytesOf("abcdefghijklmnopqrstuvwxyz012345"), hex("00")));
}

TEST_F(ModifyRuleTest, NullNameIsTheEmptyName) {
  const RecordingSend recorder;
  EXPECT_EQ(modify(rules_, nullptr, nullptr), 0);
  const Bytes &body = requests()[0].body;
  EXPECT_EQ(Bytes(body.begin() + 592, body.begin() + 625), Bytes(33));
}

TEST_F(ModifyRuleTest, LengthGivenToSendIsCutTo16BitsAndTheRulesAreNeverChunked) {
  const RecordingSend recorder;
  for (const std::size_t length : {64883U, 64884U, 64885U, 70000U}) {
    EXPECT_EQ(modify(Bytes(length)), 0);
  }
  ASSERT_EQ(requests().size(), 4U);
  EXPECT_EQ(requests()[0].length, 65535);
  EXPECT_EQ(requests()[1].length, 0);
  EXPECT_EQ(requests()[2].length, 1);
  EXPECT_EQ(requests()[3].length, 5116);
  EXPECT_EQ(wordAt(requests()[3].body, 648), 70000U);
}

TEST_F(ModifyRuleTest, ResultIsThatOfTheSend) {
  for (const std::int32_t result : {0, 5, -1, -115}) {
    const RecordingSend recorder(result);
    EXPECT_EQ(modify(rules_), result);
  }
}

TEST_F(ModifyRuleTest, WithoutMemoryNothingIsSentAndTheResultIsMinusOne) {
  const RecordingSend recorder;
  const FailAllocation guard(1);
  EXPECT_EQ(modify(rules_), -1);
  EXPECT_TRUE(guard.failed());
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(ModifyRuleTest, OneAllocationServesForTheRequest) {
  const RecordingSend recorder;
  const FailAllocation guard(2);
  EXPECT_EQ(modify(rules_), 0);
  EXPECT_EQ(guard.allocationsMade(), 1U);
}

// On a 32-bit target head and rules together are longer than any object; the sum must not wrap.
TEST_F(ModifyRuleTest, LongestRulesOfAllReturnMinusOneWhereMemoryCannotHoldThem) {
  const RecordingSend recorder;
  std::int32_t result = 0;
  unsigned allocations = 0;
  {
    const FailAllocation guard(1);
    result = aclSendModifyRule("edge-in", 0, 0, 0, 0, rules_.data(), 0xFFFFFFFF, nullptr,
                               RecordingSend::send);
    allocations = guard.allocationsMade();
  }
  EXPECT_EQ(result, -1);
  EXPECT_EQ(allocations, sizeof(void *) == 4 ? 0U : 1U);
  EXPECT_THAT(requests(), IsEmpty());
}

}  // namespace
