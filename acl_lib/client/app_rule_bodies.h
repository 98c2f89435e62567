// The body of the requests about rules of the rule table.
#ifndef ACL_LIB_CLIENT_APP_RULE_BODIES_H
#define ACL_LIB_CLIENT_APP_RULE_BODIES_H

#include "acl_lib/encoding/message_body.h"

namespace acl {

// kMsgConfigAppRule and, without cookie and refName, kMsgUnconfigAppRule.
struct AppRuleBody {
  static constexpr std::size_t size = 2096;

  static constexpr Field<AppRuleBody, std::uint16_t> code{0, "code"};
  static constexpr Field<AppRuleBody, std::uint32_t> cookie{588, "cookie"};
  static constexpr Field<AppRuleBody, std::uint32_t> flags{600, "flags"};
  static constexpr Field<AppRuleBody, std::uint32_t> position{604, "position"};
  static constexpr Field<AppRuleBody, Name> ruleName{608, "ruleName"};
  static constexpr Field<AppRuleBody, Name> refName{641, "refName"};

  static constexpr FieldTable table{code, cookie, flags, position, ruleName, refName};
};
static_assert(isWellFormed<AppRuleBody>());

}  // namespace acl

#endif  // ACL_LIB_CLIENT_APP_RULE_BODIES_H
