#include "acl_lib/encoding/entry_call.h"

#include <cstdio>

namespace acl {

std::int32_t refuseType(const EntryCall &call, std::uint32_t type) noexcept {
  if (call.refusal == TypeRefusal::kBadSelector) return kBadSelectorResult;
  if (call.refusal == TypeRefusal::kReported) {
    std::printf("%s - Unhandled actionType %d\n", call.name, static_cast<std::int32_t>(type));
  }
  return kInvalidArgument;
}

std::byte *checkOpenRule(AclPolicyHandle handle, std::uint32_t rule,
                         const char *callName) noexcept {
  AclPolicy *policy = checkPolicy(handle, callName);
  if (policy == nullptr) return nullptr;
  std::byte *record = openRecord(*policy);
  if (record != nullptr && loadBig<std::uint32_t>(record + kRuleIdOffset) == rule) return record;
  std::printf("Invalid rule handle %lx for policy handle %lx\n", static_cast<unsigned long>(rule),
              static_cast<unsigned long>(handle));
  return nullptr;
}

}  // namespace acl
