/*
 * Management CLI: lines pushed to an operator's open session. Thread-safe.
 */
#ifndef PLATFORM_CLIAGENT_H
#define PLATFORM_CLIAGENT_H

#include <stdint.h>

#include "platform/linkage.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Pushes a text to a CLI connection.
 *   handle  the connection; on this host the number of an open file descriptor, 1 or higher
 *   text    NUL-terminated; written as it is
 * Texts for a handle that is not open are dropped. Never blocks for longer than the descriptor
 * does.
 */
SWITCH_API void cliagentNotifyCLI(int32_t handle, const char *text) SWITCH_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_CLIAGENT_H */
