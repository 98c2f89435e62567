// What the manager answers to a request.
#ifndef MANAGER_MODEL_STATUS_H
#define MANAGER_MODEL_STATUS_H

#include <cstdint>
#include <string_view>

namespace aclmgr {

// The status of a reply, as it travels. Clients know more statuses; these are the ones given here.
enum class Status : std::int16_t {
  kOk = 0,
  kInvalidParameter = -2,
  kInvalidMessage = -3,
  kPolicyExist = -10,
  kPolicyNotExist = -11,
  kPolicyInUse = -13,
  kInstanceNotExist = -14,
  kInstanceExist = -15,
  kInstanceInUse = -16,
  kConfigFailed = -17,
  kNoMemory = -18,
  kRuleNotExist = -19,
  kRuleInUse = -20,
  kRuleExist = -21,
  kInvalidRule = -22,
  kPolicyHasAttribute = -33,
  kNoHardwareResource = -41,
  kCounterNotExist = -42,
  kCancelled = -43,
  kMeterNotFound = -140,
  kMeterBound = -159,
  kMeterNotBound = -160,
};

// Returns the status in the words that the clients' traces use.
std::string_view statusText(Status status) noexcept;

}  // namespace aclmgr

#endif  // MANAGER_MODEL_STATUS_H
