// The examples, each against a manager of its own.
#include <gtest/gtest.h>
#include <platform/board.h>
#include <signal.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "tests/e2e/child_process.h"
#include "tests/e2e/library_client.h"
#include "tests/e2e/runtime_directory.h"

namespace {

using e2e::ChildProcess;

constexpr int kManagerUp = 9;

class ExamplesTest : public testing::Test {
 protected:
  // Runs an example against a new manager. Returns what it printed.
  std::string run(const std::string &example) {
    ChildProcess manager({ACL_TEST_MANAGER}, directory_.path() + "/aclmgrd.log");
    const auto deadline = std::chrono::steady_clock::now() + e2e::kAnswerLimit;
    while (boardGetProcessState("acl") != kManagerUp) {
      if (std::chrono::steady_clock::now() > deadline) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    const std::string log = directory_.path() + "/" + example + ".log";
    std::string program = ACL_TEST_EXAMPLES "/";
    program += example;
    ChildProcess client({program}, log);
    EXPECT_EQ(client.wait(), 0);
    manager.signal(SIGTERM);
    EXPECT_EQ(manager.wait(), 0);
    std::ostringstream text;
    text << std::ifstream(log).rdbuf();
    return text.str();
  }

  static void expectInOrder(const std::string &text, const std::vector<std::string> &parts) {
    std::size_t from = 0;
    for (const std::string &part : parts) {
      const std::size_t found = text.find(part, from);
      ASSERT_NE(found, std::string::npos) << part << " is missing in\n" << text;
      from = found + part.size();
    }
  }

 private:
  static inline e2e::RuntimeDirectory directory_;
};

TEST_F(ExamplesTest, DynamicRuleIsBoundCountedRefusedDeletionAndDeleted) {
  expectInOrder(run("dynamic_rule"),
                {"add the rule\n  answer: code 0x3001, status 0 (OK)\n",
                 "bind it to port 1:24, VLAN 100\n  answer: code 0x3003, status 0 (OK)\n",
                 "read its counter\n  answer: code 0x3011, status 0 (OK)\n"
                 "  counter \"guests-dropped\": 0 packets\n",
                 "clear its counter\n  answer: code 0x3019, status 0 (OK)\n",
                 "delete it while it is bound\n  answer: code 0x3002, status -20 ",
                 "take it off\n  answer: code 0x3004, status 0 (OK)\n",
                 "delete it\n  answer: code 0x3002, status 0 (OK)\n",
                 "dynamic_rule: every request was answered as expected\n"});
}

TEST_F(ExamplesTest, MeterIsBoundOnceAndKeptWhileItIsBound) {
  expectInOrder(
      run("meter_bind"),
      {"create the meter\n  answer: code 0x3012, status 0 (OK)\n",
       "set its rates\n  answer: code 0x3013, status 0 (OK)\n", "bind it\n  returned 0 (OK)\n",
       "bind it again\n  returned -159 (Meter is already bound to client)\n",
       "delete it while it is bound\n  answer: code 0x3014, status -16 (InstInUse)\n",
       "take it off\n  returned 0 (OK)\n", "delete it\n  answer: code 0x3014, status 0 (OK)\n",
       "meter_bind: every request was answered as expected\n"});
}

TEST_F(ExamplesTest, ApplicationPolicyIsAnsweredUnderItsCookies) {
  expectInOrder(run("app_policy"),
                {"apply both rules\n  answer: code 0x300b, status 0 (OK)\n"
                 "  it is for cookie 0xcafe\n  the request had sequence number 1\n",
                 "take them off\n  answer: code 0x300c, status 0 (OK)\n"
                 "  it is for cookie 0xbeef\n  the request had sequence number 2\n",
                 "app_policy: every request was answered as expected\n"});
}

TEST_F(ExamplesTest, AccessListIsEvaluatedInTheOrderOfItsRules) {
  expectInOrder(
      run("local_evaluation"),
      {"3 Dynamic rules configured\n", "198.51.100.7   permit (permit-printer)\n",
       "198.51.100.8   deny (deny-guests)\n", "198.51.7.7     permit (permit-campus)\n",
       "203.0.113.1    deny (no rule matches)\n", "permit-printer 1 permitted, 0 denied\n",
       "deny-guests    0 permitted, 1 denied\n", "permit-campus  1 permitted, 0 denied\n",
       "local_evaluation: every request was answered as expected\n"});
}

TEST_F(ExamplesTest, SlicesRunOutAndAreGivenBack) {
  expectInOrder(run("slices"),
                {"reserve\n  answer: code 0x301d, status 0 (OK)\n",
                 "status -41 (Unable to install new rule. No more hardware resource.)\n"
                 "  failed: reserve of type Permit / Deny\n",
                 " slices of stage 1 were free\n", "give back\n", "reserve\n", "give back\n",
                 "slices: every request was answered as expected\n"});
}

}  // namespace
