#include "tests/acl_lib/library_test.h"

namespace {

using namespace acl_test;

constexpr std::uint16_t kAdd = 0x2001;
constexpr std::uint16_t kRefresh = 0x2003;

class PolicyChunksTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    connectHandle();
  }

  static const std::vector<RecordingSend::Request> &requests() { return RecordingSend::requests(); }

  static std::vector<std::uint16_t> requestLengths() {
    std::vector<std::uint16_t> lengths;
    for (const auto &request : requests()) lengths.push_back(request.length);
    return lengths;
  }

  // Checks that the requests carry the policy's rules, in `chunks` of these lengths.
  static void expectChunks(OwnPolicy &policy, const std::vector<std::uint32_t> &chunks) {
    ASSERT_EQ(requests().size(), chunks.size());
    std::uint32_t offset = 0;
    for (std::size_t i = 0; i < chunks.size(); ++i) {
      SCOPED_TRACE("chunk " + std::to_string(i));
      const auto &request = requests()[i];
      EXPECT_EQ(request.type, 0x1002);
      ASSERT_EQ(request.length, 652 + chunks[i]);
      EXPECT_EQ(wordAt(request.body, 628), policy->usedSize);
      EXPECT_EQ(wordAt(request.body, 632), chunks[i]);
      EXPECT_EQ(wordAt(request.body, 636), offset);
      EXPECT_EQ(Bytes(request.body.begin() + 652, request.body.end()),
                policy.rules(offset, chunks[i]));
      offset += chunks[i];
    }
  }
};

// ---- Bytes

TEST_F(PolicyChunksTest, AddPolicySendsTheHeadAndTheRules) {
  OwnPolicy policy(8);
  policy->ruleCount = 2;
  policy->policyAttr = 0x01A5;
  EXPECT_EQ(aclLibAddPolicy(policy.handle()), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "policy/add_policy.golden"));
}

TEST_F(PolicyChunksTest, RefreshPolicySendsTheSameUnderItsOwnCode) {
  OwnPolicy policy(8);
  policy->ruleCount = 2;
  policy->policyAttr = 0x01A5;
  EXPECT_EQ(aclLibRefreshPolicy(policy.handle()), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "policy/refresh_policy.golden"));
}

TEST_F(PolicyChunksTest, EmptyPolicyIsOneRequestOf652Bytes) {
  OwnPolicy policy(0, "abcdefghijklmnopqrstuvwxyz012345");
  policy->ruleBuffer = nullptr;
  EXPECT_EQ(aclLibAddPolicy(policy.handle()), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "policy/add_empty_policy.golden"));
}

TEST_F(PolicyChunksTest, NewPolicyOfTheLibraryIsSentEmpty) {
  const AclPolicyHandle policy = aclLibNewPolicy("abcdefghijklmnopqrstuvwxyz012345");
  EXPECT_EQ(aclLibAddPolicy(policy), 0);
  ASSERT_EQ(sentBodies().size(), 1U);
  EXPECT_TRUE(matchesGolden(sentBodies()[0], "policy/add_empty_policy.golden"));
}

TEST_F(PolicyChunksTest, WordAt648IsTheLowHalfOfTheSendersOwnAddressOfTheChunk) {
  const RecordingSend recorder;
  OwnPolicy policy(20000);
  EXPECT_EQ(aclSendPolicy(policy.handle(), kAdd, RecordingSend::send), 0);
  ASSERT_EQ(requests().size(), 3U);
  for (const auto &request : requests()) {
    const auto chunk = reinterpret_cast<std::uintptr_t>(request.address) + 652;
    EXPECT_EQ(wordAt(request.body, 648), static_cast<std::uint32_t>(chunk));
  }
}

TEST_F(PolicyChunksTest, CodeIsTheCallersAsItIs) {
  const RecordingSend recorder;
  OwnPolicy policy(4);
  EXPECT_EQ(aclSendPolicy(policy.handle(), 0xABCD, RecordingSend::send), 0);
  EXPECT_EQ(codeOf(requests()[0].body), 0xABCD);
}

