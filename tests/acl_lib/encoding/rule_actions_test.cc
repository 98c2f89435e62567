#include "tests/acl_lib/encoding/entry_calls.h"

namespace {

using namespace encoding_test;

std::int32_t ruleAction(AclPolicyHandle policy, std::uint32_t rule, std::uint32_t type,
                        const void *) {
  return aclLibConfigRuleAction(policy, rule, static_cast<std::int32_t>(type));
}

std::int32_t doNotLearn(AclPolicyHandle policy, std::uint32_t rule, const void *) {
  return aclLibConfigActionDoNotLearn(policy, rule);
}

// Calls whose selector comes last.
std::int32_t cpuQosSdn(AclPolicyHandle policy, std::uint32_t rule, std::uint32_t selector,
                       const void *data) {
  return aclLibConfigActionCpuQosSDN(policy, rule, data, selector);
}

std::int32_t redirect(AclPolicyHandle policy, std::uint32_t rule, std::uint32_t selector,
                      const void *data) {
  return aclLibConfigActionRedirect(policy, rule, data, selector);
}

const EntryRow kActions[] = {
    callersType("aclLibConfigRuleAction", ruleAction, 1, 0, "0001 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 2, 0, "0002 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 3, 0, "0003 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 4, 0, "0004 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 6, 0, "0006 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 8, 0, "0008 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 10, 0, "000a 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 11, 0, "000b 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 18, 0, "0012 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 19, 0, "0013 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 42, 0, "002a 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 43, 0, "002b 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 48, 0, "0030 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 49, 0, "0031 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 54, 0, "0036 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 56, 0, "0038 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 66, 0, "0042 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 67, 0, "0043 0000"),
    callersType("aclLibConfigRuleAction", ruleAction, 68, 0, "0044 0000"),
    callersType("aclLibConfigActionClassId", aclLibConfigActionClassId, 62, 2, "003e 0004"),
    callersType("aclLibConfigActionClassId", aclLibConfigActionClassId, 63, 2, "003f 0004"),
    callersType("aclLibConfigActionClassId", aclLibConfigActionClassId, 64, 2, "0040 0004"),
    fixedType("aclLibConfigActionFlowGroupId", aclLibConfigActionFlowGroupId, 4, "0047 0004"),
    fixedType("aclLibConfigActionCookie", aclLibConfigActionCookie, 2, "0032 0004"),
    fixedType("aclLibConfigActionCount", aclLibConfigActionCount, 38, "000c 0028"),
    fixedType("aclLibConfigActionMeter", aclLibConfigActionMeter, 36, "000d 0024"),
    fixedType("aclLibConfigActionMirror", aclLibConfigActionMirror, 33, "0005 0024"),
    fixedType("aclLibConfigActionDomain", aclLibConfigActionDomain, 33, "0023 0024"),
    fixedType("aclLibConfigActionTrafficQueue", aclLibConfigActionTrafficQueue, 33, "0022 0024"),
    fixedType("aclLibConfigActionFloodGroup", aclLibConfigActionFloodGroup, 66, "0024 0044"),
    fixedType("aclLibConfigActionQos", aclLibConfigActionQos, 1, "000e 0004"),
    fixedType("aclLibConfigActionUrpf", aclLibConfigActionUrpf, 1, "000f 0004"),
    fixedType("aclLibConfigActionCpuQos", aclLibConfigActionCpuQos, 1, "0007 0004"),
    fixedType("aclLibConfigActionCpuQosToSnoop", aclLibConfigActionCpuQosToSnoop, 1, "0046 0004"),
    callersType("aclLibConfigActionCpuQosSDN", cpuQosSdn, 0, 1, "0033 0004"),
    callersType("aclLibConfigActionCpuQosSDN", cpuQosSdn, 1, 1, "0034 0004"),
    callersType("aclLibConfigActionCpuQosSDN", cpuQosSdn, 2, 1, "0035 0004"),
    callersType("aclLibConfigActionRedirect", redirect, 179, 4, "0045 0004"),
    callersType("aclLibConfigActionRedirect", redirect, 178, 4, "0016 0004"),
    callersType("aclLibConfigActionRedirect", redirect, 0, 4, "0016 0004"),
    callersType("aclLibConfigActionRedirect", redirect, 0x100B3, 4, "0016 0004"),
    fixedType("aclLibConfigActionReplaceMacda", aclLibConfigActionReplaceMacda, 6, "002c 0008"),
    fixedType("aclLibConfigActionReplaceMacsa", aclLibConfigActionReplaceMacsa, 6, "002d 0008"),
    fixedType("aclLibConfigActionReplaceVid", aclLibConfigActionReplaceVid, 4, "002e 0004"),
    fixedType("aclLibConfigActionAddVid", aclLibConfigActionAddVid, 4, "0041 0004"),
    fixedType("aclLibConfigActionDot1p", aclLibConfigActionDot1p, 4, "0014 0004"),
    fixedType("aclLibConfigActionDot1pReplaceValue", aclLibConfigActionDot1pReplaceValue, 4,
              "0014 0004"),
    fixedType("aclLibConfigActionSVidEtherType", aclLibConfigActionSVidEtherType, 4, "0015 0004"),
    callersType("aclLibConfigActionVid", aclLibConfigActionVid, 23, 4, "0017 0004"),
    callersType("aclLibConfigActionVid", aclLibConfigActionVid, 0xABCD0018, 4, "0018 0004"),
    callersType("aclLibConfigActionLagHash", aclLibConfigActionLagHash, 39, 4, "0027 0004"),
    callersType("aclLibConfigActionLagHash", aclLibConfigActionLagHash, 0, 4, "0000 0004"),
    callersType("aclLibConfigActionFloodList", aclLibConfigActionFloodList, 40, 4, "0028 0004"),
    callersType("aclLibConfigActionFloodList", aclLibConfigActionFloodList, 41, 4, "0029 0004"),
    callersType("aclLibConfigActionFloodList", aclLibConfigActionFloodList, 500, 4, "01f4 0004"),
    callersType("aclLibConfigActionLink", aclLibConfigActionLink, 59, 6, "003b 0008"),
    callersType("aclLibConfigActionPorts", aclLibConfigActionPorts, 60, 8, "003c 0008"),
    callersType("aclLibConfigActionPortList", aclLibConfigActionPortList, 61, 64, "003d 0040"),
    callersType("aclLibConfigActionDot1ahEncap", aclLibConfigActionDot1ahEncap, 37, 33,
                "0025 0024"),
    callersType("aclLibConfigActionDot1ahEncap", aclLibConfigActionDot1ahEncap, 99, 33,
                "0063 0024"),
    callersType("aclLibConfigActionDot1ahDecap", aclLibConfigActionDot1ahDecap, 38, 33,
                "0026 0024"),
    callersType("aclLibConfigActionDot1ahDecap", aclLibConfigActionDot1ahDecap, 98, 33,
                "0062 0024"),
    fixedType("aclLibConfigActionDscpReplaceValue", aclLibConfigActionDscpReplaceValue, 1,
              "0011 0004"),
    fixedType("aclLibConfigActionRedirectName", aclLibConfigActionRedirectName, 33, "002f 0024"),
    fixedType("aclLibConfigActionDoNotLearn", doNotLearn, 0, "003a 0000"),
};

using ActionCall = EntryCallTest;
INSTANTIATE_TEST_SUITE_P(Actions, ActionCall, testing::ValuesIn(kActions), rowName);

TEST_P(ActionCall, AddsItsEntryAndMovesRuleLengthOnly) {
  expectEntryIsAdded();
  EXPECT_EQ(actionOffset(policy_->openRule), 48U);
}

TEST_P(ActionCall, EntriesFollowEachOther) {
  expectEntriesFollowEachOther();
}

TEST_P(ActionCall, InvalidPolicyIsRefused) {
  expectInvalidPolicyIsRefused();
}

TEST_P(ActionCall, InvalidRuleIsRefused) {
  expectInvalidRuleIsRefused();
}

TEST_P(ActionCall, NoOpenRuleIsRefused) {
  expectNoOpenRuleIsRefused();
}

using ActionCallWithData = EntryCallTest;
INSTANTIATE_TEST_SUITE_P(Actions, ActionCallWithData, testing::ValuesIn(withData(kActions)),
                         rowName);

TEST_P(ActionCallWithData, NullDataIsRefusedSilently) {
  expectNullDataIsRefused();
}

// ---- Which types the calls accept ---------------------------------------------------------------

TEST(ActionTypes, RuleActionAcceptsNineteen) {
  OutputCapture capture;
  expectTypesAccepted(ruleAction,
                      {1, 2, 3, 4, 6, 8, 10, 11, 18, 19, 42, 43, 48, 49, 54, 56, 66, 67, 68});
}

TEST(ActionTypes, ClassIdAccepts62To64) {
  expectTypesAccepted(aclLibConfigActionClassId, {62, 63, 64});
}

TEST(ActionTypes, CpuQosSdnReturnsMinus1ForOtherSelectors) {
  expectTypesAccepted(cpuQosSdn, {0, 1, 2}, -1);
}

TEST(ActionTypes, UnhandledRuleActionIsReported) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  OutputCapture capture;
  EXPECT_EQ(aclLibConfigRuleAction(policy.handle(), 1, 5), -2);
  EXPECT_EQ(aclLibConfigRuleAction(policy.handle(), 1, 7), -2);
  EXPECT_EQ(aclLibConfigRuleAction(policy.handle(), 1, -1), -2);
  EXPECT_EQ(capture.standardOutput(),
            "aclLibConfigRuleAction - Unhandled actionType 5\n"
            "aclLibConfigRuleAction - Unhandled actionType 7\n"
            "aclLibConfigRuleAction - Unhandled actionType -1\n");
  EXPECT_EQ(policy.entries(), Bytes());
}

TEST(ActionTypes, BadSdnSelectorReturnsMinus1SilentlyAndWritesNothing) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  const Bytes queue = hex("07");
  OutputCapture capture;
  EXPECT_EQ(aclLibConfigActionCpuQosSDN(policy.handle(), 1, queue.data(), 3), -1);
  EXPECT_EQ(aclLibConfigActionCpuQosSDN(policy.handle(), 1, nullptr, 3), -1);
  EXPECT_EQ(aclLibConfigActionCpuQosSDN(policy.handle(), 1, queue.data(), 0xFFFFFFFF), -1);
  EXPECT_EQ(capture.standardOutput(), "");
  EXPECT_EQ(policy.entries(), Bytes());
}

