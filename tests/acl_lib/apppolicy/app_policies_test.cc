#include "tests/acl_lib/request_test.h"

namespace {

using namespace acl_test;

constexpr std::uint32_t kApplication = 4;
constexpr std::uint32_t kFlags = 0xFFFFFFE5;
constexpr std::uint32_t kCallerRef = 0xCAFE0001;

constexpr std::uint8_t kName = 26;
constexpr std::uint8_t kWords = 39;
constexpr std::uint8_t kFirstAddress = 62;
constexpr std::uint8_t kSecondAddress = 63;

// Both calls.
using AppPolicyCall = std::int32_t (*)(const AclAppPolicyRequest *, std::uint32_t, std::uint32_t,
                                       std::uint32_t);
constexpr AppPolicyCall kBothCalls[] = {aclLibApplyAppPolicy, aclLibUnApplyAppPolicy};

// A request of two rules whose unused bytes are not zero.
class Request {
 public:
  explicit Request(std::uint8_t matchCount = 0) {
    std::memset(&record_, 0xEE, sizeof(record_));
    record_.policyAttr = static_cast<std::uint16_t>(0xA500 | matchCount);
    record_.requestWord0 = 0x01020304;
    record_.requestWord1 = 0xAABBCCDD;
    record_.requestWord2 = 0x11121314;
    record_.requestWord3 = 0x21222324;
    std::memcpy(record_.policyName, "voice", 6);
    record_.ruleCount = 2;
    setEntry(0, "first", 0xF1F2F3F4);
    setEntry(1, "second", 7);
  }

  void setEntry(std::size_t index, const char *name, std::uint32_t attribute) {
    std::memcpy(record_.entries[index].ruleName, name, std::strlen(name) + 1);
    record_.entries[index].ruleAttr = attribute;
  }

  void fillEntries() {
    record_.ruleCount = 40;
    for (std::uint32_t i = 0; i < 40; ++i) {
      setEntry(i, ("rule-" + std::to_string(i)).c_str(), 0xC0000000 + i);
    }
  }

  void setFirstMatch(std::uint8_t type) {
    record_.match1Type = type;
    setValue(type, record_.match1Value);
  }
  void setSecondMatch(std::uint8_t type) {
    record_.match2Type = type;
    setValue(type, record_.match2Value);
  }

  AclAppPolicyRequest *operator->() { return &record_; }
  const AclAppPolicyRequest *get() const { return &record_; }

  std::int32_t apply() const {
    return aclLibApplyAppPolicy(&record_, kApplication, kFlags, kCallerRef);
  }
  std::int32_t unapply() const {
    return aclLibUnApplyAppPolicy(&record_, kApplication, kFlags, kCallerRef);
  }

 private:
  template <typename Value>
  static void setValue(std::uint8_t type, Value &value) {
    constexpr std::uint8_t kAddress[] = {0x00, 0x1B, 0x2C, 0x3D, 0x4E, 0x5F};
    constexpr std::uint8_t kMask[] = {0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x01};
    if (type == kName) std::memcpy(value.name, "uplink", 7);
    if (type == kWords) value.words[0] = 0x0A0B0C0D, value.words[1] = 0x0E0F1011;
    if (type == kFirstAddress || type == kSecondAddress) {
      std::memcpy(value.mac.address, kAddress, sizeof(kAddress));
      std::memcpy(value.mac.mask, kMask, sizeof(kMask));
    }
  }

  AclAppPolicyRequest record_;
};

// A match type and the name that its golden files have for it.
struct MatchType {
  std::uint8_t type;
  const char *name;
};
constexpr MatchType kMatchTypes[] = {{kName, "name"},
                                     {kWords, "words"},
                                     {kFirstAddress, "address_62"},
                                     {kSecondAddress, "address_63"}};
constexpr std::uint8_t kOtherTypes[] = {0, 1, 25, 27, 38, 40, 61, 64, 255};

std::string goldenName(const char *before, const MatchType &type) {
  std::string name = "apppolicy/";
  name += before;
  name += type.name;
  return name + ".golden";
}

class AppPoliciesTest : public RequestTest {
 protected:
  // The bytes that a request sends, which is the first one to be registered.
  static testing::AssertionResult applies(const Request &request, const std::string &vector) {
    aclReqSeqCounter = 0;
    forgetRequests();
    return sends([&request] { return request.apply(); }, vector);
  }
  static testing::AssertionResult unapplies(const Request &request, const std::string &vector) {
    aclReqSeqCounter = 0;
    forgetRequests();
    return sends([&request] { return request.unapply(); }, vector);
  }

