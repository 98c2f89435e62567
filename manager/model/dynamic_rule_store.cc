#include "manager/model/dynamic_rule_store.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace aclmgr {

DynamicRuleStore::KeptRule *DynamicRuleStore::keptRule(std::string_view name) {
  const auto found = rules_.find(name);
  return found == rules_.end() ? nullptr : &found->second;
}

const DynamicRule *DynamicRuleStore::find(std::string_view name) const {
  const auto found = rules_.find(name);
  return found == rules_.end() ? nullptr : &found->second.rule;
}

std::optional<DynamicRuleStore::Bindings::iterator> DynamicRuleStore::placeOf(
    std::string_view name, const BindingPoint &point) const {
  const auto rule = rules_.find(name);
  if (rule == rules_.end()) return std::nullopt;
  const auto place = rule->second.places.find(point);
  if (place == rule->second.places.end()) return std::nullopt;
  return place->second;
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
  rules_.emplace(std::move(name),
                 KeptRule{.rule = std::move(rule), .places = {}, .installers = {}});
  return Status::kOk;
}

Status DynamicRuleStore::remove(std::string_view name, std::uint32_t owner) {
  const auto found = rules_.find(name);
  if (found == rules_.end() || found->second.rule.owner != owner) return Status::kRuleNotExist;
  const KeptRule &kept = found->second;
  if (!kept.places.empty() || !kept.installers.empty() || kept.holds != 0) {
    return Status::kRuleInUse;
  }
  rules_.erase(found);
  return Status::kOk;
}

Status DynamicRuleStore::bind(std::string_view name, const BindingPoint &point,
                              const BindingAttributes &attributes) {
  KeptRule *kept = keptRule(name);
  if (kept == nullptr) return Status::kRuleNotExist;
  if (const auto existing = placeOf(name, point)) {
    return (*existing)->attributes == attributes ? Status::kOk : Status::kRuleInUse;
  }
  std::optional<Bindings::iterator> beside;
  if (!attributes.relativeRuleName.empty()) {
    beside = placeOf(attributes.relativeRuleName, point);
    if (!beside) return Status::kRuleNotExist;
  }
  if (tableIsFull()) return Status::kNoHardwareResource;
  // Of their own, so that nothing fails once the store is touched.
  Bindings newBinding;
  RuleBinding &binding =
      newBinding.emplace_back(RuleBinding{.attributes = attributes, .counters = {}});
  for (const std::string &counter : kept->rule.counterNames) binding.counters.try_emplace(counter);
  Places newPlace{{point, newBinding.begin()}};
  Bindings &bindings = points_[point];
  bindings.splice(nextOf(binding, bindings, beside), newBinding);
  kept->places.merge(newPlace);
  ++bindingCount_;
  return Status::kOk;
}

DynamicRuleStore::Bindings::iterator DynamicRuleStore::nextOf(
    RuleBinding &binding, Bindings &bindings, std::optional<Bindings::iterator> beside) {
  const std::int32_t priority = binding.attributes.priority;
  if (beside) {
    binding.rank = (*beside)->rank;
    return priority == kPlacedBefore ? *beside : std::next(*beside);
  }
  binding.rank = priority;
  return std::ranges::find_if(
      bindings, [priority](const RuleBinding &other) { return other.rank > priority; });
}

DynamicRuleStore::Places::iterator DynamicRuleStore::takeOff(KeptRule &kept,
                                                             Places::iterator place) noexcept {
  const auto bindings = points_.find(place->first);
  bindings->second.erase(place->second);
  if (bindings->second.empty()) points_.erase(bindings);
  --bindingCount_;
  return kept.places.erase(place);
}

void DynamicRuleStore::takeOffEverywhere(KeptRule &kept) noexcept {
  for (auto place = kept.places.begin(); place != kept.places.end();) place = takeOff(kept, place);
}

Status DynamicRuleStore::unbind(std::string_view name, const BindingPoint &point) {
  KeptRule *kept = keptRule(name);
  if (kept == nullptr) return Status::kRuleNotExist;
  const auto place = kept->places.find(point);
  if (place == kept->places.end()) return Status::kInstanceNotExist;
  takeOff(*kept, place);
  return Status::kOk;
}

Status DynamicRuleStore::unbindAll(std::string_view name) {
  KeptRule *kept = keptRule(name);
  if (kept == nullptr) return Status::kRuleNotExist;
  if (kept->places.empty()) return Status::kInstanceNotExist;
  takeOffEverywhere(*kept);
  return Status::kOk;
}

Status DynamicRuleStore::count(std::string_view name, const BindingPoint &point,
                               std::uint64_t packets) {
  const auto place = placeOf(name, point);
  if (!place) return reasonOfNoBinding(name);
  for (auto &[counterName, value] : (*place)->counters) value += packets;
  return Status::kOk;
}

Status DynamicRuleStore::readCounter(std::string_view name, const BindingPoint &point,
                                     std::string_view counterName, std::uint64_t &value) const {
  const auto place = placeOf(name, point);
  if (!place) return reasonOfNoBinding(name);
  const auto counter = (*place)->counters.find(counterName);
  if (counter == (*place)->counters.end()) return Status::kCounterNotExist;
  value = counter->second;
  return Status::kOk;
}

Status DynamicRuleStore::clearCounter(std::string_view name, const BindingPoint &point,
                                      std::string_view counterName) {
  const auto place = placeOf(name, point);
  if (!place) return reasonOfNoBinding(name);
  const auto counter = (*place)->counters.find(counterName);
  if (counter == (*place)->counters.end()) return Status::kCounterNotExist;
  counter->second = 0;
  return Status::kOk;
}

Status DynamicRuleStore::install(std::string_view name, std::uint32_t connection) {
  KeptRule *kept = keptRule(name);
  if (kept == nullptr) return Status::kRuleNotExist;
  kept->installers.insert(connection);
  return Status::kOk;
}

Status DynamicRuleStore::uninstall(std::string_view name, std::uint32_t connection) {
  KeptRule *kept = keptRule(name);
  if (kept == nullptr) return Status::kRuleNotExist;
  return kept->installers.erase(connection) != 0 ? Status::kOk : Status::kInstanceNotExist;
}

void DynamicRuleStore::uninstallAllOf(std::uint32_t connection) noexcept {
  for (auto &[name, kept] : rules_) kept.installers.erase(connection);
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
      kept.installers.clear();
    }
    rule = isOwned && kept.holds == 0 ? rules_.erase(rule) : std::next(rule);
  }
  return found;
}

std::uint32_t DynamicRuleStore::indexAt(std::string_view name, const BindingPoint &point) const {
  const auto place = placeOf(name, point);
  if (!place) return 0;
  const Bindings &bindings = points_.at(point);
  const Bindings::const_iterator own = *place;
  return static_cast<std::uint32_t>(std::distance(bindings.begin(), own)) + 1;
}

const BindingPoint *DynamicRuleStore::firstPointOf(std::string_view name) const {
  const auto found = rules_.find(name);
  if (found == rules_.end() || found->second.places.empty()) return nullptr;
  return &found->second.places.begin()->first;
}

bool DynamicRuleStore::isInstalled(std::string_view name) const {
  const auto found = rules_.find(name);
  return found != rules_.end() && !found->second.installers.empty();
}

}  // namespace aclmgr
