#include "manager/server/handler_tables.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/manager/request_bytes.h"

namespace aclmgr {
namespace {

using test_support::bindingBody;
using test_support::Bytes;
using test_support::bytesOf;
using test_support::chunkBody;
using test_support::deleteBody;
using test_support::encodedRule;
using test_support::hex;
using test_support::join;
using test_support::modifyBody;
using test_support::policyBody;
using test_support::processInfoBody;
using test_support::putAt;
using test_support::zeros;

constexpr int kMoreToCome = 1;

class PolicyHandlersTest : public testing::Test {
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

TEST_F(PolicyHandlersTest, EveryCodeHasItsName) {
  EXPECT_EQ(handlerOf(0x2000).codeName, "ACL_MSG_PROCESS_INFO");
  EXPECT_EQ(handlerOf(0x2001).codeName, "ACL_MSG_ADD_POLICY");
  EXPECT_EQ(handlerOf(0x2002).codeName, "ACL_MSG_DELETE_POLICY");
  EXPECT_EQ(handlerOf(0x2003).codeName, "ACL_MSG_REFRESH_POLICY");
  EXPECT_EQ(handlerOf(0x2004).codeName, "ACL_MSG_CONFIG_POLICY");
  EXPECT_EQ(handlerOf(0x2005).codeName, "ACL_MSG_UNCONFIG_POLICY");
  EXPECT_EQ(handlerOf(0x2006).codeName, "ACL_MSG_MODIFY_RULE");
}

TEST_F(PolicyHandlersTest, ProcessInfoNamesThePeer) {
  state_.peers.add(4, {.processId = 812, .processName = ""});
  EXPECT_EQ(handle(processInfoBody("stpd"), 4), 0);
  EXPECT_EQ(state_.peers.find(4)->processName, "stpd");
  EXPECT_EQ(text_.fields, "process \"stpd\"");
}

TEST_F(PolicyHandlersTest, MalformedProcessInfoKeepsTheName) {
  state_.peers.add(4, {.processId = 812, .processName = "stpd"});
  EXPECT_EQ(handle(processInfoBody(std::string(33, 'x')), 4), -3);
  EXPECT_EQ(state_.peers.find(4)->processName, "stpd");
}

TEST_F(PolicyHandlersTest, AddedPolicyIsKept) {
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

TEST_F(PolicyHandlersTest, AddedPolicyWithoutRulesIsKept) {
  EXPECT_EQ(handle(policyBody(0x2001, "empty", {}, 0)), 0);
  ASSERT_NE(state_.policies.find("empty"), nullptr);
}

TEST_F(PolicyHandlersTest, PolicyInChunksIsAnsweredOnceWithTheLast) {
  const Bytes rules = join(encodedRule("a", 1), encodedRule("b", 2));
  const Bytes first(rules.begin(), rules.begin() + 50);
  const Bytes second(rules.begin() + 50, rules.end());
  EXPECT_EQ(handle(chunkBody({.total = 96, .offset = 0, .ruleCount = 2}, first)), kMoreToCome);
  EXPECT_EQ(state_.policies.find("web"), nullptr);
  EXPECT_EQ(handle(chunkBody({.total = 96, .offset = 50, .ruleCount = 2}, second)), 0);
  ASSERT_NE(state_.policies.find("web"), nullptr);
}

TEST_F(PolicyHandlersTest, ChunkOutOfOrderIsAnInvalidMessage) {
  EXPECT_EQ(handle(chunkBody({.total = 96, .offset = 0, .ruleCount = 2}, Bytes(50))), kMoreToCome);
  EXPECT_EQ(handle(chunkBody({.total = 96, .offset = 51, .ruleCount = 2}, Bytes(45))), -3);
  EXPECT_EQ(state_.assembler.partialCount(), 0U);
  EXPECT_EQ(state_.policies.size(), 0U);
}

TEST_F(PolicyHandlersTest, PolicyAboveTheSizeLimitIsRefusedForMemory) {
  EXPECT_EQ(handle(chunkBody({.total = 67108865, .ruleCount = 1}, Bytes(10))), -18);
}

TEST_F(PolicyHandlersTest, BytesOfPoliciesCountAsTheyCame) {
  add("web");  // 52 bytes
  add("dns");
  EXPECT_EQ(state_.policies.encodedBytes(), 104U);
  handle(modifyBody("dns", encodedRule("r", 1)));  // 48
  EXPECT_EQ(state_.policies.encodedBytes(), 100U);
  handle(deleteBody("web"));
  EXPECT_EQ(state_.policies.encodedBytes(), 48U);
}

TEST_F(PolicyHandlersTest, PoliciesAndBindingsBeyondTheLimitsAreRefused) {
  state_.policies = PolicyStore({.policies = 2, .encodedBytes = 104, .bindings = 1});
  EXPECT_EQ(add("web"), 0);
  EXPECT_EQ(handle(policyBody(0x2001, "dns", Bytes(0), 0)), 0);
  EXPECT_EQ(add("ftp"), -18);
  const Bytes tooMuch = join(encodedRule("r", 1), encodedRule("s", 2));  // 96 bytes
  EXPECT_EQ(handle(policyBody(0x2003, "dns", tooMuch, 2)), -18);
  EXPECT_EQ(handle(modifyBody("dns", tooMuch)), -18);
  EXPECT_EQ(handle(policyBody(0x2003, "web", tooMuch, 2)), 0);
  EXPECT_EQ(handle(bindingBody(0x2004, "web", 1, 1)), 0);
  EXPECT_EQ(handle(bindingBody(0x2004, "web", 1, 2)), -41);
}

TEST_F(PolicyHandlersTest, SamePolicyAgainIsOkAndAnotherOfItsNameExists) {
  EXPECT_EQ(add("web", 1), 0);
  EXPECT_EQ(add("web", 1), 0);
  EXPECT_EQ(add("web", 2), -10);
  EXPECT_EQ(state_.policies.find("web")->rules[0].id, 1U);
}

TEST_F(PolicyHandlersTest, PolicyWithAnInvalidRuleIsRefusedAndNotKept) {
  EXPECT_EQ(handle(policyBody(0x2001, "web", encodedRule("r", 1, "003d 0000"), 1)), -22);
  EXPECT_EQ(reason_, "rule at byte 0: condition 61 at 48: unknown type");
  EXPECT_EQ(handle(policyBody(0x2001, "web", encodedRule("r", 1), 2)), -22);
  EXPECT_EQ(state_.policies.find("web"), nullptr);
}

TEST_F(PolicyHandlersTest, RefreshReplacesAPolicyAndCreatesNone) {
  EXPECT_EQ(handle(policyBody(0x2003, "web", encodedRule("r", 2), 1)), -11);
  EXPECT_EQ(state_.policies.find("web"), nullptr);
  add("web", 1);
  EXPECT_EQ(handle(policyBody(0x2003, "web", encodedRule("r", 2), 1)), 0);
  EXPECT_EQ(state_.policies.find("web")->rules[0].id, 2U);
  EXPECT_EQ(handle(policyBody(0x2003, "web", encodedRule("r", 3, "003d 0000"), 1)), -22);
  EXPECT_EQ(state_.policies.find("web")->rules[0].id, 2U);
}

TEST_F(PolicyHandlersTest, DeleteRemovesAPolicyThatIsNotBound) {
  EXPECT_EQ(handle(deleteBody("web")), -11);
  add("web");
  EXPECT_EQ(handle(bindingBody(0x2004, "web", 1, 10)), 0);
  EXPECT_EQ(handle(deleteBody("web")), -13);
  EXPECT_EQ(reason_, "bound at port 0:1, vlan 10, direction 0");
  EXPECT_EQ(handle(bindingBody(0x2005, "web", 1, 10)), 0);
  EXPECT_EQ(handle(deleteBody("web")), 0);
  EXPECT_EQ(state_.policies.size(), 0U);
  EXPECT_EQ(text_.fields, "policy \"web\"");
}

TEST_F(PolicyHandlersTest, ConfigureBindsAPolicyOnce) {
  EXPECT_EQ(handle(bindingBody(0x2004, "web", 0x30007, 10)), -11);
  add("web");
  EXPECT_EQ(handle(bindingBody(0x2004, "web", 0x30007, 10, 2, 1)), 0);
  EXPECT_EQ(text_.fields, "policy \"web\", port 3:7, vlan 10, direction 1, flags 2");
  EXPECT_EQ(handle(bindingBody(0x2004, "web", 0x30007, 10, 2, 1)), 0);
  EXPECT_EQ(handle(bindingBody(0x2004, "web", 0x30007, 10, 0, 1)), -15);
  EXPECT_EQ(handle(bindingBody(0x2004, "web", 0x30007, 10, 1, 1)), -2);
  add("dns");
  EXPECT_EQ(handle(bindingBody(0x2004, "dns", 0x30007, 10, 2, 1)), -16);
  EXPECT_EQ(reason_, "policy \"web\" is applied there");
  EXPECT_EQ(state_.policies.bindings().size(), 1U);
}

TEST_F(PolicyHandlersTest, UnconfigureUnbindsWhatIsBoundWhateverTheFlags) {
  EXPECT_EQ(handle(bindingBody(0x2005, "web", 1, 10)), -11);
  add("web");
  EXPECT_EQ(handle(bindingBody(0x2005, "web", 1, 10)), -14);
  handle(bindingBody(0x2004, "web", 1, 10, 2));
  EXPECT_EQ(handle(bindingBody(0x2005, "web", 1, 10, 0)), 0);
  EXPECT_TRUE(state_.policies.bindings().empty());
}

TEST_F(PolicyHandlersTest, ModifyReplacesTheRulesInPlace) {
  EXPECT_EQ(handle(modifyBody("web", encodedRule("new", 9))), -11);
  add("web");
  EXPECT_EQ(handle(modifyBody("web", join(encodedRule("new", 9), encodedRule("x", 8)))), 0);
  EXPECT_EQ(text_.fields, "policy \"web\", 96 bytes, arguments 1 2 3 4");
  EXPECT_EQ(state_.policies.find("web")->rules.size(), 2U);
  EXPECT_EQ(handle(modifyBody("web", Bytes(3))), -22);
  EXPECT_EQ(state_.policies.find("web")->rules.size(), 2U);
}

TEST_F(PolicyHandlersTest, MalformedBodiesChangeNothing) {
  add("web");
  for (const char *code : {"2000", "2001", "2002", "2003", "2004", "2005", "2006"}) {
    EXPECT_EQ(handle(hex(code)), -3) << code;
    EXPECT_EQ(handle(join(hex(code), Bytes(60))), -3) << code;
  }
  EXPECT_EQ(state_.policies.size(), 1U);
  EXPECT_TRUE(state_.policies.bindings().empty());
}

// Puts a request header of bytes 0x00 to 0xFF over and over into a body, behind its code.
void putHeader(Bytes &body) {
  for (std::size_t i = 2; i < 592; ++i) body[i] = static_cast<std::byte>(i & 0xFF);
}

// The header that comes back: behind the code and the status.
void putEchoedHeader(Bytes &reply) {
  for (std::size_t i = 4; i < 592; ++i) reply[i] = static_cast<std::byte>(i & 0xFF);
}

// The reply of the handlers to a body with a status.
Bytes replyTo(const Bytes &body, Status status) {
  const auto code = static_cast<std::uint16_t>(std::to_integer<int>(body[0]) << 8 |
                                               std::to_integer<int>(body[1]));
  return handlerOf(code).makeReply(body, status);
}

TEST(PolicyReplies, ProcessInfoReplyHas628BytesWithTheName) {
  Bytes expected = zeros(628);
  putAt(expected, 0, hex("2000 0000"));
  putAt(expected, 592, bytesOf("stpd"));
  EXPECT_EQ(replyTo(processInfoBody("stpd"), Status::kOk), expected);
}

TEST(PolicyReplies, PolicyReplyHas652BytesWithHeaderAndName) {
  Bytes request = deleteBody("web");
  putHeader(request);
  Bytes expected = zeros(652);
  putEchoedHeader(expected);
  putAt(expected, 0, hex("2002 FFF3"));  // -13
  putAt(expected, 592, bytesOf("web"));
  EXPECT_EQ(replyTo(request, Status::kPolicyInUse), expected);
}

TEST(PolicyReplies, ModifyReplyLeavesArgumentsAndRulesOut) {
  Bytes request = modifyBody("web", Bytes(20, std::byte{0xAA}));
  putHeader(request);
  Bytes expected = zeros(652);
  putEchoedHeader(expected);
  putAt(expected, 0, hex("2006 FFEA"));  // -22
  putAt(expected, 592, bytesOf("web"));
  EXPECT_EQ(replyTo(request, Status::kInvalidRule), expected);
}

TEST(PolicyReplies, PolicyChunkReplyHasNoHeaderSinceItsRequestHasNone) {
  Bytes request = chunkBody({.name = "web", .total = 2}, hex("0102"));
  putHeader(request);
  Bytes expected = zeros(652);
  putAt(expected, 0, hex("2001 FFF6"));  // -10
  putAt(expected, 592, bytesOf("web"));
  EXPECT_EQ(replyTo(request, Status::kPolicyExist), expected);
}

TEST(PolicyReplies, BindingReplyHas2096BytesWithThePointAndTheFlags) {
  Bytes request = bindingBody(0x2004, "web", 0x00010203, 0x0A0B0C0D, 2, 1);
  putHeader(request);
  putAt(request, 700, hex("EE"));  // between the fields
  Bytes expected = zeros(2096);
  putEchoedHeader(expected);
  putAt(expected, 0, hex("2004 FFF5"));  // -11
  putAt(expected, 608, bytesOf("web"));
  putAt(expected, 744, hex("02"));
  putAt(expected, 748, hex("00010203"));
  putAt(expected, 2068, hex("0A0B0C0D"));
  putAt(expected, 2072, hex("01"));
  EXPECT_EQ(replyTo(request, Status::kPolicyNotExist), expected);
}

TEST(PolicyReplies, ShortRequestIsEchoedAsIfZerosFollowed) {
  Bytes expected = zeros(652);
  putAt(expected, 0, hex("2002 FFFD 3344"));
  EXPECT_EQ(replyTo(hex("2002 1122 3344"), Status::kInvalidMessage), expected);
}

TEST(PolicyReplies, NameWithoutNulIsCutTo32Characters) {
  const Bytes reply = replyTo(deleteBody(std::string(33, 'n')), Status::kInvalidMessage);
  EXPECT_EQ(reply[592 + 31], std::byte{'n'});
  EXPECT_EQ(reply[592 + 32], std::byte{0});
}

}  // namespace
}  // namespace aclmgr
