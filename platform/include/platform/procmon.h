/*
 * Process monitor: what the components inside this process report of themselves. Thread-safe.
 */
#ifndef PLATFORM_PROCMON_H
#define PLATFORM_PROCMON_H

#include <stdint.h>

#include "platform/linkage.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Reports the state of one component of this process.
 *   name   the component, at most 33 characters are significant
 *   state  1: waiting for its peer; 2: connected; 3: running; others as the component defines
 * Returns 0; -1 when the report could not be stored. The report disappears with the process. It is
 * no statement about the daemon of the same name (boardGetProcessState() in board.h).
 */
SWITCH_API int32_t procmonSetState(const char *name, int32_t state) SWITCH_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_PROCMON_H */
