// Request bodies about dynamic rules into requests.
#ifndef MANAGER_DECODE_DYNAMIC_RULE_REQUESTS_H
#define MANAGER_DECODE_DYNAMIC_RULE_REQUESTS_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "manager/decode/outcome.h"
#include "manager/model/dynamic_rule.h"

namespace aclmgr {

// A rule is added.
struct AddRuleRequest {
  std::string ruleName;
  std::uint32_t appId;
  std::span<const std::byte> encodedRule;  // and what lay behind it; borrowed from the body
};

struct DeleteRuleRequest {
  std::string ruleName;
  std::uint32_t appId;
};

// A rule is bound at a point, or taken off it.
struct RuleBindingRequest {
  std::string ruleName;
  std::uint32_t appId;
  BindingPoint point;
  BindingAttributes attributes;  // of no meaning where a rule is taken off
};

// Every binding of a rule or of a policy goes.
struct UnbindRuleRequest {
  std::string name;
  bool isPolicy;
};

// A counter of a rule is read or cleared.
struct CounterRequest {
  std::string ruleName;
  std::string counterName;
  std::uint32_t appId;
  BindingPoint point;
};

// Each decodes the body of one request. kInvalidMessage, and why, for a body of another length than
// its table's, a name that is not terminated, a name of a rule, policy or counter that is empty, or
// a fixed word of another value. Single and batched requests fill different fields; the leading
// name of a single binding request may differ from the rule's and may be empty.
Outcome<AddRuleRequest> decodeAddRule(std::span<const std::byte> body);
Outcome<DeleteRuleRequest> decodeDeleteRule(std::span<const std::byte> body);
Outcome<RuleBindingRequest> decodeRuleBinding(std::span<const std::byte> body);
Outcome<UnbindRuleRequest> decodeUnbindRule(std::span<const std::byte> body);
Outcome<CounterRequest> decodeCounter(std::span<const std::byte> body);

// Makes the rule that an AddRuleRequest adds. kInvalidRule, and why, when the encoded rule is not
// well-formed (decodeFirstRule()) or a name of its counters is not terminated.
Outcome<DynamicRule> dynamicRuleOf(const AddRuleRequest &request);

}  // namespace aclmgr

#endif  // MANAGER_DECODE_DYNAMIC_RULE_REQUESTS_H
