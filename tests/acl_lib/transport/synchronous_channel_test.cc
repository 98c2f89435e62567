#include <unistd.h>

#include <cstring>
#include <iterator>

#include "tests/acl_lib/library_test.h"

// The linker sends the library's pauses here: they are recorded, and not waited for.
namespace {
struct Pause {
  std::size_t callsBefore;  // of the platform
  useconds_t microseconds;
};
std::vector<Pause> pauses;
}  // namespace
extern "C" int wrapSleep(useconds_t microseconds) asm("__wrap_usleep");
int wrapSleep(useconds_t microseconds) {
  const test_support::AllocationExemption exemption;
  pauses.push_back({swplat_fake::fake().calls().size(), microseconds});
  return 0;
}

namespace {

using namespace acl_test;

constexpr std::uint64_t kAddress = 0x0102030405060708;
constexpr std::uint32_t kPort = 77;
constexpr std::uint32_t kSyncPeer = 9;  // a peer that needs no set-up
constexpr std::uint32_t kHandle = 0x51;

Call pause(std::uint32_t microseconds) {
  return Call::of("usleep", microseconds);
}

class SynchronousChannelTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    pauses.clear();
    fake().serve("acl", 1, kAddress, kPort);
  }

  // Makes the channel's peer kSyncPeer, without set-up.
  static void useReadyPeer() {
    fake().addPeer(kSyncPeer);
    aclLibSyncConfigPeerId = kSyncPeer;
  }

  static void forget() {
    fake().forgetCalls();
    pauses.clear();
  }

  // The calls of the platform with the pauses between them.
  static std::vector<Call> callsAndPauses() {
    std::vector<Call> all = fake().calls();
    for (auto at = pauses.rbegin(); at != pauses.rend(); ++at) {
      all.insert(all.begin() + static_cast<std::ptrdiff_t>(at->callsBefore),
                 pause(at->microseconds));
    }
    return all;
  }

  static void queueAnswer(const Bytes &value, std::uint16_t type = 0x1003) {
    fake().queueReceive(kSyncPeer, swplat_fake::object(type, value));
  }

  static std::int32_t exchange(Bytes &body) {
    return aclLibSendAndRecvFromAclMgr(body.data(), static_cast<std::uint32_t>(body.size()));
  }

  // Sends a body of `length` bytes and returns the sizes of the packets asked for.
  static std::vector<Call> packetsFor(std::size_t length) {
    forget();
    Bytes body(length);
    queueAnswer(hex("3020 0000"));
    EXPECT_EQ(aclLibSendAndRecvFromAclMgr(body.empty() ? &body : static_cast<void *>(body.data()),
                                          static_cast<std::uint32_t>(length)),
              0);
    return fake().calls({"pktbufAllocPacket"});
  }

  // Texts of the events that were logged, each checked for where it says it comes from.
  static std::vector<std::string> events() {
    std::vector<std::string> texts;
    for (const swplat_fake::Incident &incident : fake().incidents()) {
      EXPECT_EQ(incident.file, "acl_lib");
      EXPECT_EQ(incident.function, "aclLibSyncConfigConnCtl");
      EXPECT_GT(incident.line, 0U);
      EXPECT_EQ(incident.handle, _evlog_ACL_ComponentHandle);
      texts.push_back(incident.text);
    }
    return texts;
  }
};

using SynchronousChannelDeathTest = SynchronousChannelTest;

// ---- Set-up

TEST_F(SynchronousChannelTest, SetUpLooksTheManagerUpAndConnects) {
  EXPECT_EQ(initAclLibSyncConfigLib(), 0);
  EXPECT_THAT(callsAndPauses(),
              ElementsAre(Call::of("msgbusInitClient", 1, Argument::anything(), 0),
                          Call::of("boardGetSlotSelf"), Call::of("dirsvcGetEntryByAttr", "acl", 1),
                          pause(1000), Call::of("msgbusRegisterPeerByAddr", 1, kAddress),
                          Call::of("msgbusConnectToPeer", 1, 0)));
  EXPECT_EQ(aclLibSyncConfigService, 1U);
  EXPECT_EQ(aclLibSyncConfigPeerId, 1U);
}

