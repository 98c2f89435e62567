// Policies and the opening and closing of their rules.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "acl_lib.h"
#include "acl_lib/encoding/message_body.h"
#include "acl_lib/encoding/policy_handle.h"
#include "acl_lib/encoding/rule_buffer.h"
#include "acl_lib/encoding/rule_format.h"

namespace acl {
namespace {

void makeEmpty(AclListHead &list) noexcept {
  list.next = list.prev = &list;
}

void initialisePolicy(AclPolicy &policy, const char *name) noexcept {
  copyText(reinterpret_cast<std::byte *>(policy.policyName), sizeof(policy.policyName), name);
  for (AclListHead &list : policy.lists) makeEmpty(list);
  makeEmpty(policy.lastList);
  policy.selfCheck = &policy;
}

void writeDefaultName(std::byte *field, std::uint16_t ruleNumber) noexcept {
  constexpr std::size_t kDefaultNameLimit = 32;
  std::snprintf(reinterpret_cast<char *>(field), kDefaultNameLimit, "def-rule-%d", ruleNumber);
}

// Copies 2 * Half bytes or fewer, but at least Half, as two halves that overlap.
template <std::size_t Half>
void copyAsHalves(std::byte *to, const char *from, std::size_t length) noexcept {
  std::byte first[Half];
  std::byte last[Half];
  std::memcpy(first, from, Half);
  std::memcpy(last, from + length - Half, Half);
  std::memcpy(to, first, Half);
  std::memcpy(to + length - Half, last, Half);
}

void writeGivenName(std::byte *field, const char *name) noexcept {
  const std::size_t length = ::strnlen(name, kRuleNameWidth - 1);
  std::memset(field, 0, kRuleNameWidth);
  if (length >= 16) return copyAsHalves<16>(field, name, length);
  if (length >= 8) return copyAsHalves<8>(field, name, length);
  if (length >= 4) return copyAsHalves<4>(field, name, length);
  for (std::size_t i = 0; i < length; ++i) field[i] = static_cast<std::byte>(name[i]);
}

// Writes the header of a record that has just been placed; what it does not name stays as it is.
void writeRuleHeader(std::byte *record, const char *name, std::uint32_t ruleId,
                     std::uint16_t ruleNumber) noexcept {
  storeBig(record + kRuleIdOffset, ruleId);
  RuleWord word = RuleWord::of(record);
  word.reset();
  word.clearFlagOnOpen();
  word.storeTo(record);
  if (name == nullptr) {
    writeDefaultName(record + kRuleNameOffset, ruleNumber);
  } else {
    writeGivenName(record + kRuleNameOffset, name);
  }
}

}  // namespace
}  // namespace acl

extern "C" {

AclPolicyHandle aclLibNewPolicy(const char *name) noexcept {
  if (name == nullptr || *name == '\0') return acl::kInvalidArgument;
  auto *policy = static_cast<AclPolicy *>(std::calloc(1, sizeof(AclPolicy)));
  if (policy == nullptr) return 0;
  if (!acl::registerPolicy(policy)) {
    std::free(policy);
    return 0;
  }
  acl::initialisePolicy(*policy, name);
  return reinterpret_cast<AclPolicyHandle>(policy);
}

int32_t aclLibNewRule(AclPolicyHandle handle, const char *name, uint32_t ruleId) noexcept {
  AclPolicy *policy = acl::checkPolicy(handle, "aclLibNewRule");
  if (policy == nullptr) return acl::kInvalidArgument;
  std::byte *record = acl::placeNextRule(*policy);
  if (record == nullptr) return acl::kNoMemory;
  policy->openRule = reinterpret_cast<uint8_t *>(record);
  ++policy->ruleCount;
  acl::writeRuleHeader(record, name, ruleId, policy->ruleCount);
  // As it is, on purpose: 0xFFFFFFFF and 0xFFFFFFFE are valid ids that look like errors.
  return static_cast<int32_t>(ruleId);
}

void aclEncodeInitRule(void *ruleRecord) noexcept {
  if (ruleRecord == nullptr) return;
  auto *record = static_cast<std::byte *>(ruleRecord);
  acl::RuleWord word = acl::RuleWord::of(record);
  word.reset();
  word.storeTo(record);
}

int32_t aclLibEndRule(AclPolicyHandle handle) noexcept {
  // Before the handle is checked, on purpose: without an open rule there is nothing to refuse.
  if (!acl::hasOpenRule(handle)) return acl::kSuccess;
  AclPolicy *policy = acl::checkPolicy(handle, "aclLibEndRule");
  if (policy == nullptr) return acl::kInvalidArgument;
  return acl::closeLastRule(*policy) ? acl::kSuccess : acl::kNoMemory;
}

int32_t aclLibClearRule(AclPolicyHandle handle) noexcept {
  AclPolicy *policy = acl::checkPolicy(handle, "aclLibClearRule");
  if (policy == nullptr) return acl::kInvalidArgument;
  policy->openRule = nullptr;
  policy->usedSize = 0;
  policy->ruleCount = 0;
  return acl::kSuccess;
}

}  // extern "C"
