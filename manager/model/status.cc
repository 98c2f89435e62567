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
    {Status::kNoMemory, "No memory"},
    {Status::kInvalidRule, "Invalid rule"},
});

}  // namespace

std::string_view statusText(Status status) noexcept {
  const auto row = std::ranges::find(kStatusTexts, status, &StatusRow::status);
  return row == kStatusTexts.end() ? "unknown status" : row->text;
}

}  // namespace aclmgr
