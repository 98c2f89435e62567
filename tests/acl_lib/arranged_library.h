// A library with something of everything in it, for tests that run any of its calls.
#ifndef TESTS_ACL_LIB_ARRANGED_LIBRARY_H
#define TESTS_ACL_LIB_ARRANGED_LIBRARY_H

#include <array>
#include <utility>

#include "acl_lib/encoding/policy_handle.h"
#include "tests/acl_lib/library_state.h"
#include "tests/acl_lib/request_test.h"

namespace acl_test {

// The application that has requests pending, and one that has none.
inline constexpr std::uint32_t kWaitingApplication = 4;
inline constexpr std::uint32_t kNewApplication = 9;

// The rule that is open.
inline constexpr std::uint32_t kRule = 1;

// Brings the library, which is as after loading and has a connected handle, into a state in which
// every call has something to do; and what is left of it to an end.
class ArrangedLibrary {
 public:
  ArrangedLibrary() {
    aclTraceBufferHandle = 0x77;
    aclPeerId = kPeer;
    aclLibNewRule(policy, "rule", kRule);
    aclBtreeInsertPolicy(policy);
    aclLibCreateRule("rule-a", nullptr, 0);
    aclLibCreateRule("rule-b", nullptr, 0);
    aclLibGetClientSeqNo(kWaitingApplication, 0x300B, 1, "first", 2, 3);
    aclLibGetClientSeqNo(kWaitingApplication, 0x300C, 1, "second", 2, 3);
    fake().serve("acl", 1, 5);
    aclLibSyncConfigPeerId = kPeer;
    message = pktbufAllocPacket(8, 0, 0);
    const Bytes reply = swplat_fake::object(0x1003, hex("3011 0000"));
    std::copy(reply.begin(), reply.end(), reinterpret_cast<std::byte *>(message->data));
  }
  ~ArrangedLibrary() {
    made_.push_back(policy);
    made_.push_back(emptyPolicy);
    for (const AclPolicyHandle handle : made_) acl::destroyPolicy(acl::findPolicy(handle));
    transHandleFree(spareHandle);
    if (message != nullptr) pktbufFree(message);
  }
  ArrangedLibrary(const ArrangedLibrary &) = delete;
  ArrangedLibrary &operator=(const ArrangedLibrary &) = delete;

  std::string state() const {
    std::ostringstream out;
    for (const AclPolicyHandle handle : {policy, emptyPolicy}) {
      describe(out, *acl::findPolicy(handle));
    }
    return out.str() + stateOfTheLibrary();
  }

  // Keeps a policy until the end of the test, as the last one that was made. Returns 1; what is no
  // policy is returned as it is.
  std::int64_t keep(AclPolicyHandle handle) {
    if (acl::findPolicy(handle) == nullptr) return handle;
    const test_support::AllocationExemption exemption;
    made_.push_back(handle);
    return 1;
  }

  // The policy that was kept last.
  const AclPolicy &keptPolicy() const { return *acl::findPolicy(made_.back()); }

  // Lets the open rule of `policy` be `length` bytes long.
  void fillOpenRule(std::uint32_t length) const {
    for (std::uint32_t size = 48; size < length; size += 4) aclLibConfigRuleCond(policy, rule, 44);
  }

  // Queues the manager's answer to one request of the synchronous channel.
  static void queueAnswer() {
    const test_support::AllocationExemption exemption;
    fake().queueReceive(kPeer, swplat_fake::object(0x1003, hex("3020 0000")));
  }

  const AclPolicyHandle policy = aclLibNewPolicy("stored");      // in the store, rule kRule is open
  const AclPolicyHandle emptyPolicy = aclLibNewPolicy("empty");  // neither
  std::uint32_t rule = kRule;                                    // the open rule of `policy`
  TransHandle *spareHandle = transHandleCreate();                // nobody's
  PktBuf *message = nullptr;                                     // holds one reply
  RecordingSend recordingSend;

 private:
  std::vector<AclPolicyHandle> made_;
};

}  // namespace acl_test

#endif  // TESTS_ACL_LIB_ARRANGED_LIBRARY_H