TEST_F(SynchronousChannelTest, LookUpUsesTheLowByteOfTheOwnSlot) {
  fake().setSlot(0x105);
  fake().serve("acl", 5, kAddress + 1);
  EXPECT_EQ(initAclLibSyncConfigLib(), 0);
  EXPECT_THAT(fake().calls({"dirsvc*", "msgbusRegister*"}),
              ElementsAre(Call::of("dirsvcGetEntryByAttr", "acl", 5),
                          Call::of("msgbusRegisterPeerByAddr", 1, kAddress + 1)));
}

TEST_F(SynchronousChannelTest, LookUpIsRepeatedEveryMillisecondUntilTheManagerIsServed) {
  fake().stopServing("acl", 1);
  unsigned lookUps = 0;
  fake().setHook("dirsvcGetEntryByAttr", [&] {
    if (++lookUps == 50) fake().serve("acl", 1, kAddress);
  });
  EXPECT_EQ(initAclLibSyncConfigLib(), 0);
  EXPECT_EQ(lookUps, 50U);
  ASSERT_EQ(pauses.size(), 50U);
  for (std::size_t i = 0; i < 50; ++i) {
    EXPECT_EQ(pauses[i].callsBefore, 3 + i);
    EXPECT_EQ(pauses[i].microseconds, 1000U);
  }
}

TEST_F(SynchronousChannelTest, ConnectingIsRepeatedWithAPauseBehindEachNewAttempt) {
  fake().queueResults("msgbusConnectToPeer", {-113, -1, -113, 5, 0});
  EXPECT_EQ(initAclLibSyncConfigLib(), 0);
  const std::vector<Call> calls = callsAndPauses();
  const Call connect = Call::of("msgbusConnectToPeer", 1, 0);
  EXPECT_THAT(std::vector<Call>(calls.begin() + 5, calls.end()),
              ElementsAre(connect, connect, pause(10000), connect, pause(10000), connect,
                          pause(10000), connect, pause(10000)));
}

TEST_F(SynchronousChannelTest, ConnectingIsRepeatedWithTheIdThatAConnectionStoredMeanwhile) {
  initAclLibSyncConfigLib();
  forget();
  fake().queueResults("msgbusConnectToPeer", {-113, -113, 0});
  unsigned attempts = 0;
  fake().setHook("msgbusConnectToPeer", [&] {
    if (++attempts == 2) fake().controlEvent(1, MSGBUS_CONTROL_RESTORED);
  });
  EXPECT_EQ(initAclLibSyncConfigLib(), 0);
  EXPECT_THAT(
      fake().calls({"msgbusConnectToPeer"}),
      ElementsAre(Call::of("msgbusConnectToPeer", 2, 0), Call::of("msgbusConnectToPeer", 2, 0),
                  Call::of("msgbusConnectToPeer", 1, 0)));
  EXPECT_EQ(aclLibSyncConfigPeerId, 1U);
}

TEST_F(SynchronousChannelTest, RefusalAtTheFirstAttemptEndsTheSetUp) {
  fake().queueResults("msgbusConnectToPeer", {-109});
  EXPECT_EQ(initAclLibSyncConfigLib(), -109);
  EXPECT_EQ(pauses.size(), 1U);
  EXPECT_EQ(aclLibSyncConfigPeerId, 1U);
}

TEST_F(SynchronousChannelTest, RefusalAtALaterAttemptEndsTheSetUpBehindItsPause) {
  fake().queueResults("msgbusConnectToPeer", {-113, -109});
  EXPECT_EQ(initAclLibSyncConfigLib(), -109);
  EXPECT_EQ(fake().calls({"msgbusConnectToPeer"}).size(), 2U);
  ASSERT_EQ(pauses.size(), 2U);
  EXPECT_EQ(pauses[1].microseconds, 10000U);
  EXPECT_EQ(pauses[1].callsBefore, fake().calls().size());
}

