// Request bodies about application policies into requests.
#ifndef MANAGER_DECODE_APP_POLICY_REQUESTS_H
#define MANAGER_DECODE_APP_POLICY_REQUESTS_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "manager/decode/outcome.h"
#include "manager/model/application_policy.h"

namespace aclmgr {

// What tells a request from others, in applying and unapplying alike.
struct AppPolicyHead {
  std::uint16_t code = 0;
  std::uint32_t seqNo = 0;
  ApplicationPolicyKey key;
};

// An application policy is installed.
struct ApplyRequest {
  AppPolicyHead head;
  ApplicationPolicy policy;
};

// Entries of application policies are taken away.
struct UnapplyRequest {
  AppPolicyHead head;  // its key is one of unapplyKey()
  std::vector<ApplicationPolicyEntry> entries;
};

// Each decodes the body of one request. kInvalidMessage, and why, for a body of another length, a
// fixed word that is wrong, a name that is not terminated, or a rule's name that is empty;
// kInvalidParameter for no or too many entries, and for a match value of a type that there is not
// (in an unapply, of one that it cannot carry). An apply has to have as many match values as its
// attribute says, or more: kInvalidParameter too.
Outcome<ApplyRequest> decodeApply(std::span<const std::byte> body);
Outcome<UnapplyRequest> decodeUnapply(std::span<const std::byte> body);

// Returns the head of a body whether or not it can be decoded. What it is too short for is zero,
// and so is a match value of a type that there is not. Allocates nothing.
AppPolicyHead appPolicyHeadOf(std::span<const std::byte> body) noexcept;

}  // namespace aclmgr

#endif  // MANAGER_DECODE_APP_POLICY_REQUESTS_H
