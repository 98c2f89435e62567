// What is done to a rule, in words.

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "acl_lib.h"

namespace acl {
namespace {

// By number. On purpose, 7 and 8 have the names of 1 and 2, and 0 that of every number without one.
constexpr const char *kRuleActionNames[] = {"unknown action", "prepend",     "append",
                                            "configure",      "unconfigure", "delete",
                                            "delete all",     "prepend",     "append"};

}  // namespace
}  // namespace acl

extern "C" const char *aclGetRuleActionString(std::int32_t action) noexcept {
  const auto row = static_cast<std::uint32_t>(action);
  return acl::kRuleActionNames[row < std::size(acl::kRuleActionNames) ? row : 0];
}
