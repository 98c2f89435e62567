// The requests about meters.
#ifndef MANAGER_SERVER_METER_HANDLERS_H
#define MANAGER_SERVER_METER_HANDLERS_H

#include <span>

#include "manager/server/handlers.h"

namespace aclmgr {

std::span<const Handler> meterHandlers() noexcept;

}  // namespace aclmgr

#endif  // MANAGER_SERVER_METER_HANDLERS_H
