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
  EXPECT_TRUE(sends([this] { return add(kNameOf40); }, "dynrules/add_rule_long_name.golden"));
}

TEST_F(DynamicRulesTest, DeleteSendsTheName) {
  EXPECT_TRUE(sends([] { return remove(); }, "dynrules/delete_rule.golden"));
}

TEST_F(DynamicRulesTest, DeleteSendsTheFirst32CharactersOfALongName) {
  EXPECT_TRUE(sends([] { return remove(kNameOf40); }, "dynrules/delete_rule_long_name.golden"));
}

TEST_F(DynamicRulesTest, NamesAreReadNoFurtherThan32Characters) {
  const UnendedName name(kNameOf40);
  EXPECT_TRUE(sends([&] { return add(name.data()); }, "dynrules/add_rule_long_name.golden"));
  EXPECT_TRUE(sends([&] { return remove(name.data()); }, "dynrules/delete_rule_long_name.golden"));
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
  EXPECT_TRUE(sends([] { return config(dynamicRuleWithLongNames()); },
                    "dynrules/config_rule_long_names.golden"));
}

TEST_F(DynamicRulesTest, UnconfigSendsNoRelativeNamePriorityAttributeNorSecondCookie) {
  EXPECT_TRUE(sends([] { return unconfig(); }, "dynrules/unconfig_rule.golden"));
}

TEST_F(DynamicRulesTest, UnconfigSendsTheFirst32CharactersOfALongName) {
  EXPECT_TRUE(sends([] { return unconfig(dynamicRuleWithLongNames()); },
                    "dynrules/unconfig_rule_long_names.golden"));
}

TEST_F(DynamicRulesTest, RequestsAreSentAtOnceInPacketsOfTheirOwn) {
  add();
  remove();
  config();
  unconfig();
  std::vector<std::size_t> lengths;
  for (const swplat_fake::SentPacket &packet : fake().sentPackets()) {
    lengths.push_back(packet.bytes.size());
  }
  EXPECT_THAT(lengths, ElementsAre(1460U, 1460U, 2100U, 2100U));
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
  const AclDynRuleRecord record = dynamicRuleWithLongNames();
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
                  " Access-Control: Configure dynamic acl rule "
                  "abcdefghijklmnopqrstuvwxyz012345 on vlan 100 port 3:17 relative to rule "
                  "ABCDEFGHIJKLMNOPQRSTUVWXYZ987654 prioriy -5 direction 1 \n",
                  " Access-Control: Unconfigure dynamic acl rule "
                  "abcdefghijklmnopqrstuvwxyz012345 on vlan 100 port 3:17 direction 1\n"));
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
