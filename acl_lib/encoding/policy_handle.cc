#include "acl_lib/encoding/policy_handle.h"

#include <cstdio>
#include <cstdlib>

#include "acl_lib/encoding/address_probe.h"

namespace acl {
namespace {

// Copies the whole record at a handle, so that a record that is found valid can be read throughout.
bool copyRecord(AclPolicyHandle handle, AclPolicy &copy) noexcept {
  return copyFromAnyAddress(static_cast<std::uintptr_t>(handle), &copy, sizeof(copy));
}

}  // namespace

AclPolicy *detail::findPolicySlowly(AclPolicyHandle handle) noexcept {
  auto *policy = reinterpret_cast<AclPolicy *>(handle);
  if (isLivePolicy(handle)) return policy->selfCheck == policy ? policy : nullptr;
  if (static_cast<std::uintptr_t>(handle) % alignof(AclPolicy) != 0) return nullptr;
  AclPolicy copy;
  return copyRecord(handle, copy) && copy.selfCheck == policy ? policy : nullptr;
}

AclPolicy *detail::checkPolicySlowly(AclPolicyHandle handle, const char *callName) noexcept {
  AclPolicy *policy = findPolicySlowly(handle);
  if (policy == nullptr) {
    std::printf("%s: Invalid policy handle %lx\n", callName, static_cast<unsigned long>(handle));
  }
  return policy;
}

bool hasOpenRule(AclPolicyHandle handle) noexcept {
  if (isLivePolicy(handle)) return reinterpret_cast<AclPolicy *>(handle)->openRule != nullptr;
  AclPolicy copy;
  return copyRecord(handle, copy) && copy.openRule != nullptr;
}

void destroyPolicy(AclPolicy *policy) noexcept {
  if (!forgetPolicy(policy)) {
    // A caller's own record, which stays his; or one that ended before, which must not be touched.
    if (findPolicy(reinterpret_cast<AclPolicyHandle>(policy)) != nullptr) {
      policy->selfCheck = nullptr;
    }
    return;
  }
  // Volatile, because optimising compilers drop a store to memory that is freed next. The handle of
  // the freed record would then still be accepted: its bytes are all that tells.
  AclPolicy *volatile &selfCheck = policy->selfCheck;
  selfCheck = nullptr;
  std::free(policy->ruleBuffer);
  std::free(policy);
}

}  // namespace acl
