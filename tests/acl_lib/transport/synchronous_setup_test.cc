// How the synchronous channel is set up, and the events of its connection.
#include "tests/acl_lib/transport/synchronous_channel_test.h"

// The linker sends the library's pauses here: they are recorded, and not waited for.
extern "C" int wrapSleep(useconds_t microseconds) asm("__wrap_usleep");
int wrapSleep(useconds_t microseconds) {
  const test_support::AllocationExemption exemption;
  acl_test::pauses.push_back({swplat_fake::fake().calls().size(), microseconds});
  return 0;
}

namespace {

using namespace acl_test;

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
