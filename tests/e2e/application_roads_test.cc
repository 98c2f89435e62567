// The roads of an application's requests through library, sockets and the real manager.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <platform/board.h>
#include <signal.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

#include "tests/e2e/child_process.h"
#include "tests/e2e/library_client.h"
#include "tests/e2e/runtime_directory.h"

namespace e2e {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kManagerUp = 9;
constexpr std::uint32_t kApplication = 13;
constexpr std::uint32_t kKind = 1;
constexpr std::uint32_t kTag = 100;

bool eventually(const std::function<bool()> &condition) {
  const auto deadline = std::chrono::steady_clock::now() + kAnswerLimit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

// Code, status and cookie of an answer, so that tests read like tables.
MATCHER_P3(IsAnswer, code, status, cookie, "") {
  *result_listener << "code " << arg.code << ", status " << arg.status << ", cookie " << arg.cookie;
  return arg.code == code && arg.status == status && arg.cookie == static_cast<unsigned>(cookie);
}

class ApplicationRoadsTest : public testing::Test {
 protected:
  void SetUp() override { startManager(); }
  void TearDown() override {
    stopManager();
    EXPECT_THAT(takeAnswers(1000, std::chrono::seconds(0)), IsEmpty()) << "answers nobody expected";
  }

  void startManager() {
    manager_.emplace(std::vector<std::string>{ACL_TEST_MANAGER},
                     directory_.path() + "/aclmgrd.log");
    ASSERT_TRUE(eventually([] { return boardGetProcessState("acl") == kManagerUp; }));
    connectLibrary();
    ASSERT_TRUE(announce("application_roads_test"));
    ASSERT_THAT(takeAnswers(1), ElementsAre(IsAnswer(0x2000, 0, 0)));
  }
  void stopManager() {
    manager_->signal(SIGTERM);
    EXPECT_EQ(manager_->wait(), 0);
    ASSERT_TRUE(eventually([] { return managersPeer() == 0; }));
  }

  // The status of the next answer, which has the given code.
  static int statusOf(std::uint16_t code) {
    const std::vector<Answer> answers = takeAnswers(1);
    if (answers.size() != 1) {
      ADD_FAILURE() << "no answer";
      return 1;
    }
    EXPECT_EQ(answers[0].code, code);
    return answers[0].status;
  }

  // Adds a dynamic rule of one permit.
  static void addRule(const char *name) {
    const AclPolicyHandle policy = buildPolicy("encoded", 1);
    const void *rule = reinterpret_cast<const AclPolicy *>(policy)->ruleBuffer;
    ASSERT_EQ(aclLibAddDynRule(name, rule, kApplication, 1), 0);
    ASSERT_EQ(statusOf(0x3001), 0);
  }

  static AclAppPolicyRequest requestOf(const char *rule) {
    AclAppPolicyRequest request{};
    request.ruleCount = 1;
    request.requestWord2 = kTag;
    std::strcpy(request.entries[0].ruleName, rule);
    return request;
  }

  // Registers a request and appends it to the packet being filled, so that several travel together.
  static void queue(std::uint16_t code, const char *rule, std::uint32_t cookie) {
    const std::uint32_t seqNo = aclLibGetClientSeqNo(kApplication, code, cookie, rule, kKind, kTag);
    std::vector<std::uint8_t> body(2360);
    putNumber(body, 0, code, 2);
    putNumber(body, 8, 1, 4);
    putNumber(body, 588, seqNo, 4);
    body[592] = 1;
    body[593] = kApplication;
    body[595] = kKind;
    putNumber(body, 712, kTag, 4);
    std::memcpy(&body[760], rule, std::strlen(rule));
    ASSERT_EQ(aclLibSendMsg2(0x1002, body.data(), 2360, 0), 0);
  }
  static void sendQueued() { ASSERT_GT(transHandleCommit(aclHandle), 0); }

  // Waits until no request is pending: the library forgets one after its callback.
  static bool nothingIsPending() {
    return eventually(
        [] { return aclFindFirstApplReq(aclLibFindApplInfo(kApplication, 0)) == nullptr; });
  }

 private:
  static void putNumber(std::vector<std::uint8_t> &body, std::size_t offset, std::uint32_t value,
                        std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) {
      body[offset + i] = static_cast<std::uint8_t>(value >> 8 * (width - 1 - i));
    }
  }

  static inline RuntimeDirectory directory_;
  std::optional<ChildProcess> manager_;
};

TEST_F(ApplicationRoadsTest, PolicyLeavesTheStoreWhenTheManagerHasDeletedIt) {
  const AclPolicyHandle policy = buildPolicy("stored", 3);
  aclBtreeWriteLock();
  ASSERT_EQ(aclBtreeInsertPolicy(policy), 0);
  aclBtreeUnlock();
  ASSERT_EQ(aclLibConfigPolicy(policy, 10, 0x10018, 0, nullptr), 0);
  EXPECT_EQ(statusOf(0x2001), 0);
  EXPECT_EQ(statusOf(0x2004), 0);

  ASSERT_EQ(aclLibDeletePolicy(policy, nullptr), 0);
  EXPECT_EQ(statusOf(0x2002), -13);
  EXPECT_EQ(aclFindPolicy("stored"), policy);

  ASSERT_EQ(aclLibUnconfigPolicy(policy, 10, 0x10018, 0, nullptr), 0);
  EXPECT_EQ(statusOf(0x2005), 0);
  ASSERT_EQ(aclLibDeletePolicy(policy, nullptr), 0);
  EXPECT_EQ(statusOf(0x2002), 0);
  EXPECT_EQ(aclFindPolicy("stored"), 0);
  EXPECT_EQ(aclLibClearRule(policy), -2);
}

TEST_F(ApplicationRoadsTest, EachApplyAndUnapplyIsAnsweredUnderItsCookie) {
  addRule("web");
  const AclAppPolicyRequest request = requestOf("web");
  ASSERT_EQ(aclLibApplyAppPolicy(&request, kApplication, kKind, 0xA1), 0);
  ASSERT_EQ(aclLibUnApplyAppPolicy(&request, kApplication, kKind, 0xA2), 0);
  ASSERT_EQ(aclLibUnApplyAppPolicy(&request, kApplication, kKind, 0xA3), 0);
  EXPECT_THAT(takeAnswers(3), ElementsAre(IsAnswer(0x300B, 0, 0xA1), IsAnswer(0x300C, 0, 0xA2),
                                          IsAnswer(0x300C, -14, 0xA3)));
  EXPECT_TRUE(nothingIsPending());
}

TEST_F(ApplicationRoadsTest, OneReplyAnswersTheApplyRequestsOfOnePacket) {
  addRule("web");
  queue(0x300B, "web", 0xB1);
  queue(0x300B, "web", 0xB2);
  queue(0x300B, "web", 0xB3);
  sendQueued();
  EXPECT_THAT(takeAnswers(3), ElementsAre(IsAnswer(0x300B, 0, 0xB1), IsAnswer(0x300B, 0, 0xB2),
                                          IsAnswer(0x300B, 0, 0xB3)));
  EXPECT_TRUE(nothingIsPending());
}

TEST_F(ApplicationRoadsTest, UnapplyBetweenTwoAppliesOfOnePacketIsCancelledSilently) {
  addRule("web");
  queue(0x300B, "web", 0xC1);
  queue(0x300C, "web", 0xC2);
  queue(0x300B, "web", 0xC3);
  sendQueued();
  EXPECT_THAT(takeAnswers(2), ElementsAre(IsAnswer(0x300B, 0, 0xC1), IsAnswer(0x300B, 0, 0xC3)));
  EXPECT_TRUE(nothingIsPending());
}

// A range that wraps would leave its high numbers pending, so the manager sends none.
TEST_F(ApplicationRoadsTest, NumbersThatWrapInOnePacketAreAllAnswered) {
  addRule("web");
  aclReqSeqCounter = 0xFFFFFFFE;
  queue(0x300B, "web", 0xD1);  // 0xFFFFFFFF
  queue(0x300B, "web", 0xD2);  // 0
  queue(0x300B, "web", 0xD3);  // 1
  sendQueued();
  EXPECT_THAT(takeAnswers(3), ElementsAre(IsAnswer(0x300B, 0, 0xD1), IsAnswer(0x300B, 0, 0xD2),
                                          IsAnswer(0x300B, 0, 0xD3)));
  EXPECT_TRUE(nothingIsPending());
}

TEST_F(ApplicationRoadsTest, MeterIsBoundOverTheSynchronousChannelAcrossARestart) {
  const AclMeterOwner owner{9, 0xE1};
  for (int round = 0; round < 2; ++round) {
    // The channel connects by itself, but not at once: until then nothing can be sent on it.
    std::int32_t status = -1;
    ASSERT_TRUE(eventually([&] { return (status = aclLibBindMeter("limit", 3)) != -1; }));
    EXPECT_EQ(status, -140);
    ASSERT_EQ(aclLibCreateMeter("limit", &owner), 0);
    EXPECT_THAT(takeAnswers(1), ElementsAre(IsAnswer(0x3012, 0, 0xE1)));
    EXPECT_EQ(aclLibBindMeter("limit", 3), 0);
    EXPECT_EQ(aclLibBindMeter("limit", 3), -159);
    EXPECT_EQ(aclLibUnbindMeter("limit", 3), 0);
    EXPECT_EQ(aclLibUnbindMeter("limit", 3), -160);
    if (round == 0) {
      stopManager();
      startManager();
    }
  }
}

TEST_F(ApplicationRoadsTest, DynamicRuleIsForgottenByANewManager) {
  AclDynRuleRecord record{};
  record.appId = kApplication;
  std::strcpy(record.ruleName, "web");
  record.port = 0x10018;
  record.vlan = 10;
  record.bindCookie = 0xF1;
  addRule("web");
  ASSERT_EQ(aclLibConfigDynRule(&record), 0);
  EXPECT_THAT(takeAnswers(1), ElementsAre(IsAnswer(0x3003, 0, 0xF1)));
  ASSERT_EQ(aclLibDelDynRule("web", kApplication), 0);
  EXPECT_EQ(statusOf(0x3002), -20);

  stopManager();
  startManager();
  ASSERT_EQ(aclLibConfigDynRule(&record), 0);
  EXPECT_THAT(takeAnswers(1), ElementsAre(IsAnswer(0x3003, -19, 0xF1)));
}

TEST_F(ApplicationRoadsTest, BatchOfRulesIsAnsweredRuleByRule) {
  const AclPolicyHandle policy = buildPolicy("encoded", 1);
  const void *rule = reinterpret_cast<const AclPolicy *>(policy)->ruleBuffer;
  const char *const names[] = {"a", "b", "c", "d", "e"};
  for (std::uint32_t i = 0; i < 5; ++i) {
    ASSERT_EQ(aclLibAddDynRuleBatch(names[i], rule, kApplication, i == 4, 0x10 + i), 0);
  }
  EXPECT_THAT(takeAnswers(5), ElementsAre(IsAnswer(0x3001, 0, 0x10), IsAnswer(0x3001, 0, 0x11),
                                          IsAnswer(0x3001, 0, 0x12), IsAnswer(0x3001, 0, 0x13),
                                          IsAnswer(0x3001, 0, 0x14)));
}

TEST_F(ApplicationRoadsTest, CleaningAClientRemovesWhatItHasInstalled) {
  addRule("web");
  const AclAppPolicyRequest request = requestOf("web");
  ASSERT_EQ(aclLibApplyAppPolicy(&request, kApplication, kKind, 1), 0);
  EXPECT_EQ(statusOf(0x300B), 0);
  ASSERT_EQ(aclLibDelDynRule("web", kApplication), 0);
  EXPECT_EQ(statusOf(0x3002), -20);

  const AclClientId client{kApplication, 0, 0};
  ASSERT_EQ(aclLibCleanClientRules(&client), 0);
  EXPECT_EQ(statusOf(0x3018), 0);
  ASSERT_EQ(aclLibDelDynRule("web", kApplication), 0);
  EXPECT_EQ(statusOf(0x3002), -19);
}

TEST_F(ApplicationRoadsTest, ValidityChecksAndPolicyChecksNameWhatIsMissing) {
  AclRuleRecord rule{};
  std::strcpy(rule.ruleName, "web");
  ASSERT_EQ(aclLibCheckRuleValidity(&rule, nullptr, 0, 0, 0x21), 0);
  EXPECT_THAT(takeAnswers(1), ElementsAre(IsAnswer(0x3009, -19, 0x21)));
  addRule("web");
  ASSERT_EQ(aclLibCheckRuleValidity(&rule, nullptr, 0, 0, 0x22), 0);
  EXPECT_THAT(takeAnswers(1), ElementsAre(IsAnswer(0x3009, 0, 0x22)));

  AclPolicyEntry entry{};
  std::strcpy(entry.policyName, "nowhere");
  ASSERT_EQ(aclLibCheckPolicy(&entry, 1, 0x23), 0);
  EXPECT_EQ(statusOf(0x300F), -11);
}

}  // namespace
}  // namespace e2e
