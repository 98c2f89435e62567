// What tests of requests to the manager share: bytes, trace lines and results of one call.
#ifndef TESTS_ACL_LIB_REQUEST_TEST_H
#define TESTS_ACL_LIB_REQUEST_TEST_H

#include <algorithm>
#include <cstring>
#include <utility>

#include "tests/acl_lib/library_test.h"

namespace acl_test {

inline constexpr char kNameOf40[] = "abcdefghijklmnopqrstuvwxyz0123456789ABCD";
inline constexpr char kOtherNameOf40[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ9876543210abcd";

// Numbers that fill their fields, with four different bytes: what is cut or shifted on the way
// shows.
inline constexpr std::uint32_t kWideApplication = 0x8A0B0C0D;
inline constexpr std::uint32_t kWidePort = 0x9A1B2C3D;  // 27:11325
inline constexpr std::int32_t kWideVlan = -236792892;   // 0xF1E2D3C4

// Exactly 32 characters with nothing behind them: whoever reads further leaves the block.
class UnendedName {
 public:
  explicit UnendedName(const char *text) : characters_(text, text + 32) {}
  const char *data() const { return characters_.data(); }

 private:
  std::vector<char> characters_;
};

// A 33-byte field of a record that a name of 40 characters fills without an end.
template <std::size_t Width>
void fillName(char (&field)[Width], const char *name) {
  std::memcpy(field, name, Width);
}

// Exactly 816 bytes; byte n is n mod 256.
inline std::vector<std::uint8_t> encodedRule() {
  std::vector<std::uint8_t> rule(816);
  for (std::size_t i = 0; i < rule.size(); ++i) rule[i] = static_cast<std::uint8_t>(i);
  return rule;
}

// A binding whose unused bytes are not zero.
inline AclDynRuleRecord dynamicRule() {
  AclDynRuleRecord record;
  std::memset(&record, 0xEE, sizeof(record));
  record.appId = 2;
  record.ruleFlags = 0x11223344;
  std::memcpy(record.ruleName, "dyn-1", 6);
  std::memcpy(record.relativeRuleName, "dyn-0", 6);
  record.priority = -5;
  record.ruleKind = 0x6B;
  record.port = 0x00030011;
  record.vlan = 100;
  record.direction = 1;
  record.bindAttr = 0xA1B2;
  record.bindFlags = 0xC3D4E5F6;
  record.bindCookie = 0x0A0B0C0D;
  return record;
}

// The same with names and numbers that fill their fields.
inline AclDynRuleRecord wideDynamicRule() {
  AclDynRuleRecord record = dynamicRule();
  record.appId = kWideApplication;
  record.priority = -506281035;  // 0xE1D2C3B5
  record.port = kWidePort;
  record.vlan = kWideVlan;
  record.direction = 0x97;
  fillName(record.ruleName, kNameOf40);
  fillName(record.relativeRuleName, kOtherNameOf40);
  return record;
}

// A record all of whose bytes are 0xFF, and which has its names: what is copied too far shows.
inline AclDynRuleRecord fullDynamicRule() {
  AclDynRuleRecord record;
  std::memset(&record, 0xFF, sizeof(record));
  fillName(record.ruleName, kNameOf40);
  fillName(record.relativeRuleName, kNameOf40);
  return record;
}

// Where a field lies in a body.
struct FieldPlace {
  std::size_t offset, width;
};

// Tells whether every byte of a body is zero that lies in none of the fields.
inline testing::AssertionResult isZeroBeside(const std::vector<FieldPlace> &fields, Bytes body) {
  for (const auto &[offset, width] : fields) {
    std::fill_n(body.begin() + static_cast<std::ptrdiff_t>(offset), width, std::byte{0});
  }
  const auto other =
      std::ranges::find_if(body, [](std::byte byte) { return byte != std::byte{0}; });
  if (other == body.end()) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "byte " << other - body.begin() << " is not zero";
}

// Application ids and the names that traces show for them.
inline const std::vector<std::pair<std::uint32_t, std::string>> &applicationNames() {
  static const std::vector<std::pair<std::uint32_t, std::string>> names = {
      {0, "Other"},
      {1, "IGMP-Snooping"},
      {2, "Access-Control"},
      {3, "MLD-Snooping"},
      {4, "QoS"},
      {5, "DHCP-Snooping"},
      {6, "ARP-Inspection"},
      {7, "IP-Source-Guard"},
      {8, "RA-Guard"},
      {9, "Policing"},
      {10, "LLDP"},
      {11, "Routing-Policy"},
      {12, "Spanning-Tree"},
      {13, "802.1X"},
      {14, "MAC-Authentication"},
      {15, "LACP"},
      {16, "VRRP"},
      {17, "OSPF"},
      {18, "BGP"},
      {19, "Web-Authentication"},
      {20, "Port-Security"},
      {21, "Storm-Control"},
      {22, "Multicast-Routing"},
      {23, "Mirroring"},
      {24, "BFD"},
      {25, "Flow-Sampling"},
      {26, "VXLAN"},
      {27, "Connectivity-Fault-Management"},
      {28, "Precision-Time"},
      {29, "Other"},
      {30, "Other"},
      {0xFFFF, "Other"},
      {0xFFFFFFFF, "Other"},
  };
  return names;
}

// The library with a handle connected to kPeer, and with a trace buffer.
class RequestTest : public LibraryTest {
 protected:
  static constexpr std::uint32_t kTraceBuffer = 0x77;

  void SetUp() override {
    LibraryTest::SetUp();
    connectHandle();
    aclTraceBufferHandle = kTraceBuffer;
  }

  // Tells whether the tested call returns 0 and sends one request, which looks like the vector.
  template <typename TestedCall>
  static testing::AssertionResult sends(TestedCall call, const std::string &vector) {
    fake().forgetCalls();
    if (const std::int32_t result = call(); result != 0) {
      return testing::AssertionFailure() << "result " << result;
    }
    const std::vector<Bytes> bodies = sentBodies();
    if (bodies.size() != 1) return testing::AssertionFailure() << bodies.size() << " requests";
    return matchesGolden(bodies[0], vector);
  }

  // Expects a refusal that leaves no trace of any kind.
  template <typename TestedCall>
  static void expectRefusal(TestedCall call, std::int32_t result) {
    fake().forgetCalls();
    EXPECT_EQ(call(), result);
    EXPECT_THAT(fake().calls(), IsEmpty());
  }

  // Expects `call(id)` to trace the application's name between " " and `text`, for every id.
  template <typename TestedCall>
  static void expectTraceOfEveryApplication(TestedCall call, const std::string &text) {
    for (const auto &[id, name] : applicationNames()) {
      fake().forgetCalls();
      call(id);
      std::string line = " ";
      line += name;
      line += text;
      EXPECT_THAT(fake().traceLines(), ElementsAre(swplat_fake::TraceLine{kTraceBuffer, 7, line}));
    }
  }

  template <typename TestedCall>
  static std::vector<std::string> traceOf(TestedCall call) {
    fake().forgetCalls();
    call();
    return fake().traceTexts();
  }

  // Expects the line to be traced first, also where the send fails.
  template <typename TestedCall>
  static void expectTraceBeforeSend(TestedCall call) {
    fake().forgetCalls();
    call();
    EXPECT_THAT(fake().callNames({"Sprintf", "evlog*", "msgbus*"}),
                ElementsAre("Sprintf", "evlogTraceLog", "msgbusSend"));
    fake().forgetCalls();
    transHandleSetPeer(aclHandle, 0);
    call();
    EXPECT_THAT(fake().callNames({"evlog*", "msgbus*"}), ElementsAre("evlogTraceLog"));
    transHandleSetPeer(aclHandle, kPeer);
  }

  // A result of the message bus, and what the tested call makes of it.
  using Outcome = std::pair<std::int32_t, std::int32_t>;

  template <typename TestedCall>
  static void expectOutcomes(TestedCall call, const std::vector<Outcome> &outcomes) {
    for (const auto &[sent, expected] : outcomes) {
      fake().queueResults("msgbusSend", {sent});
      PktBuf *packet = aclHandle->packet;
      EXPECT_EQ(call(), expected) << "after " << sent;
      // The fake takes packets on success only, and the library frees those it knows to be refused.
      const bool refused = sent == -1 || sent == -115;
      const bool taken = sent >= 0 || sent == -116;
      if (!refused && !taken) pktbufFree(packet);
    }
  }

  // The results of aclLibSendMsg() as they are.
  template <typename TestedCall>
  static void expectResultsOfTheSend(TestedCall call) {
    expectOutcomes(call, {{40, 0}, {0, 0}, {-1, -1}, {-115, -115}, {-116, 0}, {-113, -113}});
    expectResultsWithoutAConnection(call);
  }

  template <typename TestedCall>
  static void expectResultsWithoutAConnection(TestedCall call) {
    transHandleSetPeer(aclHandle, 0);
    EXPECT_EQ(call(), -1);
    transHandleSetPeer(aclHandle, kPeer);
    TransHandle *handle = aclHandle;
    aclHandle = nullptr;
    EXPECT_EQ(call(), -1);
    aclHandle = handle;
  }

  // Expects the second of two calls to need no memory but its packet.
  template <typename TestedCall>
  static void expectNoAllocations(TestedCall call) {
    call();
    const FailAllocation guard(1);
    call();
    EXPECT_FALSE(guard.failed());
  }
};

}  // namespace acl_test

#endif  // TESTS_ACL_LIB_REQUEST_TEST_H
