#include <csignal>
#include <cstring>
#include <limits>
#include <memory>

#include "tests/acl_lib/library_test.h"

namespace {

using namespace acl_test;

constexpr std::int32_t kConnected = -121;
constexpr std::int32_t kLost = -112;

constexpr std::uint16_t kReply = 0x1003;

// What callbacks and handlers of these tests have been told.
struct HandlerCall {
  std::uint32_t peer;
  std::int32_t event;
  std::uint32_t peerIdThen;
  std::size_t statesReportedThen;
  bool operator==(const HandlerCall &) const = default;
};
std::vector<HandlerCall> handlerCalls;
std::vector<std::uint16_t> codes;
std::vector<void *> bodies;

std::int32_t handler(std::uint32_t peer, std::int32_t event) {
  handlerCalls.push_back({peer, event, aclPeerId, fake().reportedStates().size()});
  return 0;
}

void callback(void *body) {
  const auto *bytes = static_cast<const unsigned char *>(body);
  codes.push_back(static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]));
  bodies.push_back(body);
}

class MessageHandlerTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    handlerCalls.clear();
    codes.clear();
    bodies.clear();
    aclMsgCallback = callback;
  }

  // A packet as the message bus hands it over, owned by the test.
  static PktBuf *packetOf(const Bytes &bytes) {
    PktBuf *packet = pktbufAllocPacket(static_cast<std::uint32_t>(bytes.size()), 0, 0);
    std::ranges::copy(bytes, reinterpret_cast<std::byte *>(packet->data));
    return packet;
  }

  // Receives one message from the manager, in a packet without a spare byte.
  static void receive(const Bytes &message) {
    if (fake().clients().empty()) {
      aclLibInitClients(nullptr, nullptr);
      fake().connectPeer("acl", kPeer);
    }
    fake().deliver(kPeer, message);
  }

  static Bytes reply(const Bytes &body) { return swplat_fake::object(kReply, body); }
};

using MessageHandlerDeathTest = MessageHandlerTest;

// ---- Connection events

TEST_F(MessageHandlerTest, ConnectedEventTakesItsStepsInOrder) {
  aclConnectionHandler = handler;
  aclLibCallback(1, nullptr, kPeer, nullptr, kConnected);
  EXPECT_THAT(fake().calls(), ElementsAre(Call::of("msgbusSetPeerOption", kPeer, 8, 2),
                                          Call::of("procmonSetState", "acl", 2),
                                          Call::of("procmonSetState", "acl", 3)));
  EXPECT_THAT(handlerCalls, ElementsAre(HandlerCall{kPeer, kConnected, kPeer, 0}));
  EXPECT_EQ(aclPeerId, kPeer);
}

TEST_F(MessageHandlerTest, ConnectedEventAfterStartUpSetsAllOptionsAndThePeer) {
  startConnected(callback);
  EXPECT_THAT(
      fake().calls({"msgbusSetPeerOption", "procmonSetState"}),
      ElementsAre(Call::of("msgbusSetPeerOption", kPeer, 8, 2),
                  Call::of("msgbusSetPeerOption", kPeer, 2, 1),
                  Call::of("msgbusSetPeerOption", kPeer, 8, 2),
                  Call::of("msgbusSetPeerOption", kPeer, 3, 100000),
                  Call::of("procmonSetState", "acl", 2), Call::of("procmonSetState", "acl", 3)));
  EXPECT_EQ(aclPeerId, kPeer);
  EXPECT_EQ(aclHandle->peerId, kPeer);
}

TEST_F(MessageHandlerTest, ConnectedEventWithoutAHandlerIsReportedAllTheSame) {
  aclLibCallback(1, nullptr, kPeer, nullptr, kConnected);
  EXPECT_EQ(aclPeerId, kPeer);
  EXPECT_EQ(fake().reportedStates().size(), 2U);
}

TEST_F(MessageHandlerTest, LossClearsThePeerTellsTheHandlerAndReportsStateOne) {
  aclConnectionHandler = handler;
  aclPeerId = kPeer;
  aclLibCallback(1, nullptr, kPeer, nullptr, kLost);
  EXPECT_EQ(aclPeerId, 0U);
  EXPECT_THAT(handlerCalls, ElementsAre(HandlerCall{0, kLost, 0, 0}));
  EXPECT_THAT(fake().calls(), ElementsAre(Call::of("procmonSetState", "acl", 1)));
}

TEST_F(MessageHandlerTest, LossWithoutAHandlerIsReportedAllTheSame) {
  aclPeerId = kPeer;
  aclLibCallback(1, nullptr, kPeer, nullptr, kLost);
  EXPECT_EQ(aclPeerId, 0U);
  EXPECT_THAT(fake().calls(), ElementsAre(Call::of("procmonSetState", "acl", 1)));
}

