// What the client library encodes, the manager takes: every call that writes a code of its own.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "acl_lib.h"
#include "acl_lib/encoding/rule_dump.h"
#include "manager/decode/rules.h"
#include "manager/server/request_log.h"

namespace aclmgr {
namespace {

using DataCall = int32_t (*)(AclPolicyHandle, std::uint32_t, const void *);
using TypedCall = int32_t (*)(AclPolicyHandle, std::uint32_t, std::uint32_t, const void *);

// Data as the library reads it: more than any entry needs, no byte like another nearby.
const std::array<std::byte, 80> &anyData() {
  static const std::array<std::byte, 80> data = [] {
    std::array<std::byte, 80> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::byte>(i + 1);
    return bytes;
  }();
  return data;
}

// A policy with one rule, to which `addEntry` adds one entry; what the manager makes of it.
template <typename AddEntry>
Rule decodedRule(AddEntry addEntry) {
  const AclPolicyHandle handle = aclLibNewPolicy("p");
  aclLibNewRule(handle, "r", 1);
  EXPECT_EQ(addEntry(handle), 0);
  aclLibEndRule(handle);
  const auto *policy = reinterpret_cast<const AclPolicy *>(handle);
  const auto rules = decodeRules(std::as_bytes(std::span(policy->ruleBuffer, policy->usedSize)),
                                 policy->ruleCount);
  EXPECT_TRUE(rules) << rules.refusal().reason;
  return rules ? rules.value()[0] : Rule{};
}

void expectEntry(const std::vector<Entry> &entries, std::uint32_t type, std::size_t width) {
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].type, type);
  EXPECT_EQ(entries[0].value,
            std::vector<std::byte>(anyData().begin(),
                                   anyData().begin() + static_cast<std::ptrdiff_t>(width)));
}

struct FixedRow {
  DataCall call;
  std::uint32_t type;
  std::size_t width;
};

struct TypedRow {
  TypedCall call;
  std::vector<std::uint32_t> types;
  std::size_t width;
};

TEST(LibraryRules, EveryConditionWithItsOwnCodeIsTaken) {
  const FixedRow rows[] = {{aclLibAddRuleCondProtocol, 3, 2},
                           {aclLibAddRuleCondTcpFlags, 14, 2},
                           {aclLibAddRuleCondEtherType, 18, 4},
                           {aclLibAddRuleCondDsap, 37, 1},
                           {aclLibAddRuleCondSsap, 38, 1},
                           {aclLibAddRuleCondSnapType, 39, 2},
                           {aclLibAddRuleCondIPOptions, 4, 4},
                           {aclLibAddRuleCondL4Match, 55, 12},
                           {aclLibAddRuleCondSlotPortRange, 26, 8},
                           {aclLibAddRuleCondDstPhysPort, 45, 4},
                           {aclLibAddRuleCondSrcPhysPort, 46, 4},
                           {aclLibAddRuleCondSrcPhysPortList, 47, 64},
                           {aclLibAddRuleCondDCSP, 7, 2},
                           {aclLibAddRuleCondVXLANVni, 54, 8},
                           {aclLibAddRuleCondTOS, 5, 2},
                           {aclLibAddRuleCondTTL, 6, 2},
                           {aclLibAddRuleCondVlanFormat, 51, 4},
                           {aclLibAddRuleCondICMPType, 16, 2},
                           {aclLibAddRuleCondICMPCode, 17, 2},
                           {aclLibAddRuleCondIGMPType, 15, 2},
                           {aclLibAddRuleCondIpOffset, 25, 70},
                           {aclLibAddRuleCondOspf, 56, 2},
                           {aclLibAddRuleCondPim, 57, 1},
                           {aclLibAddRuleDebugAcl, 58, 12},
                           {aclLibAddRuleCondFlowClassId, 59, 8},
                           {aclLibAddRuleCondFlowGroupId, 60, 8}};
  for (const FixedRow &row : rows) {
    SCOPED_TRACE(row.type);
    expectEntry(
        decodedRule([&](AclPolicyHandle p) { return row.call(p, 1, anyData().data()); }).conditions,
        row.type, row.width);
  }
}

