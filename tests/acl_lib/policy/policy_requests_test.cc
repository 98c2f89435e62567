#include <utility>

#include "tests/acl_lib/library_test.h"

namespace {

using namespace acl_test;

constexpr std::uint32_t kAdded = 2;
constexpr std::uint32_t kVlan = 4094;
constexpr std::uint32_t kPort = 5U << 16 | 47;

class PolicyRequestsTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    connectHandle();
  }

  // Codes of the requests that were sent.
  static std::vector<std::uint16_t> sentCodes() {
    std::vector<std::uint16_t> codes;
    for (const Bytes &body : sentBodies()) codes.push_back(codeOf(body));
    return codes;
  }

  std::int32_t config(std::uint32_t applyFlags = 0, const void *header = nullptr) {
    return aclLibConfigPolicy(policy_.handle(), kVlan, kPort, applyFlags, header);
  }
  std::int32_t unconfig(std::uint32_t applyFlags = 0, const void *header = nullptr) {
    return aclLibUnconfigPolicy(policy_.handle(), kVlan, kPort, applyFlags, header);
  }

  OwnPolicy &policy() { return policy_; }
  const void *header() const { return header_.data(); }

 private:
  OwnPolicy policy_{8};
  const std::vector<std::uint8_t> header_ = callersHeader();
};

// ---- Bytes

TEST_F(PolicyRequestsTest, ConfigSendsTheBinding) {
  policy()->stateFlags = kAdded;
  EXPECT_EQ(config(), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "policy/config_policy.golden"));
}

TEST_F(PolicyRequestsTest, ConfigCopiesTheCallersHeaderUnderTheCode) {
  policy()->stateFlags = kAdded;
  EXPECT_EQ(config(2, header()), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "policy/config_policy_with_header.golden"));
}

TEST_F(PolicyRequestsTest, UnconfigSendsTheBinding) {
  EXPECT_EQ(unconfig(), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "policy/unconfig_policy.golden"));
}

TEST_F(PolicyRequestsTest, UnconfigCopiesTheCallersHeaderUnderTheCode) {
  EXPECT_EQ(unconfig(2, header()), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "policy/unconfig_policy_with_header.golden"));
}

TEST_F(PolicyRequestsTest, DeleteSendsTheName) {
  EXPECT_EQ(aclLibDeletePolicy(policy().handle(), nullptr), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "policy/delete_policy.golden"));
}

TEST_F(PolicyRequestsTest, DeleteCopiesTheCallersHeaderUnderTheCode) {
  EXPECT_EQ(aclLibDeletePolicy(policy().handle(), header()), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "policy/delete_policy_with_header.golden"));
}

TEST_F(PolicyRequestsTest, VlanAndPortTravelAsWholeWords) {
  EXPECT_EQ(aclLibUnconfigPolicy(policy().handle(), 0x89ABCDEF, 0xFEDCBA98, 0, nullptr), 0);
  EXPECT_EQ(wordAt(sentBodies()[0], 2068), 0x89ABCDEFU);
  EXPECT_EQ(wordAt(sentBodies()[0], 748), 0xFEDCBA98U);
}

TEST_F(PolicyRequestsTest, NameOf32CharactersTravelsWhole) {
  OwnPolicy policy(0, "abcdefghijklmnopqrstuvwxyz012345");
  const Bytes name = join(bytesOf("abcdefghijklmnopqrstuvwxyz012345"), hex("00"));
  EXPECT_EQ(aclLibUnconfigPolicy(policy.handle(), 0, 0, 0, nullptr), 0);
  EXPECT_EQ(aclLibDeletePolicy(policy.handle(), nullptr), 0);
  const std::vector<Bytes> bodies = sentBodies();
  ASSERT_EQ(bodies.size(), 2U);
  EXPECT_EQ(Bytes(bodies[0].begin() + 608, bodies[0].begin() + 641), name);
  EXPECT_EQ(Bytes(bodies[1].begin() + 592, bodies[1].begin() + 625), name);
}

// ---- Download on demand

TEST_F(PolicyRequestsTest, ConfigDownloadsAPolicyThatWasNotAddedAndMarksIt) {
  policy()->stateFlags = 0xF0F0F0F1;
  EXPECT_EQ(config(), 0);
  EXPECT_THAT(sentCodes(), ElementsAre(0x2001, 0x2004));
  EXPECT_EQ(policy()->stateFlags, 0xF0F0F0F3U);
}

