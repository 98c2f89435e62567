// The requests about dynamic rules and their counters, and about taking rules off.
#ifndef MANAGER_SERVER_DYNAMIC_RULE_HANDLERS_H
#define MANAGER_SERVER_DYNAMIC_RULE_HANDLERS_H

#include <span>

#include "manager/server/handlers.h"

namespace aclmgr {

std::span<const Handler> dynamicRuleHandlers() noexcept;

}  // namespace aclmgr

#endif  // MANAGER_SERVER_DYNAMIC_RULE_HANDLERS_H
