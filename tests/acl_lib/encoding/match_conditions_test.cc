#include "tests/acl_lib/encoding/entry_calls.h"

namespace {

using namespace encoding_test;

std::int32_t fragment(AclPolicyHandle policy, std::uint32_t rule, std::uint32_t type,
                      const void *) {
  return aclLibAddRuleFragment(policy, rule, type);
}

std::int32_t anyCondition(AclPolicyHandle policy, std::uint32_t rule, std::uint32_t type,
                          const void *) {
  return aclLibConfigRuleCond(policy, rule, type);
}

std::int32_t sdnVlanAny(AclPolicyHandle policy, std::uint32_t rule, const void *) {
  return aclLibAddRuleSdnVlanAny(policy, rule);
}

EntryRow resolution(std::uint32_t type, std::uint32_t value, const char *header, const char *data) {
  return {"aclLibAddRulePktResolution",
          [type, value](AclPolicyHandle policy, std::uint32_t rule, const void *) {
            return aclLibAddRulePktResolution(policy, rule, type, value);
          },
          0, header, data};
}

EntryRow lookupStatus(std::uint32_t value, const char *data) {
  return {"aclLibAddRuleLookupStatus",
          [value](AclPolicyHandle policy, std::uint32_t rule, const void *) {
            return aclLibAddRuleLookupStatus(policy, rule, value);
          },
          0, "002b 0004", data};
}

const EntryRow kConditions[] = {
    callersType("aclLibAddRuleCondIPAddr", aclLibAddRuleCondIPAddr, 0, 8, "0000 0008"),
    callersType("aclLibAddRuleCondIPAddr", aclLibAddRuleCondIPAddr, 1, 8, "0001 0008"),
    callersType("aclLibAddRuleCondIPAddr", aclLibAddRuleCondIPAddr, 34, 8, "0022 0008"),
    callersType("aclLibAddRuleCondIPAddr", aclLibAddRuleCondIPAddr, 35, 8, "0023 0008"),
    callersType("aclLibAddRuleCondIPAddr", aclLibAddRuleCondIPAddr, 40, 8, "0028 0008"),
    callersType("aclLibAddRuleCondIPAddr", aclLibAddRuleCondIPAddr, 41, 8, "0029 0008"),
    callersType("aclLibAddRuleCondIPv6Addr", aclLibAddRuleCondIPv6Addr, 23, 36, "0017 0024"),
    callersType("aclLibAddRuleCondIPv6Addr", aclLibAddRuleCondIPv6Addr, 24, 36, "0018 0024"),
    fixedType("aclLibAddRuleCondProtocol", aclLibAddRuleCondProtocol, 2, "0003 0004"),
    fixedType("aclLibAddRuleCondTcpFlags", aclLibAddRuleCondTcpFlags, 2, "000e 0004"),
    callersType("aclLibAddRuleCondMacAddr", aclLibAddRuleCondMacAddr, 19, 12, "0013 000c"),
    callersType("aclLibAddRuleCondMacAddr", aclLibAddRuleCondMacAddr, 20, 12, "0014 000c"),
    callersType("aclLibAddRuleCondMacAddr", aclLibAddRuleCondMacAddr, 36, 12, "0024 000c"),
    fixedType("aclLibAddRuleCondEtherType", aclLibAddRuleCondEtherType, 4, "0012 0004"),
    callersType("aclLibAddRuleCondClassId", aclLibAddRuleCondClassId, 48, 12, "0030 000c"),
    callersType("aclLibAddRuleCondClassId", aclLibAddRuleCondClassId, 49, 12, "0031 000c"),
    callersType("aclLibAddRuleCondClassId", aclLibAddRuleCondClassId, 50, 12, "0032 000c"),
    fixedType("aclLibAddRuleCondDsap", aclLibAddRuleCondDsap, 1, "0025 0004"),
    fixedType("aclLibAddRuleCondSsap", aclLibAddRuleCondSsap, 1, "0026 0004"),
    fixedType("aclLibAddRuleCondSnapType", aclLibAddRuleCondSnapType, 2, "0027 0004"),
    fixedType("aclLibAddRuleCondIPOptions", aclLibAddRuleCondIPOptions, 4, "0004 0004"),
    fixedType("aclLibAddRuleCondL4Match", aclLibAddRuleCondL4Match, 12, "0037 000c"),
    callersType("aclLibAddRuleCondVidRange", aclLibAddRuleCondVidRange, 21, 12, "0015 000c"),
    callersType("aclLibAddRuleCondVidRange", aclLibAddRuleCondVidRange, 33, 12, "0021 000c"),
    callersType("aclLibAddRuleCondVidRange", aclLibAddRuleCondVidRange, 0x12345, 12, "2345 000c"),
    fixedType("aclLibAddRuleCondSlotPortRange", aclLibAddRuleCondSlotPortRange, 8, "001a 0008"),
    callersType("aclLibAddRuleCondPortRange", aclLibAddRuleCondPortRange, 12, 6, "000c 0008"),
    callersType("aclLibAddRuleCondPortRange", aclLibAddRuleCondPortRange, 13, 6, "000d 0008"),
    callersType("aclLibAddRuleFragment", fragment, 10, 0, "000a 0000"),
    callersType("aclLibAddRuleFragment", fragment, 11, 0, "000b 0000"),
    resolution(42, 256, "002a 0004", "00000100"),
    resolution(42, 0x01020304, "002a 0004", "01020304"),
    resolution(0xFFFF0007, 275, "0007 0004", "00000113"),
    callersType("aclLibAddRuleNextHop", aclLibAddRuleNextHop, 52, 4, "0034 0004"),
    callersType("aclLibAddRuleNextHop", aclLibAddRuleNextHop, 53, 16, "0035 0010"),
    callersType("aclLibAddRuleNextHop", aclLibAddRuleNextHop, 0, 16, "0000 0010"),
    callersType("aclLibAddRuleNextHop", aclLibAddRuleNextHop, 0x10034, 16, "0034 0010"),
    lookupStatus(0x00000080, "00000080"),
    lookupStatus(0xFEDCBA98, "fedcba98"),
    fixedType("aclLibAddRuleSdnVlanAny", sdnVlanAny, 0, "002c 0000"),
    fixedType("aclLibAddRuleCondDstPhysPort", aclLibAddRuleCondDstPhysPort, 4, "002d 0004"),
    fixedType("aclLibAddRuleCondSrcPhysPort", aclLibAddRuleCondSrcPhysPort, 4, "002e 0004"),
    fixedType("aclLibAddRuleCondSrcPhysPortList", aclLibAddRuleCondSrcPhysPortList, 64,
              "002f 0040"),
    fixedType("aclLibAddRuleCondDCSP", aclLibAddRuleCondDCSP, 2, "0007 0004"),
    fixedType("aclLibAddRuleCondVXLANVni", aclLibAddRuleCondVXLANVni, 8, "0036 0008"),
    fixedType("aclLibAddRuleCondTOS", aclLibAddRuleCondTOS, 2, "0005 0004"),
    fixedType("aclLibAddRuleCondTTL", aclLibAddRuleCondTTL, 2, "0006 0004"),
    fixedType("aclLibAddRuleCondVlanFormat", aclLibAddRuleCondVlanFormat, 4, "0033 0004"),
    fixedType("aclLibAddRuleCondICMPType", aclLibAddRuleCondICMPType, 2, "0010 0004"),
    fixedType("aclLibAddRuleCondICMPCode", aclLibAddRuleCondICMPCode, 2, "0011 0004"),
    fixedType("aclLibAddRuleCondIGMPType", aclLibAddRuleCondIGMPType, 2, "000f 0004"),
    fixedType("aclLibAddRuleCondIpOffset", aclLibAddRuleCondIpOffset, 70, "0019 0048"),
    fixedType("aclLibAddRuleCondOspf", aclLibAddRuleCondOspf, 2, "0038 0004"),
    fixedType("aclLibAddRuleCondPim", aclLibAddRuleCondPim, 1, "0039 0004"),
    fixedType("aclLibAddRuleDebugAcl", aclLibAddRuleDebugAcl, 12, "003a 000c"),
    fixedType("aclLibAddRuleCondFlowClassId", aclLibAddRuleCondFlowClassId, 8, "003b 0008"),
    fixedType("aclLibAddRuleCondFlowGroupId", aclLibAddRuleCondFlowGroupId, 8, "003c 0008"),
    callersType("aclLibConfigRuleCond", anyCondition, 0, 0, "0000 0000"),
    callersType("aclLibConfigRuleCond", anyCondition, 44, 0, "002c 0000"),
    callersType("aclLibConfigRuleCond", anyCondition, 0xFFFFFFFF, 0, "ffff 0000"),
};

using ConditionCall = EntryCallTest;
INSTANTIATE_TEST_SUITE_P(Conditions, ConditionCall, testing::ValuesIn(kConditions), rowName);

TEST_P(ConditionCall, AddsItsEntry) {
  expectEntryIsAdded();
  EXPECT_EQ(actionOffset(policy_->openRule), ruleLength(policy_->openRule));
}

TEST_P(ConditionCall, EntriesFollowEachOther) {
  expectEntriesFollowEachOther();
}

TEST_P(ConditionCall, InvalidPolicyIsRefused) {
  expectInvalidPolicyIsRefused();
}

TEST_P(ConditionCall, InvalidRuleIsRefused) {
  expectInvalidRuleIsRefused();
}

TEST_P(ConditionCall, NoOpenRuleIsRefused) {
  expectNoOpenRuleIsRefused();
}

using ConditionCallWithData = EntryCallTest;
INSTANTIATE_TEST_SUITE_P(Conditions, ConditionCallWithData,
                         testing::ValuesIn(withData(kConditions)), rowName);

TEST_P(ConditionCallWithData, NullDataIsRefusedSilently) {
  expectNullDataIsRefused();
}

// ---- Which types the calls accept ---------------------------------------------------------------

TEST(ConditionTypes, IPAddrAcceptsSix) {
  expectTypesAccepted(aclLibAddRuleCondIPAddr, {0, 1, 34, 35, 40, 41});
}

TEST(ConditionTypes, IPv6AddrAccepts23And24) {
  expectTypesAccepted(aclLibAddRuleCondIPv6Addr, {23, 24});
}

TEST(ConditionTypes, MacAddrAccepts19And20And36) {
  expectTypesAccepted(aclLibAddRuleCondMacAddr, {19, 20, 36});
}

TEST(ConditionTypes, ClassIdAccepts48To50) {
  expectTypesAccepted(aclLibAddRuleCondClassId, {48, 49, 50});
}

TEST(ConditionTypes, PortRangeAccepts12And13) {
  expectTypesAccepted(aclLibAddRuleCondPortRange, {12, 13});
}

TEST(ConditionTypes, FragmentAccepts10And11) {
  expectTypesAccepted(fragment, {10, 11});
}

TEST(ConditionTypes, RefusedTypePrintsNothing) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  const Bytes data = numberedBytes(36);
  OutputCapture capture;
  EXPECT_EQ(aclLibAddRuleCondIPAddr(policy.handle(), 1, 2, data.data()), -2);
  EXPECT_EQ(aclLibAddRuleFragment(policy.handle(), 1, 12), -2);
  EXPECT_EQ(capture.standardOutput(), "");
  EXPECT_EQ(policy.entries(), Bytes());
}

