// What the tests of rounds of requests share: requests, their answers as text, and a served client.
#ifndef TESTS_MANAGER_SERVER_APPLY_ROUND_TEST_H
#define TESTS_MANAGER_SERVER_APPLY_ROUND_TEST_H

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/manager/app_policy_bytes.h"
#include "tests/manager/dynamic_rule_bytes.h"
#include "tests/manager/server/served_manager.h"

namespace test_support {

inline std::uint32_t numberAt(const Bytes &packet, std::size_t bodyOffset, std::size_t width) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < width; ++i) {
    number = number << 8 | std::to_integer<std::uint32_t>(packet.at(4 + bodyOffset + i));
  }
  return number;
}

// "apply 1-3: 0", "unapply 4: -14" or "check: 0".
inline std::string textOf(const Bytes &packet) {
  std::string text;
  switch (numberAt(packet, 0, 2)) {
    case 0x300B:
      text = "apply " + std::to_string(numberAt(packet, 600, 4)) + "-" +
             std::to_string(numberAt(packet, 604, 4));
      break;
    case 0x300C:
      text = "unapply " + std::to_string(numberAt(packet, 588, 4));
      break;
    default:
      text = "check";
  }
  return text + ": " + std::to_string(static_cast<std::int16_t>(numberAt(packet, 2, 2)));
}

inline Bytes apply(AppPolicyFields fields) {
  return appPolicyBody(fields);
}

inline Bytes unapply(AppPolicyFields fields) {
  return unapplyBody(fields);
}

inline constexpr aclmgr::ApplicationPolicyKey kPlainKey{
    .appId = 5, .kind = 2, .tag = 0x11121314, .word3 = 0x21222324};

// The names in a policy, each with a blank behind it.
inline std::string rulesOf(const aclmgr::ManagerState &state,
                           const aclmgr::ApplicationPolicyKey &key) {
  const aclmgr::ApplicationPolicy *policy = state.applicationPolicies.find(key);
  std::string names;
  if (policy == nullptr) return names;
  for (const aclmgr::ApplicationPolicyEntry &entry : policy->entries) names += entry.ruleName + " ";
  return names;
}

class ApplyRoundTest : public testing::Test, protected ServedManager {
 protected:
  void SetUp() override {
    connect(manager);
    sent().clear();
  }

  static void connect(aclmgr::Manager &toManager) {
    toManager.connected(1, {.processId = 100, .processName = ""});
    for (const char *name : {"r", "s"}) {
      toManager.received(1, packetOf({addRuleBody(name, encodedRule("in", 1, "", "00010000"))}));
    }
  }

  // The packets that the client has been sent.
  std::vector<Bytes> &sent() { return connections.sent[1]; }

  // What a packet of bodies is answered with.
  std::string answersTo(const std::vector<Bytes> &bodies) {
    manager.received(1, packetOf(bodies));
    std::string text;
    for (const Bytes &packet : sent()) text += textOf(packet) + ". ";
    sent().clear();
    return text;
  }

  std::size_t policyCount() { return manager.state().applicationPolicies.size(); }
};

}  // namespace test_support

#endif  // TESTS_MANAGER_SERVER_APPLY_ROUND_TEST_H
