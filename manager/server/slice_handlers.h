// The requests about classifier slices: code 0x301C.
#ifndef MANAGER_SERVER_SLICE_HANDLERS_H
#define MANAGER_SERVER_SLICE_HANDLERS_H

#include <span>

#include "manager/server/handlers.h"

namespace aclmgr {

std::span<const Handler> sliceHandlers() noexcept;

}  // namespace aclmgr

#endif  // MANAGER_SERVER_SLICE_HANDLERS_H
