#include "tests/acl_lib/client/rule_table_test.h"

namespace {

using namespace acl_test;

constexpr std::uint32_t kFlags = 0xF1F2F3F4;
constexpr std::uint32_t kCookie = 0xC1C2C3C4;
constexpr std::uint32_t kPosition = 0x00000002;

// The name that a request is about.
std::string nameIn(const Bytes &body) {
  return reinterpret_cast<const char *>(body.data() + 608);
}

std::vector<std::string> recordedNames() {
  std::vector<std::string> names;
  for (const auto &request : RecordingSend::requests()) names.push_back(nameIn(request.body));
  return names;
}

class AppRulesTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    connectHandle();
  }

  static std::int32_t config(const char *name, const char *refName = nullptr,
                             std::uint32_t position = kPosition) {
    return aclLibConfigAppRule(0xFFFFFFFF, name, refName, kFlags, position, kCookie);
  }
  static std::int32_t unconfig(const char *name) {
    return aclLibUnconfigAppRule(kPosition, name, kFlags);
  }
};

// ---- Configuring

TEST_F(AppRulesTest, ConfigSendsTheRule) {
  EXPECT_EQ(config("ssh-in"), 1);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "client/config_app_rule.golden"));
}

TEST_F(AppRulesTest, ConfigSendsTheReferenceToo) {
  createRules({"web-in"});
  EXPECT_EQ(config("ssh-in", "web-in"), 1);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "client/config_app_rule_with_reference.golden"));
}

TEST_F(AppRulesTest, ConfigSendsNamesOf40CharactersCutTo32) {
  createRules({k40Characters.c_str()});
  EXPECT_EQ(config(k40Characters.c_str(), k40Characters.c_str()), 1);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "client/config_app_rule_of_40_characters.golden"));
  EXPECT_THAT(ringNames(), ElementsAre(k32Characters, k32Characters));
}

TEST_F(AppRulesTest, ConfigAddsTheRuleToTheTable) {
  createRules({"a", "c"});
  EXPECT_EQ(config("b", "a", 0), 1);
  EXPECT_EQ(config("first", nullptr, 1), 1);
  EXPECT_THAT(ringNames(), ElementsAre("first", "a", "b", "c"));
}

TEST_F(AppRulesTest, PositionsAbove31BitsAreBehindTheReference) {
  createRules({"a", "c"});
  EXPECT_EQ(config("b", "a", 0x80000001), 1);
  EXPECT_THAT(ringNames(), ElementsAre("a", "b", "c"));
  EXPECT_EQ(wordAt(sentBodies()[0], 604), 0x80000001U);
}

TEST_F(AppRulesTest, ConfigOfANullNameDoesNothing) {
  EXPECT_EQ(config(nullptr), 0);
  EXPECT_THAT(sentBodies(), IsEmpty());
  EXPECT_THAT(ringNames(), IsEmpty());
}

TEST_F(AppRulesTest, ConfigBesideAnUnknownRuleSendsNothing) {
  createRules({"a"});
  EXPECT_EQ(config("b", "not there"), 0);
  EXPECT_THAT(sentBodies(), IsEmpty());
  EXPECT_THAT(ringNames(), ElementsAre("a"));
}

TEST_F(AppRulesTest, ConfigWithoutMemorySendsNothing) {
  const unsigned failures = test_support::forEachAllocationFailure([failed = true]() mutable {
    EXPECT_EQ(config("a"), failed ? 0 : 1);
    const test_support::AllocationExemption exemption;
    EXPECT_EQ(sentBodies().size(), failed ? 0U : 1U);
    EXPECT_EQ(gClientEntryList.count, failed ? 0 : 1);
    failed = false;
  });
  EXPECT_EQ(failures, 1U);
}

// Result of the message bus -> result of the two calls.
struct SendResult {
  std::int32_t bus, config, unconfig;
};
constexpr SendResult kSendResults[] = {
    {40, 1, 0}, {-116, 1, 0}, {0, 1, 0}, {-1, 0, -1}, {-115, 0, -115}, {-113, 0, -113},
};

TEST_F(AppRulesTest, ConfigReturns1WhenTheRequestWasSentAndUnconfigTheResultOfTheSend) {
  for (const SendResult &result : kSendResults) {
    EXPECT_EQ(withBusResult(result.bus, [] { return config("a"); }), result.config) << result.bus;
    EXPECT_EQ(withBusResult(result.bus, [] { return unconfig("a"); }), result.unconfig)
        << result.bus;
    EXPECT_THAT(ringNames(), IsEmpty()) << result.bus;
  }
}

