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

const BindingPoint *PolicyStore::firstPointOf(std::string_view name) const {
  const auto found = policies_.find(name);
  if (found == policies_.end() || found->second.points.empty()) return nullptr;
  return &*found->second.points.begin();
}

Status PolicyStore::add(Policy policy) {
  if (const Policy *existing = find(policy.name)) {
    return *existing == policy ? Status::kOk : Status::kPolicyExist;
  }
  const std::size_t bytes = policy.encodedBytes;
  if (policies_.size() >= limits_.policies || !fits(bytes, 0)) return Status::kNoMemory;
  std::string name = policy.name;
  policies_.emplace(std::move(name), KeptPolicy{.policy = std::move(policy), .points = {}});
  encodedBytes_ += bytes;
  return Status::kOk;
}

Status PolicyStore::replace(Policy policy) {
  KeptPolicy *kept = keptPolicy(policy.name);
  if (kept == nullptr) return Status::kPolicyNotExist;
  if (!fits(policy.encodedBytes, kept->policy.encodedBytes)) return Status::kNoMemory;
  encodedBytes_ += policy.encodedBytes - kept->policy.encodedBytes;
  kept->policy = std::move(policy);
  return Status::kOk;
}

Status PolicyStore::replaceRules(std::string_view name, std::vector<Rule> rules,
                                 std::size_t encodedBytes) {
  KeptPolicy *kept = keptPolicy(name);
  if (kept == nullptr) return Status::kPolicyNotExist;
  if (!fits(encodedBytes, kept->policy.encodedBytes)) return Status::kNoMemory;
  encodedBytes_ += encodedBytes - kept->policy.encodedBytes;
  kept->policy.rules = std::move(rules);
  kept->policy.encodedBytes = encodedBytes;
  return Status::kOk;
}

Status PolicyStore::remove(std::string_view name) {
  const auto found = policies_.find(name);
  if (found == policies_.end()) return Status::kPolicyNotExist;
  if (!found->second.points.empty() || found->second.holds != 0) return Status::kPolicyInUse;
  encodedBytes_ -= found->second.policy.encodedBytes;
  policies_.erase(found);
  return Status::kOk;
}

Status PolicyStore::bind(std::string_view name, const BindingPoint &point,
                         std::uint8_t applyFlags) {
  KeptPolicy *kept = keptPolicy(name);
  if (kept == nullptr) return Status::kPolicyNotExist;
  if (const auto existing = bindings_.find(point); existing != bindings_.end()) {
    if (existing->second.policyName != name) return Status::kInstanceInUse;
    return existing->second.applyFlags == applyFlags ? Status::kOk : Status::kInstanceExist;
  }
  if (bindings_.size() >= limits_.bindings) return Status::kNoHardwareResource;
  // Of their own, so that nothing fails once the store is touched.
  std::map<BindingPoint, Binding> newBinding{{point, {kept->policy.name, applyFlags}}};
  std::set<BindingPoint> newPoint{point};
  bindings_.merge(newBinding);
  kept->points.merge(newPoint);
  return Status::kOk;
}

Status PolicyStore::unbind(std::string_view name, const BindingPoint &point) {
  KeptPolicy *kept = keptPolicy(name);
  if (kept == nullptr) return Status::kPolicyNotExist;
  const auto binding = bindings_.find(point);
  if (binding == bindings_.end() || binding->second.policyName != name) {
    return Status::kInstanceNotExist;
  }
  bindings_.erase(binding);
  kept->points.erase(point);
  return Status::kOk;
}

Status PolicyStore::unbindAll(std::string_view name) {
  KeptPolicy *kept = keptPolicy(name);
  if (kept == nullptr) return Status::kPolicyNotExist;
  if (kept->points.empty()) return Status::kInstanceNotExist;
  for (const BindingPoint &point : kept->points) bindings_.erase(point);
  kept->points.clear();
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
