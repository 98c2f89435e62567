#include "manager/decode/count_action.h"

#include <cstring>

#include "acl_lib/encoding/action_codes.h"

namespace aclmgr {

Outcome<std::vector<std::string>> counterNamesOf(const Rule &rule) {
  std::vector<std::string> names;
  for (const Entry &action : rule.actions) {
    if (action.type != acl::action::kCount || action.value.size() < kCountActionWidth) continue;
    const auto *name = reinterpret_cast<const char *>(action.value.data() + kCounterNameOffset);
    const std::size_t length = ::strnlen(name, kCounterNameWidth);
    if (length == kCounterNameWidth) {
      return Refusal{Status::kInvalidRule, "the name of a counter is not terminated"};
    }
    if (length != 0) names.emplace_back(name, length);
  }
  return names;
}

}  // namespace aclmgr
