#include "acl_lib/client/pending_requests.h"

#include <cstdlib>
#include <limits>
#include <optional>
#include <string>

#include "tests/acl_lib/library_test.h"
#include "tests/support/failing_allocator.h"

namespace {

using namespace acl_test;
using test_support::AllocationExemption;

class PendingRequestsTest : public LibraryTest {
 public:
  static std::uint32_t registerRequest(std::uint32_t applId, const char *name = "rule") {
    return aclLibGetClientSeqNo(applId, 0x300B, 0, name, 0, 0);
  }

  // Links a record as a program of its own may do.
  static void insertRequest(AclApplInfo *application, std::uint32_t seqNo) {
    auto *request = static_cast<AclApplReq *>(std::calloc(1, sizeof(AclApplReq)));
    request->seqNo = seqNo;
    ASSERT_EQ(aclInsertApplReq(request, &application->requests), 0);
  }

  static std::vector<std::uint32_t> seqNosOf(AclApplInfo *application) {
    std::vector<std::uint32_t> seqNos;
    for (AclApplReq *request = aclFindFirstApplReq(application); request != nullptr;
         request = aclFindNextApplReq(request)) {
      seqNos.push_back(request->seqNo);
    }
    return seqNos;
  }

  // The ids of the ring from its first record on; backwards too, to see that it is whole.
  static std::vector<unsigned> idsOfRing() {
    std::vector<unsigned> ids;
    const AclApplInfo *first = gaclApplReqList.first;
    if (first == nullptr) return ids;
    const AclApplInfo *application = first;
    do {
      EXPECT_EQ(application->next->prev, application);
      EXPECT_EQ(application->prev->next, application);
      ids.push_back(application->applId);
      application = application->next;
    } while (application != first);
    return ids;
  }
};

// ---- Applications

TEST_F(PendingRequestsTest, FirstApplicationIsAloneInTheRing) {
  EXPECT_EQ(gaclApplReqList.first, nullptr);
  AclApplInfo *application = aclLibFindApplInfo(7, 1);
  ASSERT_NE(application, nullptr);
  EXPECT_EQ(gaclApplReqList.first, application);
  EXPECT_EQ(application->next, application);
  EXPECT_EQ(application->prev, application);
  EXPECT_EQ(application->applId, 7);
  EXPECT_THAT(application->zero, ElementsAre(0, 0, 0));
  EXPECT_EQ(application->requests, nullptr);
}

TEST_F(PendingRequestsTest, ApplicationsAreAddedAtTheTail) {
  for (const std::uint32_t applId : {9U, 3U, 28U, 255U}) aclLibFindApplInfo(applId, 1);
  EXPECT_THAT(idsOfRing(), ElementsAre(9, 3, 28, 255));
}

TEST_F(PendingRequestsTest, ApplicationIsFoundAgain) {
  for (const std::uint32_t applId : {9U, 3U, 28U}) aclLibFindApplInfo(applId, 1);
  for (const std::uint32_t create : {0U, 1U, 0xFFFFFFFFU}) {
    for (const std::uint32_t applId : {9U, 3U, 28U}) {
      const AclApplInfo *application = aclLibFindApplInfo(applId, create);
      ASSERT_NE(application, nullptr);
      EXPECT_EQ(application->applId, applId);
    }
  }
  EXPECT_EQ(idsOfRing().size(), 3U);
}

TEST_F(PendingRequestsTest, UnknownApplicationIsNotCreatedUnlessAskedFor) {
  EXPECT_EQ(aclLibFindApplInfo(3, 0), nullptr);
  EXPECT_EQ(gaclApplReqList.first, nullptr);
  aclLibFindApplInfo(4, 1);
  EXPECT_EQ(aclLibFindApplInfo(3, 0), nullptr);
  EXPECT_THAT(idsOfRing(), ElementsAre(4));
}

TEST_F(PendingRequestsTest, IdZeroOnAnEmptyRingCreatesNothing) {
  EXPECT_EQ(aclLibFindApplInfo(0, 1), nullptr);
  EXPECT_EQ(aclLibFindApplInfo(0, 0), nullptr);
  EXPECT_EQ(gaclApplReqList.first, nullptr);
}

TEST_F(PendingRequestsTest, IdZeroIsTheFirstApplicationWhicheverItIs) {
  AclApplInfo *first = aclLibFindApplInfo(12, 1);
  aclLibFindApplInfo(13, 1);
  EXPECT_EQ(aclLibFindApplInfo(0, 0), first);
  EXPECT_EQ(aclLibFindApplInfo(0, 1), first);
  EXPECT_THAT(idsOfRing(), ElementsAre(12, 13));
}

TEST_F(PendingRequestsTest, IdAbove255CreatesAnotherApplicationEveryTime) {
  const AclApplInfo *one = aclLibFindApplInfo(300, 1);
  const AclApplInfo *other = aclLibFindApplInfo(300, 1);
  EXPECT_NE(one, other);
  EXPECT_THAT(idsOfRing(), ElementsAre(44, 44));
  EXPECT_EQ(aclLibFindApplInfo(300, 0), nullptr);
}

TEST_F(PendingRequestsTest, FirstOfTwoApplicationsWithTheSameIdIsFound) {
  const AclApplInfo *one = aclLibFindApplInfo(300, 1);
  aclLibFindApplInfo(300, 1);
  EXPECT_EQ(aclLibFindApplInfo(44, 0), one);
  EXPECT_EQ(aclLibFindApplInfo(255, 0), nullptr);
  EXPECT_EQ(aclLibFindApplInfo(256 + 255, 0), nullptr);
}

TEST_F(PendingRequestsTest, IdOf256LeavesARecordOfIdZero) {
  aclLibFindApplInfo(9, 1);
  aclLibFindApplInfo(256, 1);
  EXPECT_THAT(idsOfRing(), ElementsAre(9, 0));
  EXPECT_EQ(aclLibFindApplInfo(0, 1)->applId, 9);
}

TEST_F(PendingRequestsTest, CountOfApplicationsIsAlwaysZero) {
  EXPECT_EQ(aclLibGetApplCount(), 0U);
  for (std::uint32_t applId = 1; applId < 20; ++applId) registerRequest(applId);
  EXPECT_EQ(aclLibGetApplCount(), 0U);
  EXPECT_EQ(gaclApplReqList.count, 0U);
}

TEST_F(PendingRequestsTest, CountIsTheWordOfTheRingUnlessTheRingIsEmpty) {
  gaclApplReqList.count = 5;
  EXPECT_EQ(aclLibGetApplCount(), 0U);
  aclLibFindApplInfo(1, 1);
  EXPECT_EQ(aclLibGetApplCount(), 5U);
  gaclApplReqList.count = 0;
}

// ---- Registering

TEST_F(PendingRequestsTest, FirstTwoRegistrationsGetSequenceNumbersOneAndTwo) {
  EXPECT_EQ(registerRequest(3), 1U);
  EXPECT_EQ(registerRequest(3), 2U);
  EXPECT_EQ(aclReqSeqCounter, 2U);
}

TEST_F(PendingRequestsTest, ApplicationsShareOneCounter) {
  EXPECT_EQ(registerRequest(3), 1U);
  EXPECT_EQ(registerRequest(4), 2U);
  EXPECT_EQ(registerRequest(3), 3U);
  EXPECT_THAT(seqNosOf(aclLibFindApplInfo(3, 0)), ElementsAre(1, 3));
  EXPECT_THAT(seqNosOf(aclLibFindApplInfo(4, 0)), ElementsAre(2));
}

TEST_F(PendingRequestsTest, RegistrationKeepsWhatItIsGiven) {
  ASSERT_EQ(aclLibGetClientSeqNo(3, 0x300B, 0xCAFE0001, "edge-in", 0xFE, 0x80000007), 1U);
  const AclApplReq *request = aclFindFirstApplReq(aclLibFindApplInfo(3, 0));
  ASSERT_NE(request, nullptr);
  EXPECT_EQ(request->reqCode, 0x300B);
  EXPECT_EQ(request->seqNo, 1U);
  EXPECT_EQ(request->cookie, 0xCAFE0001);
  EXPECT_STREQ(request->name, "edge-in");
  EXPECT_EQ(request->kind, 0xFE);
  EXPECT_EQ(request->tag, 0x80000007);
}

TEST_F(PendingRequestsTest, LowSixteenBitsOfTheCodeAreKept) {
  aclLibGetClientSeqNo(3, 0x12345678, 0, "", 0, 0);
  aclLibGetClientSeqNo(3, -1, 0, "", 0, 0);
  const AclApplReq *request = aclFindFirstApplReq(aclLibFindApplInfo(3, 0));
  EXPECT_EQ(request->reqCode, 0x5678);
  EXPECT_EQ(aclFindNextApplReq(const_cast<AclApplReq *>(request))->reqCode, 0xFFFF);
}

TEST_F(PendingRequestsTest, NamesKeep32Characters) {
  const std::string name = "abcdefghijklmnopqrstuvwxyz0123456789";
  for (std::size_t length : {31U, 32U, 33U, 36U}) {
    const std::uint32_t seqNo = registerRequest(3, name.substr(0, length).c_str());
    const AclApplReq *request =
        aclFindApplReqBySeqNo(0, seqNo, &aclLibFindApplInfo(3, 0)->requests);
    EXPECT_EQ(request->name, name.substr(0, length < 32 ? length : 32));
  }
}

TEST_F(PendingRequestsTest, NameWithoutANulIsReadNoFurtherThan32Characters) {
  const std::vector<char> name(32, 'n');
  registerRequest(3, name.data());
  EXPECT_EQ(std::string(aclFindFirstApplReq(aclLibFindApplInfo(3, 0))->name), std::string(32, 'n'));
}

TEST_F(PendingRequestsTest, NullNameIsTheEmptyName) {
  EXPECT_EQ(registerRequest(3, nullptr), 1U);
  EXPECT_STREQ(aclFindFirstApplReq(aclLibFindApplInfo(3, 0))->name, "");
}

TEST_F(PendingRequestsTest, ApplicationZeroRegistersWithTheFirstApplication) {
  EXPECT_EQ(registerRequest(0), 0U);
  EXPECT_EQ(aclReqSeqCounter, 0U);
  registerRequest(5);
  EXPECT_EQ(registerRequest(0), 2U);
  EXPECT_THAT(seqNosOf(aclLibFindApplInfo(5, 0)), ElementsAre(1, 2));
}

TEST_F(PendingRequestsTest, NumberAfterTheHighestIsZeroWhichLooksLikeAFailure) {
  aclReqSeqCounter = 0xFFFFFFFE;
  EXPECT_EQ(registerRequest(3), 0xFFFFFFFF);
  EXPECT_EQ(registerRequest(3), 0U);
  EXPECT_EQ(registerRequest(3), 1U);
  EXPECT_THAT(seqNosOf(aclLibFindApplInfo(3, 0)), ElementsAre(0, 1, 0xFFFFFFFF));
}

TEST_F(PendingRequestsTest, NumberThatStillWaitsIsNotGivenOutTwice) {
  EXPECT_EQ(registerRequest(3), 1U);
  aclReqSeqCounter = 0;
  EXPECT_EQ(registerRequest(3), 0U);
  EXPECT_EQ(aclReqSeqCounter, 1U);
  EXPECT_EQ(registerRequest(3), 2U);
  EXPECT_THAT(seqNosOf(aclLibFindApplInfo(3, 0)), ElementsAre(1, 2));
}

TEST_F(PendingRequestsTest, RegistrationWithoutMemoryReturnsZeroAndDoesNotCount) {
  unsigned runs = 0;
  std::uint32_t last = 0;
  const unsigned failures = test_support::forEachAllocationFailure([&] {
    last = registerRequest(3);
    ++runs;
    const AllocationExemption exemption;
    if (runs < 3) {
      EXPECT_EQ(last, 0U);
      EXPECT_EQ(aclReqSeqCounter, 0U);
    }
  });
  EXPECT_EQ(failures, 2U);  // the application's record, the request's
  EXPECT_EQ(last, 1U);
  EXPECT_THAT(idsOfRing(), ElementsAre(3));
}

TEST_F(PendingRequestsTest, ApplicationWithoutMemoryIsNull) {
  const FailAllocation guard(1);
  EXPECT_EQ(aclLibFindApplInfo(3, 1), nullptr);
  EXPECT_TRUE(guard.failed());
  EXPECT_EQ(gaclApplReqList.first, nullptr);
}

// ---- The trees

TEST_F(PendingRequestsTest, RequestsAreVisitedInAscendingUnsignedOrderHoweverTheyCame) {
  AclApplInfo *application = aclLibFindApplInfo(3, 1);
  for (const std::uint32_t seqNo : {0x80000000U, 5U, 0xFFFFFFFFU, 0U, 0x7FFFFFFFU, 6U}) {
    insertRequest(application, seqNo);
  }
  EXPECT_THAT(seqNosOf(application), ElementsAre(0, 5, 6, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF));
}

TEST_F(PendingRequestsTest, SequenceNumbersAreComparedUnsigned) {
  AclApplReq low{};
  AclApplReq high{};
  low.seqNo = 0x7FFFFFFF;
  high.seqNo = 0x80000000;
  EXPECT_EQ(aclApplReqCmpFuncBySeqNo(&low, &high), -1);
  EXPECT_EQ(aclApplReqCmpFuncBySeqNo(&high, &low), 1);
  EXPECT_EQ(aclApplReqCmpFuncBySeqNo(&low, &low), 0);
  low.seqNo = 0;
  high.seqNo = 0xFFFFFFFF;
  EXPECT_EQ(aclApplReqCmpFuncBySeqNo(&low, &high), -1);
  EXPECT_EQ(aclApplReqCmpFuncBySeqNo(&high, &low), 1);
}

TEST_F(PendingRequestsTest, InsertRefusesANumberThatIsThereAlready) {
  AclApplInfo *application = aclLibFindApplInfo(3, 1);
  insertRequest(application, 5);
  AclApplReq twin{};
  twin.seqNo = 5;
  EXPECT_EQ(aclInsertApplReq(&twin, &application->requests), -1);
  EXPECT_THAT(seqNosOf(application), ElementsAre(5));
}

TEST_F(PendingRequestsTest, InsertRefusesNulls) {
  AclApplInfo *application = aclLibFindApplInfo(3, 1);
  AclApplReq request{};
  EXPECT_EQ(aclInsertApplReq(nullptr, &application->requests), -2);
  EXPECT_EQ(aclInsertApplReq(&request, nullptr), -2);
  EXPECT_EQ(aclInsertApplReq(nullptr, nullptr), -2);
  EXPECT_EQ(application->requests, nullptr);
}

TEST_F(PendingRequestsTest, NullHasNoNextRequestAndNoTreeHasNoRequest) {
  EXPECT_EQ(aclFindNextApplReq(nullptr), nullptr);
  EXPECT_EQ(aclFindApplReqBySeqNo(0, 0, nullptr), nullptr);
  EXPECT_EQ(aclFindApplReqBySeqNo(0, 1, nullptr), nullptr);
}

TEST_F(PendingRequestsTest, NothingFollowsTheLastRequest) {
  AclApplInfo *application = aclLibFindApplInfo(3, 1);
  insertRequest(application, 0xFFFFFFFF);
  EXPECT_EQ(aclFindNextApplReq(aclFindFirstApplReq(application)), nullptr);
}

TEST_F(PendingRequestsTest, DeleteTakesARequestOutAndLeavesItToTheCaller) {
  for (int i = 0; i < 3; ++i) registerRequest(3);
  AclApplInfo *application = aclLibFindApplInfo(3, 0);
  AclApplReq *request = aclFindApplReqBySeqNo(0, 2, &application->requests);
  EXPECT_EQ(aclDeleteApplReq(request, application), 0);
  EXPECT_EQ(request->seqNo, 2U);
  EXPECT_THAT(seqNosOf(application), ElementsAre(1, 3));
  EXPECT_EQ(aclDeleteApplReq(request, application), -1);
  std::free(request);
}

TEST_F(PendingRequestsTest, DeleteRefusesNullsAndRequestsOfOthers) {
  registerRequest(3);
  registerRequest(4);
  AclApplInfo *application = aclLibFindApplInfo(3, 0);
  AclApplReq *request = aclFindFirstApplReq(application);
  EXPECT_EQ(aclDeleteApplReq(nullptr, application), -1);
  EXPECT_EQ(aclDeleteApplReq(request, nullptr), -2);
  EXPECT_EQ(aclDeleteApplReq(request, aclLibFindApplInfo(4, 0)), -1);
  EXPECT_THAT(seqNosOf(application), ElementsAre(1));
}

TEST_F(PendingRequestsTest, FirstRequestOfNoApplicationOrOfAnIdleOneIsNull) {
  EXPECT_EQ(aclFindFirstApplReq(nullptr), nullptr);
  EXPECT_EQ(aclFindFirstApplReq(aclLibFindApplInfo(3, 1)), nullptr);
}

TEST_F(PendingRequestsTest, RequestIsFoundByItsExactNumber) {
  AclApplInfo *application = aclLibFindApplInfo(3, 1);
  EXPECT_EQ(aclFindApplReqBySeqNo(0, 5, &application->requests), nullptr);
  for (const std::uint32_t seqNo : {5U, 7U, 0xFFFFFFFFU}) insertRequest(application, seqNo);
  for (const std::uint32_t ignored : {0U, 3U, 99U}) {
    for (const std::uint32_t seqNo : {5U, 7U, 0xFFFFFFFFU}) {
      EXPECT_EQ(aclFindApplReqBySeqNo(ignored, seqNo, &application->requests)->seqNo, seqNo);
    }
    for (const std::uint32_t seqNo : {0U, 4U, 6U, 8U, 0xFFFFFFFEU}) {
      EXPECT_EQ(aclFindApplReqBySeqNo(ignored, seqNo, &application->requests), nullptr);
    }
  }
}

// ---- As answers find them

constexpr acl::RequestFilter kEveryRequest{0, 0};

// Leaves the requests as they are: what is found is linked again.
std::optional<std::uint32_t> lowestOf(AclApplInfo *application, std::uint32_t first,
                                      std::uint32_t last) {
  std::optional<std::uint32_t> found;
  {
    const acl::AnswerInFlight answer(*application, {first, last}, kEveryRequest);
    if (answer.request() == nullptr) return std::nullopt;
    found = answer.request()->seqNo;
  }
  PendingRequestsTest::insertRequest(application, *found);
  return found;
}

TEST_F(PendingRequestsTest, LowestRequestOfARangeIsFoundAtAndBetweenItsEnds) {
  AclApplInfo *application = aclLibFindApplInfo(3, 1);
  EXPECT_EQ(lowestOf(application, 0, 0xFFFFFFFF), std::nullopt);
  for (std::uint32_t seqNo = 10; seqNo <= 200; seqNo += 10) insertRequest(application, seqNo);
  for (std::uint32_t first = 0; first <= 210; ++first) {
    const std::uint32_t lowest = first < 10 ? 10 : (first + 9) / 10 * 10;
    for (const std::uint32_t width : {0U, 1U, 9U, 10U, 500U}) {
      const bool isThere = lowest <= 200 && lowest <= first + width;
      const auto expected = isThere ? std::optional(lowest) : std::nullopt;
      ASSERT_EQ(lowestOf(application, first, first + width), expected) << first << " " << width;
    }
  }
}

TEST_F(PendingRequestsTest, EmptyRangeHasNoRequest) {
  AclApplInfo *application = aclLibFindApplInfo(3, 1);
  for (std::uint32_t seqNo = 0; seqNo < 5; ++seqNo) insertRequest(application, seqNo);
  EXPECT_EQ(lowestOf(application, 1, 0), std::nullopt);
  EXPECT_EQ(lowestOf(application, 0xFFFFFFFE, 0x7FFFFFFF), std::nullopt);
}

TEST_F(PendingRequestsTest, AnswerToANumberThatIsNotPendingFindsAndForgetsNothing) {
  AclApplInfo *application = aclLibFindApplInfo(3, 1);
  for (const std::uint32_t seqNo : {4U, 6U}) insertRequest(application, seqNo);
  {
    const acl::AnswerInFlight answer(*application, 5);
    EXPECT_EQ(answer.request(), nullptr);
  }
  EXPECT_THAT(seqNosOf(application), ElementsAre(4, 6));
}

TEST_F(PendingRequestsTest, AnswerKeepsWhatItFoundWhenTheRequestIsRemoved) {
  aclLibGetClientSeqNo(3, 0x300D, 77, "", 0, 0);
  AclApplInfo *application = aclLibFindApplInfo(3, 0);
  const acl::AnswerInFlight answer(*application, 1);
  AclApplReq *removed = aclFindFirstApplReq(application);
  aclDeleteApplReq(removed, application);
  std::free(removed);
  EXPECT_EQ(answer.request()->code, 0x300D);
  EXPECT_EQ(answer.request()->seqNo, 1U);
  EXPECT_EQ(answer.request()->cookie, 77U);
}

TEST_F(PendingRequestsTest, AnswersMayEndInAnyOrder) {
  AclApplInfo *application = aclLibFindApplInfo(3, 1);
  for (const std::uint32_t seqNo : {5U, 6U, 7U}) insertRequest(application, seqNo);
  std::optional<acl::AnswerInFlight> answers[4];
  for (std::uint32_t i = 0; i < 3; ++i) answers[i].emplace(*application, 5 + i);
  answers[3].emplace(*application, 6U);
  answers[1].reset();
  EXPECT_THAT(seqNosOf(application), ElementsAre(5, 7));
  insertRequest(application, 6);
  answers[0].reset();
  answers[3].reset();
  EXPECT_THAT(seqNosOf(application), ElementsAre(6, 7));
  answers[2].reset();
  EXPECT_THAT(seqNosOf(application), ElementsAre(6));
}

TEST_F(PendingRequestsTest, RequestThatTheTreeDoesNotGiveBackIsNotFreed) {
  AclApplInfo *application = aclLibFindApplInfo(3, 1);
  insertRequest(application, 5);
  fake().setResult("kvtreeDelete", -1);
  {
    const acl::AnswerInFlight answer(*application, 5);
  }
  fake().clearResult("kvtreeDelete");
  EXPECT_THAT(seqNosOf(application), ElementsAre(5));
}

}  // namespace