TEST_F(AppRulesTest, RuleStaysInTheTableWhenItsRequestCannotBeSent) {
  fake().queueResults("msgbusSend", {-115});
  EXPECT_EQ(config("a"), 0);
  EXPECT_THAT(ringNames(), ElementsAre("a"));
}

TEST_F(AppRulesTest, WithoutAPeerConfigReturns0AndUnconfigMinus1) {
  transHandleSetPeer(aclHandle, 0);
  EXPECT_EQ(config("a"), 0);
  EXPECT_THAT(ringNames(), ElementsAre("a"));
  EXPECT_EQ(unconfig("a"), -1);
  EXPECT_THAT(ringNames(), IsEmpty());
}

TEST_F(AppRulesTest, ConfigTakesNamesOfTheTable) {
  createRules({"web-in", "ssh-in"});
  EXPECT_EQ(config(aclLibFindNextRule("web-in"), aclLibGetFirstRule()), 1);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "client/config_app_rule_with_reference.golden"));
  EXPECT_THAT(ringNames(), ElementsAre("web-in", "ssh-in", "ssh-in"));
}

// ---- Unconfiguring one rule

TEST_F(AppRulesTest, UnconfigDeletesTheRuleAndSendsItsName) {
  createRules({"a", "ssh-in", "b"});
  EXPECT_EQ(unconfig("ssh-in"), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "client/unconfig_app_rule.golden"));
  EXPECT_THAT(ringNames(), ElementsAre("a", "b"));
}

TEST_F(AppRulesTest, UnconfigOfAnUnknownRuleIsSentAllTheSame) {
  createRules({"a"});
  EXPECT_EQ(unconfig("ssh-in"), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "client/unconfig_app_rule.golden"));
  EXPECT_THAT(ringNames(), ElementsAre("a"));
}

TEST_F(AppRulesTest, UnconfigTakesANameThatItDeletes) {
  createRules({"ssh-in", "b"});
  EXPECT_EQ(unconfig(aclLibGetFirstRule()), 0);
  EXPECT_THAT(ringNames(), ElementsAre("b"));
  createRules({"ssh-in"});
  EXPECT_EQ(unconfig(aclLibFindClientEntry("ssh-in")->name), 0);
  EXPECT_THAT(ringNames(), ElementsAre("b"));
  ASSERT_EQ(sentBodies().size(), 2U);
  for (const Bytes &body : sentBodies()) {
    EXPECT_TRUE(matchesGolden(body, "client/unconfig_app_rule.golden"));
  }
}

TEST_F(AppRulesTest, UnconfigWhileTheCountIsZeroSendsTheNameAndDeletesNothing) {
  createRules({"ssh-in"});
  gClientEntryList.count = 0;
  EXPECT_EQ(unconfig("ssh-in"), 0);
  gClientEntryList.count = 1;
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "client/unconfig_app_rule.golden"));
  EXPECT_THAT(ringNames(), ElementsAre("ssh-in"));
}

TEST_F(AppRulesTest, UnconfigSendsANameOf40CharactersCutTo32) {
  createRules({k40Characters.c_str()});
  EXPECT_EQ(unconfig(k40Characters.c_str()), 0);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "client/unconfig_app_rule_of_40_characters.golden"));
  EXPECT_THAT(ringNames(), IsEmpty());
}

TEST_F(AppRulesTest, UnconfigThroughASendReturnsWhatItReturned) {
  for (const std::int32_t result : {0, 1, -1, -2, 12345}) {
    const RecordingSend send(result);
    EXPECT_EQ(aclUnconfigAppRule(kPosition, "ssh-in", kFlags, RecordingSend::send), result);
    ASSERT_EQ(RecordingSend::requests().size(), 1U);
    const RecordingSend::Request &request = RecordingSend::requests()[0];
    EXPECT_EQ(request.type, 0x1002);
    EXPECT_EQ(request.length, 2096);
    EXPECT_TRUE(matchesGolden(request.body, "client/unconfig_app_rule.golden"));
  }
  EXPECT_THAT(sentBodies(), IsEmpty());
}

TEST_F(AppRulesTest, UnconfigWithoutASendIsRefusedAndDeletesNothing) {
  createRules({"a", "b"});
  EXPECT_EQ(aclUnconfigAppRule(0, "a", 0, nullptr), -2);
  EXPECT_EQ(aclUnconfigAppRule(0, nullptr, 0, nullptr), -2);
  EXPECT_THAT(ringNames(), ElementsAre("a", "b"));
}

// ---- Unconfiguring all

