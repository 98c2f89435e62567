#include "manager/model/policy_store.h"

#include <utility>

namespace aclmgr {

PolicyStore::KeptPolicy *PolicyStore::keptPolicy(std::string_view name) {
  const auto found = policies_.find(name);
  return found == policies_.end() ? nullptr : &found->second;
}

const Policy *PolicyStore::find(std::string_view name) const {
  const auto found = policies_.find(name);
  return found == policies_.end() ? nullptr : &found->second.policy;
}

Status PolicyStore::add(Policy policy) {
  if (const Policy *existing = find(policy.name)) {
    return *existing == policy ? Status::kOk : Status::kPolicyExist;
  }
  std::string name = policy.name;
  policies_.emplace(std::move(name), KeptPolicy{std::move(policy)});
  return Status::kOk;
}

Status PolicyStore::replace(Policy policy) {
  KeptPolicy *kept = keptPolicy(policy.name);
  if (kept == nullptr) return Status::kPolicyNotExist;
  kept->policy = std::move(policy);
  return Status::kOk;
}

Status PolicyStore::replaceRules(std::string_view name, std::vector<Rule> rules) {
  KeptPolicy *kept = keptPolicy(name);
  if (kept == nullptr) return Status::kPolicyNotExist;
  kept->policy.rules = std::move(rules);
  return Status::kOk;
}

Status PolicyStore::remove(std::string_view name) {
  const auto found = policies_.find(name);
  if (found == policies_.end()) return Status::kPolicyNotExist;
  if (found->second.bindingCount != 0 || found->second.holds != 0) return Status::kPolicyInUse;
  policies_.erase(found);
  return Status::kOk;
}

Status PolicyStore::bind(std::string_view name, const BindingPoint &point,
                         std::uint8_t applyFlags) {
  KeptPolicy *kept = keptPolicy(name);
  if (kept == nullptr) return Status::kPolicyNotExist;
  const auto [binding, isNew] =
      bindings_.try_emplace(point, Binding{kept->policy.name, applyFlags});
  if (isNew) {
    ++kept->bindingCount;
    return Status::kOk;
  }
  if (binding->second.policyName != name) return Status::kInstanceInUse;
  return binding->second.applyFlags == applyFlags ? Status::kOk : Status::kInstanceExist;
}

Status PolicyStore::unbind(std::string_view name, const BindingPoint &point) {
  KeptPolicy *kept = keptPolicy(name);
  if (kept == nullptr) return Status::kPolicyNotExist;
  const auto binding = bindings_.find(point);
  if (binding == bindings_.end() || binding->second.policyName != name) {
    return Status::kInstanceNotExist;
  }
  bindings_.erase(binding);
  --kept->bindingCount;
  return Status::kOk;
}

Status PolicyStore::unbindAll(std::string_view name) {
  KeptPolicy *kept = keptPolicy(name);
  if (kept == nullptr) return Status::kPolicyNotExist;
  if (kept->bindingCount == 0) return Status::kInstanceNotExist;
  std::erase_if(bindings_,
                [name](const auto &binding) { return binding.second.policyName == name; });
  kept->bindingCount = 0;
  return Status::kOk;
}

Status PolicyStore::hold(std::string_view name) {
  KeptPolicy *kept = keptPolicy(name);
  if (kept == nullptr) return Status::kPolicyNotExist;
  ++kept->holds;
  return Status::kOk;
}

void PolicyStore::release(std::string_view name) noexcept {
  KeptPolicy *kept = keptPolicy(name);
  if (kept != nullptr && kept->holds != 0) --kept->holds;
}

}  // namespace aclmgr
