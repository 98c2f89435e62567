// The body of the requests about application policies.
#ifndef ACL_LIB_APPPOLICY_APP_POLICY_BODIES_H
#define ACL_LIB_APPPOLICY_APP_POLICY_BODIES_H

#include "acl_lib/encoding/message_body.h"

namespace acl {

// What the match values of an application policy are. These are codes of their own, which have
// nothing to do with the condition codes of rules.
namespace app_match {
inline constexpr std::uint8_t kName = 26;
inline constexpr std::uint8_t kWords = 39;  // two of them
inline constexpr std::uint8_t kMac = 62;    // an address and its mask
inline constexpr std::uint8_t kMac2 = 63;   // the same
}  // namespace app_match

// One rule of an application policy.
struct AppPolicyEntryBody {
  static constexpr std::size_t size = 40;

  static constexpr Field<AppPolicyEntryBody, Name> ruleName{0, "ruleName"};
  static constexpr Field<AppPolicyEntryBody, std::uint32_t> ruleAttr{36, "ruleAttr"};

  static constexpr FieldTable table{ruleName, ruleAttr};
};
static_assert(isWellFormed<AppPolicyEntryBody>());

// kMsgApplyAppPolicy and kMsgUnapplyAppPolicy; the latter fills fewer fields.
struct AppPolicyBody {
  static constexpr std::size_t size = 2360;
  // As many as fit.
  static constexpr std::size_t kMaxEntries = 40;
  // What the manager expects at 8.
  static constexpr std::uint32_t kFixedWord = 1;

  static constexpr Field<AppPolicyBody, std::uint16_t> code{0, "code"};
  // Always kFixedWord.
  static constexpr Field<AppPolicyBody, std::uint32_t> fixedWord{8, "fixedWord"};
  static constexpr Field<AppPolicyBody, std::uint32_t> seqNo{588, "seqNo"};
  static constexpr Field<AppPolicyBody, std::uint8_t> ruleCount{592, "ruleCount"};
  static constexpr Field<AppPolicyBody, std::uint8_t> appId{593, "appId"};
  static constexpr Field<AppPolicyBody, std::uint8_t> flags{595, "flags"};
  static constexpr Field<AppPolicyBody, std::uint16_t> policyAttr{596, "policyAttr"};
  // Its low byte.
  static constexpr Field<AppPolicyBody, std::uint8_t> requestWord1{598, "requestWord1"};
  static constexpr Field<AppPolicyBody, std::uint8_t> match1Type{612, "match1Type"};
  static constexpr Field<AppPolicyBody, Bytes<48>> match1Value{620, "match1Value"};
  static constexpr Field<AppPolicyBody, std::uint8_t> match2Type{668, "match2Type"};
  static constexpr Field<AppPolicyBody, Bytes<36>> match2Value{676, "match2Value"};
  static constexpr Field<AppPolicyBody, std::uint32_t> requestWord2{712, "requestWord2"};
  static constexpr Field<AppPolicyBody, std::uint32_t> requestWord3{716, "requestWord3"};
  static constexpr Field<AppPolicyBody, Name> policyName{720, "policyName"};
  static constexpr Field<AppPolicyBody, std::uint32_t> requestWord0{756, "requestWord0"};
  // `ruleCount` AppPolicyEntryBody, the rest zero.
  static constexpr Field<AppPolicyBody, Bytes<kMaxEntries * AppPolicyEntryBody::size>> entries{
      760, "entries"};

  static constexpr FieldTable table{
      code,         fixedWord,    seqNo,      ruleCount,    appId,      flags,
      policyAttr,   requestWord1, match1Type, match1Value,  match2Type, match2Value,
      requestWord2, requestWord3, policyName, requestWord0, entries};
};
static_assert(isWellFormed<AppPolicyBody>());

}  // namespace acl

#endif  // ACL_LIB_APPPOLICY_APP_POLICY_BODIES_H
