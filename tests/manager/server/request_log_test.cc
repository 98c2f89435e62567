#include "manager/server/request_log.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/support/bytes.h"

namespace aclmgr {
namespace {

using test_support::bytesOf;
using test_support::hex;

// A C stream whose text can be read back.
class TextStream {
 public:
  TextStream() : stream_(::open_memstream(&text_, &length_)) {}
  ~TextStream() {
    std::fclose(stream_);
    std::free(text_);
  }
  TextStream(const TextStream &) = delete;
  TextStream &operator=(const TextStream &) = delete;

  std::FILE *stream() { return stream_; }
  // What was written and flushed.
  std::string text() const { return {text_, length_}; }

 private:
  char *text_ = nullptr;
  std::size_t length_ = 0;
  std::FILE *stream_;
};

TEST(Quoted, PrintableTextStaysAndEverythingElseIsEscaped) {
  EXPECT_EQ(quoted("web 1"), "\"web 1\"");
  EXPECT_EQ(quoted("a\"b\\c"), "\"a\\\"b\\\\c\"");
  EXPECT_EQ(quoted("\n\x7f\xff"), "\"\\x0a\\x7f\\xff\"");
}

TEST(PeerText, NamesTheProcessOnceItIsKnown) {
  EXPECT_EQ(peerText(3, nullptr), "connection 3");
  const Peer anonymous{.processId = 812, .processName = ""};
  EXPECT_EQ(peerText(3, &anonymous), "connection 3 (pid 812)");
  const Peer named{.processId = 812, .processName = "stpd"};
  EXPECT_EQ(peerText(3, &named), "connection 3 (\"stpd\", pid 812)");
}

TEST(RulesText, RulesAreShownInTheWordsOfTheDump) {
  const std::vector<Rule> rules = {
      {"web", 7, {{3, hex("06ff")}}, {{1, {}}, {14, hex("05")}}},
      {"odd", 0xFFFFFFFF, {{34, hex("0a000001ffffffff")}}, {{15, hex("01")}}}};
  EXPECT_EQ(rulesText(rules),
            "  Rule Name: web Index: 7\n"
            "    CONDITION: PROTO 6 MASK 0xff \n"
            "    ACTION: Accept \n"
            "    ACTION: QOS qp5 \n"
            "  Rule Name: odd Index: -1\n"
            "    CONDITION: type 34, 8 bytes\n"
            "    ACTION: type 15, 1 bytes\n");
}

TEST(RulesText, TextOfAClientCannotForgeALine) {
  const std::vector<Rule> rules = {{"r\nx", 1, {}, {{47, bytesOf("a\nb\x1b")}}}};
  EXPECT_EQ(rulesText(rules), "  Rule Name: r?x Index: 1\n    ACTION: redirect-name a?b? \n");
}

TEST(RulesText, ShortTextsAfterLongOnesAreWhole) {
  const std::vector<Rule> rules = {
      {"r", 1, {}, {{47, bytesOf(std::string(32, 'n'))}, {1, {}}, {15, hex("01")}, {2, {}}}}};
  EXPECT_EQ(rulesText(rules), "  Rule Name: r Index: 1\n    ACTION: redirect-name " +
                                  std::string(32, 'n') +
                                  " \n    ACTION: Accept \n"
                                  "    ACTION: type 15, 1 bytes\n    ACTION: Deny \n");
}

// A rule of 32 bytes of text: 32768 of them are 1 MiB.
TEST(RulesText, OneMebibyteIsShownAndWhatGoesBeyondIsLeftOut) {
  std::vector<Rule> rules(32768, Rule{"123456789", 1, {}, {}});
  const std::string all = rulesText(rules);
  EXPECT_EQ(all.size(), 1048576U);
  EXPECT_EQ(all.substr(1048576 - 32), "  Rule Name: 123456789 Index: 1\n");
  rules.insert(rules.end(), 2, Rule{"", 1, {}, {}});
  EXPECT_EQ(rulesText(rules), all + "  2 more rules are left out\n");
}

TEST(RequestLog, VerboseLogShowsARequestAsOneBlock) {
  TextStream requests;
  TextStream notices;
  RequestLog log(requests.stream(), notices.stream());
  EXPECT_TRUE(log.showsRequests());
  log.request("connection 1", "ACL_MSG_ADD_POLICY", {"policy \"web\"", "  rule\n"}, Answer{});
  EXPECT_EQ(requests.text(), "connection 1: ACL_MSG_ADD_POLICY policy \"web\": 0 OK\n  rule\n");
  EXPECT_EQ(notices.text(), "");
}

TEST(RequestLog, CancelledRequestIsShownAndNotNoticedAsRefused) {
  TextStream requests;
  TextStream notices;
  RequestLog log(requests.stream(), notices.stream());
  log.request("connection 1", "CODE", {"fields", ""}, Answer{Status::kCancelled, "why"});
  EXPECT_EQ(requests.text(),
            "connection 1: CODE fields: -43 Pending config request is cancelled out. (why)\n");
  EXPECT_EQ(notices.text(), "");
}

TEST(RequestLog, QuietLogShowsRefusedRequestsOnly) {
  TextStream notices;
  RequestLog log(nullptr, notices.stream());
  EXPECT_FALSE(log.showsRequests());
  log.request("connection 1", "CODE", {"fields", ""}, Answer{});
  log.request("connection 1", "CODE", {"fields", ""}, std::nullopt);
  EXPECT_EQ(notices.text(), "");
  log.request("connection 1", "CODE", {"fields", ""}, Answer{Status::kInvalidRule, "why"});
  EXPECT_EQ(notices.text(),
            "aclmgrd: refused: connection 1: CODE fields: -22 Invalid rule (why)\n");
}

TEST(RequestLog, RequestWithoutAnAnswerHasMoreToCome) {
  TextStream requests;
  TextStream notices;
  RequestLog log(requests.stream(), notices.stream());
  log.request("connection 1", "CODE", {}, std::nullopt);
  EXPECT_EQ(requests.text(), "connection 1: CODE: more to come\n");
}

TEST(RequestLog, NoticesBearTheDaemonsName) {
  TextStream notices;
  RequestLog log(nullptr, notices.stream());
  log.notice("serving");
  log.noticeWithoutMemory("stopped");
  EXPECT_EQ(notices.text(), "aclmgrd: serving\naclmgrd: stopped\n");
}

}  // namespace
}  // namespace aclmgr
