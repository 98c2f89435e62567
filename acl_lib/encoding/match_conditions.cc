// The calls that add match conditions: one row and one statement each.
#include <array>
#include <cstddef>
#include <cstdint>

#include "acl_lib.h"
#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/encoding/condition_codes.h"
#include "acl_lib/encoding/entry_call.h"

namespace acl {
namespace {

// Some calls accept a few types and refuse others, some accept any: callers rely on both.
constexpr EntryCall kIPAddr{
    "aclLibAddRuleCondIPAddr",
    {condition::kSourceIPv4, condition::kDestinationIPv4, condition::kIPv4Unlabelled1,
     condition::kIPv4Unlabelled2, condition::kArpTargetAddress, condition::kArpSenderAddress},
    8};
constexpr EntryCall kIPv6Addr{
    "aclLibAddRuleCondIPv6Addr", {condition::kIPv6First, condition::kIPv6Second}, 36};
constexpr EntryCall kProtocol{"aclLibAddRuleCondProtocol", {condition::kProtocol}, 2};
constexpr EntryCall kTcpFlags{"aclLibAddRuleCondTcpFlags", {condition::kTcpFlags}, 2};
constexpr EntryCall kMacAddr{
    "aclLibAddRuleCondMacAddr",
    {condition::kSourceMac, condition::kDestinationMac, condition::kMacUnlabelled},
    12};
constexpr EntryCall kEtherType{"aclLibAddRuleCondEtherType", {condition::kEtherType}, 4};
constexpr EntryCall kClassId{"aclLibAddRuleCondClassId",
                             {condition::kClassId, condition::kClassId2, condition::kClassId3},
                             12};
constexpr EntryCall kDsap{"aclLibAddRuleCondDsap", {condition::kDsap}, 1};
constexpr EntryCall kSsap{"aclLibAddRuleCondSsap", {condition::kSsap}, 1};
constexpr EntryCall kSnapType{"aclLibAddRuleCondSnapType", {condition::kSnapType}, 2};
constexpr EntryCall kIPOptions{"aclLibAddRuleCondIPOptions", {condition::kIPOptions}, 4};
constexpr EntryCall kL4Match{"aclLibAddRuleCondL4Match", {condition::kL4Match}, 12};
constexpr EntryCall kVidRange{"aclLibAddRuleCondVidRange", kAnyType, 12};
constexpr EntryCall kSlotPortRange{
    "aclLibAddRuleCondSlotPortRange", {condition::kSlotPortRange}, 8};
constexpr EntryCall kPortRange{
    "aclLibAddRuleCondPortRange", {condition::kL4SourcePort, condition::kL4DestinationPort}, 6};
constexpr EntryCall kFragment{
    "aclLibAddRuleFragment", {condition::kFragment10, condition::kFragment11}, 0};
constexpr EntryCall kPktResolution{"aclLibAddRulePktResolution", kAnyType, 4};
constexpr EntryCall kNextHopIPv4{"aclLibAddRuleNextHop", kAnyType, 4};
constexpr EntryCall kNextHopIPv6{"aclLibAddRuleNextHop", kAnyType, 16};
constexpr EntryCall kLookupStatus{"aclLibAddRuleLookupStatus", {condition::kLookupStatus}, 4};
constexpr EntryCall kSdnVlanAny{"aclLibAddRuleSdnVlanAny", {condition::kSdnVlanAny}, 0};
constexpr EntryCall kDstPhysPort{
    "aclLibAddRuleCondDstPhysPort", {condition::kDestinationPhysicalPort}, 4};
constexpr EntryCall kSrcPhysPort{
    "aclLibAddRuleCondSrcPhysPort", {condition::kSourcePhysicalPort}, 4};
constexpr EntryCall kSrcPhysPortList{
    "aclLibAddRuleCondSrcPhysPortList", {condition::kSourcePhysicalPortList}, 64};
// The published name of the call has its letters in this order, and so have its messages.
constexpr EntryCall kDscp{"aclLibAddRuleCondDCSP", {condition::kDscp}, 2};
constexpr EntryCall kVxlanVni{"aclLibAddRuleCondVXLANVni", {condition::kVxlanVni}, 8};
constexpr EntryCall kTos{"aclLibAddRuleCondTOS", {condition::kTos}, 2};
constexpr EntryCall kTtl{"aclLibAddRuleCondTTL", {condition::kTtl}, 2};
constexpr EntryCall kVlanFormat{"aclLibAddRuleCondVlanFormat", {condition::kVlanFormat}, 4};
constexpr EntryCall kIcmpType{"aclLibAddRuleCondICMPType", {condition::kIcmpType}, 2};
constexpr EntryCall kIcmpCode{"aclLibAddRuleCondICMPCode", {condition::kIcmpCode}, 2};
constexpr EntryCall kIgmpType{"aclLibAddRuleCondIGMPType", {condition::kIgmpType}, 2};
constexpr EntryCall kIpOffset{"aclLibAddRuleCondIpOffset", {condition::kIpOffset}, 70};
constexpr EntryCall kOspf{"aclLibAddRuleCondOspf", {condition::kOspf}, 2};
constexpr EntryCall kPim{"aclLibAddRuleCondPim", {condition::kPim}, 1};
constexpr EntryCall kDebugAcl{"aclLibAddRuleDebugAcl", {condition::kDebugAcl}, 12};
constexpr EntryCall kFlowClassId{"aclLibAddRuleCondFlowClassId", {condition::kFlowClassId}, 8};
constexpr EntryCall kFlowGroupId{"aclLibAddRuleCondFlowGroupId", {condition::kFlowGroupId}, 8};
constexpr EntryCall kAnyCondition{"aclLibConfigRuleCond", kAnyType, 0};

// A number that was passed by value, as the bytes of an entry.
std::array<std::byte, 4> bigEndian(std::uint32_t value) noexcept {
  std::array<std::byte, 4> bytes;
  storeBig(bytes.data(), value);
  return bytes;
}

}  // namespace
}  // namespace acl

