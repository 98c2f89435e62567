// Policies of every size arrive at the other end of a real socket byte by byte as they were built.
#include <gtest/gtest.h>

#include <cstring>
#include <optional>

#include "tests/e2e/library_client.h"
#include "tests/e2e/recording_manager.h"
#include "tests/e2e/runtime_directory.h"

namespace {

using e2e::RecordingManager;
using Bytes = std::vector<std::uint8_t>;

std::uint32_t word(const Bytes &body, std::size_t offset) {
  return std::uint32_t{body[offset]} << 24 | std::uint32_t{body[offset + 1]} << 16 |
         std::uint32_t{body[offset + 2]} << 8 | body[offset + 3];
}

// Puts the chunks of an added policy together; nothing when they do not fit each other.
std::optional<Bytes> reassemble(const std::vector<Bytes> &bodies) {
  Bytes rules;
  std::size_t total = 0;
  for (const Bytes &body : bodies) {
    if (body.size() < 652 || body[0] != 0x20 || body[1] != 0x01) return std::nullopt;
    total = word(body, 628);
    if (word(body, 632) != body.size() - 652 || word(body, 636) != rules.size()) {
      return std::nullopt;
    }
    rules.insert(rules.end(), body.begin() + 652, body.end());
  }
  if (bodies.empty() || rules.size() != total) return std::nullopt;
  return rules;
}

class PolicyTransferTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    directory = new e2e::RuntimeDirectory;
    manager = new RecordingManager;
    e2e::connectLibrary();
    ASSERT_TRUE(e2e::announce("policy_transfer_test"));
    ASSERT_TRUE(manager->waitFor([](const auto &bodies) { return bodies.size() == 1; }));
  }
  static void TearDownTestSuite() {
    delete manager;
    delete directory;
  }
  void SetUp() override { manager->forget(); }

  static void expectArrives(const Bytes &rules) {
    ASSERT_TRUE(
        manager->waitFor([](const auto &bodies) { return reassemble(bodies).has_value(); }));
    EXPECT_TRUE(reassemble(manager->bodies()) == rules);
  }

  // A policy of the caller's own whose rules are any bytes, so that every length can be had.
  static void expectSizeArrives(std::size_t size) {
    Bytes rules(size);
    for (std::size_t i = 0; i < size; ++i) rules[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
    AclPolicy policy{};
    std::strcpy(policy.policyName, "any-bytes");
    policy.ruleBuffer = rules.data();
    policy.usedSize = policy.bufferSize = static_cast<std::uint32_t>(size);
    policy.selfCheck = &policy;
    ASSERT_EQ(aclLibAddPolicy(reinterpret_cast<AclPolicyHandle>(&policy)), 0);
    expectArrives(rules);
  }

  static inline e2e::RuntimeDirectory *directory;
  static inline RecordingManager *manager;
};

TEST_F(PolicyTransferTest, AnEmptyPolicyArrivesAsOneBodyOf652Bytes) {
  ASSERT_EQ(aclLibAddPolicy(e2e::buildPolicy("empty", 0)), 0);
  ASSERT_TRUE(manager->waitFor([](const auto &bodies) { return !bodies.empty(); }));
  EXPECT_EQ(manager->bodies().size(), 1U);
  EXPECT_EQ(manager->bodies()[0].size(), 652U);
}

TEST_F(PolicyTransferTest, TheLargestPolicyThatFitsAPacketArrives) {
  expectSizeArrives(7472);
}

TEST_F(PolicyTransferTest, TheSmallestPolicyThatOutgrowsAPacketArrives) {
  expectSizeArrives(7473);
}

TEST_F(PolicyTransferTest, APolicyOfThreeChunksArrives) {
  expectSizeArrives(20000);
  EXPECT_EQ(manager->bodies().size(), 3U);
}

TEST_F(PolicyTransferTest, APolicyOf60000RulesArrives) {
  const AclPolicyHandle handle = e2e::buildPolicy("large", 60000);
  const auto *policy = reinterpret_cast<const AclPolicy *>(handle);
  ASSERT_EQ(policy->usedSize, 60000U * 64);
  ASSERT_EQ(aclLibAddPolicy(handle), 0);
  expectArrives(Bytes(policy->ruleBuffer, policy->ruleBuffer + policy->usedSize));
}

}  // namespace
