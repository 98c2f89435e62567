// States that daemons publish for themselves: <runtime directory>/states/<name>.state.
#ifndef PLATFORM_HOST_PROCESS_STATE_H
#define PLATFORM_HOST_PROCESS_STATE_H

#include <cstdint>

namespace swplat {

// Returns the state that a live process publishes under a name, 0 when none does. Null: 0.
int32_t publishedProcessState(const char *name);

}  // namespace swplat

#endif  // PLATFORM_HOST_PROCESS_STATE_H
