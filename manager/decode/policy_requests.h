// Request bodies about policies into requests.
#ifndef MANAGER_DECODE_POLICY_REQUESTS_H
#define MANAGER_DECODE_POLICY_REQUESTS_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "manager/decode/outcome.h"
#include "manager/model/policy.h"

namespace aclmgr {

// A client process announces itself. The name may be empty.
struct ProcessInfoRequest {
  std::string processName;
};

// A piece of a policy that is added or refreshed.
struct PolicyChunkRequest {
  std::string policyName;
  std::uint32_t totalLength;  // of the policy's encoded rules
  std::uint32_t chunkOffset;  // where this chunk belongs in them
  std::uint16_t ruleCount;
  std::uint16_t attribute;
  std::span<const std::byte> chunk;  // borrowed from the body
};

struct DeletePolicyRequest {
  std::string policyName;
};

// A policy is applied at a point, or taken off it.
struct BindingRequest {
  std::string policyName;
  BindingPoint point;
  std::uint8_t applyFlags;  // 0 or 2
};

// The rules of a policy are replaced in place.
struct ModifyRuleRequest {
  std::string policyName;
  std::uint32_t argument1;  // the arguments are the clients' own; nothing here reads them
  std::uint32_t argument2;
  std::uint32_t argument3;
  std::uint8_t argument8bit;
  std::span<const std::byte> rules;  // encoded; borrowed from the body
};

// Each decodes the body of one request. kInvalidMessage, and why, for a body that is shorter or
// longer than it says, a name that is not terminated, or a policy name that is empty.
Outcome<ProcessInfoRequest> decodeProcessInfo(std::span<const std::byte> body);
Outcome<PolicyChunkRequest> decodePolicyChunk(std::span<const std::byte> body);
Outcome<DeletePolicyRequest> decodeDeletePolicy(std::span<const std::byte> body);
Outcome<ModifyRuleRequest> decodeModifyRule(std::span<const std::byte> body);

// As above; kInvalidParameter for applyFlags other than 0 and 2.
Outcome<BindingRequest> decodeBinding(std::span<const std::byte> body);

}  // namespace aclmgr

#endif  // MANAGER_DECODE_POLICY_REQUESTS_H
