// A rule or policy that something else needs.
#ifndef MANAGER_MODEL_HELD_RULE_H
#define MANAGER_MODEL_HELD_RULE_H

#include <optional>
#include <string>
#include <string_view>

#include "manager/model/dynamic_rule_store.h"
#include "manager/model/policy_store.h"

namespace aclmgr {

// While it lives, its rule or policy is not removed from its store. The stores outlive it.
class HeldRule {
 public:
  // Holds the dynamic rule of a name or, when there is none, the policy. Returns nothing when there
  // is neither. May throw std::bad_alloc: then nothing is held.
  static std::optional<HeldRule> hold(std::string_view name, DynamicRuleStore &rules,
                                      PolicyStore &policies);

  HeldRule(HeldRule &&other) noexcept;
  HeldRule &operator=(HeldRule &&other) noexcept;
  HeldRule(const HeldRule &) = delete;
  HeldRule &operator=(const HeldRule &) = delete;
  ~HeldRule();

 private:
  // One of the stores is null; both are when another object holds in its place.
  HeldRule(std::string name, DynamicRuleStore *rules, PolicyStore *policies) noexcept;
  void release() noexcept;

  std::string name_;
  DynamicRuleStore *rules_;
  PolicyStore *policies_;
};

}  // namespace aclmgr

#endif  // MANAGER_MODEL_HELD_RULE_H