TEST_F(AppRulesTest, UnconfigOfANullNameSendsEveryRuleInRingOrder) {
  createRules({"c", "a", "b"});
  EXPECT_EQ(unconfig(nullptr), 1);
  std::vector<std::string> names;
  for (const Bytes &body : sentBodies()) {
    EXPECT_EQ(codeOf(body), 0x3008);
    EXPECT_EQ(wordAt(body, 600), kFlags);
    EXPECT_EQ(wordAt(body, 604), kPosition);
    names.push_back(nameIn(body));
  }
  EXPECT_THAT(names, ElementsAre("c", "a", "b"));
  EXPECT_EQ(gClientEntryList.first, nullptr);
  EXPECT_EQ(gClientEntryList.count, 0);
}

TEST_F(AppRulesTest, UnconfigOfANullNameSendsEveryRuleOfANameThatSeveralHave) {
  createRules({"b", "a", "a", "b", "a"});
  const RecordingSend send;
  EXPECT_EQ(aclUnconfigAppRule(0, nullptr, 0, RecordingSend::send), 1);
  EXPECT_THAT(recordedNames(), ElementsAre("b", "a", "a", "b", "a"));
  EXPECT_THAT(ringNames(), IsEmpty());
}

TEST_F(AppRulesTest, UnconfigOfANullNameIgnoresTheResultsOfTheSends) {
  createRules({"a", "b"});
  const RecordingSend send(-115);
  EXPECT_EQ(aclUnconfigAppRule(0, nullptr, 0, RecordingSend::send), 1);
  EXPECT_THAT(recordedNames(), ElementsAre("a", "b"));
  EXPECT_THAT(ringNames(), IsEmpty());
}

TEST_F(AppRulesTest, UnconfigOfANullNameOfAnEmptyTableReturns1AndSendsNothing) {
  EXPECT_EQ(unconfig(nullptr), 1);
  EXPECT_THAT(sentBodies(), IsEmpty());
}

TEST_F(AppRulesTest, UnconfigOfANullNameWhileTheCountIsZeroDeletesAndSendsNothing) {
  createRules({"a", "b"});
  gClientEntryList.count = 0;
  EXPECT_EQ(unconfig(nullptr), 1);
  gClientEntryList.count = 2;
  EXPECT_THAT(sentBodies(), IsEmpty());
  EXPECT_THAT(ringNames(), ElementsAre("a", "b"));
}

TEST_F(AppRulesTest, RuleIsDeletedBeforeItsRequestIsSent) {
  createRules({"a", "b", "c"});
  static std::vector<std::vector<std::string>> left;
  left.clear();
  const AclSendFn send = [](std::uint16_t, const void *, std::uint16_t) {
    left.push_back(ringNames());
    return 0;
  };
  EXPECT_EQ(aclUnconfigAppRule(0, nullptr, 0, send), 1);
  EXPECT_THAT(left, ElementsAre(ElementsAre("b", "c"), ElementsAre("c"), IsEmpty()));
}

TEST_F(AppRulesTest, SendMayAddAndDeleteRules) {
  createRules({"a", "b", "c", "d"});
  static std::vector<std::string> sent;
  sent.clear();
  const AclSendFn send = [](std::uint16_t, const void *body, std::uint16_t length) {
    const std::string name = nameIn(test_support::copyOf(body, length));
    sent.push_back(name);
    if (name == "a") aclLibDeleteRule("b");
    if (name == "c") aclLibCreateRule("new", "d", kAfter);
    if (name == "d") aclLibCreateRule("ahead", "new", kBefore);
    return 0;
  };
  EXPECT_EQ(aclUnconfigAppRule(0, nullptr, 0, send), 1);
  EXPECT_THAT(sent, ElementsAre("a", "c", "d", "new"));
  EXPECT_THAT(ringNames(), ElementsAre("ahead"));
}

TEST_F(AppRulesTest, SendMayDeleteEverything) {
  createRules({"a", "b", "c"});
  static int sends;
  sends = 0;
  const AclSendFn send = [](std::uint16_t, const void *, std::uint16_t) {
    ++sends;
    aclLibDeleteRule(nullptr);
    return 0;
  };
  EXPECT_EQ(aclUnconfigAppRule(0, nullptr, 0, send), 1);
  EXPECT_EQ(sends, 1);
}

TEST_F(AppRulesTest, UnconfigNeedsNoMemory) {
  createRules({"a", "b", "c"});
  const RecordingSend send;
  const FailAllocation guard(1);
  aclUnconfigAppRule(0, "a", 0, RecordingSend::send);
  aclUnconfigAppRule(0, nullptr, 0, RecordingSend::send);
  EXPECT_EQ(guard.allocationsMade(), 0U);
}

}  // namespace
