#include "tests/acl_lib/request_test.h"

namespace {

using namespace acl_test;

class DynamicRulesTest : public RequestTest {
 protected:
  std::int32_t add(const char *name = "dyn-1", std::uint32_t appId = 2) const {
    return aclLibAddDynRule(name, rule_.data(), appId, 0x0A0B0C0D);
  }
  static std::int32_t remove(const char *name = "dyn-1", std::uint32_t appId = 2) {
    return aclLibDelDynRule(name, appId);
  }
  static std::int32_t config(const AclDynRuleRecord &record = dynamicRule()) {
    return aclLibConfigDynRule(&record);
  }
  static std::int32_t unconfig(const AclDynRuleRecord &record = dynamicRule()) {
    return aclLibUnconfigDynRule(&record);
  }
  static AclDynRuleRecord ruleOf(std::uint32_t appId) {
    AclDynRuleRecord record = dynamicRule();
    record.appId = appId;
    return record;
  }

 private:
  const std::vector<std::uint8_t> rule_ = encodedRule();
};

// ---- Bytes

TEST_F(DynamicRulesTest, AddSendsTheNameAndTheEncodedRule) {
  EXPECT_TRUE(sends([this] { return add(); }, "dynrules/add_rule.golden"));
}

TEST_F(DynamicRulesTest, AddSendsTheFirst32CharactersOfALongName) {
  EXPECT_TRUE(sends([this] { return add(kNameOf40, kWideApplication); },
                    "dynrules/add_rule_long_name.golden"));
}

TEST_F(DynamicRulesTest, DeleteSendsTheName) {
  EXPECT_TRUE(sends([] { return remove(); }, "dynrules/delete_rule.golden"));
}

TEST_F(DynamicRulesTest, DeleteSendsTheFirst32CharactersOfALongName) {
  EXPECT_TRUE(sends([] { return remove(kNameOf40, kWideApplication); },
                    "dynrules/delete_rule_long_name.golden"));
}

TEST_F(DynamicRulesTest, NamesAreReadNoFurtherThan32Characters) {
  const UnendedName name(kNameOf40);
  EXPECT_TRUE(sends([&] { return add(name.data(), kWideApplication); },
                    "dynrules/add_rule_long_name.golden"));
  EXPECT_TRUE(sends([&] { return remove(name.data(), kWideApplication); },
                    "dynrules/delete_rule_long_name.golden"));
}

TEST_F(DynamicRulesTest, NullNamesAreEmptyNames) {
  add(nullptr);
  remove(nullptr);
  const std::vector<Bytes> bodies = sentBodies();
  ASSERT_EQ(bodies.size(), 2U);
  for (const Bytes &body : bodies) {
    EXPECT_EQ(Bytes(body.begin() + 592, body.begin() + 625), Bytes(33));
  }
  EXPECT_THAT(fake().traceTexts(), ElementsAre(" Access-Control: Add dynamic acl rule  \n",
                                               " Access-Control: Delete dynamic acl rule  \n"));
}

TEST_F(DynamicRulesTest, ConfigSendsTheBindingWithTheNameAndTheCookieTwice) {
  EXPECT_TRUE(sends([] { return config(); }, "dynrules/config_rule.golden"));
}

TEST_F(DynamicRulesTest, ConfigSendsTheFirst32CharactersOfLongNames) {
  EXPECT_TRUE(
      sends([] { return config(wideDynamicRule()); }, "dynrules/config_rule_long_names.golden"));
}

TEST_F(DynamicRulesTest, UnconfigSendsNoRelativeNamePriorityAttributeNorSecondCookie) {
  EXPECT_TRUE(sends([] { return unconfig(); }, "dynrules/unconfig_rule.golden"));
}

TEST_F(DynamicRulesTest, UnconfigSendsTheFirst32CharactersOfALongName) {
  EXPECT_TRUE(sends([] { return unconfig(wideDynamicRule()); },
                    "dynrules/unconfig_rule_long_names.golden"));
}

// The rule says that it is 48 bytes long: it has neither conditions nor actions.
TEST_F(DynamicRulesTest, AddSends816BytesWhateverTheRulesOwnLength) {
  std::vector<std::uint8_t> rule(816, 0xC3);
  const Bytes ruleWord = hex("00000030");
  std::memcpy(rule.data() + 44, ruleWord.data(), ruleWord.size());
  aclLibAddDynRule("dyn-1", rule.data(), 2, 0);
  const std::vector<Bytes> bodies = sentBodies();
  ASSERT_EQ(bodies.size(), 1U);
  EXPECT_EQ(Bytes(bodies[0].begin() + 640, bodies[0].end()),
            test_support::copyOf(rule.data(), rule.size()));
}

TEST_F(DynamicRulesTest, EveryByteThatNoFieldCoversIsZero) {
  const std::vector<std::uint8_t> rule(816, 0xFF);
  aclLibAddDynRule(kNameOf40, rule.data(), 0xFFFFFFFF, 0xFFFFFFFF);
  aclLibDelDynRule(kNameOf40, 0xFFFFFFFF);
  config(fullDynamicRule());
  unconfig(fullDynamicRule());
  const std::vector<Bytes> bodies = sentBodies();
  ASSERT_EQ(bodies.size(), 4U);
  EXPECT_TRUE(
      isZeroBeside({{0, 2}, {588, 4}, {592, 32}, {628, 4}, {632, 4}, {640, 816}}, bodies[0]));
  EXPECT_TRUE(isZeroBeside({{0, 2}, {592, 32}, {628, 4}}, bodies[1]));
  EXPECT_TRUE(isZeroBeside({{0, 2},
                            {16, 32},
                            {588, 4},
                            {600, 4},
                            {604, 4},
                            {608, 32},
                            {641, 32},
                            {740, 4},
                            {748, 4},
                            {2068, 4},
                            {2072, 1},
                            {2084, 2},
                            {2088, 4},
                            {2092, 4}},
                           bodies[2]));
  EXPECT_TRUE(isZeroBeside({{0, 2},
                            {16, 32},
                            {588, 4},
                            {600, 4},
                            {604, 4},
                            {608, 32},
                            {748, 4},
                            {2068, 4},
                            {2072, 1},
                            {2088, 4}},
                           bodies[3]));
}

TEST_F(DynamicRulesTest, RequestsAreSentAtOnceInPacketsOfTheirOwn) {
  add();
  remove();
  config();
  unconfig();
  EXPECT_THAT(sentPacketLengths(), ElementsAre(1460U, 1460U, 2100U, 2100U));
}

// ---- Traces

TEST_F(DynamicRulesTest, AddTracesApplicationAndRule) {
  expectTraceOfEveryApplication([this](std::uint32_t id) { add("dyn-1", id); },
                                ": Add dynamic acl rule dyn-1 \n");
}

TEST_F(DynamicRulesTest, DeleteTracesApplicationAndRule) {
  expectTraceOfEveryApplication([](std::uint32_t id) { remove("dyn-1", id); },
                                ": Delete dynamic acl rule dyn-1 \n");
}

TEST_F(DynamicRulesTest, ConfigTraceSpellsPriorityWithoutItsSecondT) {
  expectTraceOfEveryApplication(
      [](std::uint32_t id) { config(ruleOf(id)); },
      ": Configure dynamic acl rule dyn-1 on vlan 100 port 3:17 relative to rule dyn-0 prioriy -5 "
      "direction 1 \n");
}

TEST_F(DynamicRulesTest, UnconfigTracesTheBinding) {
  expectTraceOfEveryApplication(
      [](std::uint32_t id) { unconfig(ruleOf(id)); },
      ": Unconfigure dynamic acl rule dyn-1 on vlan 100 port 3:17 direction 1\n");
}

TEST_F(DynamicRulesTest, TracesShowTheFirst32CharactersOfLongNames) {
  const AclDynRuleRecord record = wideDynamicRule();
  EXPECT_THAT(
      traceOf([&] {
        add(kNameOf40);
        remove(kNameOf40);
        config(record);
        unconfig(record);
      }),
      ElementsAre(" Access-Control: Add dynamic acl rule abcdefghijklmnopqrstuvwxyz012345 \n",
                  " Access-Control: Delete dynamic acl rule "
                  "abcdefghijklmnopqrstuvwxyz012345 \n",
                  " Other: Configure dynamic acl rule abcdefghijklmnopqrstuvwxyz012345 on vlan "
                  "-236792892 port 27:11325 relative to rule ABCDEFGHIJKLMNOPQRSTUVWXYZ987654 "
                  "prioriy -506281035 direction 151 \n",
                  " Other: Unconfigure dynamic acl rule abcdefghijklmnopqrstuvwxyz012345 on vlan "
                  "-236792892 port 27:11325 direction 151\n"));
}

TEST_F(DynamicRulesTest, Port0x00030011IsShownAsSlot3AndPort17) {
  AclDynRuleRecord record = dynamicRule();
  record.port = 0x00030011;
  const std::vector<std::string> lines = traceOf([&] {
    config(record);
    unconfig(record);
  });
  EXPECT_THAT(lines, testing::SizeIs(2));
  EXPECT_THAT(lines, testing::Each(testing::HasSubstr(" port 3:17 ")));
}

TEST_F(DynamicRulesTest, TracesShowVlanAndPriorityWithTheirSignAndTheLowPartsOfThePort) {
  AclDynRuleRecord record = dynamicRule();
  record.vlan = INT32_MIN;
  record.priority = INT32_MAX;
  record.port = 0xFFFEFFFF;
  record.direction = 255;
  EXPECT_THAT(
      traceOf([&] {
        config(record);
        unconfig(record);
      }),
      ElementsAre(" Access-Control: Configure dynamic acl rule dyn-1 on vlan -2147483648 port "
                  "254:65535 relative to rule dyn-0 prioriy 2147483647 direction 255 \n",
                  " Access-Control: Unconfigure dynamic acl rule dyn-1 on vlan -2147483648 port "
                  "254:65535 direction 255\n"));
}

TEST_F(DynamicRulesTest, LineIsTracedBeforeTheRequestIsSentAndWithoutAConnectionToo) {
  expectTraceBeforeSend([this] { add(); });
  expectTraceBeforeSend([] { remove(); });
  expectTraceBeforeSend([] { config(); });
  expectTraceBeforeSend([] { unconfig(); });
}

// ---- Refusals and results

TEST_F(DynamicRulesTest, NullRuleOrRecordIsRefusedWithoutATrace) {
  expectRefusal([] { return aclLibAddDynRule("dyn-1", nullptr, 2, 0); }, -2);
  expectRefusal([] { return aclLibConfigDynRule(nullptr); }, -2);
  expectRefusal([] { return aclLibUnconfigDynRule(nullptr); }, -2);
}

TEST_F(DynamicRulesTest, ResultsAreThoseOfTheSend) {
  expectResultsOfTheSend([this] { return add(); });
  expectResultsOfTheSend([] { return remove(); });
  expectResultsOfTheSend([] { return config(); });
  expectResultsOfTheSend([] { return unconfig(); });
}

TEST_F(DynamicRulesTest, RequestsNeedNoMemoryButTheirPacket) {
  expectNoAllocations([this] { add(); });
  expectNoAllocations([] { remove(); });
  expectNoAllocations([] { config(); });
  expectNoAllocations([] { unconfig(); });
}

}  // namespace
