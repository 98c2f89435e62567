// All policies of the switch, and where they are applied.
#ifndef MANAGER_MODEL_POLICY_STORE_H
#define MANAGER_MODEL_POLICY_STORE_H

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "manager/model/policy.h"
#include "manager/model/status.h"

namespace aclmgr {

// Policies belong to the switch, not to the client that sent them. Every operation either succeeds
// and returns kOk, or returns why not and changes nothing (also when it throws std::bad_alloc). Not
// thread-safe.
class PolicyStore {
 public:
  // Keeps a new policy. The very same policy again is kOk, so that a client may repeat itself;
  // another one of the same name is kPolicyExist.
  Status add(Policy policy);

  // Replaces a policy by the one of the same name; its bindings stay. kPolicyNotExist.
  Status replace(Policy policy);

  // Replaces the rules of a policy and nothing else. kPolicyNotExist.
  Status replaceRules(std::string_view name, std::vector<Rule> rules);

  // Forgets a policy. kPolicyNotExist; kPolicyInUse while it is bound anywhere, or held.
  Status remove(std::string_view name);

  // Applies a policy at a point. The very same binding again is kOk. kPolicyNotExist;
  // kInstanceExist when it is bound there with other flags; kInstanceInUse when another policy is.
  Status bind(std::string_view name, const BindingPoint &point, std::uint8_t applyFlags);

  // Takes a policy off a point. kPolicyNotExist; kInstanceNotExist when it is not bound there.
  Status unbind(std::string_view name, const BindingPoint &point);

  // Takes a policy off every point. kPolicyNotExist; kInstanceNotExist when it is bound nowhere.
  Status unbindAll(std::string_view name);

  // Something else needs the policy: it is not removed until each hold() is undone by one
  // release(), which ignores policies that are not held. kPolicyNotExist.
  Status hold(std::string_view name);
  void release(std::string_view name) noexcept;

  // Returns the policy, borrowed until the next change; null when there is none.
  const Policy *find(std::string_view name) const;

  // Returns how many policies there are.
  std::size_t size() const noexcept { return policies_.size(); }

  const std::map<BindingPoint, Binding> &bindings() const noexcept { return bindings_; }

 private:
  struct KeptPolicy {
    Policy policy;
    std::size_t bindingCount = 0;
    std::size_t holds = 0;
  };

  KeptPolicy *keptPolicy(std::string_view name);

  std::map<std::string, KeptPolicy, std::less<>> policies_;
  std::map<BindingPoint, Binding> bindings_;
};

}  // namespace aclmgr

#endif  // MANAGER_MODEL_POLICY_STORE_H