TEST(ActionTypes, HandlesAreCheckedBeforeTheSdnSelector) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  OutputCapture capture;
  EXPECT_EQ(aclLibConfigActionCpuQosSDN(-1, 1, nullptr, 3), -2);
  EXPECT_EQ(aclLibConfigActionCpuQosSDN(policy.handle(), 2, nullptr, 3), -2);
  EXPECT_EQ(capture.standardOutput(), invalidPolicyMessage("aclLibConfigActionCpuQosSDN", -1) +
                                          invalidRuleMessage(2, policy.handle()));
}

// ---- Sizes and places ---------------------------------------------------------------------------

TEST(ActionSizes, MirrorAdds40Bytes) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  const Bytes name = numberedBytes(33);
  aclLibConfigActionMirror(policy.handle(), 1, name.data());
  EXPECT_EQ(ruleLength(policy->openRule), 48U + 40);
}

TEST(ActionSizes, RedirectAdds8BytesForEitherSelector) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  const Bytes target = hex("01020304");
  aclLibConfigActionRedirect(policy.handle(), 1, target.data(), 179);
  aclLibConfigActionRedirect(policy.handle(), 1, target.data(), 178);
  EXPECT_EQ(policy.entries(), hex("0045 0004 01020304 0016 0004 01020304"));
}

