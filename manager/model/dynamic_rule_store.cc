#include "manager/model/dynamic_rule_store.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace aclmgr {
namespace {

// Bindings come as they are or constant.
template <typename Bindings>
auto placeOf(Bindings &bindings, std::string_view name) {
  return std::ranges::find(bindings, name, &RuleBinding::ruleName);
}

template <typename Points>
auto bindingIn(Points &points, std::string_view name, const BindingPoint &point)
    -> decltype(&points.begin()->second.front()) {
  const auto bindings = points.find(point);
  if (bindings == points.end()) return nullptr;
  const auto place = placeOf(bindings->second, name);
  return place == bindings->second.end() ? nullptr : &*place;
}

}  // namespace

DynamicRuleStore::KeptRule *DynamicRuleStore::keptRule(std::string_view name) {
  const auto found = rules_.find(name);
  return found == rules_.end() ? nullptr : &found->second;
}

const DynamicRule *DynamicRuleStore::find(std::string_view name) const {
  const auto found = rules_.find(name);
  return found == rules_.end() ? nullptr : &found->second.rule;
}

RuleBinding *DynamicRuleStore::bindingOf(std::string_view name, const BindingPoint &point) {
  return bindingIn(points_, name, point);
}

const RuleBinding *DynamicRuleStore::bindingOf(std::string_view name,
                                               const BindingPoint &point) const {
  return bindingIn(points_, name, point);
}

Status DynamicRuleStore::reasonOfNoBinding(std::string_view name) const {
  return rules_.contains(name) ? Status::kInstanceNotExist : Status::kRuleNotExist;
}

Status DynamicRuleStore::add(DynamicRule rule) {
  if (const DynamicRule *existing = find(rule.name)) {
    return *existing == rule ? Status::kOk : Status::kRuleExist;
  }
  if (rules_.size() >= limits_.rules) return Status::kNoMemory;
  std::string name = rule.name;
  rules_.emplace(std::move(name), KeptRule{std::move(rule)});
  return Status::kOk;
}

Status DynamicRuleStore::remove(std::string_view name, std::uint32_t owner) {
  const auto found = rules_.find(name);
  if (found == rules_.end() || found->second.rule.owner != owner) return Status::kRuleNotExist;
  const KeptRule &kept = found->second;
  if (kept.bindings != 0 || kept.holds != 0 || kept.installed) return Status::kRuleInUse;
  rules_.erase(found);
  return Status::kOk;
}

Status DynamicRuleStore::bind(std::string_view name, const BindingPoint &point,
                              const BindingAttributes &attributes) {
  KeptRule *kept = keptRule(name);
  if (kept == nullptr) return Status::kRuleNotExist;
  if (const RuleBinding *existing = bindingOf(name, point)) {
    return existing->attributes == attributes ? Status::kOk : Status::kRuleInUse;
  }
  if (!attributes.relativeRuleName.empty() &&
      bindingOf(attributes.relativeRuleName, point) == nullptr) {
    return Status::kRuleNotExist;
  }
  if (tableIsFull()) return Status::kNoHardwareResource;
  return place(*kept, point, attributes);
}

Status DynamicRuleStore::place(KeptRule &kept, const BindingPoint &point,
                               const BindingAttributes &attributes) {
  Bindings newBinding;  // a list of its own, so that nothing fails once the point is touched
  RuleBinding &binding =
      newBinding.emplace_back(RuleBinding{kept.rule.name, attributes, attributes.priority, {}});
  for (const std::string &counter : kept.rule.counterNames) binding.counters.try_emplace(counter);

  Bindings &bindings = points_[point];
  Bindings::iterator next;
  if (attributes.relativeRuleName.empty()) {
    next = std::ranges::find_if(
        bindings, [&](const RuleBinding &other) { return other.rank > attributes.priority; });
  } else {
    next = placeOf(bindings, attributes.relativeRuleName);
    binding.rank = next->rank;
    if (attributes.priority != kPlacedBefore) ++next;
  }
  bindings.splice(next, newBinding);
  ++kept.bindings;
  ++bindingCount_;
  return Status::kOk;
}

