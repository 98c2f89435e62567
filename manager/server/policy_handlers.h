// The requests about processes and policies: codes 0x2000 to 0x2006.
#ifndef MANAGER_SERVER_POLICY_HANDLERS_H
#define MANAGER_SERVER_POLICY_HANDLERS_H

#include <span>

#include "manager/server/handlers.h"

namespace aclmgr {

std::span<const Handler> policyHandlers() noexcept;

}  // namespace aclmgr

#endif  // MANAGER_SERVER_POLICY_HANDLERS_H