// ---- Chunks

TEST_F(PolicyChunksTest, PolicyOfNoBytesIsOneChunkWithoutBytes) {
  const RecordingSend recorder;
  OwnPolicy policy(0);
  EXPECT_EQ(aclSendPolicy(policy.handle(), kAdd, RecordingSend::send), 0);
  EXPECT_THAT(requestLengths(), ElementsAre(652));
  expectChunks(policy, {0});
}

TEST_F(PolicyChunksTest, PolicyOf7872BytesIsOneChunk) {
  const RecordingSend recorder;
  OwnPolicy policy(7872);
  EXPECT_EQ(aclSendPolicy(policy.handle(), kAdd, RecordingSend::send), 0);
  EXPECT_THAT(requestLengths(), ElementsAre(8524));
  expectChunks(policy, {7872});
}

TEST_F(PolicyChunksTest, PolicyOf7873BytesIsTwoChunks) {
  const RecordingSend recorder;
  OwnPolicy policy(7873);
  EXPECT_EQ(aclSendPolicy(policy.handle(), kAdd, RecordingSend::send), 0);
  EXPECT_THAT(requestLengths(), ElementsAre(8524, 653));
  expectChunks(policy, {7872, 1});
}

TEST_F(PolicyChunksTest, PolicyOfExactlyTwoChunksHasNoThird) {
  const RecordingSend recorder;
  OwnPolicy policy(15744);
  EXPECT_EQ(aclSendPolicy(policy.handle(), kAdd, RecordingSend::send), 0);
  expectChunks(policy, {7872, 7872});
}

TEST_F(PolicyChunksTest, PolicyOf20000BytesIsThreeChunks) {
  const RecordingSend recorder;
  OwnPolicy policy(20000);
  EXPECT_EQ(aclSendPolicy(policy.handle(), kAdd, RecordingSend::send), 0);
  EXPECT_THAT(requestLengths(), ElementsAre(8524, 8524, 4908));
  expectChunks(policy, {7872, 7872, 4256});
}

TEST_F(PolicyChunksTest, LaterChunksHaveTheirOwnHead) {
  const RecordingSend recorder;
  OwnPolicy policy(20000);
  policy->ruleCount = 2;
  policy->policyAttr = 0x01A5;
  EXPECT_EQ(aclSendPolicy(policy.handle(), kAdd, RecordingSend::send), 0);
  ASSERT_EQ(requests().size(), 3U);
  const Bytes &body = requests()[2].body;
  EXPECT_TRUE(
      matchesGolden(Bytes(body.begin(), body.begin() + 652), "policy/third_chunk_head.golden"));
}

TEST_F(PolicyChunksTest, OneBodyServesForAllChunks) {
  const RecordingSend recorder;
  OwnPolicy policy(20000);
  const FailAllocation guard(0);
  aclSendPolicy(policy.handle(), kAdd, RecordingSend::send);
  const test_support::AllocationExemption exemption;
  EXPECT_EQ(guard.allocationsMade(), 1U);
  EXPECT_EQ(requests()[0].address, requests()[2].address);
}

TEST_F(PolicyChunksTest, FullChunkIsLongerThanAPacketAndArrivesWhole) {
  OwnPolicy policy(20000);
  EXPECT_EQ(aclLibAddPolicy(policy.handle()), 0);
  std::vector<std::size_t> packets;
  for (const auto &packet : fake().sentPackets()) packets.push_back(packet.bytes.size());
  EXPECT_THAT(packets, ElementsAre(0U, 8528U, 0U, 8528U, 4912U));
  const std::vector<Bytes> bodies = sentBodies();
  ASSERT_EQ(bodies.size(), 3U);
  EXPECT_EQ(Bytes(bodies[1].begin() + 652, bodies[1].end()), policy.rules(7872, 7872));
}

// ---- Results