TEST(LibraryRules, EveryConditionWithACodeOfItsCallerIsTaken) {
  const TypedRow rows[] = {
      {aclLibAddRuleCondIPAddr, {0, 1, 34, 35, 40, 41}, 8},
      {aclLibAddRuleCondIPv6Addr, {23, 24}, 36},
      {aclLibAddRuleCondMacAddr, {19, 20, 36}, 12},
      {aclLibAddRuleCondClassId, {48, 49, 50}, 12},
      {aclLibAddRuleCondVidRange, {21, 22, 27, 28, 29, 30, 31, 32, 33}, 12},
      {aclLibAddRuleCondPortRange, {12, 13}, 6},
      {aclLibAddRuleNextHop, {52}, 4},
      {aclLibAddRuleNextHop, {53}, 16},
  };
  for (const TypedRow &row : rows) {
    for (const std::uint32_t type : row.types) {
      SCOPED_TRACE(type);
      expectEntry(decodedRule([&](AclPolicyHandle p) {
                    return row.call(p, 1, type, anyData().data());
                  }).conditions,
                  type, row.width);
    }
  }
}

TEST(LibraryRules, ConditionsWithoutDataOrWithANumberAreTaken) {
  using Policy = AclPolicyHandle;
  expectEntry(decodedRule([](Policy p) { return aclLibAddRuleFragment(p, 1, 10); }).conditions, 10,
              0);
  expectEntry(decodedRule([](Policy p) { return aclLibAddRuleFragment(p, 1, 11); }).conditions, 11,
              0);
  expectEntry(decodedRule([](Policy p) { return aclLibAddRuleSdnVlanAny(p, 1); }).conditions, 44,
              0);
  expectEntry(decodedRule([](Policy p) {
                return aclLibAddRulePktResolution(p, 1, 42, 0x01020304);
              }).conditions,
              42, 4);
  expectEntry(
      decodedRule([](Policy p) { return aclLibAddRuleLookupStatus(p, 1, 0x01020304); }).conditions,
      43, 4);
}

TEST(LibraryRules, EveryActionWithoutDataIsTaken) {
  for (const int type : {1, 2, 3, 4, 6, 8, 10, 11, 18, 19, 42, 43, 48, 49, 54, 56, 66, 67, 68}) {
    SCOPED_TRACE(type);
    expectEntry(
        decodedRule([&](AclPolicyHandle p) { return aclLibConfigRuleAction(p, 1, type); }).actions,
        static_cast<std::uint32_t>(type), 0);
  }
  expectEntry(
      decodedRule([](AclPolicyHandle p) { return aclLibConfigActionDoNotLearn(p, 1); }).actions, 58,
      0);
}

TEST(LibraryRules, EveryActionWithItsOwnCodeIsTaken) {
  const FixedRow rows[] = {{aclLibConfigActionFlowGroupId, 71, 4},
                           {aclLibConfigActionCookie, 50, 2},
                           {aclLibConfigActionCount, 12, 38},
                           {aclLibConfigActionMeter, 13, 36},
                           {aclLibConfigActionMirror, 5, 33},
                           {aclLibConfigActionDomain, 35, 33},
                           {aclLibConfigActionTrafficQueue, 34, 33},
                           {aclLibConfigActionFloodGroup, 36, 66},
                           {aclLibConfigActionQos, 14, 1},
                           {aclLibConfigActionUrpf, 15, 1},
                           {aclLibConfigActionCpuQos, 7, 1},
                           {aclLibConfigActionCpuQosToSnoop, 70, 1},
                           {aclLibConfigActionReplaceMacda, 44, 6},
                           {aclLibConfigActionReplaceMacsa, 45, 6},
                           {aclLibConfigActionReplaceVid, 46, 4},
                           {aclLibConfigActionAddVid, 65, 4},
                           {aclLibConfigActionDot1p, 20, 4},
                           {aclLibConfigActionSVidEtherType, 21, 4},
                           {aclLibConfigActionDscpReplaceValue, 17, 1},
                           {aclLibConfigActionRedirectName, 47, 33}};
  for (const FixedRow &row : rows) {
    SCOPED_TRACE(row.type);
    expectEntry(
        decodedRule([&](AclPolicyHandle p) { return row.call(p, 1, anyData().data()); }).actions,
        row.type, row.width);
  }
}

