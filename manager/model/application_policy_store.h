// All application policies of the switch.
#ifndef MANAGER_MODEL_APPLICATION_POLICY_STORE_H
#define MANAGER_MODEL_APPLICATION_POLICY_STORE_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <ranges>
#include <span>
#include <string_view>
#include <vector>

#include "manager/model/application_policy.h"
#include "manager/model/dynamic_rule_store.h"
#include "manager/model/held_rule.h"
#include "manager/model/policy_store.h"
#include "manager/model/status.h"

namespace aclmgr {

// Application policies that are kept: bounds what clients can make the manager remember.
inline constexpr std::size_t kMaxApplicationPolicies = 4096;

// Policies that one unapply can mean: bounds what a single request costs.
inline constexpr std::size_t kMaxPoliciesOfUnapply = 64;

// What the entries name is held in its store for as long as an entry names it. Every operation
// either succeeds and returns kOk, or returns why not and changes nothing (also when it throws
// std::bad_alloc). Not thread-safe.
class ApplicationPolicyStore {
 public:
  // The stores are borrowed and outlive this one.
  ApplicationPolicyStore(DynamicRuleStore &rules, PolicyStore &policies,
                         std::size_t limit = kMaxApplicationPolicies) noexcept
      : rules_(rules), ruleSets_(policies), limit_(limit) {}
  ApplicationPolicyStore(const ApplicationPolicyStore &) = delete;
  ApplicationPolicyStore &operator=(const ApplicationPolicyStore &) = delete;

  // Keeps a policy under its key, in place of what was there. `policy` has at least one entry.
  // kRuleNotExist when an entry names neither a dynamic rule nor a policy; kNoMemory when there are
  // as many as may be, in all or of those that one unapply means.
  Status apply(const ApplicationPolicyKey &key, const ApplicationPolicy &policy);

  // Takes the entries of some names out of the policies that an unapply of the key means; one whose
  // last entry goes is forgotten. kInstanceNotExist when no such policy has any of the names.
  Status unapply(const ApplicationPolicyKey &key, std::span<const ApplicationPolicyEntry> entries);

  // Gives the policies of a kind from one application to another. kInstanceNotExist when there are
  // none; kPolicyHasAttribute when the other application has one under the same key; kNoMemory when
  // one unapply would mean more than may be.
  Status move(std::uint8_t kind, std::uint8_t fromApp, std::uint8_t toApp);

  // Forgets all policies of an application. Returns how many there were.
  std::size_t removeAllOf(std::uint32_t appId) noexcept;

  // Returns the policy, borrowed until the next change; null when there is none.
  const ApplicationPolicy *find(const ApplicationPolicyKey &key) const;

  std::size_t size() const noexcept { return policies_.size(); }

 private:
  struct KeptPolicy {
    ApplicationPolicy policy;
    std::vector<HeldRule> held;  // one for each entry
  };
  using Policies = std::map<ApplicationPolicyKey, KeptPolicy>;
  using Range = std::ranges::subrange<Policies::iterator, Policies::iterator,
                                      std::ranges::subrange_kind::sized>;

  // Returns nothing when one of the entries names nothing.
  std::optional<std::vector<HeldRule>> hold(std::span<const ApplicationPolicyEntry> entries);
  // Returns the policies that an unapply of the key means.
  Range meantWith(const ApplicationPolicyKey &key);
  // Takes out the entries of names, which are sorted. Returns whether there were any.
  static bool takeOut(KeptPolicy &kept, std::span<const std::string_view> names) noexcept;

  DynamicRuleStore &rules_;
  PolicyStore &ruleSets_;
  std::size_t limit_;
  Policies policies_;
};

}  // namespace aclmgr

#endif  // MANAGER_MODEL_APPLICATION_POLICY_STORE_H