void DynamicRuleStore::takeOff(KeptRule &kept, Points::iterator point) noexcept {
  Bindings &bindings = point->second;
  const auto place = placeOf(bindings, kept.rule.name);
  if (place == bindings.end()) return;
  bindings.erase(place);
  if (bindings.empty()) points_.erase(point);
  --kept.bindings;
  --bindingCount_;
}

void DynamicRuleStore::takeOffEverywhere(KeptRule &kept) noexcept {
  for (auto point = points_.begin(); kept.bindings != 0 && point != points_.end();) {
    takeOff(kept, point++);  // which may erase it
  }
}

Status DynamicRuleStore::unbind(std::string_view name, const BindingPoint &point) {
  if (bindingOf(name, point) == nullptr) return reasonOfNoBinding(name);
  takeOff(*keptRule(name), points_.find(point));
  return Status::kOk;
}

Status DynamicRuleStore::unbindAll(std::string_view name) {
  KeptRule *kept = keptRule(name);
  if (kept == nullptr) return Status::kRuleNotExist;
  if (kept->bindings == 0) return Status::kInstanceNotExist;
  takeOffEverywhere(*kept);
  return Status::kOk;
}

Status DynamicRuleStore::count(std::string_view name, const BindingPoint &point,
                               std::uint64_t packets) {
  RuleBinding *binding = bindingOf(name, point);
  if (binding == nullptr) return reasonOfNoBinding(name);
  for (auto &[counterName, value] : binding->counters) value += packets;
  return Status::kOk;
}

Status DynamicRuleStore::readCounter(std::string_view name, const BindingPoint &point,
                                     std::string_view counterName, std::uint64_t &value) const {
  const RuleBinding *binding = bindingOf(name, point);
  if (binding == nullptr) return reasonOfNoBinding(name);
  const auto counter = binding->counters.find(counterName);
  if (counter == binding->counters.end()) return Status::kCounterNotExist;
  value = counter->second;
  return Status::kOk;
}

Status DynamicRuleStore::clearCounter(std::string_view name, const BindingPoint &point,
                                      std::string_view counterName) {
  RuleBinding *binding = bindingOf(name, point);
  if (binding == nullptr) return reasonOfNoBinding(name);
  const auto counter = binding->counters.find(counterName);
  if (counter == binding->counters.end()) return Status::kCounterNotExist;
  counter->second = 0;
  return Status::kOk;
}

Status DynamicRuleStore::install(std::string_view name) {
  KeptRule *kept = keptRule(name);
  if (kept == nullptr) return Status::kRuleNotExist;
  kept->installed = true;
  return Status::kOk;
}

Status DynamicRuleStore::uninstall(std::string_view name) {
  KeptRule *kept = keptRule(name);
  if (kept == nullptr) return Status::kRuleNotExist;
  if (!kept->installed) return Status::kInstanceNotExist;
  kept->installed = false;
  return Status::kOk;
}

Status DynamicRuleStore::hold(std::string_view name) {
  KeptRule *kept = keptRule(name);
  if (kept == nullptr) return Status::kRuleNotExist;
  ++kept->holds;
  return Status::kOk;
}

void DynamicRuleStore::release(std::string_view name) noexcept {
  KeptRule *kept = keptRule(name);
  if (kept != nullptr && kept->holds != 0) --kept->holds;
}

std::size_t DynamicRuleStore::removeAllOf(std::uint32_t owner) noexcept {
  std::size_t found = 0;
  for (auto rule = rules_.begin(); rule != rules_.end();) {
    KeptRule &kept = rule->second;
    const bool isOwned = kept.rule.owner == owner;
    if (isOwned) {
      ++found;
      takeOffEverywhere(kept);
      kept.installed = false;
    }
    rule = isOwned && kept.holds == 0 ? rules_.erase(rule) : std::next(rule);
  }
  return found;
}

std::uint32_t DynamicRuleStore::indexAt(std::string_view name, const BindingPoint &point) const {
  const auto bindings = points_.find(point);
  if (bindings == points_.end()) return 0;
  const auto place = placeOf(bindings->second, name);
  if (place == bindings->second.end()) return 0;
  return static_cast<std::uint32_t>(std::distance(bindings->second.begin(), place)) + 1;
}

bool DynamicRuleStore::isInstalled(std::string_view name) const {
  const auto found = rules_.find(name);
  return found != rules_.end() && found->second.installed;
}

}  // namespace aclmgr