TEST_F(SynchronousChannelTest, ClientIsCreatedOnceAndThePeerEachTime) {
  EXPECT_EQ(initAclLibSyncConfigLib(), 0);
  EXPECT_EQ(initAclLibSyncConfigLib(), 0);
  EXPECT_EQ(fake().calls({"msgbusInitClient"}).size(), 1U);
  EXPECT_THAT(
      fake().calls({"msgbusConnectToPeer"}),
      ElementsAre(Call::of("msgbusConnectToPeer", 1, 0), Call::of("msgbusConnectToPeer", 2, 0)));
  EXPECT_EQ(aclLibSyncConfigPeerId, 2U);
}

TEST_F(SynchronousChannelTest, FailureToRegisterIsPrintedAndTheStoredPeerIsConnected) {
  fake().setProcessName("edge-agent");
  useReadyPeer();
  fake().queueResults("msgbusRegisterPeerByAddr", {-7});
  OutputCapture output;
  EXPECT_EQ(initAclLibSyncConfigLib(), 0);
  EXPECT_EQ(output.standardOutput(),
            "edge-agent: initAclLibSyncConfigLib: name acl ret -7 port 77, peerId:9\n");
  EXPECT_EQ(output.standardError(), "");
  EXPECT_THAT(fake().calls({"msgbusConnectToPeer"}),
              ElementsAre(Call::of("msgbusConnectToPeer", 9, 0)));
  EXPECT_EQ(aclLibSyncConfigPeerId, 9U);
}

TEST_F(SynchronousChannelTest, WithoutAClientTheSetUpGoesOnAndANewOneIsTriedNextTime) {
  fake().queueResults("msgbusInitClient", {0});
  fake().queueResults("msgbusConnectToPeer", {-1, -109});
  OutputCapture output;
  EXPECT_EQ(initAclLibSyncConfigLib(), -109);
  EXPECT_EQ(output.standardOutput(),
            "fake: initAclLibSyncConfigLib: name acl ret -1 port 77, peerId:0\n");
  EXPECT_EQ(aclLibSyncConfigService, 0U);
  EXPECT_EQ(initAclLibSyncConfigLib(), 0);
  EXPECT_NE(aclLibSyncConfigService, 0U);
}

// ---- Requests

TEST_F(SynchronousChannelTest, RequestOf632BytesIsSentIn636BytesAndItsAnswerReceivedInto664) {
  useReadyPeer();
  Bytes body(632, std::byte{0x5A});
  Bytes answer(632, std::byte{0xC3});
  answer[2] = std::byte{0xFF};
  answer[3] = std::byte{0xFE};
  queueAnswer(answer);
  EXPECT_EQ(exchange(body), -2);
  EXPECT_EQ(body, answer);
  EXPECT_THAT(
      fake().callNames(),
      ElementsAre("pktbufAllocPacket", "tlvInit", "tlvAddObject", "msgbusSend", "pktbufFree",
                  "pktbufAllocPacket", "msgbusRecv", "tlvInit", "tlvGetObject", "pktbufFree"));
  EXPECT_THAT(fake().calls({"pktbufAllocPacket", "msgbus*"}),
              ElementsAre(Call::of("pktbufAllocPacket", 636, 32, 1),
                          Call::of("msgbusSend", 9, Argument::anything(), 0),
                          Call::of("pktbufAllocPacket", 664, 28, 0),
                          Call::of("msgbusRecv", 9, Argument::anything(), "{0, 10, 0}", 0)));
  ASSERT_EQ(fake().sentPackets().size(), 1U);
  EXPECT_EQ(fake().sentPackets()[0].bytes, join(hex("1002 0278"), Bytes(632, std::byte{0x5A})));
}