TEST_F(PolicyRequestsTest, ConfiguringTwiceDownloadsOnce) {
  EXPECT_EQ(config(), 0);
  EXPECT_EQ(config(), 0);
  EXPECT_THAT(sentCodes(), ElementsAre(0x2001, 0x2004, 0x2004));
}

TEST_F(PolicyRequestsTest, ConfigMarksThePolicyEvenWhenItsDownloadCouldNotBeSent) {
  transHandleSetPeer(aclHandle, 0);
  EXPECT_EQ(config(), -1);
  EXPECT_EQ(policy()->stateFlags, kAdded);
}

TEST_F(PolicyRequestsTest, ConfigGoesOnWithoutMemoryForTheDownload) {
  {
    const FailAllocation guard(1);
    EXPECT_EQ(config(), 0);
    EXPECT_TRUE(guard.failed());
  }
  EXPECT_THAT(sentCodes(), ElementsAre(0x2004));
  EXPECT_EQ(policy()->stateFlags, kAdded);
}

TEST_F(PolicyRequestsTest, ConfigOfAnAddedPolicyUnconfigAndDeleteNeedNoMemory) {
  policy()->stateFlags = kAdded;
  const FailAllocation guard(1);
  EXPECT_EQ(config(), 0);
  EXPECT_EQ(unconfig(), 0);
  EXPECT_EQ(aclLibDeletePolicy(policy().handle(), nullptr), 0);
  EXPECT_FALSE(guard.failed());
}

TEST_F(PolicyRequestsTest, UnconfigNeitherReadsNorChangesTheStateFlags) {
  for (const std::uint32_t flags : {0U, kAdded, 0xFFFFFFFFU}) {
    policy()->stateFlags = flags;
    EXPECT_EQ(unconfig(), 0);
    EXPECT_EQ(policy()->stateFlags, flags);
  }
  EXPECT_THAT(sentCodes(), ElementsAre(0x2005, 0x2005, 0x2005));
}

TEST_F(PolicyRequestsTest, DeleteKeepsThePolicyAsItIs) {
  policy()->stateFlags = kAdded;
  EXPECT_EQ(aclLibDeletePolicy(policy().handle(), nullptr), 0);
  EXPECT_EQ(policy()->stateFlags, kAdded);
  EXPECT_EQ(config(), 0);
}

// ---- Flags

constexpr std::uint32_t kKnownFlags[] = {0, 2};
constexpr std::uint32_t kRefusedFlags[] = {1, 3, 4, 0x80, 0x100, 0x102, 0x80000000, 0xFFFFFFFF};

TEST_F(PolicyRequestsTest, FlagsZeroAndTwoAreSent) {
  policy()->stateFlags = kAdded;
  for (const std::uint32_t flags : kKnownFlags) {
    EXPECT_EQ(config(flags), 0);
    EXPECT_EQ(unconfig(flags), 0);
    EXPECT_EQ(sentBodies().back().at(744), static_cast<std::byte>(flags));
  }
  EXPECT_THAT(sentCodes(), ElementsAre(0x2004, 0x2005, 0x2004, 0x2005));
}