TEST(ConditionTypes, DscpCallIsNamedDCSPInItsMessagesToo) {
  OutputCapture capture;
  EXPECT_EQ(aclLibAddRuleCondDCSP(-1, 1, nullptr), -2);
  EXPECT_EQ(capture.standardOutput(), invalidPolicyMessage("aclLibAddRuleCondDCSP", -1));
}

TEST(ConditionTypes, RuleIsCheckedBeforeTheType) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  OutputCapture capture;
  EXPECT_EQ(aclLibAddRuleCondIPAddr(policy.handle(), 2, 2, nullptr), -2);
  EXPECT_EQ(capture.standardOutput(), invalidRuleMessage(2, policy.handle()));
}

// ---- Sizes --------------------------------------------------------------------------------------

TEST(ConditionSizes, IPAddrOfType40Adds12Bytes) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  const Bytes data = hex("0a000001 ffffff00");
  EXPECT_EQ(aclLibAddRuleCondIPAddr(policy.handle(), 1, 40, data.data()), 0);
  EXPECT_EQ(policy.entries(), hex("0028 0008 0a000001 ffffff00"));
}

TEST(ConditionSizes, NextHopAdds8BytesForType52And20ForOthers) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  const Bytes data = numberedBytes(16);
  aclLibAddRuleNextHop(policy.handle(), 1, 52, data.data());
  EXPECT_EQ(ruleLength(policy->openRule), 56U);
  aclLibAddRuleNextHop(policy.handle(), 1, 51, data.data());
  EXPECT_EQ(ruleLength(policy->openRule), 76U);
}

TEST(ConditionSizes, IpOffsetAdds76Bytes) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  const Bytes data = numberedBytes(70);
  aclLibAddRuleCondIpOffset(policy.handle(), 1, data.data());
  EXPECT_EQ(ruleLength(policy->openRule), 48U + 76);
}

}  // namespace