TEST_F(SynchronousChannelTest, BodyOf7BytesIsSentIn12BytesAndItsAnswerReceivedInto40) {
  useReadyPeer();
  EXPECT_THAT(packetsFor(7), ElementsAre(Call::of("pktbufAllocPacket", 12, 32, 1),
                                         Call::of("pktbufAllocPacket", 40, 28, 0)));
  ASSERT_EQ(fake().sentPackets().size(), 1U);
  EXPECT_EQ(fake().sentPackets()[0].bytes, hex("1002 0007 00000000 00000000"));
}

TEST_F(SynchronousChannelTest, BodiesOfAllLengthsTravel) {
  useReadyPeer();
  EXPECT_THAT(packetsFor(0), ElementsAre(Call::of("pktbufAllocPacket", 4, 32, 1),
                                         Call::of("pktbufAllocPacket", 32, 28, 0)));
  EXPECT_EQ(fake().sentPackets()[0].bytes, hex("1002 0000"));
  EXPECT_THAT(packetsFor(1), ElementsAre(Call::of("pktbufAllocPacket", 6, 32, 1),
                                         Call::of("pktbufAllocPacket", 34, 28, 0)));
  EXPECT_THAT(packetsFor(65535), ElementsAre(Call::of("pktbufAllocPacket", 65540, 32, 1),
                                             Call::of("pktbufAllocPacket", 65568, 28, 0)));
  EXPECT_EQ(fake().sentPackets()[0].bytes.size(), 65540U);
}

TEST_F(SynchronousChannelTest, NullBodyOrOneOf65536BytesIsRefused) {
  Bytes body(65536);
  EXPECT_EQ(exchange(body), -2);
  EXPECT_EQ(aclLibSendAndRecvFromAclMgr(body.data(), 0xFFFFFFFF), -2);
  EXPECT_EQ(aclLibSendAndRecvFromAclMgr(nullptr, 632), -2);
  EXPECT_EQ(aclLibSendAndRecvFromAclMgr(nullptr, 0), -2);
  EXPECT_THAT(callsAndPauses(), IsEmpty());
}

TEST_F(SynchronousChannelTest, FirstRequestSetsTheChannelUp) {
  fake().setHook("msgbusSend",
                 [] { fake().queueReceive(1, swplat_fake::object(0x1003, hex("3020 0007"))); });
  Bytes body(4);
  EXPECT_EQ(exchange(body), 7);
  EXPECT_EQ(fake().calls({"msgbusInitClient"}).size(), 1U);
  EXPECT_EQ(fake().sentPackets()[0].peer, 1U);
  forget();
  EXPECT_EQ(exchange(body), 7);
  EXPECT_THAT(fake().callNames({"msgbus*", "dirsvc*"}), ElementsAre("msgbusSend", "msgbusRecv"));
}

TEST_F(SynchronousChannelTest, RefusedSetUpIsNoticedOnlyBySending) {
  fake().setResult("msgbusConnectToPeer", -109);
  Bytes body = hex("3020 0000");
  EXPECT_EQ(exchange(body), -1);
  EXPECT_EQ(fake().calls({"msgbusSend"}).size(), 1U);
}

TEST_F(SynchronousChannelTest, AfterARefusalEachRequestFailsUntilTheChannelIsSetUpAgain) {
  fake().queueResults("msgbusConnectToPeer", {-109});
  Bytes body = hex("3020 0000");
  EXPECT_EQ(exchange(body), -1);
  EXPECT_EQ(exchange(body), -1);
  EXPECT_EQ(fake().calls({"msgbusRegisterPeerByAddr"}).size(), 1U);
  EXPECT_EQ(aclLibSyncConfigPeerId, 1U);
  EXPECT_EQ(initAclLibSyncConfigLib(), 0);
  fake().queueReceive(2, swplat_fake::object(0x1003, hex("3020 0007")));
  EXPECT_EQ(exchange(body), 7);
}