TEST(LibraryRules, EveryActionWithACodeOfItsCallerIsTaken) {
  const TypedRow rows[] = {
      {aclLibConfigActionClassId, {62, 63, 64}, 2}, {aclLibConfigActionVid, {23, 24, 25}, 4},
      {aclLibConfigActionLagHash, {39}, 4},         {aclLibConfigActionFloodList, {40, 41}, 4},
      {aclLibConfigActionDot1ahEncap, {37}, 33},    {aclLibConfigActionDot1ahDecap, {38}, 33}};
  for (const TypedRow &row : rows) {
    for (const std::uint32_t type : row.types) {
      SCOPED_TRACE(type);
      expectEntry(decodedRule([&](AclPolicyHandle p) {
                    return row.call(p, 1, type, anyData().data());
                  }).actions,
                  type, row.width);
    }
  }
}

TEST(LibraryRules, ActionsWithASelectorAreTaken) {
  const auto sdn = [](std::uint32_t selector) {
    return decodedRule([=](AclPolicyHandle p) {
             return aclLibConfigActionCpuQosSDN(p, 1, anyData().data(), selector);
           })
        .actions;
  };
  expectEntry(sdn(0), 51, 1);
  expectEntry(sdn(1), 52, 1);
  expectEntry(sdn(2), 53, 1);
  const auto redirect = [](std::uint32_t selector) {
    return decodedRule([=](AclPolicyHandle p) {
             return aclLibConfigActionRedirect(p, 1, anyData().data(), selector);
           })
        .actions;
  };
  expectEntry(redirect(178), 22, 4);
  expectEntry(redirect(179), 69, 4);
}

// The lines of a text that say anything, without their indent.
std::vector<std::string> linesOf(const std::string &text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    line.erase(0, line.find_first_not_of(' '));
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

std::string dumpOf(const AclPolicy &policy) {
  char *text = nullptr;
  std::size_t length = 0;
  std::FILE *out = ::open_memstream(&text, &length);
  acl::printRules(out, policy.ruleCount,
                  std::as_bytes(std::span(policy.ruleBuffer, policy.usedSize)));
  std::fclose(out);
  const std::unique_ptr<char, void (*)(void *)> owner(text, std::free);
  return {text, length};
}

TEST(LibraryRules, VerboseLogShowsRulesInTheLinesOfTheDump) {
  constexpr std::uint32_t kLastId = 0xFFFFFFFF;
  const AclPolicyHandle handle = aclLibNewPolicy("p");
  aclLibNewRule(handle, "first", 7);
  aclLibAddRuleCondIPAddr(handle, 7, 0, anyData().data());
  aclLibAddRuleCondMacAddr(handle, 7, 19, anyData().data());
  aclLibAddRuleCondVidRange(handle, 7, 27, anyData().data());
  aclLibAddRuleCondIpOffset(handle, 7, anyData().data());
  aclLibConfigRuleAction(handle, 7, 2);
  aclLibConfigActionCount(handle, 7, anyData().data());
  aclLibNewRule(handle, nullptr, kLastId);
  aclLibConfigActionRedirectName(handle, kLastId, "elsewhere with room for all of 33 bytes");
  aclLibEndRule(handle);
  const auto &policy = *reinterpret_cast<const AclPolicy *>(handle);
  const auto rules =
      decodeRules(std::as_bytes(std::span(policy.ruleBuffer, policy.usedSize)), policy.ruleCount);
  ASSERT_TRUE(rules) << rules.refusal().reason;
  const std::vector<std::string> dump = linesOf(dumpOf(policy));
  EXPECT_EQ(dump.size(), 9U);
  EXPECT_EQ(dump[0], "Rule Name: first Index: 7");
  EXPECT_EQ(dump[7], "Rule Name: def-rule-2 Index: -1");
  EXPECT_EQ(linesOf(rulesText(rules.value())), dump);
}

}  // namespace
}  // namespace aclmgr
