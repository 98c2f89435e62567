// The requests about application policies: codes 0x300B and 0x300C.
#ifndef MANAGER_SERVER_APP_POLICY_HANDLERS_H
#define MANAGER_SERVER_APP_POLICY_HANDLERS_H

#include <span>

#include "manager/server/handlers.h"

namespace aclmgr {

std::span<const Handler> appPolicyHandlers() noexcept;

}  // namespace aclmgr

#endif  // MANAGER_SERVER_APP_POLICY_HANDLERS_H
