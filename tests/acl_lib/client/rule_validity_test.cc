#include "tests/acl_lib/client/rule_table_test.h"

#include <utility>

namespace {

using namespace acl_test;

constexpr std::uint32_t kArgument = 0xA1A2A3A4;
constexpr std::uint32_t kCookie = 0xC1C2C3C4;
constexpr std::uint8_t kPorts[2] = {0x17, 0xF8};

AclRuleRecord ruleRecord(const std::string &name, std::uint8_t direction = 0) {
  AclRuleRecord rule{};
  name.copy(rule.ruleName, sizeof(rule.ruleName));
  rule.policyFlag = 0xB1B2B3B4;
  rule.direction = direction;
  rule.attribute = 0xD5;
  return rule;
}

class RuleValidityTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    connectHandle();
  }

  static std::int32_t check(const AclRuleRecord &rule, std::uint32_t portCount = 0,
                            const std::uint8_t *ports = kPorts) {
    return aclLibCheckRuleValidity(&rule, ports, portCount, kArgument, kCookie);
  }
};

// ---- Bytes

TEST_F(RuleValidityTest, CheckWithoutPortsIsSent) {
  EXPECT_EQ(check(ruleRecord("ssh-in")), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "client/check_rule_validity.golden"));
}

TEST_F(RuleValidityTest, CheckOfOnePortSendsTheFirstOnly) {
  EXPECT_EQ(check(ruleRecord("ssh-in", 2), 1), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "client/check_rule_validity_of_one_port.golden"));
}

TEST_F(RuleValidityTest, CheckOfTwoPortsSendsBoth) {
  fake().setEgressCapable(1, true);
  EXPECT_EQ(check(ruleRecord("ssh-in", 1), 2), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "client/check_rule_validity_of_two_ports.golden"));
}

TEST_F(RuleValidityTest, CheckSendsANameOf40CharactersCutTo32) {
  EXPECT_EQ(check(ruleRecord(k40Characters)), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "client/check_rule_validity_of_40_characters.golden"));
}

TEST_F(RuleValidityTest, PortsAreReadNoFurtherThanTheirCount) {
  const std::vector<std::uint8_t> onePort = {0x17};
  EXPECT_EQ(check(ruleRecord("ssh-in"), 1, onePort.data()), 0);
  EXPECT_EQ(check(ruleRecord("ssh-in"), 0, nullptr), 0);
  EXPECT_EQ(sentBodies().size(), 2U);
}

// ---- Refusals, in the order in which they are looked for

TEST_F(RuleValidityTest, NullRuleIsRefusedFirst) {
  EXPECT_EQ(aclLibCheckRuleValidity(nullptr, nullptr, 3, 0, 0), -1);
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(RuleValidityTest, EgressRuleOnACardWithoutEgressIsRefusedWithoutSending) {
  EXPECT_EQ(check(ruleRecord("ssh-in", 1)), -31);
  EXPECT_THAT(sentBodies(), IsEmpty());
}

TEST_F(RuleValidityTest, EgressIsLookedAtBeforeThePorts) {
  EXPECT_EQ(check(ruleRecord("ssh-in", 1), 3), -31);
  EXPECT_EQ(check(ruleRecord("ssh-in", 1), 1, nullptr), -31);
}

TEST_F(RuleValidityTest, EgressRuleOnACardWithEgressIsSent) {
  fake().setEgressCapable(1, true);
  EXPECT_EQ(check(ruleRecord("ssh-in", 1)), 0);
  EXPECT_EQ(sentBodies().size(), 1U);
}

TEST_F(RuleValidityTest, OtherDirectionsAreNotAskedFor) {
  for (const std::uint8_t direction : std::initializer_list<std::uint8_t>{0, 2, 0x81, 0xFF}) {
    EXPECT_EQ(check(ruleRecord("ssh-in", direction)), 0);
  }
  EXPECT_THAT(fake().calls({"board*"}), IsEmpty());
}

TEST_F(RuleValidityTest, MoreThanTwoPortsAreRefused) {
  for (const std::uint32_t count : {3U, 256U, 258U, 0xFFFFFFFFU}) {
    EXPECT_EQ(check(ruleRecord("ssh-in"), count), -1) << count;
    EXPECT_EQ(check(ruleRecord("ssh-in"), count, nullptr), -1) << count;
  }
  EXPECT_THAT(sentBodies(), IsEmpty());
}

TEST_F(RuleValidityTest, NullPortsWithACountAreRefused) {
  EXPECT_EQ(check(ruleRecord("ssh-in"), 1, nullptr), -2);
  EXPECT_EQ(check(ruleRecord("ssh-in"), 2, nullptr), -2);
  EXPECT_THAT(sentBodies(), IsEmpty());
}

TEST_F(RuleValidityTest, ResultIsThatOfTheSend) {
  constexpr std::pair<std::int32_t, std::int32_t> kResults[] = {
      {40, 0}, {-116, 0}, {0, 0}, {-1, -1}, {-115, -115}, {-113, -113}};
  for (const auto &[bus, expected] : kResults) {
    EXPECT_EQ(withBusResult(bus, [] { return check(ruleRecord("ssh-in")); }), expected) << bus;
  }
  transHandleSetPeer(aclHandle, 0);
  EXPECT_EQ(check(ruleRecord("ssh-in")), -1);
}

TEST_F(RuleValidityTest, CheckNeedsNoMemory) {
  const AclRuleRecord rule = ruleRecord("ssh-in");
  const FailAllocation guard(1);
  EXPECT_EQ(check(rule, 2), 0);
  EXPECT_EQ(guard.allocationsMade(), 0U);
}

// ---- Egress

TEST_F(RuleValidityTest, EgressOfThisCardIsWhatThePlatformSays) {
  fake().setSlot(5);
  fake().setEgressCapable(5, true);
  EXPECT_NE(aclEgressSupported(0), 0);
  EXPECT_NE(aclEgressSupported(0xFFFFFFFF), 0);
  fake().setSlot(6);
  EXPECT_EQ(aclEgressSupported(5), 0);
}

TEST_F(RuleValidityTest, AnswerOfThePlatformIsReturnedAsItIs) {
  for (const std::int32_t answer : {1, 7, -1}) {
    fake().queueResults("boardCardEgressAclCapable", {answer});
    EXPECT_EQ(aclEgressSupported(0), answer);
  }
}

TEST_F(RuleValidityTest, EgressIsAskedForWithTheLow16BitsOfTheSlot) {
  fake().setSlot(0xABCD1234);
  aclEgressSupported(9);
  EXPECT_THAT(fake().calls({"boardCard*"}),
              ElementsAre(Call::of("boardCardEgressAclCapable", 0x1234)));
}

TEST_F(RuleValidityTest, EgressRuleAsksForThePlatformAlthoughOnlyTheSlotCounts) {
  check(ruleRecord("ssh-in", 1));
  EXPECT_THAT(fake().callNames(),
              ElementsAre("boardGetPlatformId", "boardGetSlotSelf", "boardCardEgressAclCapable"));
}

}  // namespace
