// Request bodies about rules that clients evaluate themselves, into requests.
#ifndef MANAGER_DECODE_APP_RULE_REQUESTS_H
#define MANAGER_DECODE_APP_RULE_REQUESTS_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "manager/decode/outcome.h"

namespace aclmgr {

// A dynamic rule is installed in the rule table of a client, or taken out of it. Where it stands
// there is the client's business.
struct AppRuleRequest {
  std::string ruleName;
  std::string refName;  // may be empty
  std::uint32_t flags;
  std::uint32_t position;
};

// Whether a rule or policy can be installed.
struct RuleValidityRequest {
  std::string name;
  bool isPolicy;
  std::uint8_t direction;
};

// Each decodes the body of one request. kInvalidMessage, and why, for a body of another length than
// its table's, a name that is not terminated, a name of a rule or policy that is empty, or a fixed
// word of another value.
Outcome<AppRuleRequest> decodeAppRule(std::span<const std::byte> body);
Outcome<RuleValidityRequest> decodeRuleValidity(std::span<const std::byte> body);

}  // namespace aclmgr

#endif  // MANAGER_DECODE_APP_RULE_REQUESTS_H