TEST_F(PolicyRequestsTest, OtherFlagsAreRefusedInTheWholeWord) {
  policy()->stateFlags = kAdded;
  for (const std::uint32_t flags : kRefusedFlags) {
    EXPECT_EQ(config(flags), -2) << flags;
    EXPECT_EQ(unconfig(flags), -2) << flags;
  }
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(PolicyRequestsTest, ConfigRefusesFlagsOnlyAfterTheDownload) {
  for (const std::uint32_t flags : kRefusedFlags) {
    fake().forgetCalls();
    policy()->stateFlags = 0;
    EXPECT_EQ(config(flags), -2) << flags;
    EXPECT_THAT(sentCodes(), ElementsAre(0x2001)) << flags;
    EXPECT_EQ(policy()->stateFlags, kAdded) << flags;
  }
}

TEST_F(PolicyRequestsTest, UnconfigRefusesFlagsWithoutADownload) {
  for (const std::uint32_t flags : kRefusedFlags) EXPECT_EQ(unconfig(flags), -2) << flags;
  EXPECT_THAT(fake().calls(), IsEmpty());
  EXPECT_EQ(policy()->stateFlags, 0U);
}

// ---- Results

TEST_F(PolicyRequestsTest, ResultIsThatOfTheSend) {
  policy()->stateFlags = kAdded;
  const std::pair<std::int32_t, std::int32_t> results[] = {
      {2100, 0}, {-116, 0}, {-115, -115}, {-1, -1}};
  for (const auto &[ofMessageBus, expected] : results) {
    fake().queueResults("msgbusSend", {ofMessageBus, ofMessageBus, ofMessageBus});
    EXPECT_EQ(config(), expected);
    EXPECT_EQ(unconfig(), expected);
    EXPECT_EQ(aclLibDeletePolicy(policy().handle(), nullptr), expected);
  }
}

TEST_F(PolicyRequestsTest, WithoutAConnectionTheResultIsMinusOne) {
  transHandleSetPeer(aclHandle, 0);
  EXPECT_EQ(config(), -1);
  EXPECT_EQ(unconfig(), -1);
  EXPECT_EQ(aclLibDeletePolicy(policy().handle(), nullptr), -1);
}

// A handle as the library reports it.
std::string handleText(AclPolicyHandle handle) {
  char text[24];
  std::snprintf(text, sizeof(text), "%lx", static_cast<unsigned long>(handle));
  return text;
}

TEST_F(PolicyRequestsTest, NoAddressAndAMisalignedOneAreReportedByAllFiveCalls) {
  struct PolicyCall {
    const char *name;
    std::int32_t (*call)(AclPolicyHandle);
  };
  constexpr PolicyCall kCalls[] = {
      {"aclLibAddPolicy", aclLibAddPolicy},
      {"aclLibRefreshPolicy", aclLibRefreshPolicy},
      {"aclLibConfigPolicy",
       [](AclPolicyHandle policy) { return aclLibConfigPolicy(policy, 1, 1, 0, nullptr); }},
      {"aclLibUnconfigPolicy",
       [](AclPolicyHandle policy) { return aclLibUnconfigPolicy(policy, 1, 1, 0, nullptr); }},
      {"aclLibDeletePolicy",
       [](AclPolicyHandle policy) { return aclLibDeletePolicy(policy, nullptr); }}};
  OwnPolicy policy(8);
  for (const AclPolicyHandle handle :
       {AclPolicyHandle{-1}, AclPolicyHandle{-2}, policy.handle() + 1, policy.handle() + 2}) {
    for (const auto &[name, call] : kCalls) {
      OutputCapture output;
      const std::int32_t result = call(handle);
      output.finish();
      EXPECT_EQ(result, -2);
      EXPECT_EQ(output.standardOutput(),
                std::string(name) + ": Invalid policy handle " + handleText(handle) + "\n");
    }
  }
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(PolicyRequestsTest, InvalidHandleIsReportedUnderTheNameOfTheCall) {
  OutputCapture output;
  const std::int32_t configured = aclLibConfigPolicy(0, 1, 1, 0, nullptr);
  const std::int32_t unconfigured = aclLibUnconfigPolicy(0x10, 1, 1, 0, nullptr);
  const std::int32_t deleted = aclLibDeletePolicy(0xABC, nullptr);
  const std::int32_t configuredWithBadFlags = aclLibConfigPolicy(0, 1, 1, 1, nullptr);
  output.finish();
  EXPECT_EQ(configured, -2);
  EXPECT_EQ(unconfigured, -2);
  EXPECT_EQ(deleted, -2);
  EXPECT_EQ(configuredWithBadFlags, -2);
  EXPECT_EQ(output.standardOutput(),
            "aclLibConfigPolicy: Invalid policy handle 0\n"
            "aclLibUnconfigPolicy: Invalid policy handle 10\n"
            "aclLibDeletePolicy: Invalid policy handle abc\n"
            "aclLibConfigPolicy: Invalid policy handle 0\n");
  EXPECT_EQ(output.standardError(), "");
  EXPECT_THAT(fake().calls(), IsEmpty());
}

}  // namespace
