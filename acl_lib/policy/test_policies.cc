// Fixed policies that try the whole road from the encoding of rules to the ACL manager.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>

#include "acl_lib.h"
#include "acl_lib/encoding/action_codes.h"
#include "acl_lib/encoding/condition_codes.h"
#include "acl_lib/encoding/message_body.h"
#include "acl_lib/encoding/policy_handle.h"

namespace acl {
namespace {

// The conditions of the rules, each with the exported call that adds it.
using AddCondition = void (*)(AclPolicyHandle policy, std::uint32_t rule, const void *data);

void addSource(AclPolicyHandle policy, std::uint32_t rule, const void *data) noexcept {
  aclLibAddRuleCondIPAddr(policy, rule, condition::kSourceIPv4, data);
}
void addDestination(AclPolicyHandle policy, std::uint32_t rule, const void *data) noexcept {
  aclLibAddRuleCondIPAddr(policy, rule, condition::kDestinationIPv4, data);
}
void addProtocol(AclPolicyHandle policy, std::uint32_t rule, const void *data) noexcept {
  aclLibAddRuleCondProtocol(policy, rule, data);
}
void addSourcePorts(AclPolicyHandle policy, std::uint32_t rule, const void *data) noexcept {
  aclLibAddRuleCondPortRange(policy, rule, condition::kL4SourcePort, data);
}
void addDestinationPorts(AclPolicyHandle policy, std::uint32_t rule, const void *data) noexcept {
  aclLibAddRuleCondPortRange(policy, rule, condition::kL4DestinationPort, data);
}
void addTcpFlags(AclPolicyHandle policy, std::uint32_t rule, const void *data) noexcept {
  aclLibAddRuleCondTcpFlags(policy, rule, data);
}

// One condition; its data as it travels, and zeros up to the longest.
struct Condition {
  AddCondition add;
  std::array<std::uint8_t, 8> data;
};

// IGMP. Its mask is 0, on purpose, and so is that of the ports below: these policies try how
// conditions travel and are printed, and a mask of zeros is what they have always done it with.
constexpr Condition kProtocol{addProtocol, {2, 0}};
constexpr Condition kGroup{addDestination, {239, 20, 10, 0, 255, 255, 255, 240}};

constexpr Condition kFromFirstNetwork[] = {
    {addSource, {192, 168, 121, 0, 255, 255, 255, 0}}, kProtocol, kGroup};
constexpr Condition kFromSecondNetwork[] = {
    {addSource, {10, 1, 2, 0, 255, 255, 255, 0}}, kProtocol, kGroup};
// 1200 to 1200, and 120 to 1200.
constexpr Condition kSourcePorts[] = {{addSourcePorts, {0x04, 0xB0, 0x04, 0xB0, 0, 0}}};
constexpr Condition kDestinationPorts[] = {{addDestinationPorts, {0x00, 0x78, 0x04, 0xB0, 0, 0}}};
constexpr Condition kTcpFlags[] = {{addTcpFlags, {0x24, 0x24}}};

constexpr std::int32_t kDenyAndSample[] = {action::kDeny, action::kSampleOn};
constexpr std::int32_t kDeny[] = {action::kDeny};
constexpr std::int32_t kAccept[] = {action::kAccept};

// Rules that follow each other and are alike but for their numbers.
struct TestRules {
  std::uint32_t count;
  std::span<const Condition> conditions;
  std::span<const std::int32_t> actions;
};

constexpr TestRules kCreatedRules[] = {
    {2, kFromFirstNetwork, kDenyAndSample},
    {1, kSourcePorts, kDeny},
    {1, kDestinationPorts, kDeny},
    {1, kTcpFlags, kAccept},
    {1, {}, kAccept},
};
constexpr TestRules kModifiedRules[] = {
    {10, kFromSecondNetwork, kDenyAndSample},
};

// Adds one rule. No result is looked at, on purpose: a rule that memory does not suffice for is
// missing, and the calls that were to fill it report that there is no such rule.
void addRule(AclPolicyHandle policy, std::uint32_t rule, const TestRules &rules) noexcept {
  char name[kNameWidth];
  std::snprintf(name, sizeof(name), "rule-%d", static_cast<int>(rule - 1));
  aclLibNewRule(policy, name, rule);
  for (const Condition &condition : rules.conditions) {
    condition.add(policy, rule, condition.data.data());
  }
  for (const std::int32_t action : rules.actions) aclLibConfigRuleAction(policy, rule, action);
}

void addRules(AclPolicyHandle policy, std::span<const TestRules> table) noexcept {
  std::uint32_t rule = 0;
  for (const TestRules &rules : table) {
    for (std::uint32_t i = 0; i < rules.count; ++i) addRule(policy, ++rule, rules);
  }
  aclLibEndRule(policy);
  aclLibDumpRules(policy);
}

}  // namespace
}  // namespace acl

extern "C" {

AclPolicyHandle aclLibCreateTestPolicy(const char *name) noexcept {
  const AclPolicyHandle policy = aclLibNewPolicy(name);
  if (policy == 0 || policy == acl::kInvalidArgument) return policy;
  acl::addRules(policy, acl::kCreatedRules);
  return policy;
}

AclPolicyHandle aclLibModifyTestPolicy(AclPolicyHandle policy) noexcept {
  // On purpose, a bad handle is returned in silence: the calls below would report it, each under
  // its own name.
  if (acl::findPolicy(policy) == nullptr) return policy;
  aclLibClearRule(policy);
  acl::addRules(policy, acl::kModifiedRules);
  return policy;
}

}  // extern "C"