TEST_F(PolicyChunksTest, ResultsOfTheSendsAreIgnored) {
  const RecordingSend recorder(-115);
  OwnPolicy policy(20000);
  EXPECT_EQ(aclSendPolicy(policy.handle(), kAdd, RecordingSend::send), 0);
  EXPECT_EQ(requests().size(), 3U);
}

TEST_F(PolicyChunksTest, AddAndRefreshReturnZeroWithoutAConnection) {
  OwnPolicy policy(8);
  transHandleSetPeer(aclHandle, 0);
  EXPECT_EQ(aclLibAddPolicy(policy.handle()), 0);
  EXPECT_EQ(aclLibRefreshPolicy(policy.handle()), 0);
  EXPECT_THAT(fake().sentPackets(), IsEmpty());
}

TEST_F(PolicyChunksTest, AddAndRefreshDoNotMarkThePolicyAsAdded) {
  OwnPolicy policy(8);
  EXPECT_EQ(aclLibAddPolicy(policy.handle()), 0);
  EXPECT_EQ(aclLibRefreshPolicy(policy.handle()), 0);
  EXPECT_EQ(policy->stateFlags, 0U);
}

TEST_F(PolicyChunksTest, WithoutMemoryNothingIsSentAndTheResultIsMinusOne) {
  const RecordingSend recorder;
  OwnPolicy policy(8);
  for (const auto &call : {aclLibAddPolicy, aclLibRefreshPolicy}) {
    const FailAllocation guard(1);
    EXPECT_EQ(call(policy.handle()), -1);
    EXPECT_TRUE(guard.failed());
  }
  {
    const FailAllocation guard(1);
    EXPECT_EQ(aclSendPolicy(policy.handle(), kRefresh, RecordingSend::send), -1);
  }
  EXPECT_THAT(requests(), IsEmpty());
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(PolicyChunksTest, InvalidHandleIsReportedUnderTheNameOfTheCall) {
  OutputCapture output;
  const std::int32_t added = aclLibAddPolicy(0);
  const std::int32_t refreshed = aclLibRefreshPolicy(0x10);
  output.finish();
  EXPECT_EQ(added, -2);
  EXPECT_EQ(refreshed, -2);
  EXPECT_EQ(output.standardOutput(),
            "aclLibAddPolicy: Invalid policy handle 0\n"
            "aclLibRefreshPolicy: Invalid policy handle 10\n");
  EXPECT_EQ(output.standardError(), "");
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(PolicyChunksTest, RecordWhoseSelfPointerIsNotItsOwnAddressIsNoPolicy) {
  OwnPolicy policy(8);
  policy->selfCheck = nullptr;
  OutputCapture output;
  const std::int32_t result = aclLibAddPolicy(policy.handle());
  output.finish();
  EXPECT_EQ(result, -2);
  char line[80];
  std::snprintf(line, sizeof(line), "aclLibAddPolicy: Invalid policy handle %lx\n",
                static_cast<unsigned long>(policy.handle()));
  EXPECT_EQ(output.standardOutput(), line);
  EXPECT_EQ(output.standardError(), "");
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(PolicyChunksTest, SendPolicyRefusesANullSendFunction) {
  EXPECT_EQ(aclSendPolicy(aclLibNewPolicy("edge-in"), 0x2001, nullptr), -2);
}

TEST_F(PolicyChunksTest, SendPolicyRefusesAnInvalidHandleSilently) {
  const RecordingSend recorder;
  OwnPolicy policy(8);
  policy->selfCheck = nullptr;
  OutputCapture output;
  for (const AclPolicyHandle handle : {AclPolicyHandle{0}, AclPolicyHandle{-1}, AclPolicyHandle{-2},
                                       policy.handle(), policy.handle() + 1}) {
    EXPECT_EQ(aclSendPolicy(handle, kAdd, RecordingSend::send), -2);
  }
  output.finish();
  EXPECT_EQ(output.standardOutput(), "");
  EXPECT_EQ(output.standardError(), "");
  EXPECT_THAT(requests(), IsEmpty());
}

}  // namespace
