#include "manager/server/handlers.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/manager/request_bytes.h"

namespace aclmgr {
namespace {

using test_support::bindingBody;
using test_support::Bytes;
using test_support::chunkBody;
using test_support::deleteBody;
using test_support::encodedRule;
using test_support::hex;
using test_support::join;
using test_support::modifyBody;
using test_support::policyBody;
using test_support::processInfoBody;

constexpr int kMoreToCome = 1;

class HandlersTest : public testing::Test {
 protected:
  // The status that a body is answered with.
  int handle(const Bytes &body, std::uint32_t connection = 1) {
    const auto code = static_cast<std::uint16_t>(std::to_integer<int>(body[0]) << 8 |
                                                 std::to_integer<int>(body[1]));
    text_ = {};
    const auto answer =
        handlerOf(code).handle(state_, Request{connection, code, body, true}, text_);
    if (!answer) return kMoreToCome;
    reason_ = answer->reason;
    return static_cast<int>(answer->status);
  }

  int add(std::string_view name, std::uint32_t ruleId = 1) {
    return handle(policyBody(0x2001, name, encodedRule("r", ruleId, "", "00010000"), 1));
  }

  ManagerState state_;
  RequestText text_;
  std::string reason_;
};

TEST_F(HandlersTest, EveryKnownCodeHasItsName) {
  EXPECT_EQ(handlerOf(0x2000).codeName, "ACL_MSG_PROCESS_INFO");
  EXPECT_EQ(handlerOf(0x2001).codeName, "ACL_MSG_ADD_POLICY");
  EXPECT_EQ(handlerOf(0x2002).codeName, "ACL_MSG_DELETE_POLICY");
  EXPECT_EQ(handlerOf(0x2003).codeName, "ACL_MSG_REFRESH_POLICY");
  EXPECT_EQ(handlerOf(0x2004).codeName, "ACL_MSG_CONFIG_POLICY");
  EXPECT_EQ(handlerOf(0x2005).codeName, "ACL_MSG_UNCONFIG_POLICY");
  EXPECT_EQ(handlerOf(0x2006).codeName, "ACL_MSG_MODIFY_RULE");
}

TEST_F(HandlersTest, UnknownCodesAreInvalidMessages) {
  for (const char *code : {"0000", "1FFF", "2007", "3005", "3011", "FFFF"}) {
    EXPECT_EQ(handle(join(hex(code), Bytes(650))), -3) << code;
    EXPECT_EQ(handle(hex(code)), -3) << code;
  }
  EXPECT_EQ(text_.fields, "0xffff");
}

TEST_F(HandlersTest, ProcessInfoNamesThePeer) {
  state_.peers.add(4, {.processId = 812, .processName = ""});
  EXPECT_EQ(handle(processInfoBody("stpd"), 4), 0);
  EXPECT_EQ(state_.peers.find(4)->processName, "stpd");
  EXPECT_EQ(text_.fields, "process \"stpd\"");
}

TEST_F(HandlersTest, MalformedProcessInfoKeepsTheName) {
  state_.peers.add(4, {.processId = 812, .processName = "stpd"});
  EXPECT_EQ(handle(processInfoBody(std::string(33, 'x')), 4), -3);
  EXPECT_EQ(state_.peers.find(4)->processName, "stpd");
}

TEST_F(HandlersTest, AddedPolicyIsKept) {
  const Bytes rules = join(encodedRule("a", 1, "0003 0004 06ff0000", "0001 0000"),
                           encodedRule("b", 2, "", "0002 0000"));
  EXPECT_EQ(handle(policyBody(0x2001, "web", rules, 2)), 0);
  ASSERT_NE(state_.policies.find("web"), nullptr);
  EXPECT_EQ(state_.policies.find("web")->rules.size(), 2U);
  EXPECT_EQ(text_.fields, "policy \"web\", bytes 0+112 of 112, 2 rules, attribute 0");
  EXPECT_EQ(text_.rules,
            "  Rule Name: a Index: 1\n    CONDITION: PROTO 6 MASK 0xff \n    ACTION: Accept \n"
            "  Rule Name: b Index: 2\n    ACTION: Deny \n");
}

TEST_F(HandlersTest, AddedPolicyWithoutRulesIsKept) {
  EXPECT_EQ(handle(policyBody(0x2001, "empty", {}, 0)), 0);
  ASSERT_NE(state_.policies.find("empty"), nullptr);
}

TEST_F(HandlersTest, PolicyInChunksIsAnsweredOnceWithTheLast) {
  const Bytes rules = join(encodedRule("a", 1), encodedRule("b", 2));
  const Bytes first(rules.begin(), rules.begin() + 50);
  const Bytes second(rules.begin() + 50, rules.end());
  EXPECT_EQ(handle(chunkBody({.total = 96, .offset = 0, .ruleCount = 2}, first)), kMoreToCome);
  EXPECT_EQ(state_.policies.find("web"), nullptr);
  EXPECT_EQ(handle(chunkBody({.total = 96, .offset = 50, .ruleCount = 2}, second)), 0);
  ASSERT_NE(state_.policies.find("web"), nullptr);
}

TEST_F(HandlersTest, ChunkOutOfOrderIsAnInvalidMessage) {
  EXPECT_EQ(handle(chunkBody({.total = 96, .offset = 0, .ruleCount = 2}, Bytes(50))), kMoreToCome);
  EXPECT_EQ(handle(chunkBody({.total = 96, .offset = 51, .ruleCount = 2}, Bytes(45))), -3);
  EXPECT_EQ(state_.assembler.partialCount(), 0U);
  EXPECT_EQ(state_.policies.size(), 0U);
}

TEST_F(HandlersTest, PolicyAboveTheSizeLimitIsRefusedForMemory) {
  EXPECT_EQ(handle(chunkBody({.total = 67108865, .ruleCount = 1}, Bytes(10))), -18);
}

TEST_F(HandlersTest, SamePolicyAgainIsOkAndAnotherOfItsNameExists) {
  EXPECT_EQ(add("web", 1), 0);
  EXPECT_EQ(add("web", 1), 0);
  EXPECT_EQ(add("web", 2), -10);
  EXPECT_EQ(state_.policies.find("web")->rules[0].id, 1U);
}

TEST_F(HandlersTest, PolicyWithAnInvalidRuleIsRefusedAndNotKept) {
  EXPECT_EQ(handle(policyBody(0x2001, "web", encodedRule("r", 1, "003d 0000"), 1)), -22);
  EXPECT_EQ(reason_, "rule at byte 0: condition 61 at 48: unknown type");
  EXPECT_EQ(handle(policyBody(0x2001, "web", encodedRule("r", 1), 2)), -22);
  EXPECT_EQ(state_.policies.find("web"), nullptr);
}

TEST_F(HandlersTest, RefreshReplacesAPolicyAndCreatesNone) {
  EXPECT_EQ(handle(policyBody(0x2003, "web", encodedRule("r", 2), 1)), -11);
  EXPECT_EQ(state_.policies.find("web"), nullptr);
  add("web", 1);
  EXPECT_EQ(handle(policyBody(0x2003, "web", encodedRule("r", 2), 1)), 0);
  EXPECT_EQ(state_.policies.find("web")->rules[0].id, 2U);
  EXPECT_EQ(handle(policyBody(0x2003, "web", encodedRule("r", 3, "003d 0000"), 1)), -22);
  EXPECT_EQ(state_.policies.find("web")->rules[0].id, 2U);
}

TEST_F(HandlersTest, DeleteRemovesAPolicyThatIsNotBound) {
  EXPECT_EQ(handle(deleteBody("web")), -11);
  add("web");
  EXPECT_EQ(handle(bindingBody(0x2004, "web", 1, 10)), 0);
  EXPECT_EQ(handle(deleteBody("web")), -13);
  EXPECT_EQ(handle(bindingBody(0x2005, "web", 1, 10)), 0);
  EXPECT_EQ(handle(deleteBody("web")), 0);
  EXPECT_EQ(state_.policies.size(), 0U);
  EXPECT_EQ(text_.fields, "policy \"web\"");
}

TEST_F(HandlersTest, ConfigureBindsAPolicyOnce) {
  EXPECT_EQ(handle(bindingBody(0x2004, "web", 0x30007, 10)), -11);
  add("web");
  EXPECT_EQ(handle(bindingBody(0x2004, "web", 0x30007, 10, 2, 1)), 0);
  EXPECT_EQ(text_.fields, "policy \"web\", port 3:7, vlan 10, direction 1, flags 2");
  EXPECT_EQ(handle(bindingBody(0x2004, "web", 0x30007, 10, 2, 1)), 0);
  EXPECT_EQ(handle(bindingBody(0x2004, "web", 0x30007, 10, 0, 1)), -15);
  EXPECT_EQ(handle(bindingBody(0x2004, "web", 0x30007, 10, 1, 1)), -2);
  add("dns");
  EXPECT_EQ(handle(bindingBody(0x2004, "dns", 0x30007, 10, 2, 1)), -16);
  EXPECT_EQ(state_.policies.bindings().size(), 1U);
}

TEST_F(HandlersTest, UnconfigureUnbindsWhatIsBoundWhateverTheFlags) {
  EXPECT_EQ(handle(bindingBody(0x2005, "web", 1, 10)), -11);
  add("web");
  EXPECT_EQ(handle(bindingBody(0x2005, "web", 1, 10)), -14);
  handle(bindingBody(0x2004, "web", 1, 10, 2));
  EXPECT_EQ(handle(bindingBody(0x2005, "web", 1, 10, 0)), 0);
  EXPECT_TRUE(state_.policies.bindings().empty());
}

TEST_F(HandlersTest, ModifyReplacesTheRulesInPlace) {
  EXPECT_EQ(handle(modifyBody("web", encodedRule("new", 9))), -11);
  add("web");
  EXPECT_EQ(handle(modifyBody("web", join(encodedRule("new", 9), encodedRule("x", 8)))), 0);
  EXPECT_EQ(text_.fields, "policy \"web\", 96 bytes, arguments 1 2 3 4");
  EXPECT_EQ(state_.policies.find("web")->rules.size(), 2U);
  EXPECT_EQ(handle(modifyBody("web", Bytes(3))), -22);
  EXPECT_EQ(state_.policies.find("web")->rules.size(), 2U);
}

TEST_F(HandlersTest, MalformedBodiesChangeNothing) {
  add("web");
  for (const char *code : {"2000", "2001", "2002", "2003", "2004", "2005", "2006"}) {
    EXPECT_EQ(handle(hex(code)), -3) << code;
    EXPECT_EQ(handle(join(hex(code), Bytes(60))), -3) << code;
  }
  EXPECT_EQ(state_.policies.size(), 1U);
  EXPECT_TRUE(state_.policies.bindings().empty());
}

}  // namespace
}  // namespace aclmgr
