#include "tests/acl_lib/request_test.h"

namespace {

using namespace acl_test;

class DynamicRuleBatchesTest : public RequestTest {
 protected:
  std::int32_t add(std::int32_t flush = 1, const char *name = "dyn-1",
                   std::uint32_t appId = 2) const {
    return aclLibAddDynRuleBatch(name, rule_.data(), appId, flush, 0x0A0B0C0D);
  }
  static std::int32_t remove(std::int32_t flush = 1, const char *name = "dyn-1",
                             std::uint32_t appId = 2) {
    return aclLibDelDynRuleBatch(name, appId, flush);
  }
  static std::int32_t config(std::int32_t flush = 1,
                             const AclDynRuleRecord &record = dynamicRule()) {
    return aclLibConfigDynRuleBatch(&record, flush);
  }
  static std::int32_t unconfig(std::int32_t flush = 1,
                               const AclDynRuleRecord &record = dynamicRule()) {
    return aclLibUnconfigDynRuleBatch(&record, flush);
  }

 private:
  const std::vector<std::uint8_t> rule_ = encodedRule();
};

// ---- Bytes

TEST_F(DynamicRuleBatchesTest, AddSendsWhatTheSingleRequestSends) {
  EXPECT_TRUE(sends([this] { return add(); }, "dynrules/add_rule.golden"));
  EXPECT_TRUE(sends([this] { return add(1, kNameOf40, kWideApplication); },
                    "dynrules/add_rule_long_name.golden"));
}

TEST_F(DynamicRuleBatchesTest, DeleteSendsWhatTheSingleRequestSends) {
  EXPECT_TRUE(sends([] { return remove(); }, "dynrules/delete_rule.golden"));
  EXPECT_TRUE(sends([] { return remove(1, kNameOf40, kWideApplication); },
                    "dynrules/delete_rule_long_name.golden"));
}

TEST_F(DynamicRuleBatchesTest,
       ConfigSendsTheKindButNoLeadingNamePriorityAttributeFlagsOrSecondCookie) {
  EXPECT_TRUE(sends([] { return config(); }, "policy/batch_config_rule.golden"));
}

TEST_F(DynamicRuleBatchesTest, ConfigSendsTheFirst32CharactersOfLongNames) {
  EXPECT_TRUE(sends([] { return config(1, wideDynamicRule()); },
                    "policy/batch_config_rule_long_names.golden"));
}

TEST_F(DynamicRuleBatchesTest, UnconfigSendsNoLeadingNameFlagsOrCookie) {
  EXPECT_TRUE(sends([] { return unconfig(); }, "policy/batch_unconfig_rule.golden"));
}

TEST_F(DynamicRuleBatchesTest, UnconfigSendsTheFirst32CharactersOfALongName) {
  EXPECT_TRUE(sends([] { return unconfig(1, wideDynamicRule()); },
                    "policy/batch_unconfig_rule_long_names.golden"));
}

TEST_F(DynamicRuleBatchesTest, NamesAreReadNoFurtherThan32Characters) {
  const UnendedName name(kNameOf40);
  EXPECT_TRUE(sends([&] { return add(1, name.data(), kWideApplication); },
                    "dynrules/add_rule_long_name.golden"));
  EXPECT_TRUE(sends([&] { return remove(1, name.data(), kWideApplication); },
                    "dynrules/delete_rule_long_name.golden"));
}

TEST_F(DynamicRuleBatchesTest, NullNamesAreEmptyNames) {
  add(1, nullptr);
  remove(1, nullptr);
  const std::vector<Bytes> bodies = sentBodies();
  ASSERT_EQ(bodies.size(), 2U);
  for (const Bytes &body : bodies) {
    EXPECT_EQ(Bytes(body.begin() + 592, body.begin() + 625), Bytes(33));
  }
}

TEST_F(DynamicRuleBatchesTest, EveryByteThatNoFieldCoversIsZero) {
  const std::vector<std::uint8_t> rule(816, 0xFF);
  aclLibAddDynRuleBatch(kNameOf40, rule.data(), 0xFFFFFFFF, 1, 0xFFFFFFFF);
  aclLibDelDynRuleBatch(kNameOf40, 0xFFFFFFFF, 1);
  config(1, fullDynamicRule());
  unconfig(1, fullDynamicRule());
  const std::vector<Bytes> bodies = sentBodies();
  ASSERT_EQ(bodies.size(), 4U);
  EXPECT_TRUE(
      isZeroBeside({{0, 2}, {588, 4}, {592, 32}, {628, 4}, {632, 4}, {640, 816}}, bodies[0]));
  EXPECT_TRUE(isZeroBeside({{0, 2}, {592, 32}, {628, 4}}, bodies[1]));
  EXPECT_TRUE(isZeroBeside({{0, 2},
                            {588, 4},
                            {600, 4},
                            {604, 4},
                            {608, 32},
                            {641, 32},
                            {744, 1},
                            {748, 4},
                            {2068, 4},
                            {2072, 1}},
                           bodies[2]));
  EXPECT_TRUE(isZeroBeside({{0, 2}, {600, 4}, {604, 4}, {608, 32}, {748, 4}, {2068, 4}, {2072, 1}},
                           bodies[3]));
}

// ---- Packets

TEST_F(DynamicRuleBatchesTest, ThreeAddsWithoutAndOneWithAFlushTravelInOnePacket) {
  EXPECT_EQ(add(0), 0);
  EXPECT_EQ(add(0), 0);
  EXPECT_EQ(add(0), 0);
  EXPECT_THAT(fake().sentPackets(), IsEmpty());
  EXPECT_EQ(add(1), 0);
  EXPECT_THAT(sentPacketLengths(), ElementsAre(5840U));
  const std::vector<Bytes> bodies = sentBodies();
  ASSERT_EQ(bodies.size(), 4U);
  for (const Bytes &body : bodies) EXPECT_TRUE(matchesGolden(body, "dynrules/add_rule.golden"));
}

TEST_F(DynamicRuleBatchesTest, SixthAddWithoutAFlushSendsTheFirstFive) {
  for (int i = 0; i < 5; ++i) EXPECT_EQ(add(0), 0);
  EXPECT_THAT(fake().sentPackets(), IsEmpty());
  EXPECT_EQ(add(0), 0);
  EXPECT_THAT(sentPacketLengths(), ElementsAre(7300U));
  EXPECT_EQ(transHandleCommit(aclHandle), 1460);
  EXPECT_THAT(sentPacketLengths(), ElementsAre(7300U, 1460U));
}

TEST_F(DynamicRuleBatchesTest, RequestsOfAllKindsWaitForTheFlushInOrder) {
  EXPECT_EQ(add(0), 0);
  EXPECT_EQ(config(0), 0);
  EXPECT_EQ(unconfig(0), 0);
  EXPECT_THAT(fake().sentPackets(), IsEmpty());
  EXPECT_EQ(remove(1), 0);
  EXPECT_THAT(sentPacketLengths(), ElementsAre(1460U + 2100U + 2100U + 1460U));
  std::vector<std::uint16_t> codes;
  for (const Bytes &body : sentBodies()) codes.push_back(codeOf(body));
  EXPECT_THAT(codes, ElementsAre(0x3001, 0x3003, 0x3004, 0x3002));
}

TEST_F(DynamicRuleBatchesTest, AnyFlushButZeroSendsAtOnceAlsoANegativeOne) {
  for (const std::int32_t flush : {-1, 2, 256, INT32_MIN}) {
    fake().forgetCalls();
    EXPECT_EQ(add(flush), 0);
    EXPECT_EQ(remove(flush), 0);
    EXPECT_EQ(config(flush), 0);
    EXPECT_EQ(unconfig(flush), 0);
    EXPECT_THAT(sentPacketLengths(), ElementsAre(1460U, 1460U, 2100U, 2100U)) << flush;
  }
}

TEST_F(DynamicRuleBatchesTest, SingleRequestTakesTheWaitingOnesAlong) {
  EXPECT_EQ(remove(0), 0);
  EXPECT_EQ(aclLibDelDynRule("dyn-1", 2), 0);
  EXPECT_THAT(sentPacketLengths(), ElementsAre(2920U));
}

TEST_F(DynamicRuleBatchesTest, CommitSendsWhatWaits) {
  EXPECT_EQ(add(0), 0);
  EXPECT_EQ(transHandleCommit(aclHandle), 1460);
  EXPECT_EQ(sentBodies().size(), 1U);
}

// ---- Refusals and results

TEST_F(DynamicRuleBatchesTest, NothingIsTraced) {
  add();
  remove();
  config();
  unconfig();
  EXPECT_THAT(fake().callNames({"Sprintf", "evlog*"}), IsEmpty());
}

TEST_F(DynamicRuleBatchesTest, NullRuleOrRecordIsRefused) {
  expectRefusal([] { return aclLibAddDynRuleBatch("dyn-1", nullptr, 2, 1, 0); }, -2);
  expectRefusal([] { return aclLibConfigDynRuleBatch(nullptr, 1); }, -2);
  expectRefusal([] { return aclLibUnconfigDynRuleBatch(nullptr, 1); }, -2);
}

TEST_F(DynamicRuleBatchesTest, ResultsAreThoseOfTheSend) {
  expectResultsOfTheSend([this] { return add(); });
  expectResultsOfTheSend([] { return remove(); });
  expectResultsOfTheSend([] { return config(); });
  expectResultsOfTheSend([] { return unconfig(); });
}

TEST_F(DynamicRuleBatchesTest, RequestsNeedNoMemoryButTheirPacket) {
  expectNoAllocations([this] { add(0); });
  expectNoAllocations([] { remove(0); });
  expectNoAllocations([] { config(); });
  expectNoAllocations([] { unconfig(); });
}

}  // namespace
