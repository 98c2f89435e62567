// The calls that add actions: one row and one statement each.
#include <cstdint>

#include "acl_lib.h"
#include "acl_lib/encoding/action_codes.h"
#include "acl_lib/encoding/entry_call.h"

namespace acl {
namespace {

// Mirroring and CPU copies cannot be switched on by it: they need the data of their own calls.
constexpr EntryCall kRuleAction{
    "aclLibConfigRuleAction",
    {action::kAccept, action::kDeny, action::kSampleOn, action::kSampleOff, action::kMirrorOff,
     action::kCpuCopyOff, action::kLog, action::kLogRaw, 18, 19, 42, 43, 48, 49, 54, 56, 66, 67,
     68},
    0,
    TypeRefusal::kReported};
constexpr EntryCall kClassId{
    "aclLibConfigActionClassId", {action::kClassId1, action::kClassId2, action::kClassId3}, 2};
constexpr EntryCall kFlowGroupId{"aclLibConfigActionFlowGroupId", {action::kFlowGroupId}, 4};
constexpr EntryCall kCookie{"aclLibConfigActionCookie", {action::kCookie}, 2};
constexpr EntryCall kCount{"aclLibConfigActionCount", {action::kCount}, 38};
constexpr EntryCall kMeter{"aclLibConfigActionMeter", {action::kMeter}, 36};
constexpr EntryCall kMirror{"aclLibConfigActionMirror", {action::kMirrorOn}, 33};
constexpr EntryCall kDomain{"aclLibConfigActionDomain", {action::kDomain}, 33};
constexpr EntryCall kTrafficQueue{"aclLibConfigActionTrafficQueue", {action::kTrafficQueue}, 33};
constexpr EntryCall kFloodGroup{"aclLibConfigActionFloodGroup", {action::kFloodGroup}, 66};
constexpr EntryCall kQos{"aclLibConfigActionQos", {action::kQos}, 1};
constexpr EntryCall kUrpf{"aclLibConfigActionUrpf", {action::kUrpf}, 1};
constexpr EntryCall kCpuQos{"aclLibConfigActionCpuQos", {action::kCpuCopyOn}, 1};
constexpr EntryCall kCpuQosToSnoop{"aclLibConfigActionCpuQosToSnoop", {action::kCpuQosToSnoop}, 1};
constexpr EntryCall kCpuQosSdn{
    "aclLibConfigActionCpuQosSDN",
    {action::kCpuCopyDropSdnMiss, action::kCpuCopyDropSdnAction, action::kCpuCopySdn},
    1,
    TypeRefusal::kBadSelector};
constexpr EntryCall kRedirect{
    "aclLibConfigActionRedirect", {action::kRedirect, action::kRedirect69}, 4};
constexpr EntryCall kReplaceMacDa{
    "aclLibConfigActionReplaceMacda", {action::kReplaceDestinationMac}, 6};
constexpr EntryCall kReplaceMacSa{"aclLibConfigActionReplaceMacsa", {action::kReplaceSourceMac}, 6};
constexpr EntryCall kReplaceVid{"aclLibConfigActionReplaceVid", {action::kReplaceVlan}, 4};
constexpr EntryCall kAddVid{"aclLibConfigActionAddVid", {action::kAddVlan}, 4};
// Two calls for the same entry, on purpose: callers use either name.
constexpr EntryCall kDot1p{"aclLibConfigActionDot1p", {action::kDot1p}, 4};
constexpr EntryCall kDot1pReplaceValue{"aclLibConfigActionDot1pReplaceValue", {action::kDot1p}, 4};
constexpr EntryCall kSVidEtherType{
    "aclLibConfigActionSVidEtherType", {action::kOuterTagEtherType}, 4};
constexpr EntryCall kVid{"aclLibConfigActionVid", kAnyType, 4};
constexpr EntryCall kLagHash{"aclLibConfigActionLagHash", kAnyType, 4};
constexpr EntryCall kFloodList{"aclLibConfigActionFloodList", kAnyType, 4};
constexpr EntryCall kLink{"aclLibConfigActionLink", kAnyType, 6};
constexpr EntryCall kPorts{"aclLibConfigActionPorts", kAnyType, 8};
constexpr EntryCall kPortList{"aclLibConfigActionPortList", kAnyType, 64};
constexpr EntryCall kDot1ahEncap{"aclLibConfigActionDot1ahEncap", kAnyType, 33};
constexpr EntryCall kDot1ahDecap{"aclLibConfigActionDot1ahDecap", kAnyType, 33};
constexpr EntryCall kDscpReplaceValue{
    "aclLibConfigActionDscpReplaceValue", {action::kDscpReplace}, 1};
constexpr EntryCall kRedirectName{"aclLibConfigActionRedirectName", {action::kRedirectName}, 33};
constexpr EntryCall kDoNotLearn{"aclLibConfigActionDoNotLearn", {action::kDoNotLearn}, 0};

// Selectors 0, 1 and 2 choose among three consecutive types; every other one falls outside of them.
constexpr std::uint32_t sdnType(std::uint32_t selector) noexcept {
  return action::kCpuCopyDropSdnMiss + selector;
}

constexpr std::uint32_t redirectType(std::uint32_t selector) noexcept {
  constexpr std::uint32_t kRedirectSelector179 = 179;
  return selector == kRedirectSelector179 ? action::kRedirect69 : action::kRedirect;
}

}  // namespace
}  // namespace acl

