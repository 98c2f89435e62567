#include <cerrno>
#include <cstring>

#include "tests/acl_lib/library_test.h"

// The linker sends the library's call of pthread_rwlock_init() here.
namespace {
bool lockFails = false;
}  // namespace
extern "C" {
int realLockInit(pthread_rwlock_t *lock,
                 const pthread_rwlockattr_t *attributes) asm("__real_pthread_rwlock_init");
int wrapLockInit(pthread_rwlock_t *lock,
                 const pthread_rwlockattr_t *attributes) asm("__wrap_pthread_rwlock_init");
}
int wrapLockInit(pthread_rwlock_t *lock, const pthread_rwlockattr_t *attributes) {
  return lockFails ? EAGAIN : realLockInit(lock, attributes);
}

namespace {

using namespace acl_test;

constexpr std::int32_t kConnected = -121;
constexpr std::int32_t kLost = -112;

void callback(void *) {}
std::int32_t handler(std::uint32_t, std::int32_t) {
  return 0;
}

class ConnectionTest : public LibraryTest {
 protected:
  void TearDown() override {
    lockFails = false;
    LibraryTest::TearDown();
  }
};

// ---- aclLibInit

TEST_F(ConnectionTest, InitOpensTheTraceBufferOf10240Bytes) {
  fake().queueResults("evlogInitTraceBuffer", {0x1234});
  EXPECT_EQ(aclLibInit(), 0);
  EXPECT_THAT(fake().calls(), ElementsAre(Call::of("evlogInitTraceBuffer", "acl", 10240, 0)));
  EXPECT_EQ(aclTraceBufferHandle, 0x1234U);
}

TEST_F(ConnectionTest, InitWithoutATraceBufferSucceeds) {
  fake().queueResults("evlogInitTraceBuffer", {0});
  EXPECT_EQ(aclLibInit(), 0);
  EXPECT_EQ(aclTraceBufferHandle, 0U);
}

TEST_F(ConnectionTest, InitReturnsMinusOneAndOpensNothingWhenTheLockCannotBeInitialised) {
  lockFails = true;
  EXPECT_EQ(aclLibInit(), -1);
  EXPECT_THAT(fake().calls(), IsEmpty());
  EXPECT_EQ(aclTraceBufferHandle, 0U);
}

TEST_F(ConnectionTest, InitMayBeCalledAgain) {
  EXPECT_EQ(aclLibInit(), 0);
  const std::uint32_t buffer = aclTraceBufferHandle;
  EXPECT_EQ(aclLibInit(), 0);
  EXPECT_EQ(aclTraceBufferHandle, buffer);
  EXPECT_EQ(pthread_rwlock_wrlock(&aclPolicyLock), 0);
  EXPECT_EQ(pthread_rwlock_unlock(&aclPolicyLock), 0);
}

TEST_F(ConnectionTest, PolicyLockIsUsableWithoutInit) {
  EXPECT_EQ(pthread_rwlock_rdlock(&aclPolicyLock), 0);
  EXPECT_EQ(pthread_rwlock_unlock(&aclPolicyLock), 0);
}

// ---- aclLibConnect

TEST_F(ConnectionTest, ConnectTakesItsStepsInOrder) {
  fake().setSlot(5);
  fake().queueResults("msgbusInitClient", {0x55});
  EXPECT_EQ(aclLibConnect(callback), 0);
  EXPECT_THAT(fake().calls(),
              ElementsAre(Call::of("evlogInitTraceBuffer", "acl", 10240, 0),
                          Call::of("pktbufAllocPacket", 8128, 32, 1),
                          Call::of("tlvInit", &aclHandle->builder, aclHandle->data, 8128),
                          Call::of("msgbusInitClient", 1, nullptr, 0), Call::of("boardGetSlotSelf"),
                          Call::of("dispatchAddClient", 0x55, "acl", 5, &aclLibCallback, 0)));
}

TEST_F(ConnectionTest, ConnectStoresTheCallbackAndInstallsItsConnectionHandler) {
  EXPECT_EQ(aclLibConnect(callback), 0);
  EXPECT_EQ(aclMsgCallback, &callback);
  EXPECT_EQ(aclConnectionHandler, &aclLibConnectionEvent);
  ASSERT_NE(aclHandle, nullptr);
  EXPECT_EQ(aclHandle->peerId, 0U);
  EXPECT_EQ(aclPeerId, 0U);
  EXPECT_EQ(aclLibSendMsg(0x1002, "x", 1), -1);
}

TEST_F(ConnectionTest, ConnectSetsTheCallbackBeforeItMakesTheHandle) {
  AclMsgCallback callbackThen = nullptr;
  fake().setHook("pktbufAllocPacket", [&] { callbackThen = aclMsgCallback; });
  EXPECT_EQ(aclLibConnect(callback), 0);
  EXPECT_EQ(callbackThen, &callback);
}

TEST_F(ConnectionTest, ConnectSetsCallbackAndHandleBeforeItAsksForAClient) {
  AclMsgCallback callbackThen = nullptr;
  TransHandle *handleThen = nullptr;
  fake().setHook("msgbusInitClient", [&] {
    callbackThen = aclMsgCallback;
    handleThen = aclHandle;
  });
  EXPECT_EQ(aclLibConnect(callback), 0);
  EXPECT_EQ(callbackThen, &callback);
  EXPECT_NE(handleThen, nullptr);
}

TEST_F(ConnectionTest, ConnectGoesOnWhenTheLockCannotBeInitialised) {
  lockFails = true;
  EXPECT_EQ(aclLibConnect(callback), 0);
  EXPECT_THAT(fake().callNames({"evlog*", "dispatch*"}), ElementsAre("dispatchAddClient"));
}

TEST_F(ConnectionTest, ConnectWithoutAClientReturnsMinusOneWithHandleAndCallbackSet) {
  fake().queueResults("msgbusInitClient", {0});
  EXPECT_EQ(aclLibConnect(callback), -1);
  EXPECT_NE(aclHandle, nullptr);
  EXPECT_EQ(aclMsgCallback, &callback);
  EXPECT_EQ(aclConnectionHandler, &aclLibConnectionEvent);
  EXPECT_THAT(fake().callNames({"board*", "dispatch*"}), IsEmpty());
}

TEST_F(ConnectionTest, ConnectWithoutMemoryForTheHandleSucceedsAndSendsReturnMinusOne) {
  {
    const FailAllocation guard(1);
    EXPECT_EQ(aclLibConnect(callback), 0);
  }
  EXPECT_EQ(aclHandle, nullptr);
  EXPECT_EQ(fake().clients().size(), 1U);
  EXPECT_EQ(aclLibSendMsg(0x1002, "x", 1), -1);
}

TEST_F(ConnectionTest, ConnectWithoutMemoryForTheRecordReturnsMinusOne) {
  {
    const FailAllocation guard(2);
    EXPECT_EQ(aclLibConnect(callback), -1);
  }
  EXPECT_NE(aclHandle, nullptr);
  EXPECT_THAT(fake().callNames({"board*", "dispatch*"}), IsEmpty());
}

TEST_F(ConnectionTest, ConnectAsksForMemoryTwice) {
  const FailAllocation guard(3);
  EXPECT_EQ(aclLibConnect(callback), 0);
  EXPECT_EQ(guard.allocationsMade(), 2U);
}

TEST_F(ConnectionTest, ConnectWithoutAPacketSucceedsAndSendsReturnMinusOne) {
  fake().failPacketAllocationsAfter(0);
  EXPECT_EQ(aclLibConnect(callback), 0);
  EXPECT_EQ(aclHandle, nullptr);
  EXPECT_EQ(aclLibSendMsg(0x1002, "x", 1), -1);
}

TEST_F(ConnectionTest, SecondConnectMakesASecondHandleAndForgetsTheFirst) {
  EXPECT_EQ(aclLibConnect(callback), 0);
  TransHandle *first = aclHandle;
  EXPECT_EQ(aclLibConnect(nullptr), 0);
  EXPECT_NE(aclHandle, first);
  EXPECT_EQ(aclMsgCallback, nullptr);
  EXPECT_EQ(fake().clients().size(), 2U);
  transHandleFree(first);
}

// ---- aclLibInitClients

TEST_F(ConnectionTest, InitClientsKeepsThePreviousHandlerWhenGivenNone) {
  EXPECT_EQ(aclLibInitClients(nullptr, handler), 0);
  EXPECT_EQ(aclConnectionHandler, &handler);
  EXPECT_EQ(aclLibInitClients(nullptr, nullptr), 0);
  EXPECT_EQ(aclConnectionHandler, &handler);
}

TEST_F(ConnectionTest, InitClientsIgnoresItsFirstArgument) {
  EXPECT_EQ(aclLibInitClients(reinterpret_cast<void *>(1), handler), 0);
}

TEST_F(ConnectionTest, HandlerIsInstalledEvenWhenThereIsNoClient) {
  fake().queueResults("msgbusInitClient", {0});
  EXPECT_EQ(aclLibInitClients(nullptr, handler), -1);
  EXPECT_EQ(aclConnectionHandler, &handler);
}

TEST_F(ConnectionTest, ClientRecordHas164BytesOfStatedContent) {
  fake().setSlot(5);
  fake().queueResults("msgbusInitClient", {0x01020304});
  EXPECT_EQ(aclLibInitClients(nullptr, handler), 0);
  ASSERT_EQ(fake().clients().size(), 1U);
  const DispatchClientRecord record = fake().clients()[0];
  EXPECT_EQ(sizeof(record), 164U);
  const Bytes bytes = test_support::copyOf(&record, sizeof(record));
  EXPECT_TRUE(matchesGolden(bytes, "transport/client_record.golden"));
  const std::uint32_t client = 0x01020304;
  EXPECT_EQ(std::memcmp(bytes.data(), &client, 4), 0);
  const DispatchReceiveCallback receiver = aclLibCallback;
  Bytes receiverBytes = test_support::copyOf(&receiver, sizeof(receiver));
  receiverBytes.resize(8);  // the room behind a short pointer is zero
  EXPECT_EQ(std::memcmp(bytes.data() + 56, receiverBytes.data(), 8), 0);
}

TEST_F(ConnectionTest, ClientRecordTakesTheLowByteOfTheSlot) {
  fake().setSlot(0xFFFFFF05);
  EXPECT_EQ(aclLibInitClients(nullptr, handler), 0);
  EXPECT_EQ(fake().clients()[0].slot, 5);
}

TEST_F(ConnectionTest, RefusedRegistrationIsScheduledAgainAndTheCallSucceeds) {
  fake().setResult("dispatchAddClient", -1);
  EXPECT_EQ(aclLibInitClients(nullptr, handler), 0);
  EXPECT_THAT(fake().calls({"dispatchExecuteWorkItem"}),
              ElementsAre(Call::of("dispatchExecuteWorkItem", Argument::anything(),
                                   Argument::anything(), nullptr, "{1, 0}", 1)));
}

TEST_F(ConnectionTest, RegistrationIsRepeatedEverySecondWithTheSameRecordUntilItIsTaken) {
  fake().queueResults("dispatchAddClient", {-1, 1, -1});
  EXPECT_EQ(aclLibInitClients(nullptr, handler), 0);
  const auto first = fake().pendingWork();
  ASSERT_EQ(first.size(), 1U);
  EXPECT_EQ(fake().advanceTime(0, 999999), 0U);
  EXPECT_EQ(fake().advanceTime(0, 1), 1U);
  const auto second = fake().pendingWork();
  ASSERT_EQ(second.size(), 1U);
  EXPECT_EQ(second[0].routine, first[0].routine);
  EXPECT_EQ(second[0].argument1, first[0].argument1);
  EXPECT_EQ(second[0].argument2, nullptr);
  EXPECT_EQ(second[0].dueIn, 1000000U);
  EXPECT_EQ(second[0].runsLeft, 1U);
  EXPECT_EQ(fake().advanceTime(5), 2U);
  EXPECT_EQ(fake().clients().size(), 1U);
  EXPECT_THAT(fake().pendingWork(), IsEmpty());
  EXPECT_EQ(fake().calls({"dispatchAddClient"}).size(), 4U);
  EXPECT_EQ(fake().calls({"msgbusInitClient"}).size(), 1U);
}

TEST_F(ConnectionTest, RegistrationThatCannotBeScheduledAgainIsGivenUp) {
  fake().queueResults("dispatchAddClient", {-1});
  fake().queueResults("dispatchExecuteWorkItem", {0});
  EXPECT_EQ(aclLibInitClients(nullptr, handler), 0);
  EXPECT_EQ(fake().advanceTime(5), 0U);
  EXPECT_THAT(fake().clients(), IsEmpty());
}

// ---- Connection events

TEST_F(ConnectionTest, ConnectedEventSetsThePeersOptionsAndThenThePeer) {
  connectHandle();
  transHandleSetPeer(aclHandle, 0);
  std::uint32_t peerWhileSettingOptions = 1;
  fake().setHook("msgbusSetPeerOption", [&] { peerWhileSettingOptions = aclHandle->peerId; });
  EXPECT_EQ(aclLibConnectionEvent(kPeer, kConnected), 0);
  EXPECT_THAT(fake().calls(), ElementsAre(Call::of("msgbusSetPeerOption", kPeer, 2, 1),
                                          Call::of("msgbusSetPeerOption", kPeer, 8, 2),
                                          Call::of("msgbusSetPeerOption", kPeer, 3, 100000)));
  EXPECT_EQ(peerWhileSettingOptions, 0U);
  EXPECT_EQ(aclHandle->peerId, kPeer);
  EXPECT_EQ(aclHandle->connected, 1);
}

TEST_F(ConnectionTest, ConnectedEventSetsThePeerEvenWhenItsOptionsAreRefused) {
  connectHandle();
  fake().setResult("msgbusSetPeerOption", -1);
  EXPECT_EQ(aclLibConnectionEvent(9, kConnected), 0);
  EXPECT_EQ(aclHandle->peerId, 9U);
}

TEST_F(ConnectionTest, ConnectedEventWithoutAHandleDoesNothing) {
  EXPECT_EQ(aclLibConnectionEvent(kPeer, kConnected), 0);
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(ConnectionTest, OtherEventsReturnTheConnectedEventAndDoNothing) {
  connectHandle();
  for (const std::int32_t event : {kLost, 0, 121, -120, -122, -111}) {
    EXPECT_EQ(aclLibConnectionEvent(9, event), kConnected) << event;
  }
  EXPECT_THAT(fake().calls(), IsEmpty());
  EXPECT_EQ(aclHandle->peerId, kPeer);
}

TEST_F(ConnectionTest, LossLeavesTheHandleAbleToSendToItsOldPeer) {
  startConnected(callback);
  fake().deliverEvent(kPeer, kLost);
  EXPECT_EQ(aclPeerId, 0U);
  EXPECT_EQ(aclHandle->peerId, kPeer);
  EXPECT_EQ(aclLibSendMsg(0x1002, "ab", 2), 0);
  EXPECT_THAT(sentBodies(), ElementsAre(bytesOf("ab")));
}

TEST_F(ConnectionTest, ReconnectionGivesTheHandleItsNewPeer) {
  startConnected(callback);
  fake().losePeer(kPeer);
  EXPECT_EQ(aclLibSendMsg(0x1002, "ab", 2), -1);
  fake().connectPeer("acl", 12);
  EXPECT_EQ(aclPeerId, 12U);
  EXPECT_EQ(aclHandle->peerId, 12U);
  EXPECT_EQ(aclLibSendMsg(0x1002, "ab", 2), 0);
  EXPECT_EQ(fake().sentPackets()[0].peer, 12U);
}

// ---- Small operations

TEST_F(ConnectionTest, SetPeerOptionsReturnsTheLastResultOnly) {
  fake().queueResults("msgbusSetPeerOption", {-1, -5, 3});
  EXPECT_EQ(aclSetPeerOptions(kPeer), 3);
  fake().queueResults("msgbusSetPeerOption", {0, 0, -1});
  EXPECT_EQ(aclSetPeerOptions(kPeer), -1);
  EXPECT_EQ(fake().calls().size(), 6U);
}

TEST_F(ConnectionTest, ClosePeerDeregistersTheManagersPeer) {
  aclPeerId = 41;
  fake().queueResults("msgbusDeregisterPeer", {0});
  EXPECT_EQ(aclClosePeer(), 0);
  EXPECT_THAT(fake().calls(), ElementsAre(Call::of("msgbusDeregisterPeer", 41)));
}

TEST_F(ConnectionTest, ClosePeerReturnsZeroWhateverHappened) {
  fake().queueResults("msgbusDeregisterPeer", {-1, -115});
  EXPECT_EQ(aclClosePeer(), 0);
  EXPECT_EQ(aclClosePeer(), 0);
  EXPECT_THAT(fake().calls(), ElementsAre(Call::of("msgbusDeregisterPeer", 0),
                                          Call::of("msgbusDeregisterPeer", 0)));
}

TEST_F(ConnectionTest, QueueSizeIsZeroBeforeConnect) {
  EXPECT_EQ(aclLibPeerIdCurrentQueueSize(), 0);
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(ConnectionTest, QueueSizeIsThatOfTheHandlesPeer) {
  connectHandle();
  aclPeerId = 41;
  fake().queueResults("msgbusGetVqStatsCount", {0, 17, INT32_MAX});
  EXPECT_EQ(aclLibPeerIdCurrentQueueSize(), 0);
  EXPECT_EQ(aclLibPeerIdCurrentQueueSize(), 17);
  EXPECT_EQ(aclLibPeerIdCurrentQueueSize(), INT32_MAX);
  EXPECT_EQ(fake().calls()[0], Call::of("msgbusGetVqStatsCount", kPeer));
}

TEST_F(ConnectionTest, QueueWhoseSizeCannotBeToldReadsAsFull) {
  connectHandle();
  fake().queueResults("msgbusGetVqStatsCount", {-1, INT32_MIN});
  EXPECT_EQ(aclLibPeerIdCurrentQueueSize(), 100000);
  EXPECT_EQ(aclLibPeerIdCurrentQueueSize(), 100000);
}

}  // namespace
