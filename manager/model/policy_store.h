// All policies of the switch, and where they are applied.
#ifndef MANAGER_MODEL_POLICY_STORE_H
#define MANAGER_MODEL_POLICY_STORE_H

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "manager/model/policy.h"
#include "manager/model/status.h"

namespace aclmgr {

// What clients can make the manager remember: policies, bytes of encoded rules of all policies
// together, as they came, and points that policies are applied at.
inline constexpr std::size_t kMaxPolicies = 4096;
inline constexpr std::size_t kMaxEncodedBytes = std::size_t{256} * 1024 * 1024;
inline constexpr std::size_t kMaxPolicyBindings = 65536;

struct PolicyLimits {
  std::size_t policies = kMaxPolicies;
  std::size_t encodedBytes = kMaxEncodedBytes;
  std::size_t bindings = kMaxPolicyBindings;
};

// Policies belong to the switch, not to the client that sent them. Every operation either succeeds
// and returns kOk, or returns why not and changes nothing (also when it throws std::bad_alloc). Not
// thread-safe.
class PolicyStore {
 public:
  explicit PolicyStore(PolicyLimits limits = {}) noexcept : limits_(limits) {}

  // Keeps a new policy. The very same policy again is kOk, so that a client may repeat itself;
  // another one of the same name is kPolicyExist. kNoMemory when there are as many policies, or as
  // many bytes of them, as may be.
  Status add(Policy policy);

  // Replaces a policy by the one of the same name; its bindings stay. kPolicyNotExist; kNoMemory
  // when the policies would then have too many bytes.
  Status replace(Policy policy);

  // Replaces the rules of a policy and nothing else. kPolicyNotExist; kNoMemory as above.
  //   encodedBytes  of the new rules, as they came
  Status replaceRules(std::string_view name, std::vector<Rule> rules, std::size_t encodedBytes);

  // Forgets a policy. kPolicyNotExist; kPolicyInUse while it is bound anywhere, or held.
  Status remove(std::string_view name);

  // Applies a policy at a point. The very same binding again is kOk. kPolicyNotExist;
  // kInstanceExist when it is bound there with other flags; kInstanceInUse when another policy is;
  // kNoHardwareResource when there are as many bindings as may be.
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

  // Returns the first point that a policy is bound at, borrowed until the next change; null when it
  // is bound nowhere.
  const BindingPoint *firstPointOf(std::string_view name) const;

  // Returns how many policies there are, and how many bytes their rules have come in.
  std::size_t size() const noexcept { return policies_.size(); }
  std::size_t encodedBytes() const noexcept { return encodedBytes_; }

  const std::map<BindingPoint, Binding> &bindings() const noexcept { return bindings_; }

 private:
  struct KeptPolicy {
    Policy policy;
    std::set<BindingPoint> points;  // where it is bound
    std::size_t holds = 0;
  };

  KeptPolicy *keptPolicy(std::string_view name);
  // Whether there is room for `added` bytes in place of `dropped` ones that there are.
  bool fits(std::size_t added, std::size_t dropped) const noexcept {
    return added <= limits_.encodedBytes - (encodedBytes_ - dropped);
  }

  PolicyLimits limits_;
  std::map<std::string, KeptPolicy, std::less<>> policies_;
  std::map<BindingPoint, Binding> bindings_;
  std::size_t encodedBytes_ = 0;  // of all policies
};

}  // namespace aclmgr

#endif  // MANAGER_MODEL_POLICY_STORE_H