std::uint32_t lostPeer;
PktBuf *lostBuffer;
std::int32_t handlerOfFour(std::uint32_t peer, std::int32_t event, std::uint32_t lost,
                           PktBuf *buffer) {
  handlerCalls.push_back({peer, event, aclPeerId, 0});
  lostPeer = lost;
  lostBuffer = buffer;
  return 0;
}

TEST_F(MessageHandlerTest, HandlerWithFourArgumentsSeesThePeerAndTheBufferOfALoss) {
  auto *anyFunction = reinterpret_cast<void (*)()>(handlerOfFour);
  aclConnectionHandler = reinterpret_cast<AclConnectionHandler>(anyFunction);
  PktBuf *buffer = packetOf({});
  aclLibCallback(1, nullptr, kPeer, buffer, kLost);
  EXPECT_THAT(handlerCalls, ElementsAre(HandlerCall{0, kLost, 0, 0}));
  EXPECT_EQ(lostPeer, kPeer);
  EXPECT_EQ(lostBuffer, buffer);
  pktbufFree(buffer);
}

TEST_F(MessageHandlerTest, EventsOfOtherKindsOfClientsAreIgnored) {
  aclConnectionHandler = handler;
  aclPeerId = kPeer;
  for (const std::int32_t event : {-111, -999}) {
    aclLibCallback(1, nullptr, 9, nullptr, event);
  }
  EXPECT_THAT(fake().calls(), IsEmpty());
  EXPECT_THAT(handlerCalls, IsEmpty());
  EXPECT_EQ(aclPeerId, kPeer);
}

TEST_F(MessageHandlerDeathTest, AnyOtherLengthBelowOneAborts) {
  for (const std::int32_t length :
       {0, -1, -110, -113, -120, -122, -998, -1000, std::numeric_limits<std::int32_t>::min()}) {
    EXPECT_EXIT(aclLibCallback(1, nullptr, kPeer, nullptr, length),
                testing::KilledBySignal(SIGABRT), "")
        << length;
  }
}

// ---- Messages

TEST_F(MessageHandlerTest, ReplyReachesTheCallbackAndThePacketIsFreedAfterwards) {
  PktBuf *packet = packetOf(reply(hex("3005 0000 abcd")));
  const std::uint8_t *body = packet->data + 4;
  std::size_t freedThen = 1;
  fake().setHook("pktbufFree", [&] { freedThen = codes.size(); });
  aclLibCallback(1, nullptr, kPeer, packet, 10);
  EXPECT_THAT(codes, ElementsAre(0x3005));
  EXPECT_EQ(bodies[0], body);
  EXPECT_EQ(freedThen, 1U);
  EXPECT_EQ(fake().calls({"pktbufFree"}).size(), 1U);
}

TEST_F(MessageHandlerTest, EveryReplyOfAMessageReachesTheCallbackInOrder) {
  receive(join(reply(hex("3005 0000")), reply(hex("3006 0001 ff")), reply(hex("2000 0000"))));
  EXPECT_THAT(codes, ElementsAre(0x3005, 0x3006, 0x2000));
}

TEST_F(MessageHandlerTest, CallbackSeesTheBytesOfTheBody) {
  static Bytes seen;
  aclMsgCallback = [](void *body) { seen = test_support::copyOf(body, 6); };
  receive(reply(hex("3005 fffe 0102")));
  EXPECT_EQ(seen, hex("3005 fffe 0102"));
}

TEST_F(MessageHandlerTest, ObjectsOfOtherTypesAreSkipped) {
  receive(join(swplat_fake::object(0x1002, hex("3005 0000")),
               swplat_fake::object(0x1004, hex("3006 0000")), reply(hex("3016 0000")),
               swplat_fake::object(0, hex("3017 0000"))));
  EXPECT_THAT(codes, ElementsAre(0x3016));
}

TEST_F(MessageHandlerTest, ObjectsTooShortForACodeAreSkipped) {
  receive(join(reply({}), reply(hex("30")), reply(hex("3005")), reply(hex("3006 0000"))));
  EXPECT_THAT(codes, ElementsAre(0x3005, 0x3006));
}

// A message in a heap block of exactly its size, where reading on would be noticed.
TEST_F(MessageHandlerTest, RepliesOfTwoAndThreeBytesAreContinuedWithZerosOutsideTheMessage) {
  static std::vector<Bytes> seen;
  seen.clear();
  aclMsgCallback = [](void *body) {
    seen.push_back(test_support::copyOf(body, 4));
    std::memset(body, 0xFF, 4);
  };
  for (const Bytes &message : {hex("1003 0002 3005"), hex("1003 0003 3005 fe")}) {
    const auto block = std::make_unique<std::byte[]>(message.size());
    std::ranges::copy(message, block.get());
    const auto length = static_cast<std::uint32_t>(message.size());
    PktBuf packet{};
    packet.data = reinterpret_cast<std::uint8_t *>(block.get());
    packet.length = packet.capacity = length;
    aclMsgHandler(kPeer, &packet, static_cast<std::int32_t>(length), &packet);
    EXPECT_EQ(test_support::copyOf(block.get(), message.size()), message);
  }
  EXPECT_THAT(seen, ElementsAre(hex("3005 0000"), hex("3005 fe00")));
}

