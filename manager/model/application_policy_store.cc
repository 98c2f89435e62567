#include "manager/model/application_policy_store.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace aclmgr {

// A policy that is already there is replaced as well: what its entries name may be another by now.
Status ApplicationPolicyStore::apply(const ApplicationPolicyKey &key,
                                     const ApplicationPolicy &policy) {
  auto held = hold(policy.entries);
  if (!held) return Status::kRuleNotExist;
  if (!policies_.contains(key)) {
    if (policies_.size() >= limit_) return Status::kNoMemory;
    if (meantWith(key).size() >= kMaxPoliciesOfUnapply) return Status::kNoMemory;
  }
  policies_.insert_or_assign(key, KeptPolicy{policy, std::move(*held)});
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
  std::vector<std::string_view> names;
  names.reserve(entries.size());
  for (const ApplicationPolicyEntry &entry : entries) names.emplace_back(entry.ruleName);
  std::ranges::sort(names);
  bool isThere = false;
  const auto meant = meantWith(key);
  for (auto kept = meant.begin(); kept != meant.end();) {
    isThere |= takeOut(kept->second, names);
    kept = kept->second.policy.entries.empty() ? policies_.erase(kept) : std::next(kept);
  }
  return isThere ? Status::kOk : Status::kInstanceNotExist;
}

// They stand together: only the last bytes of their matches differ, or there is no match, before
// the names, which come before all other matches.
ApplicationPolicyStore::Range ApplicationPolicyStore::meantWith(const ApplicationPolicyKey &key) {
  const ApplicationPolicyKey wanted = unapplyKey(key);
  const auto first = policies_.lower_bound(wanted);
  const auto last = std::find_if(
      first, policies_.end(), [&](const auto &kept) { return unapplyKey(kept.first) != wanted; });
  return {first, last, static_cast<std::size_t>(std::distance(first, last))};
}

bool ApplicationPolicyStore::takeOut(KeptPolicy &kept,
                                     std::span<const std::string_view> names) noexcept {
  std::vector<ApplicationPolicyEntry> &own = kept.policy.entries;
  std::size_t left = 0;
  for (std::size_t i = 0; i < own.size(); ++i) {
    if (std::ranges::binary_search(names, std::string_view(own[i].ruleName))) continue;
    if (left != i) {
      own[left] = std::move(own[i]);
      kept.held[left] = std::move(kept.held[i]);
    }
    ++left;
  }
  const auto end = static_cast<std::ptrdiff_t>(left);
  const bool isThere = left != own.size();
  own.erase(own.begin() + end, own.end());
  kept.held.erase(kept.held.begin() + end, kept.held.end());
  return isThere;
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
  for (auto next = first; next != last;) {
    const Range own = meantWith(next->first);
    ApplicationPolicyKey key = next->first;
    key.appId = toApp;
    if (own.size() + meantWith(key).size() > kMaxPoliciesOfUnapply) return Status::kNoMemory;
    next = own.end();
  }
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
