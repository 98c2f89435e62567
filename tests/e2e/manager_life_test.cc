// The real manager: many clients at once, death and return while requests flow, a clean end.
#include <gtest/gtest.h>
#include <platform/board.h>
#include <platform/msgbus.h>
#include <platform/pktbuf.h>
#include <signal.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <thread>

#include "tests/e2e/child_process.h"
#include "tests/e2e/library_client.h"
#include "tests/e2e/runtime_directory.h"

namespace {

using e2e::ChildProcess;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr char kEdgePolicy[] = ACL_TEST_EXAMPLES "/edge_policy";

constexpr int kManagerUp = 9;  // the process state that the manager publishes

bool eventually(const std::function<bool()> &condition, seconds limit = e2e::kAnswerLimit) {
  const auto deadline = steady_clock::now() + limit;
  while (!condition()) {
    if (steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(milliseconds(5));
  }
  return true;
}

class ManagerLifeTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { directory = new e2e::RuntimeDirectory; }
  static void TearDownTestSuite() { delete directory; }

  static ChildProcess startManager() {
    ChildProcess manager({ACL_TEST_MANAGER, "--verbose"}, logPath());
    EXPECT_TRUE(eventually([] { return boardGetProcessState("acl") == kManagerUp; }));
    return manager;
  }
  static void stop(ChildProcess &manager) {
    manager.signal(SIGTERM);
    EXPECT_EQ(manager.wait(), 0);
  }
  static std::string logPath() { return directory->path() + "/aclmgrd.log"; }
  static std::string textOf(const std::string &path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
  }
  static std::string log() { return textOf(logPath()); }

  static inline e2e::RuntimeDirectory *directory;
};

TEST_F(ManagerLifeTest, TheExamplePolicyGoesThroughItsLife) {
  ChildProcess manager = startManager();
  ChildProcess example({kEdgePolicy}, directory->path() + "/example.log");
  EXPECT_EQ(example.wait(), 0);
  stop(manager);
  EXPECT_NE(log().find("edge-in"), std::string::npos);
  EXPECT_NE(log().find("CONDITION: TCP_FLAGS 0x10 MASK 0x10 "), std::string::npos);
}

// Ends the manager as soon as `isSeen` is true, again and again.
void expectCleanEndOnceSeen(const std::function<ChildProcess()> &start,
                            const std::function<bool()> &isSeen) {
  for (int round = 0; round < 10; ++round) {
    ChildProcess manager = start();
    const auto deadline = steady_clock::now() + e2e::kAnswerLimit;
    while (!isSeen()) {
      ASSERT_LT(steady_clock::now(), deadline);
    }
    manager.signal(round % 2 == 0 ? SIGTERM : SIGINT);
    EXPECT_EQ(manager.wait(), 0);
    EXPECT_EQ(boardGetProcessState("acl"), 0);
  }
}

TEST_F(ManagerLifeTest, SignalAtTheMomentTheStateIsPublishedEndsItCleanly) {
  expectCleanEndOnceSeen([] { return ChildProcess({ACL_TEST_MANAGER}, logPath()); },
                         [] { return boardGetProcessState("acl") == kManagerUp; });
}

TEST_F(ManagerLifeTest, SignalAtTheMomentItSaysThatItServesEndsItCleanly) {
  const std::string path = directory->path() + "/serving.log";
  expectCleanEndOnceSeen(
      [&] {
        std::filesystem::remove(path);
        return ChildProcess({ACL_TEST_MANAGER}, path);
      },
      [&] { return textOf(path).find("serving") != std::string::npos; });
}

TEST_F(ManagerLifeTest, AMalformedFrameClosesItsConnectionWhileAnotherClientIsServed) {
  ChildProcess manager = startManager();
  e2e::connectLibrary();
  ASSERT_TRUE(e2e::announce("manager_life_test"));
  ASSERT_EQ(e2e::takeAnswers(1).size(), 1U);
  ChildProcess other({ACL_TEST_CLIENT, "other", "200"});
  ASSERT_TRUE(eventually([] { return log().find("\"other\"") != std::string::npos; }));

  constexpr std::uint8_t kCutShort[] = {0x10, 0x02, 0x00, 0x10, 0x20, 0x02};
  const std::uint32_t peer = e2e::managersPeer();
  PktBuf *packet = pktbufAllocPacket(sizeof(kCutShort), 0, 1);
  ASSERT_NE(packet, nullptr);
  std::memcpy(packet->data, kCutShort, sizeof(kCutShort));
  ASSERT_EQ(msgbusSend(peer, packet, 0), static_cast<std::int32_t>(sizeof(kCutShort)));
  EXPECT_TRUE(eventually([&] { return e2e::managersPeer() != peer; }));
  EXPECT_NE(log().find("malformed packet: no whole object at byte 0 of 6"), std::string::npos);

  EXPECT_EQ(other.wait(), 0);
  EXPECT_TRUE(e2e::announce("manager_life_test"));  // the offender may come back
  EXPECT_EQ(e2e::takeAnswers(1).size(), 1U);
  stop(manager);
  EXPECT_TRUE(eventually([] { return e2e::managersPeer() == 0; }));
}

TEST_F(ManagerLifeTest, AClosedTerminalEndsItCleanly) {
  ChildProcess manager = startManager();
  manager.signal(SIGHUP);
  EXPECT_EQ(manager.wait(), 0);
}

TEST_F(ManagerLifeTest, TheExampleFailsLoudlyWithoutAManager) {
  ChildProcess example({kEdgePolicy}, directory->path() + "/alone.log");
  EXPECT_EQ(example.wait(), 1);
}

TEST_F(ManagerLifeTest, FiftyClientsAreServedAtOnce) {
  ChildProcess manager = startManager();
  std::vector<ChildProcess> clients;
  for (int i = 0; i < 50; ++i) {
    clients.emplace_back(
        std::vector<std::string>{ACL_TEST_CLIENT, "client-" + std::to_string(i), "4"});
  }
  for (ChildProcess &client : clients) EXPECT_EQ(client.wait(), 0);
  stop(manager);
}

TEST_F(ManagerLifeTest, APolicyOf60000RulesIsAccepted) {
  ChildProcess manager({ACL_TEST_MANAGER}, logPath());
  e2e::connectLibrary();
  ASSERT_TRUE(e2e::announce("manager_life_test"));
  ASSERT_EQ(e2e::takeAnswers(1).size(), 1U);
  const AclPolicyHandle policy = e2e::buildPolicy("sixty-thousand", 60000);
  ASSERT_EQ(aclLibAddPolicy(policy), 0);
  const auto answers = e2e::takeAnswers(1);
  ASSERT_EQ(answers.size(), 1U);
  EXPECT_EQ(answers[0].code, 0x2001);
  EXPECT_EQ(answers[0].status, 0);
  stop(manager);
  ASSERT_TRUE(eventually([] { return e2e::managersPeer() == 0; }));
}

TEST_F(ManagerLifeTest, AClientIsToldOfTheManagersDeathAndServedAfterItsReturn) {
  e2e::connectLibrary();
  for (int round = 0; round < 3; ++round) {
    ChildProcess manager = startManager();
    ASSERT_TRUE(eventually([] { return e2e::managersPeer() != 0; }));
    ASSERT_TRUE(e2e::announce("manager_life_test"));
    ASSERT_EQ(e2e::takeAnswers(1).size(), 1U);

    const AclPolicyHandle policy = e2e::buildPolicy("flowing", 10);
    std::thread killer([&] {
      std::this_thread::sleep_for(milliseconds(20));
      manager.signal(SIGKILL);
    });
    std::size_t sent = 0;
    while (aclLibUnconfigPolicy(policy, 1, 1, 0, nullptr) == 0) ++sent;
    killer.join();
    EXPECT_EQ(manager.wait(), 128 + SIGKILL);
    EXPECT_GT(sent, 0U);
    EXPECT_TRUE(eventually([] { return e2e::managersPeer() == 0; }));
    EXPECT_EQ(boardGetProcessState("acl"), 0);
    e2e::takeAnswers(sent, seconds(1));  // those that came before its death
    e2e::takeAnswers(100000, seconds(0));
  }
}

}  // namespace
