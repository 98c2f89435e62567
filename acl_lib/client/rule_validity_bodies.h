// The body of the question whether a rule can be installed.
#ifndef ACL_LIB_CLIENT_RULE_VALIDITY_BODIES_H
#define ACL_LIB_CLIENT_RULE_VALIDITY_BODIES_H

#include "acl_lib/encoding/message_body.h"

namespace acl {

// kMsgCheckRuleValidity.
struct RuleValidityBody {
  static constexpr std::size_t size = 640;
  // What the manager expects at 8.
  static constexpr std::uint32_t kFixedWord = 9;

  static constexpr Field<RuleValidityBody, std::uint16_t> code{0, "code"};
  // Always kFixedWord.
  static constexpr Field<RuleValidityBody, std::uint32_t> fixedWord{8, "fixedWord"};
  static constexpr Field<RuleValidityBody, std::uint32_t> cookie{588, "cookie"};
  static constexpr Field<RuleValidityBody, std::uint16_t> argument{592, "argument"};
  static constexpr Field<RuleValidityBody, Name> ruleName{594, "ruleName"};
  static constexpr Field<RuleValidityBody, std::uint32_t> policyFlag{628, "policyFlag"};
  static constexpr Field<RuleValidityBody, std::uint8_t> attribute{632, "attribute"};
  static constexpr Field<RuleValidityBody, std::uint8_t> portCount{633, "portCount"};
  static constexpr Field<RuleValidityBody, std::uint8_t> firstPort{634, "firstPort"};
  static constexpr Field<RuleValidityBody, std::uint8_t> secondPort{635, "secondPort"};
  static constexpr Field<RuleValidityBody, std::uint8_t> direction{636, "direction"};

  static constexpr FieldTable table{code,      fixedWord,  cookie,    argument,
                                    ruleName,  policyFlag, attribute, portCount,
                                    firstPort, secondPort, direction};
};
static_assert(isWellFormed<RuleValidityBody>());

}  // namespace acl

#endif  // ACL_LIB_CLIENT_RULE_VALIDITY_BODIES_H
