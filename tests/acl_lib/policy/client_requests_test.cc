#include "tests/acl_lib/request_test.h"

namespace {

using namespace acl_test;

constexpr std::uint32_t kCookie = 0x0A0B0C0D;

class ClientRequestsTest : public RequestTest {
 protected:
  static std::int32_t unbind(const char *name = "dyn-1") {
    AclRuleRecord rule;
    std::memset(&rule, 0xEE, sizeof(rule));
    std::memcpy(rule.ruleName, name, std::min<std::size_t>(std::strlen(name) + 1, 33));
    rule.policyFlag = 0x11223344;
    return aclLibUnbindRule(&rule, 0xE7, 0xABCD);
  }
  static std::int32_t move() { return aclLibMoveApplAttribute(0x83, 2, 255, kCookie); }
  static std::int32_t clean() {
    const AclClientId client{0xFEDC, 0x11223344, 0x55667788};
    return aclLibCleanClientRules(&client);
  }
  static std::int32_t check(const std::vector<AclPolicyEntry> &entries) {
    return aclLibCheckPolicy(entries.data(), static_cast<std::uint32_t>(entries.size()), kCookie);
  }

  // An entry whose unused bytes are not zero. A name of 40 characters fills its field.
  static AclPolicyEntry entry(std::uint8_t type, std::uint32_t value, const char *name) {
    AclPolicyEntry entry;
    std::memset(&entry, 0xEE, sizeof(entry));
    entry.type = type;
    entry.value = value;
    std::memcpy(entry.policyName, name, std::min<std::size_t>(std::strlen(name) + 1, 33));
    return entry;
  }

  // Entry n: type n + 1, value 0xC0000000 + n, name "policy-n".
  static std::vector<AclPolicyEntry> entries(std::uint32_t count) {
    std::vector<AclPolicyEntry> all;
    for (std::uint32_t i = 0; i < count; ++i) {
      std::string name = "policy-";
      name += std::to_string(i);
      all.push_back(entry(static_cast<std::uint8_t>(i + 1), 0xC0000000 + i, name.c_str()));
    }
    return all;
  }
};

// ---- Bytes

TEST_F(ClientRequestsTest, UnbindSendsNamePolicyFlagKeyAndFlag) {
  EXPECT_TRUE(sends([] { return unbind(); }, "policy/unbind_rule.golden"));
}

TEST_F(ClientRequestsTest, UnbindSendsTheFirst32CharactersOfALongName) {
  EXPECT_TRUE(sends([] { return unbind(kNameOf40); }, "policy/unbind_rule_long_name.golden"));
}

TEST_F(ClientRequestsTest, MoveSendsTheNumberNineAndItsArguments) {
  EXPECT_TRUE(sends([] { return move(); }, "policy/move_attribute.golden"));
}

TEST_F(ClientRequestsTest, CleanSendsTheWordsOfTheClientInAnotherOrder) {
  EXPECT_TRUE(sends([] { return clean(); }, "policy/clean_client.golden"));
}

TEST_F(ClientRequestsTest, CheckSendsEachEntryWithTheFirst32CharactersOfItsName) {
  EXPECT_TRUE(sends(
      [] { return check({entry(0x81, 0x11223344, "edge-in"), entry(7, 0xFFFFFFFF, kNameOf40)}); },
      "policy/check_two_policies.golden"));
}

TEST_F(ClientRequestsTest, CheckOfNoEntriesSendsTheCountZero) {
  EXPECT_TRUE(sends([] { return aclLibCheckPolicy(nullptr, 0, kCookie); },
                    "policy/check_no_policy.golden"));
  const std::vector<AclPolicyEntry> unread = entries(1);
  EXPECT_TRUE(sends([&] { return aclLibCheckPolicy(unread.data(), 0, kCookie); },
                    "policy/check_no_policy.golden"));
}

TEST_F(ClientRequestsTest, CheckTakes100Entries) {
  EXPECT_TRUE(sends([] { return check(entries(100)); }, "policy/check_100_policies.golden"));
}

TEST_F(ClientRequestsTest, RequestsAreSentAtOnceInPacketsOfTheirOwn) {
  unbind();
  move();
  clean();
  check({});
  EXPECT_THAT(sentPacketLengths(), ElementsAre(644U, 2604U, 608U, 5008U));
}

// ---- Refusals and results

TEST_F(ClientRequestsTest, UnbindOfNoRuleReturns0AndSendsNothing) {
  expectRefusal([] { return aclLibUnbindRule(nullptr, 1, 1); }, 0);
}

TEST_F(ClientRequestsTest, CleanOfNoClientIsRefused) {
  expectRefusal([] { return aclLibCleanClientRules(nullptr); }, -2);
}

TEST_F(ClientRequestsTest, CheckOf101EntriesIsRefused) {
  const std::vector<AclPolicyEntry> tooMany = entries(101);
  expectRefusal([&] { return check(tooMany); }, -2);
  expectRefusal([&] { return aclLibCheckPolicy(tooMany.data(), 0xFFFFFFFF, 0); }, -2);
}

TEST_F(ClientRequestsTest, CheckWithACountButNoEntriesIsRefused) {
  expectRefusal([] { return aclLibCheckPolicy(nullptr, 1, 0); }, -2);
  expectRefusal([] { return aclLibCheckPolicy(nullptr, 100, 0); }, -2);
}

TEST_F(ClientRequestsTest, NothingIsTraced) {
  unbind();
  move();
  clean();
  check(entries(1));
  EXPECT_THAT(fake().callNames({"Sprintf", "evlog*"}), IsEmpty());
}

TEST_F(ClientRequestsTest, ResultsAreThoseOfTheSend) {
  const std::vector<AclPolicyEntry> some = entries(3);
  expectResultsOfTheSend([] { return unbind(); });
  expectResultsOfTheSend([] { return move(); });
  expectResultsOfTheSend([] { return clean(); });
  expectResultsOfTheSend([&] { return check(some); });
}

TEST_F(ClientRequestsTest, RequestsNeedNoMemoryButTheirPacket) {
  const std::vector<AclPolicyEntry> most = entries(100);
  expectNoAllocations([] { unbind(); });
  expectNoAllocations([] { move(); });
  expectNoAllocations([] { clean(); });
  expectNoAllocations([&] { check(most); });
}

}  // namespace
