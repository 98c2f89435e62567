#include "tests/acl_lib/request_test.h"

namespace {

using namespace acl_test;

class SlicesTest : public RequestTest {
 protected:
  static AclSliceRequest reservation() { return {0, 2, 5, 0x03A1A2A3, 0, 4}; }
  static AclSliceRequest release() {
    return {0x80000001, 0x91929394, 0xA1A2A3A4, 0xFF000000, 0x00010000, 28};
  }
  static std::int32_t reserve() {
    const AclSliceRequest request = reservation();
    return aclLibSliceConfig(&request, 0x0A0B0C0D);
  }
  static std::vector<std::string> traceOfRequest(const AclSliceRequest &request) {
    return traceOf([&request] { aclLibSliceConfig(&request, 0); });
  }
};

TEST_F(SlicesTest, ReservationIsSent) {
  EXPECT_TRUE(sends(reserve, "apppolicy/slice_reserve.golden"));
}

TEST_F(SlicesTest, ReleaseIsSentInWholeWords) {
  const AclSliceRequest request = release();
  EXPECT_TRUE(sends([&request] { return aclLibSliceConfig(&request, 0xF1F2F3F4); },
                    "apppolicy/slice_unreserve.golden"));
}

TEST_F(SlicesTest, RequestsAreTraced) {
  EXPECT_THAT(
      traceOfRequest(reservation()),
      ElementsAre(" QoS: ACL Slice Reserve 3 slices for stage: 2 of type: 5 double_wide: FALSE\n"));
  AclSliceRequest request = release();
  request.stage = 1;
  request.sliceType = 6;
  EXPECT_THAT(traceOfRequest(request),
              ElementsAre(" Precision-Time: ACL Slice Unreserve 255 slices for stage: 1 of type: 6 "
                          "double_wide: TRUE\n"));
}

TEST_F(SlicesTest, StageAndTypeAreTracedAsSignedNumbers) {
  AclSliceRequest request = reservation();
  request.stage = 0xFFFFFFFF;
  request.sliceType = 0x80000000;
  request.sliceCount = 0x00FFFFFF;
  EXPECT_THAT(traceOfRequest(request),
              ElementsAre(" QoS: ACL Slice Reserve 0 slices for stage: -1 of type: -2147483648 "
                          "double_wide: FALSE\n"));
}

TEST_F(SlicesTest, EveryApplicationIsTracedByItsName) {
  for (const auto &[id, name] : applicationNames()) {
    if (id >= 29) continue;
    AclSliceRequest request = reservation();
    request.appId = id;
    std::string line = " ";
    line += name;
    line += ": ACL Slice Reserve 3 slices for stage: 2 of type: 5 double_wide: FALSE\n";
    fake().forgetCalls();
    EXPECT_EQ(aclLibSliceConfig(&request, 0), 0);
    EXPECT_THAT(fake().traceLines(), ElementsAre(swplat_fake::TraceLine{kTraceBuffer, 7, line}));
  }
}

TEST_F(SlicesTest, TraceComesBeforeTheSend) {
  expectTraceBeforeSend(reserve);
}

TEST_F(SlicesTest, ApplicationsFrom29OnAreRefused) {
  for (const std::uint32_t appId : {29U, 30U, 256U, 0x80000000U, 0xFFFFFFFFU}) {
    AclSliceRequest request = reservation();
    request.appId = appId;
    expectRefusal([&request] { return aclLibSliceConfig(&request, 0); }, -1);
  }
}

TEST_F(SlicesTest, ApplicationsUpTo28AreAccepted) {
  for (const std::uint32_t appId : {0U, 28U}) {
    AclSliceRequest request = reservation();
    request.appId = appId;
    EXPECT_EQ(aclLibSliceConfig(&request, 0), 0);
    EXPECT_EQ(wordAt(sentBodies().back(), 612), appId);
  }
}

TEST_F(SlicesTest, NullRequestIsRefused) {
  expectRefusal([] { return aclLibSliceConfig(nullptr, 1); }, -2);
}

TEST_F(SlicesTest, BadApplicationGivesMinus1AndANullRequestMinus2) {
  AclSliceRequest request = reservation();
  request.appId = 29;
  EXPECT_EQ(aclLibSliceConfig(&request, 0), -1);
  EXPECT_EQ(aclLibSliceConfig(nullptr, 0), -2);
}

TEST_F(SlicesTest, ResultIsThatOfTheSend) {
  expectResultsOfTheSend(reserve);
}

TEST_F(SlicesTest, NothingIsAllocated) {
  expectNoAllocations(reserve);
}

}  // namespace