TEST_F(SynchronousChannelTest, FailedSendReturnsMinusOneAndLeavesTheBodyAlone) {
  useReadyPeer();
  for (const std::int32_t failure : {-1, -115, -113, -117, INT32_MIN}) {
    forget();
    fake().queueResults("msgbusSend", {failure});
    Bytes body = hex("3020 0102 0304");
    EXPECT_EQ(exchange(body), -1) << failure;
    EXPECT_EQ(body, hex("3020 0102 0304"));
    EXPECT_THAT(fake().callNames({"pktbuf*", "msgbus*"}),
                ElementsAre("pktbufAllocPacket", "msgbusSend", "pktbufFree"));
  }
}

TEST_F(SynchronousChannelTest, RequestThatTheBusHasQueuedCountsAsNotSent) {
  useReadyPeer();
  fake().queueResults("msgbusSend", {-116});
  Bytes body = hex("3020 0102 0304");
  EXPECT_EQ(exchange(body), -1);
  EXPECT_EQ(body, hex("3020 0102 0304"));
  EXPECT_THAT(fake().callNames({"pktbuf*", "msgbus*"}),
              ElementsAre("pktbufAllocPacket", "msgbusSend", "pktbufFree"));
}

TEST_F(SynchronousChannelTest, EveryResultOfZeroOrMoreIsSuccess) {
  useReadyPeer();
  for (const std::int32_t success : {0, 1, 40}) {
    fake().queueResults("msgbusSend", {success});
    queueAnswer(hex("3020 0005"));
    Bytes body(4);
    EXPECT_EQ(exchange(body), 5);
  }
}

TEST_F(SynchronousChannelTest, WithoutASendPacketNothingIsSentAndTheAnswerIsAwaitedAllTheSame) {
  useReadyPeer();
  fake().queueResults("pktbufAllocPacket", {0});
  queueAnswer(hex("3020 fffd 77"));
  Bytes body(5);
  EXPECT_EQ(exchange(body), -3);
  EXPECT_EQ(body, hex("3020 fffd 77"));
  EXPECT_THAT(fake().callNames({"pktbuf*", "msgbus*"}),
              ElementsAre("pktbufAllocPacket", "pktbufAllocPacket", "msgbusRecv", "pktbufFree"));
}

TEST_F(SynchronousChannelDeathTest, WithoutAPacketForTheAnswerTheProcessAborts) {
  useReadyPeer();
  Bytes body(4);
  fake().failPacketAllocationsAfter(1);
  EXPECT_EXIT(exchange(body), testing::KilledBySignal(SIGABRT), "");
  fake().failPacketAllocationsAfter(0);
  EXPECT_EXIT(exchange(body), testing::KilledBySignal(SIGABRT), "");
}

// ---- Answers

TEST_F(SynchronousChannelTest, ReceivingIsRepeatedWithoutAPauseUntilTheAnswerComes) {
  useReadyPeer();
  fake().queueResults("msgbusRecv", {-110, -1, -113, INT32_MIN});
  unsigned receptions = 0;
  fake().setHook("msgbusRecv", [&] {
    if (++receptions == 100) queueAnswer(hex("3020 0003"));
  });
  Bytes body(4);
  EXPECT_EQ(exchange(body), 3);
  EXPECT_EQ(receptions, 100U);
  EXPECT_THAT(pauses, IsEmpty());
}

TEST_F(SynchronousChannelTest, AnswerIsAwaitedFromThePeerOfARestoredConnection) {
  useReadyPeer();
  fake().addPeer(12);
  fake().queueReceive(12, swplat_fake::object(0x1003, hex("3020 0004")));
  fake().queueResults("msgbusRecv", {-1, -1});
  unsigned receptions = 0;
  fake().setHook("msgbusRecv", [&] {
    if (++receptions == 2) aclLibSyncConfigPeerId = 12;
  });
  Bytes body(4);
  EXPECT_EQ(exchange(body), 4);
  std::vector<Argument> peers;
  for (const Call &call : fake().calls({"msgbusRecv"})) peers.push_back(call.arguments[0]);
  EXPECT_THAT(peers, ElementsAre(Argument(9), Argument(9), Argument(12)));
}

