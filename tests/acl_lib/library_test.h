// What tests of the library on the fake platform share: a library as it is after loading.
#ifndef TESTS_ACL_LIB_LIBRARY_TEST_H
#define TESTS_ACL_LIB_LIBRARY_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "acl_lib.h"
#include "swplat_fake/fake_platform.h"
#include "tests/support/bytes.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/golden.h"
#include "tests/support/output_capture.h"

namespace acl_test {

using swplat_fake::Argument;
using swplat_fake::Call;
using swplat_fake::fake;
using test_support::Bytes;
using test_support::bytesOf;
using test_support::FailAllocation;
using test_support::hex;
using test_support::join;
using test_support::matchesGolden;
using test_support::OutputCapture;
using testing::ElementsAre;
using testing::IsEmpty;

// The ACL manager's peer in these tests.
inline constexpr std::uint32_t kPeer = 7;

// Before each test the platform and the library's globals are as after loading. After it nothing
// may be left over, and the platform must not have been misused.
class LibraryTest : public testing::Test {
 protected:
  void SetUp() override {
    fake().reset();
    forgetGlobals();
  }

  void TearDown() override {
    takePendingRegistration();
    transHandleFree(aclHandle);
    forgetGlobals();
    EXPECT_THAT(fake().violations(), IsEmpty());
    EXPECT_EQ(fake().livePackets(), 0U);
  }

  // Gives the library a handle that is connected to kPeer, without start-up.
  static void connectHandle() {
    fake().addPeer(kPeer);
    aclHandle = transHandleCreate();
    transHandleSetPeer(aclHandle, kPeer);
    fake().forgetCalls();
  }

  // The values of the requests that have been sent.
  static std::vector<Bytes> sentBodies() {
    std::vector<Bytes> bodies;
    for (const swplat_fake::SentObject &object : fake().sentObjects()) {
      EXPECT_EQ(object.type, 0x1002);
      EXPECT_EQ(object.peer, kPeer);
      bodies.push_back(object.value);
    }
    return bodies;
  }

  // The lengths of the packets that have been sent.
  static std::vector<std::size_t> sentPacketLengths() {
    std::vector<std::size_t> lengths;
    for (const swplat_fake::SentPacket &packet : fake().sentPackets()) {
      lengths.push_back(packet.bytes.size());
    }
    return lengths;
  }

  // Starts the library, and connects it to kPeer.
  static void startConnected(AclMsgCallback callback) {
    ASSERT_EQ(aclLibConnect(callback), 0);
    fake().connectPeer("acl", kPeer);
  }

 private:
  static void forgetGlobals() {
    aclHandle = nullptr;
    aclPeerId = 0;
    aclConnectionHandler = nullptr;
    aclMsgCallback = nullptr;
    aclTraceBufferHandle = 0;
    aclState = nullptr;
    aclLibDeleteRule(nullptr);
    aclLibDebug = 0;
    aclLibSyncConfigService = 0;
    aclLibSyncConfigPeerId = 0;
    _evlog_ACL_ComponentHandle = 0;
    aclReqSeqCounter = 0;
    forgetApplications();
    aclPolicyTree = nullptr;
  }

  // Applications live as long as the process; their requests wait until they are answered.
  static void forgetApplications() {
    AclApplInfo *application = gaclApplReqList.first;
    if (application == nullptr) return;
    gaclApplReqList.first = nullptr;
    application->prev->next = nullptr;
    while (application != nullptr) {
      while (AclApplReq *request = aclFindFirstApplReq(application)) {
        aclDeleteApplReq(request, application);
        std::free(request);
      }
      std::free(std::exchange(application, application->next));
    }
  }

  // A registration that the dispatcher has not taken yet owns memory.
  static void takePendingRegistration() {
    fake().clearResult("dispatchAddClient");
    fake().advanceTime(1);
  }
};

// A policy as a caller may keep one itself, with `encodedLength` bytes of rules.
class OwnPolicy {
 public:
  explicit OwnPolicy(std::size_t encodedLength, const std::string &name = "edge-in")
      : rules_(encodedLength) {
    for (std::size_t i = 0; i < encodedLength; ++i) {
      rules_[i] = static_cast<std::uint8_t>(0xF1 + i % 251);
    }
    name.copy(policy_.policyName, sizeof(policy_.policyName) - 1);
    policy_.usedSize = static_cast<std::uint32_t>(encodedLength);
    policy_.bufferSize = policy_.usedSize;
    policy_.ruleBuffer = rules_.data();
    policy_.selfCheck = &policy_;
  }
  OwnPolicy(const OwnPolicy &) = delete;
  OwnPolicy &operator=(const OwnPolicy &) = delete;

  AclPolicyHandle handle() { return reinterpret_cast<AclPolicyHandle>(&policy_); }
  AclPolicy *operator->() { return &policy_; }

  // The encoded bytes from `offset` on.
  Bytes rules(std::size_t offset, std::size_t length) const {
    return test_support::copyOf(rules_.data() + offset, length);
  }

 private:
  std::vector<std::uint8_t> rules_;
  AclPolicy policy_{};
};

// A request header of a caller: byte n is n mod 256.
inline std::vector<std::uint8_t> callersHeader() {
  std::vector<std::uint8_t> header(592);
  for (std::size_t i = 0; i < header.size(); ++i) header[i] = static_cast<std::uint8_t>(i);
  return header;
}

// A big-endian number inside a body.
inline std::uint32_t wordAt(const Bytes &body, std::size_t offset) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    value = value << 8 | std::to_integer<std::uint32_t>(body.at(offset + i));
  }
  return value;
}

inline std::uint16_t codeOf(const Bytes &body) {
  return static_cast<std::uint16_t>(wordAt(body, 0) >> 16);
}

// A send function that keeps what it is given. Calls are kept for one test at a time.
class RecordingSend {
 public:
  struct Request {
    std::uint16_t type;
    std::uint16_t length;
    const void *address;
    Bytes body;
  };

  // `result` is what every call returns.
  explicit RecordingSend(std::int32_t result = 0) {
    requests().clear();
    resultOfSend() = result;
  }

  static std::int32_t send(std::uint16_t type, const void *body, std::uint16_t length) {
    const test_support::AllocationExemption exemption;
    requests().push_back({type, length, body, test_support::copyOf(body, length)});
    return resultOfSend();
  }

  static std::vector<Request> &requests() {
    static std::vector<Request> all;
    return all;
  }

 private:
  static std::int32_t &resultOfSend() {
    static std::int32_t result = 0;
    return result;
  }
};

}  // namespace acl_test

#endif  // TESTS_ACL_LIB_LIBRARY_TEST_H
