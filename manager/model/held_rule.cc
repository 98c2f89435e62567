#include "manager/model/held_rule.h"

#include <utility>

namespace aclmgr {

std::optional<HeldRule> HeldRule::hold(std::string_view name, DynamicRuleStore &rules,
                                       PolicyStore &policies) {
  std::string ownName(name);  // first: nothing fails once the rule is held
  if (rules.hold(name) == Status::kOk) return HeldRule(std::move(ownName), &rules, nullptr);
  if (policies.hold(name) == Status::kOk) return HeldRule(std::move(ownName), nullptr, &policies);
  return std::nullopt;
}

HeldRule::HeldRule(std::string name, DynamicRuleStore *rules, PolicyStore *policies) noexcept
    : name_(std::move(name)), rules_(rules), policies_(policies) {}

HeldRule::HeldRule(HeldRule &&other) noexcept
    : name_(std::move(other.name_)),
      rules_(std::exchange(other.rules_, nullptr)),
      policies_(std::exchange(other.policies_, nullptr)) {}

HeldRule &HeldRule::operator=(HeldRule &&other) noexcept {
  if (this == &other) return *this;
  release();
  name_ = std::move(other.name_);
  rules_ = std::exchange(other.rules_, nullptr);
  policies_ = std::exchange(other.policies_, nullptr);
  return *this;
}

HeldRule::~HeldRule() {
  release();
}

void HeldRule::release() noexcept {
  if (rules_ != nullptr) rules_->release(name_);
  if (policies_ != nullptr) policies_->release(name_);
}

}  // namespace aclmgr