TEST_F(SynchronousChannelTest, AnswerOfAnyTypeIsTakenAndSoIsOnlyTheFirstObject) {
  useReadyPeer();
  fake().queueReceive(kSyncPeer, join(swplat_fake::object(0x7777, hex("3020 0001 aa")),
                                      swplat_fake::object(0x1003, hex("3020 0002 bb"))));
  Bytes body(5);
  EXPECT_EQ(exchange(body), 1);
  EXPECT_EQ(body, hex("3020 0001 aa"));
}

TEST_F(SynchronousChannelTest, AnswerWithoutAnObjectReturnsMinusOneAndLeavesTheBodyAlone) {
  useReadyPeer();
  for (const Bytes &answer : {Bytes(), hex("10"), hex("1003 00"), hex("1003 0005 30200001")}) {
    fake().queueReceive(kSyncPeer, answer);
    Bytes body = hex("3020 0102 0304");
    EXPECT_EQ(exchange(body), -1);
    EXPECT_EQ(body, hex("3020 0102 0304"));
  }
}

TEST_F(SynchronousChannelTest, BehindAShortAnswerTheBodyIsZero) {
  useReadyPeer();
  queueAnswer(hex("3020 0001 aabb"));
  Bytes body(8, std::byte{0xEE});
  EXPECT_EQ(exchange(body), 1);
  EXPECT_EQ(body, hex("3020 0001 aabb 0000"));
}

TEST_F(SynchronousChannelTest, StatusOfAnAnswerShorterThan4BytesIsReadAsIfZerosFollowed) {
  useReadyPeer();
  const std::vector<std::pair<Bytes, std::int32_t>> answers = {
      {hex(""), 0},
      {hex("ff"), 0},
      {hex("ffff"), 0},
      {hex("ffffff"), -256},
      {hex("ffff 7f"), 0x7F00},
      {hex("ffff fffe"), -2},
      {hex("0000 8000"), -32768},
      {hex("0000 7fff"), 32767},
  };
  for (const auto &[answer, status] : answers) {
    queueAnswer(answer);
    Bytes body(4, std::byte{0xEE});
    EXPECT_EQ(exchange(body), status);
    Bytes expected = answer;
    expected.resize(4);
    EXPECT_EQ(body, expected);
  }
}

TEST_F(SynchronousChannelTest, OfALongAnswerOnlyTheBodysLengthIsCopied) {
  useReadyPeer();
  for (const std::uint32_t length : {0U, 1U, 3U, 5U}) {
    queueAnswer(hex("3020 fffb aabb ccdd"));
    Bytes body(8, std::byte{0xEE});
    EXPECT_EQ(aclLibSendAndRecvFromAclMgr(body.data(), length), -5);
    Bytes expected = hex("3020 fffb aabb ccdd");
    expected.resize(length);
    expected.resize(8, std::byte{0xEE});
    EXPECT_EQ(body, expected);
  }
}

TEST_F(SynchronousChannelTest, RequestsNeedNoMemoryButTheirPackets) {
  useReadyPeer();
  queueAnswer(hex("3020 0001"));
  Bytes body(4);
  const FailAllocation guard(1);
  EXPECT_EQ(exchange(body), 1);
  EXPECT_FALSE(guard.failed());
}

// ---- Events of the connection

class ConnectionControlTest : public SynchronousChannelTest {
 protected:
  // Peers 1 and 2 are the channel's, 2 is in use; the component is not registered yet.
  void SetUp() override {
    SynchronousChannelTest::SetUp();
    initAclLibSyncConfigLib();
    initAclLibSyncConfigLib();
    forget();
  }
};

TEST_F(ConnectionControlTest, ConnectedPeerBecomesTheChannelsPeer) {
  EXPECT_EQ(fake().controlEvent(1, 1), 0);
  EXPECT_EQ(aclLibSyncConfigPeerId, 1U);
  EXPECT_THAT(events(), ElementsAre("aclLibSyncConfigConnCtl acl Lib 1 CONNECTED!"));
  EXPECT_THAT(fake().reportedStates(), IsEmpty());
}

