#include "manager/model/status.h"

#include <algorithm>
#include <array>

namespace aclmgr {
namespace {

struct StatusRow {
  Status status;
  std::string_view text;
};

constexpr auto kStatusTexts = std::to_array<StatusRow>({
    {Status::kOk, "OK"},
    {Status::kInvalidParameter, "InvalidParameter"},
    {Status::kInvalidMessage, "InvalidMessage"},
    {Status::kPolicyExist, "PolicyExist"},
    {Status::kPolicyNotExist, "PolicyNotExist"},
    {Status::kPolicyInUse, "PolicyInUse"},
    {Status::kInstanceNotExist, "InstNotExist"},
    {Status::kInstanceExist, "InstExist"},
    {Status::kInstanceInUse, "InstInUse"},
    {Status::kConfigFailed, "ConfigFailed"},
    {Status::kNoMemory, "No memory"},
    {Status::kRuleNotExist, "Rule does not exist"},
    {Status::kRuleInUse, "Rule rule has already been applied to inst"},
    {Status::kRuleExist, "Rule already exists"},
    {Status::kInvalidRule, "Invalid rule"},
    {Status::kPolicyHasAttribute, "Policy has attribute"},
    {Status::kNoHardwareResource, "Unable to install new rule. No more hardware resource."},
    {Status::kCounterNotExist, "Counter does not exist."},
    {Status::kCancelled, "Pending config request is cancelled out."},
    {Status::kMeterNotFound, "Meter not found"},
    {Status::kMeterBound, "Meter is already bound to client"},
    {Status::kMeterNotBound, "Meter is not bound to client"},
});

}  // namespace

std::string_view statusText(Status status) noexcept {
  const auto row = std::ranges::find(kStatusTexts, status, &StatusRow::status);
  return row == kStatusTexts.end() ? "unknown status" : row->text;
}

}  // namespace aclmgr