extern "C" {

int32_t aclLibConfigRuleAction(AclPolicyHandle policy, uint32_t rule, int32_t type) noexcept {
  return acl::addAction<acl::kRuleAction>(policy, rule, static_cast<uint32_t>(type), nullptr);
}

int32_t aclLibConfigActionClassId(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                  const void *data) noexcept {
  return acl::addAction<acl::kClassId>(policy, rule, type, data);
}

int32_t aclLibConfigActionFlowGroupId(AclPolicyHandle policy, uint32_t rule,
                                      const void *data) noexcept {
  return acl::addAction<acl::kFlowGroupId>(policy, rule, data);
}

int32_t aclLibConfigActionCookie(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addAction<acl::kCookie>(policy, rule, data);
}

int32_t aclLibConfigActionCount(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addAction<acl::kCount>(policy, rule, data);
}

int32_t aclLibConfigActionMeter(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addAction<acl::kMeter>(policy, rule, data);
}

int32_t aclLibConfigActionMirror(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addAction<acl::kMirror>(policy, rule, data);
}

int32_t aclLibConfigActionDomain(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addAction<acl::kDomain>(policy, rule, data);
}

int32_t aclLibConfigActionTrafficQueue(AclPolicyHandle policy, uint32_t rule,
                                       const void *data) noexcept {
  return acl::addAction<acl::kTrafficQueue>(policy, rule, data);
}

int32_t aclLibConfigActionFloodGroup(AclPolicyHandle policy, uint32_t rule,
                                     const void *data) noexcept {
  return acl::addAction<acl::kFloodGroup>(policy, rule, data);
}

int32_t aclLibConfigActionQos(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addAction<acl::kQos>(policy, rule, data);
}

int32_t aclLibConfigActionUrpf(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addAction<acl::kUrpf>(policy, rule, data);
}

int32_t aclLibConfigActionCpuQos(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addAction<acl::kCpuQos>(policy, rule, data);
}

int32_t aclLibConfigActionCpuQosToSnoop(AclPolicyHandle policy, uint32_t rule,
                                        const void *data) noexcept {
  return acl::addAction<acl::kCpuQosToSnoop>(policy, rule, data);
}

int32_t aclLibConfigActionCpuQosSDN(AclPolicyHandle policy, uint32_t rule, const void *data,
                                    uint32_t selector) noexcept {
  return acl::addAction<acl::kCpuQosSdn>(policy, rule, acl::sdnType(selector), data);
}

int32_t aclLibConfigActionRedirect(AclPolicyHandle policy, uint32_t rule, const void *data,
                                   uint32_t selector) noexcept {
  return acl::addAction<acl::kRedirect>(policy, rule, acl::redirectType(selector), data);
}

int32_t aclLibConfigActionReplaceMacda(AclPolicyHandle policy, uint32_t rule,
                                       const void *data) noexcept {
  return acl::addAction<acl::kReplaceMacDa>(policy, rule, data);
}

int32_t aclLibConfigActionReplaceMacsa(AclPolicyHandle policy, uint32_t rule,
                                       const void *data) noexcept {
  return acl::addAction<acl::kReplaceMacSa>(policy, rule, data);
}

int32_t aclLibConfigActionReplaceVid(AclPolicyHandle policy, uint32_t rule,
                                     const void *data) noexcept {
  return acl::addAction<acl::kReplaceVid>(policy, rule, data);
}

int32_t aclLibConfigActionAddVid(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addAction<acl::kAddVid>(policy, rule, data);
}

int32_t aclLibConfigActionDot1p(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addAction<acl::kDot1p>(policy, rule, data);
}

int32_t aclLibConfigActionDot1pReplaceValue(AclPolicyHandle policy, uint32_t rule,
                                            const void *data) noexcept {
  return acl::addAction<acl::kDot1pReplaceValue>(policy, rule, data);
}

int32_t aclLibConfigActionSVidEtherType(AclPolicyHandle policy, uint32_t rule,
                                        const void *data) noexcept {
  return acl::addAction<acl::kSVidEtherType>(policy, rule, data);
}

int32_t aclLibConfigActionVid(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                              const void *data) noexcept {
  return acl::addAction<acl::kVid>(policy, rule, type, data);
}

int32_t aclLibConfigActionLagHash(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                  const void *data) noexcept {
  return acl::addAction<acl::kLagHash>(policy, rule, type, data);
}

int32_t aclLibConfigActionFloodList(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                    const void *data) noexcept {
  return acl::addAction<acl::kFloodList>(policy, rule, type, data);
}

int32_t aclLibConfigActionLink(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                               const void *data) noexcept {
  return acl::addAction<acl::kLink>(policy, rule, type, data);
}

int32_t aclLibConfigActionPorts(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                const void *data) noexcept {
  return acl::addAction<acl::kPorts>(policy, rule, type, data);
}

int32_t aclLibConfigActionPortList(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                   const void *data) noexcept {
  return acl::addAction<acl::kPortList>(policy, rule, type, data);
}

int32_t aclLibConfigActionDot1ahEncap(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                      const void *data) noexcept {
  return acl::addAction<acl::kDot1ahEncap>(policy, rule, type, data);
}

int32_t aclLibConfigActionDot1ahDecap(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                      const void *data) noexcept {
  return acl::addAction<acl::kDot1ahDecap>(policy, rule, type, data);
}

int32_t aclLibConfigActionDscpReplaceValue(AclPolicyHandle policy, uint32_t rule,
                                           const void *data) noexcept {
  return acl::addAction<acl::kDscpReplaceValue>(policy, rule, data);
}

int32_t aclLibConfigActionRedirectName(AclPolicyHandle policy, uint32_t rule,
                                       const void *data) noexcept {
  return acl::addAction<acl::kRedirectName>(policy, rule, data);
}

int32_t aclLibConfigActionDoNotLearn(AclPolicyHandle policy, uint32_t rule) noexcept {
  return acl::addAction<acl::kDoNotLearn>(policy, rule, nullptr);
}

}  // extern "C"
