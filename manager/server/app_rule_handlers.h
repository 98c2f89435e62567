// The requests about rules that clients evaluate themselves.
#ifndef MANAGER_SERVER_APP_RULE_HANDLERS_H
#define MANAGER_SERVER_APP_RULE_HANDLERS_H

#include <span>

#include "manager/server/handlers.h"

namespace aclmgr {

std::span<const Handler> appRuleHandlers() noexcept;

}  // namespace aclmgr

#endif  // MANAGER_SERVER_APP_RULE_HANDLERS_H
