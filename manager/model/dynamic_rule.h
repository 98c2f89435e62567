// Dynamic rules as the manager keeps them: plain values that know nothing of messages.
#ifndef MANAGER_MODEL_DYNAMIC_RULE_H
#define MANAGER_MODEL_DYNAMIC_RULE_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "manager/model/policy.h"

namespace aclmgr {

// A rule outside any policy.
struct DynamicRule {
  std::string name;
  std::uint32_t owner = 0;                // the application that added it
  Rule rule;                              // has a name of its own, which nothing goes by
  std::vector<std::string> counterNames;  // those of its count actions

  bool operator==(const DynamicRule &) const = default;
};

// How a rule is bound at a point.
struct BindingAttributes {
  std::string relativeRuleName;  // the rule it was placed beside; empty: placed by its priority
  std::int32_t priority = 0;
  std::uint32_t ruleFlags = 0;  // these four are kept, without meaning here
  std::uint8_t ruleKind = 0;
  std::uint16_t bindAttr = 0;
  std::uint32_t bindFlags = 0;

  bool operator==(const BindingAttributes &) const = default;
};

// A rule that is bound at a point.
struct RuleBinding {
  BindingAttributes attributes;
  std::int32_t rank = 0;  // what the order at the point goes by; see DynamicRuleStore::bind()
  std::map<std::string, std::uint64_t, std::less<>> counters;  // packets, by the counter's name
};

}  // namespace aclmgr

#endif  // MANAGER_MODEL_DYNAMIC_RULE_H
