#include "manager/model/application_policy.h"

#include <algorithm>

namespace aclmgr {

ApplicationPolicyKey unapplyKey(ApplicationPolicyKey key) noexcept {
  MatchValue &match = key.match;
  if (match.type == MatchType::kName) match = {};
  if (match.type == MatchType::kMac || match.type == MatchType::kMac2) {
    std::fill(match.bytes.begin() + kMacWidth, match.bytes.end(), std::byte{0});
  }
  return key;
}

}  // namespace aclmgr
