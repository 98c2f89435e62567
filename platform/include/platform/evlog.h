/*
 * Event log: trace buffers, components with their catalogue of conditions, and incidents.
 * All calls are thread-safe.
 */
#ifndef PLATFORM_EVLOG_H
#define PLATFORM_EVLOG_H

#include <stdint.h>

#include "platform/linkage.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A component that raises events. 24 bytes on a 32-bit target. Numbers are in host byte order. */
typedef struct {
  const char *name;
  const char *title;
  uint32_t word2;
  uint32_t word3;
  uint32_t word4; /* the low 16 bits are the number of condition records */
  uint32_t word5;
} EvlogComponentDesc;

/* One condition of a component's catalogue. 76 bytes on a 32-bit target. Host byte order. */
typedef struct {
  const char *name;
  const char *format;     /* parameters are written "%0%" to "%7%" */
  uint32_t classWord;     /* top byte: class bit; next byte: number of parameters */
  uint32_t parameter[16]; /* one descriptor word per parameter, then zeros */
} EvlogConditionDesc;

/* The platform's own trace component, through which libraries raise incidents. */
typedef struct {
  const char *name;
  uint32_t conditionEnabled;  /* non-zero: the error condition is enabled */
  uint32_t occurrenceCounter; /* counts the incidents raised while it is */
  uint32_t logFlags;          /* bit 0: incidents are logged */
} EvlogTraceComponentDesc;

SWITCH_API extern EvlogTraceComponentDesc _evlog_trace_ComponentDesc;
SWITCH_API extern uint32_t _evlog_trace_ComponentHandle;

/*
 * Opens a trace buffer: a ring of text lines that outlives a crash of the process.
 *   name   NUL-terminated; copied
 *   size   bytes kept; older lines are overwritten
 *   flags  reserved, 0
 * Returns the buffer's handle, never 0; 0 when it cannot be created. Opening a name again returns
 * the same buffer.
 */
SWITCH_API uint32_t evlogInitTraceBuffer(const char *name, uint32_t size,
                                         uint32_t flags) SWITCH_NOEXCEPT;

/*
 * Writes a text to a trace buffer, with the time and the level. Unknown handles are ignored.
 *   level   1 critical, 2 error, 3 warning, 4 to 15 informational and debug
 *   text    `length` bytes, copied; need not be terminated
 */
SWITCH_API void evlogTraceLog(uint32_t handle, uint32_t level, const char *text,
                              uint32_t length) SWITCH_NOEXCEPT;

/*
 * Registers a component.
 *   kind        1: an EvlogComponentDesc; 2: an EvlogTraceComponentDesc
 *   descriptor  borrowed for the life of the process
 *   handle      set to the component's handle, never 0
 * Returns 0; -1 when it cannot be registered (`handle` is unchanged). Registering a descriptor
 * again gives the same handle.
 */
SWITCH_API int32_t evlogRegisterComponent(uint32_t kind, void *descriptor,
                                          uint32_t *handle) SWITCH_NOEXCEPT;

/*
 * Records an incident of a registered component: source file, line, function and a text formatted
 * as printf does. Unknown handles are ignored. Nothing is retained.
 */
SWITCH_API void evlogNotifyIncident(uint32_t handle, const char *file, uint32_t line,
                                    const char *function, const char *format, ...) SWITCH_NOEXCEPT
    __attribute__((format(printf, 5, 6)));

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_EVLOG_H */