TEST_F(MessageHandlerTest, ReplyOfFourBytesIsHandedOverWhereItLies) {
  PktBuf *packet = packetOf(reply(hex("3005 0000")));
  aclMsgHandler(kPeer, packet, 8, packet);
  EXPECT_THAT(bodies, ElementsAre(packet->data + 4));
  pktbufFree(packet);
}

TEST_F(MessageHandlerTest, WithoutACallbackRepliesAreReadAndThePacketIsFreed) {
  aclMsgCallback = nullptr;
  receive(join(reply(hex("3005 0000")), reply(hex("3006 0000"))));
  EXPECT_EQ(fake().calls({"pktbufFree"}).size(), 1U);
  EXPECT_EQ(fake().calls({"tlvGetObject"}).size(), 3U);
}

TEST_F(MessageHandlerTest, CallbackTakenAwayBetweenTwoRepliesIsNotCalledAgain) {
  aclMsgCallback = [](void *body) {
    callback(body);
    aclMsgCallback = nullptr;
  };
  receive(join(reply(hex("3005 0000")), reply(hex("3006 0000"))));
  EXPECT_THAT(codes, ElementsAre(0x3005));
}

TEST_F(MessageHandlerTest, CallbackMaySend) {
  startConnected([](void *) { aclLibSendMsg(0x1002, "again", 5); });
  fake().deliver(kPeer, reply(hex("3005 0000")));
  EXPECT_THAT(sentBodies(), ElementsAre(bytesOf("again")));
}

TEST_F(MessageHandlerTest, HandlerIgnoresANullBuffer) {
  aclMsgHandler(kPeer, nullptr, 100, nullptr);
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(MessageHandlerTest, NullPacketOfAMessageIsIgnored) {
  aclLibCallback(1, nullptr, kPeer, nullptr, 100);
  EXPECT_THAT(codes, IsEmpty());
}

TEST_F(MessageHandlerTest, HandlerIgnoresLengthsBelowOne) {
  PktBuf *packet = packetOf(reply(hex("3005 0000")));
  for (const std::int32_t length : {0, -1, kConnected, kLost}) {
    aclMsgHandler(kPeer, packet, length, packet);
  }
  EXPECT_THAT(codes, IsEmpty());
  pktbufFree(packet);
}

TEST_F(MessageHandlerTest, HandlerDoesNotFreeTheBuffer) {
  PktBuf *packet = packetOf(reply(hex("3005 0000")));
  aclMsgHandler(kPeer, packet, 8, packet);
  EXPECT_THAT(codes, ElementsAre(0x3005));
  EXPECT_THAT(fake().calls({"pktbufFree"}), IsEmpty());
  pktbufFree(packet);
}

TEST_F(MessageHandlerTest, NothingBehindTheStatedLengthIsRead) {
  PktBuf *packet = packetOf(join(reply(hex("3005 0000")), reply(hex("3006 0000"))));
  for (const std::int32_t length : {8, 9, 11, 12, 15}) {
    codes.clear();
    aclMsgHandler(kPeer, packet, length, packet);
    EXPECT_THAT(codes, ElementsAre(0x3005)) << length;
  }
  pktbufFree(packet);
}

TEST_F(MessageHandlerTest, BrokenObjectsEndTheMessage) {
  const Bytes whole = join(reply(hex("3005 0000")), reply(hex("3006 0000 0102")));
  for (std::size_t length = 1; length <= whole.size(); ++length) {
    codes.clear();
    receive(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    const std::size_t expected = (length >= 8 ? 1U : 0U) + (length == whole.size() ? 1U : 0U);
    EXPECT_EQ(codes.size(), expected) << length;
  }
}

TEST_F(MessageHandlerTest, PaddingOfTheLastObjectMayBeMissing) {
  Bytes message = join(reply(hex("3005 00")), reply(hex("3006 00")));
  message.pop_back();
  receive(message);
  EXPECT_THAT(codes, ElementsAre(0x3005, 0x3006));
}

TEST_F(MessageHandlerTest, ReceivingNeedsNoMemory) {
  static unsigned received;
  received = 0;
  aclMsgCallback = [](void *) { ++received; };
  PktBuf *packet = packetOf(join(reply(hex("3005 0000")), reply(hex("3006"))));
  {
    const FailAllocation guard(1);
    aclLibCallback(1, nullptr, kPeer, packet, 14);
    EXPECT_FALSE(guard.failed());
  }
  EXPECT_EQ(received, 2U);
}

}  // namespace