TEST_F(ConnectionControlTest, DisconnectionIsReportedAndKeepsTheStoredPeer) {
  EXPECT_EQ(fake().controlEvent(1, 2), 0);
  EXPECT_EQ(aclLibSyncConfigPeerId, 2U);
  EXPECT_THAT(events(), ElementsAre("aclLibSyncConfigConnCtl acl Lib peer 1 DISCONNECTED!"));
  EXPECT_THAT(fake().reportedStates(), ElementsAre(swplat_fake::ReportedState{"acl", 1}));
  EXPECT_THAT(fake().callNames(),
              ElementsAre("evlogRegisterComponent", "evlogNotifyIncident", "procmonSetState"));
}

TEST_F(ConnectionControlTest, RestoredConnectionReplacesThePeerAndIsLoggedUnderAShorterName) {
  EXPECT_EQ(fake().controlEvent(1, -121), 0);
  EXPECT_EQ(aclLibSyncConfigPeerId, 1U);
  EXPECT_THAT(events(), ElementsAre("aclLibSyncConfigCtl acl Lib 1 MSGBUS_CONNECTION_RESTORED!"));
  EXPECT_THAT(fake().reportedStates(), IsEmpty());
}

TEST_F(ConnectionControlTest, OtherCodesAreOnlyLogged) {
  for (const std::int32_t code : {0, 3, -1, -112, 121, INT32_MIN}) {
    EXPECT_EQ(fake().controlEvent(1, code), 0);
  }
  EXPECT_EQ(aclLibSyncConfigPeerId, 2U);
  EXPECT_THAT(events(), ElementsAre("aclLibSyncConfigConnCtl Invalid control code 0!",
                                    "aclLibSyncConfigConnCtl Invalid control code 3!",
                                    "aclLibSyncConfigConnCtl Invalid control code -1!",
                                    "aclLibSyncConfigConnCtl Invalid control code -112!",
                                    "aclLibSyncConfigConnCtl Invalid control code 121!",
                                    "aclLibSyncConfigConnCtl Invalid control code -2147483648!"));
  EXPECT_THAT(fake().reportedStates(), IsEmpty());
}

TEST_F(ConnectionControlTest, ComponentIsRegisteredOnceAndOnDemand) {
  fake().controlEvent(1, 1);
  fake().controlEvent(1, 2);
  EXPECT_THAT(fake().calls({"evlogRegisterComponent"}),
              ElementsAre(Call::of("evlogRegisterComponent", 1,
                                   static_cast<const void *>(&_evlog_ACL_ComponentDesc))));
  EXPECT_NE(_evlog_ACL_ComponentHandle, 0U);
}

TEST_F(ConnectionControlTest, ComponentThatIsRegisteredAlreadyIsUsed) {
  _evlog_ACL_ComponentHandle = kHandle;
  fake().controlEvent(1, -121);
  EXPECT_THAT(fake().callNames(), ElementsAre("evlogNotifyIncident"));
  EXPECT_EQ(fake().incidents()[0].handle, kHandle);
}

TEST_F(ConnectionControlTest, WithoutAComponentOnlyTheLineIsMissing) {
  fake().setResult("evlogRegisterComponent", -1);
  for (const std::int32_t code : {2, 1, -121, 5}) {
    aclLibSyncConfigPeerId = code == 2 ? 2 : 0;
    EXPECT_EQ(fake().controlEvent(1, code), 0);
    EXPECT_EQ(aclLibSyncConfigPeerId, code == 2 ? 2U : code == 5 ? 0U : 1U);
  }
  EXPECT_THAT(fake().reportedStates(), ElementsAre(swplat_fake::ReportedState{"acl", 1}));
  EXPECT_THAT(fake().incidents(), IsEmpty());
  EXPECT_EQ(_evlog_ACL_ComponentHandle, 0U);
  fake().clearResult("evlogRegisterComponent");
  fake().controlEvent(1, 1);
  EXPECT_EQ(fake().incidents().size(), 1U);
}

}  // namespace
