// The requests about what a whole client has: codes 0x300D, 0x300F and 0x3018.
#ifndef MANAGER_SERVER_CLIENT_HANDLERS_H
#define MANAGER_SERVER_CLIENT_HANDLERS_H

#include <span>

#include "manager/server/handlers.h"

namespace aclmgr {

std::span<const Handler> clientHandlers() noexcept;

}  // namespace aclmgr

#endif  // MANAGER_SERVER_CLIENT_HANDLERS_H