TEST(ActionSizes, Dot1pAndDot1pReplaceValueWriteTheSameEntry) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  const Bytes priority = hex("00000005");
  EXPECT_EQ(aclLibConfigActionDot1p(policy.handle(), 1, priority.data()), 0);
  EXPECT_EQ(aclLibConfigActionDot1pReplaceValue(policy.handle(), 1, priority.data()), 0);
  EXPECT_EQ(policy.entries(), hex("0014 0004 00000005 0014 0004 00000005"));
}

TEST(ActionSizes, ActionsFollowTheConditions) {
  const TestPolicy policy;
  aclLibNewRule(policy.handle(), "rule", 1);
  const Bytes protocol = hex("11ff");
  aclLibAddRuleCondProtocol(policy.handle(), 1, protocol.data());
  aclLibConfigRuleAction(policy.handle(), 1, 10);
  aclLibConfigRuleAction(policy.handle(), 1, 1);
  EXPECT_EQ(copyOf(policy->openRule + 44, 4), hex("0000e040"));  // 56 << 10 | 64
  EXPECT_EQ(policy.entries(), hex("0003 0004 11ff 0000 000a 0000 0001 0000"));
}

TEST(ActionSizes, RuleOf160BytesIsLaidDownByteForByte) {
  const TestPolicy policy;
  const AclPolicyHandle handle = policy.handle();
  aclLibNewRule(handle, "web", 7);
  aclLibAddRuleCondIPAddr(handle, 7, 0, hex("0a000001 ffffffff").data());
  aclLibAddRuleCondIPAddr(handle, 7, 1, hex("c0a80000 ffff0000").data());
  aclLibAddRuleCondProtocol(handle, 7, hex("06ff").data());
  aclLibAddRuleCondPortRange(handle, 7, 12, hex("0400 ffff 0000").data());
  aclLibAddRuleCondPortRange(handle, 7, 13, hex("0050 0050 ffff").data());
  aclLibAddRuleCondTcpFlags(handle, 7, hex("0212").data());
  aclLibConfigActionCount(handle, 7, numberedBytes(38).data());
  aclLibConfigRuleAction(handle, 7, 1);
  // Conditions end at 112 (0x70 << 10 = 0x1C000), the rule at 160 (0xA0).
  EXPECT_EQ(copyOf(policy->openRule, 160),
            join(bytesOf("web"), Bytes(33), hex("00000007 00000000 0001c0a0"),
                 hex("0000 0008 0a000001 ffffffff"), hex("0001 0008 c0a80000 ffff0000"),
                 hex("0003 0004 06ff 0000"), hex("000c 0008 0400 ffff 0000 0000"),
                 hex("000d 0008 0050 0050 ffff 0000"), hex("000e 0004 0212 0000"), hex("000c 0028"),
                 numberedBytes(38), Bytes(2), hex("0001 0000")));
}

}  // namespace
