// The bodies of the requests about policies.
#ifndef ACL_LIB_POLICY_POLICY_BODIES_H
#define ACL_LIB_POLICY_POLICY_BODIES_H

#include "acl_lib/encoding/message_body.h"

namespace acl {

// kMsgAddPolicy and kMsgRefreshPolicy: the head of each chunk of a policy's encoded rules. The
// chunk follows the head.
struct PolicyChunkBody {
  static constexpr std::size_t size = 652;
  // Encoded bytes that one request carries at most.
  static constexpr std::size_t kMaxChunk = 7872;

  static constexpr Field<PolicyChunkBody, std::uint16_t> code{0, "code"};
  static constexpr Field<PolicyChunkBody, Name> policyName{592, "policyName"};
  static constexpr Field<PolicyChunkBody, std::uint32_t> totalLength{628, "totalLength"};
  static constexpr Field<PolicyChunkBody, std::uint32_t> chunkLength{632, "chunkLength"};
  static constexpr Field<PolicyChunkBody, std::uint32_t> chunkOffset{636, "chunkOffset"};
  static constexpr Field<PolicyChunkBody, std::uint16_t> ruleCount{640, "ruleCount"};
  static constexpr Field<PolicyChunkBody, std::uint16_t> policyAttr{642, "policyAttr"};
  static constexpr Field<PolicyChunkBody, std::uint32_t> zero{644, "zero"};
  // The low 32 bits of the sender's own address of the chunk; no receiver may use it.
  static constexpr Field<PolicyChunkBody, std::uint32_t> senderAddress{648, "senderAddress"};

  static constexpr FieldTable table{code,      policyName, totalLength, chunkLength,  chunkOffset,
                                    ruleCount, policyAttr, zero,        senderAddress};
};
static_assert(isWellFormed<PolicyChunkBody>());

// kMsgDeletePolicy, in both directions.
struct DeletePolicyBody {
  static constexpr std::size_t size = 652;

  static constexpr Field<DeletePolicyBody, std::uint16_t> code{0, "code"};
  static constexpr Field<DeletePolicyBody, RequestHeader> header{2, "header"};
  static constexpr Field<DeletePolicyBody, Name> policyName{592, "policyName"};

  static constexpr FieldTable table{code, header, policyName};
};
static_assert(isWellFormed<DeletePolicyBody>());

// kMsgConfigPolicy and kMsgUnconfigPolicy: apply a policy to a port and VLAN, or take it off.
struct PolicyBindingBody {
  static constexpr std::size_t size = 2096;

  static constexpr Field<PolicyBindingBody, std::uint16_t> code{0, "code"};
  static constexpr Field<PolicyBindingBody, RequestHeader> header{2, "header"};
  static constexpr Field<PolicyBindingBody, Name> policyName{608, "policyName"};
  static constexpr Field<PolicyBindingBody, std::uint8_t> applyFlags{744, "applyFlags"};
  // Slot in bits 16 to 23, port number in bits 0 to 15.
  static constexpr Field<PolicyBindingBody, std::uint32_t> port{748, "port"};
  static constexpr Field<PolicyBindingBody, std::uint32_t> vlan{2068, "vlan"};
  static constexpr Field<PolicyBindingBody, std::uint8_t> direction{2072, "direction"};

  static constexpr FieldTable table{code, header, policyName, applyFlags, port, vlan, direction};
};
static_assert(isWellFormed<PolicyBindingBody>());

// kMsgModifyRule: the head; the encoded rules follow it.
struct ModifyRuleBody {
  static constexpr std::size_t size = 652;

  static constexpr Field<ModifyRuleBody, std::uint16_t> code{0, "code"};
  static constexpr Field<ModifyRuleBody, RequestHeader> header{2, "header"};
  static constexpr Field<ModifyRuleBody, Name> policyName{592, "policyName"};
  static constexpr Field<ModifyRuleBody, std::uint32_t> argument1{628, "argument1"};
  static constexpr Field<ModifyRuleBody, std::uint32_t> argument2{632, "argument2"};
  static constexpr Field<ModifyRuleBody, std::uint8_t> zero{640, "zero"};
  static constexpr Field<ModifyRuleBody, std::uint8_t> argument8bit{641, "argument8bit"};
  static constexpr Field<ModifyRuleBody, std::uint32_t> argument3{644, "argument3"};
  static constexpr Field<ModifyRuleBody, std::uint32_t> rulesLength{648, "rulesLength"};

  static constexpr FieldTable table{code, header,       policyName, argument1,  argument2,
                                    zero, argument8bit, argument3,  rulesLength};
};
static_assert(isWellFormed<ModifyRuleBody>());

}  // namespace acl

#endif  // ACL_LIB_POLICY_POLICY_BODIES_H
