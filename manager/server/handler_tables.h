// The rows of the table of codes, by what the requests are about: each from its own source file.
#ifndef MANAGER_SERVER_HANDLER_TABLES_H
#define MANAGER_SERVER_HANDLER_TABLES_H

#include <span>

#include "manager/server/handlers.h"

namespace aclmgr {

// Processes and policies: 0x2000 to 0x2006.
std::span<const Handler> policyHandlers() noexcept;
// Dynamic rules and their counters, and taking rules off: 0x3001 to 0x3004, 0x300A, 0x3010, 0x3019.
std::span<const Handler> dynamicRuleHandlers() noexcept;
// Rules that clients evaluate themselves: 0x3007 to 0x3009.
std::span<const Handler> appRuleHandlers() noexcept;
// Meters: 0x3012 to 0x3014 and 0x3020.
std::span<const Handler> meterHandlers() noexcept;
// Application policies: 0x300B and 0x300C.
std::span<const Handler> appPolicyHandlers() noexcept;
// What a whole client has: 0x300D, 0x300F and 0x3018.
std::span<const Handler> clientHandlers() noexcept;
// Slices: 0x301C.
std::span<const Handler> sliceHandlers() noexcept;

}  // namespace aclmgr

#endif  // MANAGER_SERVER_HANDLER_TABLES_H
