// The policies that this library created and that still live, by handle.
//
// Every call that takes a policy handle begins with a look-up here: without a lock, without writing
// anything, and usually with one comparison. That is the front: one slot for each hash value, which
// holds the policy registered there last. Behind it a hash table holds them all. Readers of that
// table take no lock either; one that meets a writer may miss a policy that is there, and must then
// look at the record itself (policy_handle.h).
//
// The table also keeps every policy reachable for leak checkers.
#ifndef ACL_LIB_ENCODING_LIVE_POLICIES_H
#define ACL_LIB_ENCODING_LIVE_POLICIES_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "acl_lib.h"

namespace acl {

// Spreads handles, which lie at regular distances, over 1 << `bits` hash values, 32 bits at most
// (the multiplier is the golden ratio's fraction). The hash of 0 is 0.
inline std::size_t hashOfHandle(std::uintptr_t handle, unsigned bits) noexcept {
  return static_cast<std::uint32_t>(handle) * std::uint32_t{0x9E3779B9} >> (32 - bits);
}

// The front. Slot 0 is never used and never 0, so that the null handle, which belongs there, is not
// found. Hidden by name, so that position-independent code reaches it without a detour.
inline constexpr unsigned kFrontBits = 10;
using PolicyFront = std::array<std::atomic<std::uintptr_t>, 1U << kFrontBits>;
[[gnu::visibility("hidden")]] extern PolicyFront livePolicyFront;

// The live policy that was registered last, which is usually the one being built: looking here
// first saves the hashing. When it is gone, a record that can be read and is no valid policy stands
// for it, since no number could: any may be given as a handle.
[[gnu::visibility("hidden")]] extern std::atomic<const AclPolicy *> newestPolicy;

// Tells by a comparison or two that a handle is a live policy's; false says nothing. Any thread.
inline bool isLivePolicyInFront(AclPolicyHandle handle) noexcept {
  const auto wanted = static_cast<std::uintptr_t>(handle);
  const AclPolicy *newest = newestPolicy.load(std::memory_order_relaxed);
  if (reinterpret_cast<std::uintptr_t>(newest) == wanted) [[likely]]
    return true;
  return livePolicyFront[hashOfHandle(wanted, kFrontBits)].load(std::memory_order_relaxed) ==
         wanted;
}

// Tells whether a handle is a live policy's, by the front and then by the table, as described above
// for a reader that meets a writer. Any thread.
bool isLivePolicy(AclPolicyHandle handle) noexcept;

// Makes a policy known. Returns false, with nothing changed, when memory is exhausted. Any thread.
bool registerPolicy(AclPolicy *policy) noexcept;

// Makes a policy unknown. Returns whether it was known: only one of two calls gets true. Any
// thread.
bool forgetPolicy(const AclPolicy *policy) noexcept;

}  // namespace acl

#endif  // ACL_LIB_ENCODING_LIVE_POLICIES_H
