#include "manager/decode/app_rule_requests.h"

#include <optional>
#include <string_view>

#include "acl_lib/client/app_rule_bodies.h"
#include "acl_lib/client/rule_validity_bodies.h"
#include "acl_lib/encoding/message_body.h"
#include "manager/decode/body_checks.h"

namespace aclmgr {

Outcome<AppRuleRequest> decodeAppRule(std::span<const std::byte> body) {
  using Body = acl::AppRuleBody;
  const auto decoded = readerOver<Body>(body);
  if (!decoded) return decoded.refusal();
  const acl::BodyReader<Body> reader = decoded.value();
  const std::string_view name = reader.get(Body::ruleName);
  if (const auto problem = problemOfNameOf("rule", name)) return *problem;
  const std::string_view refName = reader.get(Body::refName);
  if (const auto problem = problemOfName(refName)) return *problem;
  return AppRuleRequest{std::string(name), std::string(refName), reader.get(Body::flags),
                        reader.get(Body::position)};
}

Outcome<RuleValidityRequest> decodeRuleValidity(std::span<const std::byte> body) {
  using Body = acl::RuleValidityBody;
  const auto decoded = readerOver<Body>(body);
  if (!decoded) return decoded.refusal();
  const acl::BodyReader<Body> reader = decoded.value();
  const bool isPolicy = reader.get(Body::policyFlag) != 0;
  const std::string_view name = reader.get(Body::ruleName);
  if (const auto problem = problemOfNameOf(isPolicy ? "policy" : "rule", name)) return *problem;
  if (const auto problem = problemOfFixedWord(reader.get(Body::fixedWord), Body::kFixedWord)) {
    return *problem;
  }
  return RuleValidityRequest{std::string(name), isPolicy, reader.get(Body::direction)};
}

}  // namespace aclmgr