extern "C" {

int32_t aclLibAddRuleCondIPAddr(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                const void *data) noexcept {
  return acl::addCondition<acl::kIPAddr>(policy, rule, type, data);
}

int32_t aclLibAddRuleCondIPv6Addr(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                  const void *data) noexcept {
  return acl::addCondition<acl::kIPv6Addr>(policy, rule, type, data);
}

int32_t aclLibAddRuleCondProtocol(AclPolicyHandle policy, uint32_t rule,
                                  const void *data) noexcept {
  return acl::addCondition<acl::kProtocol>(policy, rule, data);
}

int32_t aclLibAddRuleCondTcpFlags(AclPolicyHandle policy, uint32_t rule,
                                  const void *data) noexcept {
  return acl::addCondition<acl::kTcpFlags>(policy, rule, data);
}

int32_t aclLibAddRuleCondMacAddr(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                 const void *data) noexcept {
  return acl::addCondition<acl::kMacAddr>(policy, rule, type, data);
}

int32_t aclLibAddRuleCondEtherType(AclPolicyHandle policy, uint32_t rule,
                                   const void *data) noexcept {
  return acl::addCondition<acl::kEtherType>(policy, rule, data);
}

int32_t aclLibAddRuleCondClassId(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                 const void *data) noexcept {
  return acl::addCondition<acl::kClassId>(policy, rule, type, data);
}

int32_t aclLibAddRuleCondDsap(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addCondition<acl::kDsap>(policy, rule, data);
}

int32_t aclLibAddRuleCondSsap(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addCondition<acl::kSsap>(policy, rule, data);
}

int32_t aclLibAddRuleCondSnapType(AclPolicyHandle policy, uint32_t rule,
                                  const void *data) noexcept {
  return acl::addCondition<acl::kSnapType>(policy, rule, data);
}

int32_t aclLibAddRuleCondIPOptions(AclPolicyHandle policy, uint32_t rule,
                                   const void *data) noexcept {
  return acl::addCondition<acl::kIPOptions>(policy, rule, data);
}

int32_t aclLibAddRuleCondL4Match(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addCondition<acl::kL4Match>(policy, rule, data);
}

int32_t aclLibAddRuleCondVidRange(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                  const void *data) noexcept {
  return acl::addCondition<acl::kVidRange>(policy, rule, type, data);
}

int32_t aclLibAddRuleCondSlotPortRange(AclPolicyHandle policy, uint32_t rule,
                                       const void *data) noexcept {
  return acl::addCondition<acl::kSlotPortRange>(policy, rule, data);
}

int32_t aclLibAddRuleCondPortRange(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                   const void *data) noexcept {
  return acl::addCondition<acl::kPortRange>(policy, rule, type, data);
}

int32_t aclLibAddRuleFragment(AclPolicyHandle policy, uint32_t rule, uint32_t type) noexcept {
  return acl::addCondition<acl::kFragment>(policy, rule, type, nullptr);
}

int32_t aclLibAddRulePktResolution(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                                   uint32_t resolution) noexcept {
  return acl::addCondition<acl::kPktResolution>(policy, rule, type,
                                                acl::bigEndian(resolution).data());
}

int32_t aclLibAddRuleNextHop(AclPolicyHandle policy, uint32_t rule, uint32_t type,
                             const void *data) noexcept {
  return type == acl::condition::kNextHopIPv4
             ? acl::addCondition<acl::kNextHopIPv4>(policy, rule, type, data)
             : acl::addCondition<acl::kNextHopIPv6>(policy, rule, type, data);
}

int32_t aclLibAddRuleLookupStatus(AclPolicyHandle policy, uint32_t rule, uint32_t status) noexcept {
  return acl::addCondition<acl::kLookupStatus>(policy, rule, acl::bigEndian(status).data());
}

int32_t aclLibAddRuleSdnVlanAny(AclPolicyHandle policy, uint32_t rule) noexcept {
  return acl::addCondition<acl::kSdnVlanAny>(policy, rule, nullptr);
}

int32_t aclLibAddRuleCondDstPhysPort(AclPolicyHandle policy, uint32_t rule,
                                     const void *data) noexcept {
  return acl::addCondition<acl::kDstPhysPort>(policy, rule, data);
}

int32_t aclLibAddRuleCondSrcPhysPort(AclPolicyHandle policy, uint32_t rule,
                                     const void *data) noexcept {
  return acl::addCondition<acl::kSrcPhysPort>(policy, rule, data);
}

int32_t aclLibAddRuleCondSrcPhysPortList(AclPolicyHandle policy, uint32_t rule,
                                         const void *data) noexcept {
  return acl::addCondition<acl::kSrcPhysPortList>(policy, rule, data);
}

int32_t aclLibAddRuleCondDCSP(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addCondition<acl::kDscp>(policy, rule, data);
}

int32_t aclLibAddRuleCondVXLANVni(AclPolicyHandle policy, uint32_t rule,
                                  const void *data) noexcept {
  return acl::addCondition<acl::kVxlanVni>(policy, rule, data);
}

int32_t aclLibAddRuleCondTOS(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addCondition<acl::kTos>(policy, rule, data);
}

int32_t aclLibAddRuleCondTTL(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addCondition<acl::kTtl>(policy, rule, data);
}

int32_t aclLibAddRuleCondVlanFormat(AclPolicyHandle policy, uint32_t rule,
                                    const void *data) noexcept {
  return acl::addCondition<acl::kVlanFormat>(policy, rule, data);
}

int32_t aclLibAddRuleCondICMPType(AclPolicyHandle policy, uint32_t rule,
                                  const void *data) noexcept {
  return acl::addCondition<acl::kIcmpType>(policy, rule, data);
}

int32_t aclLibAddRuleCondICMPCode(AclPolicyHandle policy, uint32_t rule,
                                  const void *data) noexcept {
  return acl::addCondition<acl::kIcmpCode>(policy, rule, data);
}

int32_t aclLibAddRuleCondIGMPType(AclPolicyHandle policy, uint32_t rule,
                                  const void *data) noexcept {
  return acl::addCondition<acl::kIgmpType>(policy, rule, data);
}

int32_t aclLibAddRuleCondIpOffset(AclPolicyHandle policy, uint32_t rule,
                                  const void *data) noexcept {
  return acl::addCondition<acl::kIpOffset>(policy, rule, data);
}

int32_t aclLibAddRuleCondOspf(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addCondition<acl::kOspf>(policy, rule, data);
}

int32_t aclLibAddRuleCondPim(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addCondition<acl::kPim>(policy, rule, data);
}

int32_t aclLibAddRuleDebugAcl(AclPolicyHandle policy, uint32_t rule, const void *data) noexcept {
  return acl::addCondition<acl::kDebugAcl>(policy, rule, data);
}

int32_t aclLibAddRuleCondFlowClassId(AclPolicyHandle policy, uint32_t rule,
                                     const void *data) noexcept {
  return acl::addCondition<acl::kFlowClassId>(policy, rule, data);
}

int32_t aclLibAddRuleCondFlowGroupId(AclPolicyHandle policy, uint32_t rule,
                                     const void *data) noexcept {
  return acl::addCondition<acl::kFlowGroupId>(policy, rule, data);
}

int32_t aclLibConfigRuleCond(AclPolicyHandle policy, uint32_t rule, uint32_t type) noexcept {
  return acl::addCondition<acl::kAnyCondition>(policy, rule, type, nullptr);
}

}  // extern "C"
