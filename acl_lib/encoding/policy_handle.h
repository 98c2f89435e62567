// Policy handles: from any integer that a caller gives to a policy, or to a refusal.
//
// A handle is the address of an AclPolicy whose selfCheck holds that same address. Policies that
// the library created are known (live_policies.h) and take no more than a look-up. Everything else
// is read without risk of a fault first; a caller's own record with the right selfCheck is a policy
// too. What such a record must be is said with AclPolicy in acl_lib.h.
#ifndef ACL_LIB_ENCODING_POLICY_HANDLE_H
#define ACL_LIB_ENCODING_POLICY_HANDLE_H

#include <cstdint>

#include "acl_lib.h"
#include "acl_lib/encoding/live_policies.h"
#include "acl_lib/encoding/results.h"

namespace acl {

namespace detail {
[[gnu::cold]] AclPolicy *findPolicySlowly(AclPolicyHandle handle) noexcept;
[[gnu::cold]] AclPolicy *checkPolicySlowly(AclPolicyHandle handle, const char *callName) noexcept;
}  // namespace detail

// Returns the policy of a handle, or null when there is none. Prints nothing. Any thread.
inline AclPolicy *findPolicy(AclPolicyHandle handle) noexcept {
  if (isLivePolicyInFront(handle)) [[likely]] {
    auto *policy = reinterpret_cast<AclPolicy *>(handle);
    if (policy->selfCheck == policy) [[likely]]
      return policy;
  }
  return detail::findPolicySlowly(handle);
}

// The same, and reports a handle that is no policy on standard output under the name of the call.
inline AclPolicy *checkPolicy(AclPolicyHandle handle, const char *callName) noexcept {
  if (isLivePolicyInFront(handle)) [[likely]] {
    auto *policy = reinterpret_cast<AclPolicy *>(handle);
    if (policy->selfCheck == policy) [[likely]]
      return policy;
  }
  return detail::checkPolicySlowly(handle, callName);
}

// Tells whether the record at a handle has an open rule, whether or not it is a valid policy; false
// where no record can be read. Prints nothing. Any thread.
bool hasOpenRule(AclPolicyHandle handle) noexcept;

// Ends a policy: its handle becomes invalid. Frees the rule buffer and the record of a policy that
// the library created; a caller's own record only loses its selfCheck and stays the caller's, with
// its buffer. Ignored for null and for a policy that has been ended already. The policy must not be
// in the policy store any more, nor in use by another thread.
void destroyPolicy(AclPolicy *policy) noexcept;

}  // namespace acl

#endif  // ACL_LIB_ENCODING_POLICY_HANDLE_H