  static void forgetRequests() {
    AclApplInfo *const application = aclLibFindApplInfo(kApplication, 0);
    while (AclApplReq *pending = aclFindFirstApplReq(application)) {
      aclDeleteApplReq(pending, application);
      std::free(pending);
    }
  }

  // The one pending request.
  static const AclApplReq *pending() {
    return aclFindFirstApplReq(aclLibFindApplInfo(kApplication, 0));
  }
};

// ---- Apply

TEST_F(AppPoliciesTest, ApplySendsTheRequestAndItsEntries) {
  EXPECT_TRUE(applies(Request(), "apppolicy/apply.golden"));
}

TEST_F(AppPoliciesTest, ApplySendsAFirstMatchOfEachType) {
  for (const MatchType &match : kMatchTypes) {
    Request request(1);
    request.setFirstMatch(match.type);
    // A second value is not looked at.
    request.setSecondMatch(kWords);
    EXPECT_TRUE(applies(request, goldenName("apply_", match)));
  }
}

TEST_F(AppPoliciesTest, ApplySendsASecondMatchOfEachType) {
  for (const MatchType &match : kMatchTypes) {
    Request request(2);
    request->match1Type = kWords;
    request->match1Value.words[0] = 0x7A7B7C7D;
    request->match1Value.words[1] = 0x8A8B8C8D;
    request.setSecondMatch(match.type);
    EXPECT_TRUE(applies(request, goldenName("apply_second_", match)));
  }
}

TEST_F(AppPoliciesTest, ApplySendsNeitherTypeNorValueOfOtherTypes) {
  for (const std::uint8_t type : kOtherTypes) {
    Request request(2);
    request->match1Type = type;
    request->match2Type = type;
    EXPECT_TRUE(applies(request, "apppolicy/apply_other_match_types.golden")) << int{type};
  }
}

TEST_F(AppPoliciesTest, SecondMatchIsSentThoughTheFirstOneIsNot) {
  Request request(2);
  request->match1Type = 0;
  request.setSecondMatch(kName);
  EXPECT_EQ(request.apply(), 0);
  const Bytes body = sentBodies().at(0);
  EXPECT_EQ(body.at(612), std::byte{0});
  EXPECT_EQ(body.at(668), std::byte{26});
}

TEST_F(AppPoliciesTest, MatchCountIsTheLowByteOfPolicyAttr) {
  struct Row {
    std::uint16_t policyAttr;
    bool sendsFirst, sendsSecond;
  };
  for (const Row &row :
       {Row{0x0000, false, false}, Row{0x0200, false, false}, Row{0xFF00, false, false},
        Row{0x0001, true, false}, Row{0x0201, true, false}, Row{0x0002, true, true},
        Row{0x0003, true, true}, Row{0x01FF, true, true}}) {
    Request request;
    request->policyAttr = row.policyAttr;
    request.setFirstMatch(kWords);
    request.setSecondMatch(kWords);
    fake().forgetCalls();
    EXPECT_EQ(request.apply(), 0);
    const Bytes body = sentBodies().at(0);
    EXPECT_EQ(body.at(612), row.sendsFirst ? std::byte{39} : std::byte{0}) << row.policyAttr;
    EXPECT_EQ(wordAt(body, 620), row.sendsFirst ? 0x0A0B0C0DU : 0) << row.policyAttr;
    EXPECT_EQ(body.at(668), row.sendsSecond ? std::byte{39} : std::byte{0}) << row.policyAttr;
    EXPECT_EQ(wordAt(body, 676), row.sendsSecond ? 0x0A0B0C0DU : 0) << row.policyAttr;
    EXPECT_EQ(wordAt(body, 596) >> 16, row.policyAttr);
  }
}

TEST_F(AppPoliciesTest, NamesOf40CharactersAreCutTo32InEveryField) {
  Request request(2);
  request->match1Type = kName;
  request->match2Type = kName;
  fillName(request->match1Value.name, kNameOf40);
  fillName(request->match2Value.name, kNameOf40);
  fillName(request->policyName, kNameOf40);
  fillName(request->entries[0].ruleName, kNameOf40);
  fillName(request->entries[1].ruleName, kNameOf40);
  EXPECT_TRUE(applies(request, "apppolicy/apply_long_names.golden"));
}

TEST_F(AppPoliciesTest, FortyEntriesFillTheBodyToItsLastByte) {
  Request request;
  request.fillEntries();
  EXPECT_TRUE(applies(request, "apppolicy/apply_40_entries.golden"));
  EXPECT_TRUE(unapplies(request, "apppolicy/unapply_40_entries.golden"));
}

TEST_F(AppPoliciesTest, OneEntryIsSent) {
  Request request;
  request->ruleCount = 1;
  for (const AppPolicyCall call : kBothCalls) {
    fake().forgetCalls();
    EXPECT_EQ(call(request.get(), kApplication, kFlags, kCallerRef), 0);
    const Bytes body = sentBodies().at(0);
    EXPECT_EQ(body.at(592), std::byte{1});
    EXPECT_EQ(Bytes(body.begin() + 800, body.end()), Bytes(1560));
  }
}

TEST_F(AppPoliciesTest, ApplicationTravelsAsItsLowByte) {
  for (const AppPolicyCall call : kBothCalls) {
    fake().forgetCalls();
    EXPECT_EQ(call(Request().get(), 0x1F3, kFlags, kCallerRef), 0);
    EXPECT_EQ(sentBodies().at(0).at(593), std::byte{0xF3});
    EXPECT_EQ(sentBodies().at(0).at(594), std::byte{0});
  }
}

// ---- Unapply

TEST_F(AppPoliciesTest, UnapplySendsLessOfTheMatchThanApply) {
  for (const MatchType &match : kMatchTypes) {
    Request request(2);
    request.setFirstMatch(match.type);
    request.setSecondMatch(kWords);
    EXPECT_TRUE(unapplies(request, goldenName("unapply_", match)));
  }
}

TEST_F(AppPoliciesTest, UnapplySendsNeitherNameAttributeNorTheFirstTwoWords) {
  EXPECT_EQ(Request(0).unapply(), 0);
  const Bytes body = sentBodies().at(0);
  EXPECT_EQ(Bytes(body.begin() + 596, body.begin() + 600), Bytes(4));
  EXPECT_EQ(Bytes(body.begin() + 720, body.begin() + 760), Bytes(40));
  EXPECT_EQ(wordAt(body, 712), 0x11121314U);
  EXPECT_EQ(wordAt(body, 716), 0x21222324U);
}

TEST_F(AppPoliciesTest, UnapplySendsTheFirstMatchWhateverTheMatchCount) {
  for (const int matchCount : {0, 1, 2, 255}) {
    Request request(static_cast<std::uint8_t>(matchCount));
    request.setFirstMatch(kWords);
    EXPECT_TRUE(unapplies(request, "apppolicy/unapply_words.golden"));
  }
}

TEST_F(AppPoliciesTest, UnapplySendsNothingOfOtherTypes) {
  for (const std::uint8_t type : kOtherTypes) {
    Request request(2);
    request->match1Type = type;
    EXPECT_TRUE(unapplies(request, "apppolicy/unapply_name.golden")) << int{type};
  }
}

// ---- The pending request

TEST_F(AppPoliciesTest, RequestIsRegisteredUnderItsSequenceNumber) {
  struct Row {
    AppPolicyCall call;
    std::uint16_t code;
  };
  for (const Row &row : {Row{aclLibApplyAppPolicy, 0x300B}, Row{aclLibUnApplyAppPolicy, 0x300C}}) {
    forgetRequests();
    EXPECT_EQ(row.call(Request().get(), kApplication, kFlags, kCallerRef), 0);
    ASSERT_NE(pending(), nullptr);
    EXPECT_EQ(pending()->reqCode, row.code);
    EXPECT_EQ(pending()->seqNo, aclReqSeqCounter);
    EXPECT_EQ(pending()->cookie, kCallerRef);
    EXPECT_STREQ(pending()->name, "first");
    EXPECT_EQ(pending()->kind, 0xE5);
    EXPECT_EQ(pending()->tag, 0x11121314U);
  }
}

TEST_F(AppPoliciesTest, PendingRequestIsNamedAfterTheFirstRuleOfUpTo32Characters) {
  Request request;
  fillName(request->entries[0].ruleName, kNameOf40);
  EXPECT_EQ(request.apply(), 0);
  ASSERT_NE(pending(), nullptr);
  EXPECT_STREQ(pending()->name, "abcdefghijklmnopqrstuvwxyz012345");
}

TEST_F(AppPoliciesTest, RequestsCountTheirSequenceNumbers) {
  const Request request;
  EXPECT_EQ(request.apply(), 0);
  EXPECT_EQ(request.unapply(), 0);
  EXPECT_EQ(request.apply(), 0);
  const std::vector<Bytes> bodies = sentBodies();
  ASSERT_EQ(bodies.size(), 3U);
  for (std::uint32_t i = 0; i < 3; ++i) EXPECT_EQ(wordAt(bodies[i], 588), i + 1);
}

TEST_F(AppPoliciesTest, RequestIsRegisteredBeforeItIsSent) {
  for (const AppPolicyCall call : kBothCalls) {
    forgetRequests();
    bool wasRegistered = false;
    fake().setHook("msgbusSend", [&wasRegistered] { wasRegistered = pending() != nullptr; });
    EXPECT_EQ(call(Request().get(), kApplication, kFlags, kCallerRef), 0);
    fake().setHook("msgbusSend", {});
    EXPECT_TRUE(wasRegistered);
  }
}

TEST_F(AppPoliciesTest, WithoutMemoryForTheRegistrationTheSequenceNumberIsZero) {
  EXPECT_NE(aclLibFindApplInfo(kApplication, 1), nullptr);
  const Request request;
  for (const AppPolicyCall call : kBothCalls) {
    fake().forgetCalls();
    const FailAllocation guard(1);
    EXPECT_EQ(call(request.get(), kApplication, kFlags, kCallerRef), 0);
    EXPECT_TRUE(guard.failed());
    EXPECT_EQ(wordAt(sentBodies().at(0), 588), 0U);
  }
  EXPECT_EQ(pending(), nullptr);
}

TEST_F(AppPoliciesTest, ApplicationZeroIsSentWithoutASequenceNumberWhileNoneHasRegistered) {
  for (const AppPolicyCall call : kBothCalls) {
    fake().forgetCalls();
    EXPECT_EQ(call(Request().get(), 0, kFlags, kCallerRef), 0);
    EXPECT_EQ(wordAt(sentBodies().at(0), 588), 0U);
  }
}

TEST_F(AppPoliciesTest, NumberThatStillWaitsIsNotGivenOutAgain) {
  for (const AppPolicyCall call : kBothCalls) {
    forgetRequests();
    aclReqSeqCounter = 6;
    EXPECT_EQ(call(Request().get(), kApplication, kFlags, kCallerRef), 0);
    aclReqSeqCounter = 6;
    fake().forgetCalls();
    EXPECT_EQ(call(Request().get(), kApplication, kFlags, kCallerRef), 0);
    EXPECT_EQ(wordAt(sentBodies().at(0), 588), 0U);
    ASSERT_NE(pending(), nullptr);
    EXPECT_EQ(pending()->seqNo, 7U);
    EXPECT_EQ(aclFindNextApplReq(aclFindFirstApplReq(aclLibFindApplInfo(kApplication, 0))),
              nullptr);
  }
}

// ---- Refusals and results

TEST_F(AppPoliciesTest, NoEntriesAndMoreThan40AreSuccessAndNothingIsSent) {
  for (const AppPolicyCall call : kBothCalls) {
    for (const int ruleCount : {0, 41, 42, 0x8001, 0xFFFF}) {
      Request request;
      request->ruleCount = static_cast<std::uint16_t>(ruleCount);
      expectRefusal([&] { return call(request.get(), kApplication, kFlags, kCallerRef); }, 0);
    }
  }
  EXPECT_EQ(aclReqSeqCounter, 0U);
}

TEST_F(AppPoliciesTest, NullRequestIsSuccessAndNothingIsSent) {
  for (const AppPolicyCall call : kBothCalls) {
    expectRefusal([call] { return call(nullptr, kApplication, kFlags, kCallerRef); }, 0);
  }
  EXPECT_EQ(aclReqSeqCounter, 0U);
}

TEST_F(AppPoliciesTest, ResultIsThatOfTheSend) {
  const Request request;
  expectResultsOfTheSend([&request] { return request.apply(); });
  expectResultsOfTheSend([&request] { return request.unapply(); });
}

TEST_F(AppPoliciesTest, RequestThatCouldNotBeSentStaysPending) {
  transHandleSetPeer(aclHandle, 0);
  for (const AppPolicyCall call : kBothCalls) {
    forgetRequests();
    EXPECT_EQ(call(Request().get(), kApplication, kFlags, kCallerRef), -1);
    ASSERT_NE(pending(), nullptr);
    EXPECT_EQ(pending()->seqNo, aclReqSeqCounter);
  }
}

TEST_F(AppPoliciesTest, NothingIsTraced) {
  for (const AppPolicyCall call : kBothCalls) {
    EXPECT_EQ(call(Request().get(), kApplication, kFlags, kCallerRef), 0);
  }
  EXPECT_THAT(fake().traceLines(), IsEmpty());
}

}  // namespace
