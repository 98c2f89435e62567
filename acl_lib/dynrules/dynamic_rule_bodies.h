// The bodies of the requests about dynamic rules.
#ifndef ACL_LIB_DYNRULES_DYNAMIC_RULE_BODIES_H
#define ACL_LIB_DYNRULES_DYNAMIC_RULE_BODIES_H

#include "acl_lib/encoding/message_body.h"

namespace acl {

// kMsgAddDynRule and, with the name and the application alone, kMsgDeleteDynRule.
struct DynRuleBody {
  static constexpr std::size_t size = 1456;
  // Bytes of an encoded rule that a request carries, whatever the rule's own length.
  static constexpr std::size_t kEncodedRuleSize = 816;
  // What the manager expects at 632.
  static constexpr std::uint32_t kFixedWord = 1;

  static constexpr Field<DynRuleBody, std::uint16_t> code{0, "code"};
  static constexpr Field<DynRuleBody, std::uint32_t> context{588, "context"};
  static constexpr Field<DynRuleBody, Name> ruleName{592, "ruleName"};
  static constexpr Field<DynRuleBody, std::uint32_t> appId{628, "appId"};
  // Always kFixedWord.
  static constexpr Field<DynRuleBody, std::uint32_t> fixedWord{632, "fixedWord"};
  static constexpr Field<DynRuleBody, Bytes<kEncodedRuleSize>> encodedRule{640, "encodedRule"};

  static constexpr FieldTable table{code, context, ruleName, appId, fixedWord, encodedRule};
};
static_assert(isWellFormed<DynRuleBody>());

// kMsgConfigDynRule and kMsgUnconfigDynRule. Single and batched requests fill different fields.
struct DynRuleBindingBody {
  static constexpr std::size_t size = 2096;

  static constexpr Field<DynRuleBindingBody, std::uint16_t> code{0, "code"};
  static constexpr Field<DynRuleBindingBody, Name> leadingRuleName{16, "leadingRuleName"};
  static constexpr Field<DynRuleBindingBody, std::uint32_t> bindCookie{588, "bindCookie"};
  static constexpr Field<DynRuleBindingBody, std::uint32_t> appId{600, "appId"};
  static constexpr Field<DynRuleBindingBody, std::uint32_t> ruleFlags{604, "ruleFlags"};
  static constexpr Field<DynRuleBindingBody, Name> ruleName{608, "ruleName"};
  static constexpr Field<DynRuleBindingBody, Name> relativeRuleName{641, "relativeRuleName"};
  static constexpr Field<DynRuleBindingBody, std::int32_t> priority{740, "priority"};
  static constexpr Field<DynRuleBindingBody, std::uint8_t> ruleKind{744, "ruleKind"};
  // Slot in bits 16 to 23, port number in bits 0 to 15.
  static constexpr Field<DynRuleBindingBody, std::uint32_t> port{748, "port"};
  static constexpr Field<DynRuleBindingBody, std::int32_t> vlan{2068, "vlan"};
  static constexpr Field<DynRuleBindingBody, std::uint8_t> direction{2072, "direction"};
  static constexpr Field<DynRuleBindingBody, std::uint16_t> bindAttr{2084, "bindAttr"};
  static constexpr Field<DynRuleBindingBody, std::uint32_t> bindFlags{2088, "bindFlags"};
  static constexpr Field<DynRuleBindingBody, std::uint32_t> secondBindCookie{2092,
                                                                             "secondBindCookie"};

  static constexpr FieldTable table{
      code,     leadingRuleName,  bindCookie, appId,     ruleFlags,
      ruleName, relativeRuleName, priority,   ruleKind,  port,
      vlan,     direction,        bindAttr,   bindFlags, secondBindCookie};
};
static_assert(isWellFormed<DynRuleBindingBody>());

}  // namespace acl

#endif  // ACL_LIB_DYNRULES_DYNAMIC_RULE_BODIES_H
