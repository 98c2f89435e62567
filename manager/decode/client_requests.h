// Request bodies about what a whole client has into requests.
#ifndef MANAGER_DECODE_CLIENT_REQUESTS_H
#define MANAGER_DECODE_CLIENT_REQUESTS_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "manager/decode/outcome.h"

namespace aclmgr {

// The application policies of a kind go from one application to another.
struct MoveAttributeRequest {
  std::uint8_t attribute;  // the kind
  std::uint8_t fromApplication;
  std::uint8_t toApplication;
};

// A policy that is asked after.
struct CheckedPolicy {
  std::uint8_t type;  // the client's, as is the value; nothing here reads them
  std::uint32_t value;
  std::string policyName;
};

// Policies are asked after.
struct CheckPolicyRequest {
  std::vector<CheckedPolicy> policies;
};

// All that an application has is removed.
struct CleanClientRequest {
  std::uint16_t clientNumber;  // the application
  std::uint32_t word1;         // the client's, both; nothing here reads them
  std::uint32_t word2;
};

// Each decodes the body of one request. kInvalidMessage, and why, for a body of another length, a
// fixed word that is wrong, or a name that is empty or not terminated; kInvalidParameter for more
// policies than a body has room for.
Outcome<MoveAttributeRequest> decodeMoveAttribute(std::span<const std::byte> body);
Outcome<CheckPolicyRequest> decodeCheckPolicy(std::span<const std::byte> body);
Outcome<CleanClientRequest> decodeCleanClient(std::span<const std::byte> body);

}  // namespace aclmgr

#endif  // MANAGER_DECODE_CLIENT_REQUESTS_H
