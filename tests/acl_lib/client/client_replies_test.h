// What the tests of the answers to applications share: pending requests, and replies to them.
#ifndef TESTS_ACL_LIB_CLIENT_CLIENT_REPLIES_TEST_H
#define TESTS_ACL_LIB_CLIENT_CLIENT_REPLIES_TEST_H

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "tests/acl_lib/client/reply_test.h"

namespace acl_test {

inline constexpr std::uint16_t kApply = 0x300B;
inline constexpr std::uint16_t kUnapply = 0x300C;
inline constexpr std::uint32_t kApplication = 5;
inline constexpr std::uint8_t kKind = 2;
inline constexpr std::uint32_t kTag = 0xA0B0C0D0;

// What the callback of a test does beside keeping the answer.
inline std::function<void(void *)> reaction;

class ClientRepliesTest : public ReplyTest {
 protected:
  void SetUp() override {
    ReplyTest::SetUp();
    answerSize() = 594;
    reaction = nullptr;
  }

  void TearDown() override {
    reaction = nullptr;
    ReplyTest::TearDown();
  }

  static void react(std::function<void(void *)> reactionOfTest) {
    reaction = std::move(reactionOfTest);
    aclMsgCallback = [](void *body) {
      keepAnswer(body);
      reaction(body);
    };
  }

  static AclApplInfo *application() { return aclLibFindApplInfo(kApplication, 0); }

  // Adds a pending request. Its cookie is 1000 above its number.
  static void addRequest(std::uint32_t seqNo, std::uint16_t code = kApply,
                         std::uint8_t kind = kKind, std::uint32_t tag = kTag,
                         std::uint32_t applId = kApplication) {
    auto *request = static_cast<AclApplReq *>(std::calloc(1, sizeof(AclApplReq)));
    request->reqCode = code;
    request->seqNo = seqNo;
    request->cookie = 1000 + seqNo;
    request->kind = kind;
    request->tag = tag;
    ASSERT_EQ(aclInsertApplReq(request, &aclLibFindApplInfo(applId, 1)->requests), 0);
  }

  static void addRequests(std::initializer_list<std::uint32_t> seqNos) {
    for (const std::uint32_t seqNo : seqNos) addRequest(seqNo);
  }

  // A request goes, as a program may take it away itself.
  static void removeRequest(std::uint32_t seqNo) {
    AclApplReq *request = aclFindApplReqBySeqNo(0, seqNo, &application()->requests);
    ASSERT_NE(request, nullptr);
    ASSERT_EQ(aclDeleteApplReq(request, application()), 0);
    std::free(request);
  }

  static std::vector<std::uint32_t> pending() {
    std::vector<std::uint32_t> seqNos;
    for (AclApplReq *request = aclFindFirstApplReq(application()); request != nullptr;
         request = aclFindNextApplReq(request)) {
      seqNos.push_back(request->seqNo);
    }
    return seqNos;
  }

  static Reply applyReply(std::uint32_t first, std::uint32_t last, int status = 0) {
    return Reply(608, kApply, status)
        .byte(592, kApplication)
        .byte(593, kKind)
        .word(596, kTag)
        .word(600, first)
        .word(604, last);
  }

  static Reply unapplyReply(std::uint32_t seqNo, int status = 0) {
    return Reply(594, kUnapply, status).word(588, seqNo).byte(593, kApplication);
  }

  // Each in a block of exactly the size that is needed.
  static void answerApply(const Reply &reply) {
    Bytes body = reply.bytes();
    body.shrink_to_fit();
    aclLibSendClientConfigReply(body.data());
  }
  static void answerApply(std::uint32_t first, std::uint32_t last) {
    answerApply(applyReply(first, last));
  }
  static void answerUnapply(const Reply &reply) {
    Bytes body = reply.bytes();
    body.shrink_to_fit();
    aclLibSendClientUnconfigReply(body.data());
  }

  // The numbers of the answered requests, in order.
  static std::vector<std::uint32_t> answered() {
    std::vector<std::uint32_t> seqNos;
    for (const Bytes &answer : answers()) seqNos.push_back(wordAt(answer, 588) - 1000);
    return seqNos;
  }

  static std::string answerLine(const char *status, const char *application, const char *code,
                                const char *seqNo) {
    std::string line = "Sending status ";
    line += status;
    line += " to client ";
    line += application;
    line += " for request ";
    line += code;
    line += " seqNo ";
    line += seqNo;
    line += "\n";
    return line;
  }
};

}  // namespace acl_test

#endif  // TESTS_ACL_LIB_CLIENT_CLIENT_REPLIES_TEST_H
