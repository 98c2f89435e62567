// What the trace lines of requests and replies have in common.
#ifndef ACL_LIB_DYNRULES_REQUEST_TRACE_H
#define ACL_LIB_DYNRULES_REQUEST_TRACE_H

#include <cstdint>
#include <iterator>

#include "acl_lib.h"

namespace acl {

// The level of the library's own lines.
inline constexpr std::uint32_t kRequestTraceLevel = 7;

// Rows of aclGlobalApps that are applications: the last row ends the table.
inline constexpr std::uint32_t kApplicationCount = std::size(aclGlobalApps) - 1;

// Returns the name of an application as traces show it: any number may come from a caller or in a
// message, and those that are no application's are shown as row 0.
inline const char *applicationName(std::uint32_t appId) noexcept {
  return aclGlobalApps[appId < kApplicationCount ? appId : 0].name;
}

// Returns a caller's name for a trace, where "%.32s" prints it: like bodies, traces read no more of
// a name than that. A null name is the empty one.
inline const char *tracedName(const char *name) noexcept {
  return name == nullptr ? "" : name;
}

// The two halves of a port word, which is shown as slot:port.
inline std::uint32_t slotOf(std::uint32_t port) noexcept {
  return port >> 16 & 0xFF;
}
inline std::uint32_t portNumberOf(std::uint32_t port) noexcept {
  return port & 0xFFFF;
}

}  // namespace acl

#endif  // ACL_LIB_DYNRULES_REQUEST_TRACE_H
