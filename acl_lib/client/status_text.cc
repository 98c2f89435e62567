// The texts of the statuses in the ACL manager's answers.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <iterator>

#include "acl_lib.h"

char aclStatusStringBuff[100];

namespace acl {
namespace {

struct StatusText {
  std::int16_t status;
  const char *text;
};

// In ascending order: the first and the last row are the bounds.
constexpr StatusText kStatusTexts[] = {
    {-310, "Network zone in policy does not exist or is not having any entities"},
    {-309, "One or more policies refer the network zone. Cannot delete all entities"},
    {-308, "Network zone in policy has no attributes."},
    {-306, "Unable to delete zones. One or more zones are part of policies."},
    {-305, "Unable to delete zone. Zone has one or more policies"},
    {-304, "Zone does not exist"},
    {-303, "Reached maximum number of attributes. Unable to add more"},
    {-302, "Specified entity value is not part of the zone"},
    {-301, "Zone already has the same entity value with same or wider mask"},
    {-201, "Flow-redirect name is not found"},
    {-160, "Meter is not bound to client"},
    {-159, "Meter is already bound to client"},
    {-158,
     "Associated per-port meter does not have port specific configuration. "
     "Need to configure meter before associating to rule."},
    {-140, "Meter not found"},
    {-43, "Pending config request is cancelled out."},
    {-42, "Counter does not exist."},
    {-41, "Unable to install new rule. No more hardware resource."},
    {-40, "Source-zone and destination-zone are not supported in dynamic rules"},
    {-39, "Policy entry has network zone and a statement, both having same attribute"},
    {-33, "Policy has attribute"},
    {-32, "Redirect is not supported in egress"},
    {-31, "Egress ACLs are not supported"},
    {-22, "Invalid rule"},
    {-21, "Rule already exists"},
    // The doubled word is part of the text.
    {-20, "Rule rule has already been applied to inst"},
    {-19, "Rule does not exist"},
    {-18, "No memory"},
    {-17, "ConfigFailed"},
    {-16, "InstInUse"},
    {-15, "InstExist"},
    {-14, "InstNotExist"},
    {-13, "PolicyInUse"},
    {-11, "PolicyNotExist"},
    {-10, "PolicyExist"},
    {-3, "InvalidMessage"},
    {-2, "InvalidParameter"},
    {-1, "Error"},
    {0, "OK"},
    {1, "Pending"},
};

static_assert(std::ranges::adjacent_find(kStatusTexts, std::ranges::greater_equal{},
                                         &StatusText::status) == std::end(kStatusTexts));

constexpr int kLowestStatus = std::begin(kStatusTexts)->status;
constexpr int kHighestStatus = std::rbegin(kStatusTexts)->status;
constexpr std::size_t kSlots = kHighestStatus - kLowestStatus + 1;

// One slot for every status between the bounds, null for one without a text, so that a status is
// found without a search.
consteval std::array<const char *, kSlots> textsBySlot() {
  std::array<const char *, kSlots> texts{};
  for (const StatusText &row : kStatusTexts) {
    texts[static_cast<std::size_t>(row.status - kLowestStatus)] = row.text;
  }
  return texts;
}

constexpr std::array<const char *, kSlots> kTextsBySlot = textsBySlot();

// Returns null for a status without a text. A status below the bounds gives a slot far above them.
const char *fixedText(std::int16_t status) noexcept {
  const auto slot = static_cast<std::uint16_t>(status - kLowestStatus);
  return slot < kSlots ? kTextsBySlot[slot] : nullptr;
}

}  // namespace
}  // namespace acl

extern "C" {

const char *aclStatusText(std::int16_t status) noexcept {
  // Also when there is a fixed text: the buffer always tells about the last status only.
  for (char &character : aclStatusStringBuff) character = '\0';
  if (const char *text = acl::fixedText(status)) return text;
  // The blank at the end is part of the text.
  std::snprintf(aclStatusStringBuff, sizeof(aclStatusStringBuff),
                "UnknownStatusCode :%d: ", status);
  return aclStatusStringBuff;
}

}  // extern "C"
