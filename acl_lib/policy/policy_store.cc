// The policies that an application has registered, ordered by name.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "acl_lib.h"
#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/encoding/message_body.h"
#include "acl_lib/encoding/policy_handle.h"
#include "platform/kvtree.h"

KvNode *aclPolicyTree = nullptr;

namespace acl {
namespace {

// A policy begins with its links, so that it is a node, and its handle the address of one.
static_assert(offsetof(AclPolicy, node) == 0);

AclPolicyHandle handleOf(void *node) noexcept {
  return reinterpret_cast<AclPolicyHandle>(node);
}

// Tells whether any of eight bytes is 0.
constexpr bool hasZeroByte(std::uint64_t bytes) noexcept {
  return ((bytes - 0x0101010101010101) & ~bytes & 0x8080808080808080) != 0;
}

// Orders two policies, or a key and a policy, as std::strcmp() orders their names. Most names
// differ in their first eight bytes, and those are compared at once. Only where the first name ends
// within them does that not do, as what lies behind its end does not count.
std::int32_t compareNames(const void *a, const void *b) noexcept {
  const char *nameA = static_cast<const AclPolicy *>(a)->policyName;
  const char *nameB = static_cast<const AclPolicy *>(b)->policyName;
  const auto startA = loadBig<std::uint64_t>(reinterpret_cast<const std::byte *>(nameA));
  const auto startB = loadBig<std::uint64_t>(reinterpret_cast<const std::byte *>(nameB));
  if (startA != startB && !hasZeroByte(startA)) return startA < startB ? -1 : 1;
  return std::strcmp(nameA, nameB);
}

}  // namespace
}  // namespace acl

extern "C" {

// No call takes the lock by itself, on purpose: a reader holds it over a whole walk.
std::int32_t aclBtreeReadLock() noexcept {
  return pthread_rwlock_rdlock(&aclPolicyLock);
}

std::int32_t aclBtreeWriteLock() noexcept {
  return pthread_rwlock_wrlock(&aclPolicyLock);
}

std::int32_t aclBtreeUnlock() noexcept {
  return pthread_rwlock_unlock(&aclPolicyLock);
}

std::int32_t aclBtreeInsertPolicy(AclPolicyHandle handle) noexcept {
  AclPolicy *const policy = acl::findPolicy(handle);
  if (policy == nullptr) return acl::kInvalidArgument;
  return kvtreeInsert(policy, &aclPolicyTree, acl::compareNames);
}

std::int32_t aclBtreeDeletePolicy(AclPolicyHandle handle) noexcept {
  AclPolicy *const policy = acl::findPolicy(handle);
  if (policy == nullptr) return acl::kInvalidArgument;
  return kvtreeDelete(policy, &aclPolicyTree);
}

AclPolicyHandle aclFindPolicy(const char *name) noexcept {
  AclPolicy key;
  // Of the key nothing but the name is read; of the name, more than its characters.
  std::memset(key.policyName, 0, sizeof(key.policyName));
  acl::copyText(reinterpret_cast<std::byte *>(key.policyName), sizeof(key.policyName), name);
  return acl::handleOf(findNode(&key, aclPolicyTree, acl::compareNames));
}

AclPolicyHandle aclFindFirstPolicy() noexcept {
  return acl::handleOf(kvtreeFirst(&aclPolicyTree));
}

AclPolicyHandle aclGetNextPolicy(AclPolicyHandle handle) noexcept {
  const AclPolicy *const policy = acl::findPolicy(handle);
  return policy == nullptr ? 0 : acl::handleOf(kvtreeNext(policy));
}

}  // extern "C"
