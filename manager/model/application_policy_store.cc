#include "manager/model/application_policy_store.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace aclmgr {

Status ApplicationPolicyStore::apply(const ApplicationPolicyKey &key, ApplicationPolicy policy) {
  const auto existing = policies_.find(key);
  const bool isNew = existing == policies_.end();
  if (!isNew && existing->second.policy == policy) return Status::kOk;
  auto held = hold(policy.entries);
  if (!held) return Status::kRuleNotExist;
  if (isNew && policies_.size() >= limit_) return Status::kNoMemory;
  policies_.insert_or_assign(key, KeptPolicy{std::move(policy), std::move(*held)});
  return Status::kOk;
}

std::optional<std::vector<HeldRule>> ApplicationPolicyStore::hold(
    std::span<const ApplicationPolicyEntry> entries) {
  std::vector<HeldRule> all;
  all.reserve(entries.size());
  for (const ApplicationPolicyEntry &entry : entries) {
    auto held = HeldRule::hold(entry.ruleName, rules_, ruleSets_);
    if (!held) return std::nullopt;
    all.push_back(std::move(*held));
  }
  return all;
}

Status ApplicationPolicyStore::unapply(const ApplicationPolicyKey &key,
                                       std::span<const ApplicationPolicyEntry> entries) {
  const ApplicationPolicyKey wanted = unapplyKey(key);
  // What differs in the match alone stands together, and no match stands first.
  ApplicationPolicyKey first = wanted;
  first.match = {};
  bool isThere = false;
  for (auto kept = policies_.lower_bound(first); kept != policies_.end();) {
    ApplicationPolicyKey found = unapplyKey(kept->first);
    if (found == wanted) isThere |= takeOut(kept->second, entries);
    found.match = {};
    if (found != first) break;
    kept = kept->second.policy.entries.empty() ? policies_.erase(kept) : std::next(kept);
  }
  return isThere ? Status::kOk : Status::kInstanceNotExist;
}

bool ApplicationPolicyStore::takeOut(KeptPolicy &kept,
                                     std::span<const ApplicationPolicyEntry> entries) noexcept {
  std::vector<ApplicationPolicyEntry> &own = kept.policy.entries;
  const std::size_t before = own.size();
  for (std::size_t i = before; i > 0; --i) {
    const auto place = static_cast<std::ptrdiff_t>(i - 1);
    const auto named =
        std::ranges::find(entries, own[i - 1].ruleName, &ApplicationPolicyEntry::ruleName);
    if (named == entries.end()) continue;
    own.erase(own.begin() + place);
    kept.held.erase(kept.held.begin() + place);
  }
  return own.size() != before;
}

Status ApplicationPolicyStore::move(std::uint8_t kind, std::uint8_t fromApp, std::uint8_t toApp) {
  const ApplicationPolicyKey start{.appId = fromApp, .kind = kind};
  const auto first = policies_.lower_bound(start);
  const auto last = std::find_if(first, policies_.end(), [&](const auto &kept) {
    return kept.first.appId != fromApp || kept.first.kind != kind;
  });
  if (first == last) return Status::kInstanceNotExist;
  if (fromApp == toApp) return Status::kOk;
  const bool isTaken = std::any_of(first, last, [&](const auto &kept) {
    ApplicationPolicyKey key = kept.first;
    key.appId = toApp;
    return policies_.contains(key);
  });
  if (isTaken) return Status::kPolicyHasAttribute;
  for (auto left = std::distance(first, last); left > 0; --left) {
    auto node = policies_.extract(policies_.lower_bound(start));
    node.key().appId = toApp;
    policies_.insert(std::move(node));
  }
  return Status::kOk;
}

std::size_t ApplicationPolicyStore::removeAllOf(std::uint32_t appId) noexcept {
  return std::erase_if(policies_, [appId](const auto &kept) { return kept.first.appId == appId; });
}

const ApplicationPolicy *ApplicationPolicyStore::find(const ApplicationPolicyKey &key) const {
  const auto found = policies_.find(key);
  return found == policies_.end() ? nullptr : &found->second.policy;
}

}  // namespace aclmgr
