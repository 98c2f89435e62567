// The bodies of the requests about what applications have installed.
#ifndef ACL_LIB_POLICY_CLIENT_REQUEST_BODIES_H
#define ACL_LIB_POLICY_CLIENT_REQUEST_BODIES_H

#include "acl_lib/encoding/message_body.h"

namespace acl {

// kMsgUnbindRule.
struct UnbindRuleBody {
  static constexpr std::size_t size = 640;

  static constexpr Field<UnbindRuleBody, std::uint16_t> code{0, "code"};
  static constexpr Field<UnbindRuleBody, std::uint16_t> unbindKey{592, "unbindKey"};
  static constexpr Field<UnbindRuleBody, Name> ruleName{594, "ruleName"};
  static constexpr Field<UnbindRuleBody, std::uint32_t> policyFlag{628, "policyFlag"};
  static constexpr Field<UnbindRuleBody, std::uint8_t> unbindFlag{634, "unbindFlag"};

  static constexpr FieldTable table{code, unbindKey, ruleName, policyFlag, unbindFlag};
};
static_assert(isWellFormed<UnbindRuleBody>());

// kMsgMoveAttribute.
struct MoveAttributeBody {
  static constexpr std::size_t size = 2600;
  // What the manager expects at 8.
  static constexpr std::uint32_t kFixedWord = 9;

  static constexpr Field<MoveAttributeBody, std::uint16_t> code{0, "code"};
  // Always kFixedWord.
  static constexpr Field<MoveAttributeBody, std::uint32_t> fixedWord{8, "fixedWord"};
  static constexpr Field<MoveAttributeBody, std::uint32_t> moveCookie{588, "moveCookie"};
  static constexpr Field<MoveAttributeBody, std::uint8_t> attribute{592, "attribute"};
  static constexpr Field<MoveAttributeBody, std::uint8_t> fromApplication{593, "fromApplication"};
  static constexpr Field<MoveAttributeBody, std::uint8_t> toApplication{594, "toApplication"};

  static constexpr FieldTable table{code,      fixedWord,       moveCookie,
                                    attribute, fromApplication, toApplication};
};
static_assert(isWellFormed<MoveAttributeBody>());

// kMsgCleanClientRules. The two words of an AclClientId stand around its number in the other order.
struct CleanClientBody {
  static constexpr std::size_t size = 604;

  static constexpr Field<CleanClientBody, std::uint16_t> code{0, "code"};
  static constexpr Field<CleanClientBody, std::uint32_t> word2{588, "word2"};
  static constexpr Field<CleanClientBody, std::uint16_t> clientNumber{592, "clientNumber"};
  static constexpr Field<CleanClientBody, std::uint32_t> word1{596, "word1"};

  static constexpr FieldTable table{code, word2, clientNumber, word1};
};
static_assert(isWellFormed<CleanClientBody>());

// One entry of a kMsgCheckPolicy.
struct PolicyEntryBody {
  static constexpr std::size_t size = 44;

  static constexpr Field<PolicyEntryBody, std::uint8_t> type{0, "type"};
  static constexpr Field<PolicyEntryBody, std::uint32_t> value{4, "value"};
  static constexpr Field<PolicyEntryBody, Name> policyName{8, "policyName"};

  static constexpr FieldTable table{type, value, policyName};
};
static_assert(isWellFormed<PolicyEntryBody>());

// kMsgCheckPolicy.
struct CheckPolicyBody {
  static constexpr std::size_t size = 5004;
  // As many as fit.
  static constexpr std::size_t kMaxEntries = 100;
  // What the manager expects at 8.
  static constexpr std::uint32_t kFixedWord = 1;

  static constexpr Field<CheckPolicyBody, std::uint16_t> code{0, "code"};
  // Always kFixedWord.
  static constexpr Field<CheckPolicyBody, std::uint32_t> fixedWord{8, "fixedWord"};
  static constexpr Field<CheckPolicyBody, std::uint32_t> count{592, "count"};
  static constexpr Field<CheckPolicyBody, std::uint32_t> checkCookie{596, "checkCookie"};
  // `count` PolicyEntryBody, the rest zero.
  static constexpr Field<CheckPolicyBody, Bytes<kMaxEntries * PolicyEntryBody::size>> entries{
      604, "entries"};

  static constexpr FieldTable table{code, fixedWord, count, checkCookie, entries};
};
static_assert(isWellFormed<CheckPolicyBody>());

}  // namespace acl

#endif  // ACL_LIB_POLICY_CLIENT_REQUEST_BODIES_H
