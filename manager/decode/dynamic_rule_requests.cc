#include "manager/decode/dynamic_rule_requests.h"

#include <optional>
#include <string_view>
#include <utility>

#include "acl_lib/dynrules/counter_bodies.h"
#include "acl_lib/dynrules/dynamic_rule_bodies.h"
#include "acl_lib/encoding/message_body.h"
#include "acl_lib/policy/client_request_bodies.h"
#include "manager/decode/body_checks.h"
#include "manager/decode/count_action.h"
#include "manager/decode/rules.h"

namespace aclmgr {

Outcome<AddRuleRequest> decodeAddRule(std::span<const std::byte> body) {
  using Body = acl::DynRuleBody;
  const auto decoded = readerOver<Body>(body);
  if (!decoded) return decoded.refusal();
  const acl::BodyReader<Body> reader = decoded.value();
  const std::string_view name = reader.get(Body::ruleName);
  if (const auto problem = problemOfNameOf("rule", name)) return *problem;
  if (const auto problem = problemOfFixedWord(reader.get(Body::fixedWord), Body::kFixedWord)) {
    return *problem;
  }
  return AddRuleRequest{std::string(name), reader.get(Body::appId), reader.get(Body::encodedRule)};
}

Outcome<DeleteRuleRequest> decodeDeleteRule(std::span<const std::byte> body) {
  using Body = acl::DynRuleBody;
  const auto reader = readerOver<Body>(body);
  if (!reader) return reader.refusal();
  const std::string_view name = reader.value().get(Body::ruleName);
  if (const auto problem = problemOfNameOf("rule", name)) return *problem;
  return DeleteRuleRequest{std::string(name), reader.value().get(Body::appId)};
}

Outcome<RuleBindingRequest> decodeRuleBinding(std::span<const std::byte> body) {
  using Body = acl::DynRuleBindingBody;
  const auto decoded = readerOver<Body>(body);
  if (!decoded) return decoded.refusal();
  const acl::BodyReader<Body> reader = decoded.value();
  const std::string_view name = reader.get(Body::ruleName);
  if (const auto problem = problemOfNameOf("rule", name)) return *problem;
  for (const auto &field : {Body::leadingRuleName, Body::relativeRuleName}) {
    if (const auto problem = problemOfName(reader.get(field))) return *problem;
  }
  return RuleBindingRequest{
      .ruleName = std::string(name),
      .appId = reader.get(Body::appId),
      .point = {.port = reader.get(Body::port),
                .vlan = static_cast<std::uint32_t>(reader.get(Body::vlan)),
                .direction = reader.get(Body::direction)},
      .attributes = {.relativeRuleName = std::string(reader.get(Body::relativeRuleName)),
                     .priority = reader.get(Body::priority),
                     .ruleFlags = reader.get(Body::ruleFlags),
                     .ruleKind = reader.get(Body::ruleKind),
                     .bindAttr = reader.get(Body::bindAttr),
                     .bindFlags = reader.get(Body::bindFlags)}};
}

Outcome<UnbindRuleRequest> decodeUnbindRule(std::span<const std::byte> body) {
  using Body = acl::UnbindRuleBody;
  const auto reader = readerOver<Body>(body);
  if (!reader) return reader.refusal();
  const std::string_view name = reader.value().get(Body::ruleName);
  const bool isPolicy = reader.value().get(Body::policyFlag) != 0;
  if (const auto problem = problemOfNameOf(isPolicy ? "policy" : "rule", name)) return *problem;
  return UnbindRuleRequest{std::string(name), isPolicy};
}

Outcome<CounterRequest> decodeCounter(std::span<const std::byte> body) {
  using Body = acl::CounterBody;
  const auto decoded = readerOver<Body>(body);
  if (!decoded) return decoded.refusal();
  const acl::BodyReader<Body> reader = decoded.value();
  const std::string_view ruleName = reader.get(Body::ruleName);
  if (const auto problem = problemOfNameOf("rule", ruleName)) return *problem;
  const std::string_view counterName = reader.get(Body::counterName);
  if (const auto problem = problemOfNameOf("counter", counterName)) return *problem;
  return CounterRequest{.ruleName = std::string(ruleName),
                        .counterName = std::string(counterName),
                        .appId = reader.get(Body::appId),
                        .point = {.port = reader.get(Body::port),
                                  .vlan = reader.get(Body::vlan),
                                  .direction = reader.get(Body::direction)}};
}

Outcome<DynamicRule> dynamicRuleOf(const AddRuleRequest &request) {
  auto rule = decodeFirstRule(request.encodedRule);
  if (!rule) return rule.refusal();
  auto counterNames = counterNamesOf(rule.value());
  if (!counterNames) return counterNames.refusal();
  return DynamicRule{request.ruleName, request.appId, std::move(rule.value()),
                     std::move(counterNames.value())};
}

}  // namespace aclmgr
