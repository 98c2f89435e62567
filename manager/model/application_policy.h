// Application policies as the manager keeps them: plain values that know nothing of messages.
#ifndef MANAGER_MODEL_APPLICATION_POLICY_H
#define MANAGER_MODEL_APPLICATION_POLICY_H

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace aclmgr {

// What a match value of an application policy is. These are codes of their own, not those of match
// conditions.
enum class MatchType : std::uint8_t {
  kNone = 0,
  kName = 26,
  kWords = 39,  // two of them
  kMac = 62,    // an address and its mask
  kMac2 = 63,
};

// Bytes of a MAC address.
inline constexpr std::size_t kMacWidth = 6;

// Bytes that the longest match value has: a name without its NUL.
inline constexpr std::size_t kMatchValueWidth = 32;

// A match value: the bytes that its type has, as they travel, then zeros.
struct MatchValue {
  MatchType type = MatchType::kNone;
  std::array<std::byte, kMatchValueWidth> bytes{};

  auto operator<=>(const MatchValue &) const = default;
};

// What an application policy goes by.
struct ApplicationPolicyKey {
  std::uint8_t appId = 0;
  std::uint8_t kind = 0;
  std::uint32_t tag = 0;
  std::uint32_t word3 = 0;
  MatchValue match = {};

  auto operator<=>(const ApplicationPolicyKey &) const = default;
};

// Returns what an unapply tells of a key: neither a name that is matched nor the mask of an
// address. It means every policy whose key gives the same.
ApplicationPolicyKey unapplyKey(ApplicationPolicyKey key) noexcept;

// One rule of an application policy.
struct ApplicationPolicyEntry {
  std::string ruleName;         // of a dynamic rule or a policy
  std::uint32_t attribute = 0;  // the client's; kept, without meaning here

  bool operator==(const ApplicationPolicyEntry &) const = default;
};

// What an application wants installed under a key. All but the entries is kept without meaning
// here.
struct ApplicationPolicy {
  std::string name;
  std::uint16_t attribute = 0;
  std::uint32_t word0 = 0;
  std::uint8_t word1 = 0;
  MatchValue secondMatch = {};
  std::vector<ApplicationPolicyEntry> entries;

  bool operator==(const ApplicationPolicy &) const = default;
};

}  // namespace aclmgr

#endif  // MANAGER_MODEL_APPLICATION_POLICY_H
