/*
 * The process itself: its name, and text formatting that needs no buffer from the caller.
 * Thread-safe.
 */
#ifndef PLATFORM_PROCESS_H
#define PLATFORM_PROCESS_H

#include "platform/linkage.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the name of this process, NUL-terminated; valid for the life of the process. */
SWITCH_API const char *platGetProcessName(void) SWITCH_NOEXCEPT;

/*
 * Formats a text as printf does.
 * Returns the text, never null: it lies in one of a few buffers of the calling thread and stays
 * valid until that thread has called Sprintf seven more times. Texts below 4096 characters are
 * whole; longer ones are cut.
 */
SWITCH_API const char *Sprintf(const char *format, ...) SWITCH_NOEXCEPT
    __attribute__((format(printf, 1, 2)));

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_PROCESS_H */
