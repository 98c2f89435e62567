/*
 * Dispatcher: the one thread of a process on which callbacks and delayed work run, one after the
 * other. No lock of the platform is held while a callback or a routine runs, so they may call
 * anything of the platform. All calls are thread-safe.
 */
#ifndef PLATFORM_DISPATCH_H
#define PLATFORM_DISPATCH_H

#include <stdint.h>

#include "platform/linkage.h"
#include "platform/pktbuf.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Receives what comes from a client's peer.
 *   service  the msgbus client
 *   context  the record's context word, as a pointer-sized value
 *   peer     the peer's id
 *   packet   the message, owned by the callback; null with an event
 *   length   1 or more: bytes of the message; negative: MSGBUS_EVENT_CONNECTED or
 *            MSGBUS_EVENT_DISCONNECTED (others are to be ignored)
 */
typedef void (*DispatchReceiveCallback)(uint32_t service, void *context, uint32_t peer,
                                        PktBuf *packet, int32_t length);

/* A routine that the dispatcher runs with the two arguments given when it was scheduled. */
typedef void (*DispatchRoutine)(void *argument1, void *argument2);

/* A delay on the monotonic clock. */
typedef struct {
  uint32_t seconds;
  uint32_t fraction; /* microseconds */
} DispatchDelay;

/* A client's registration: 164 bytes on every target. Bytes not named are zero. */
typedef struct __attribute__((packed, aligned(4))) DispatchClientRecord {
  uint32_t service;  /* 0: the msgbus client, from msgbusInitClient() */
  char name[34];     /* 4: the component to connect to, NUL-padded */
  uint8_t chassis;   /* 38: the component's chassis */
  uint8_t slot;      /* 39: the component's slot */
  uint8_t zero1[16]; /* 40 */
  union {
    DispatchReceiveCallback callback; /* 56 */
    uint64_t callbackRoom;            /* keeps eight bytes on every target */
  };
  uint32_t context;      /* 64: handed to the callback */
  uint8_t zero2[12];     /* 68 */
  char callbackName[80]; /* 80: the callback's name for diagnostics, NUL-padded */
  uint8_t zero3[4];      /* 160 */
} DispatchClientRecord;

/*
 * Registers a client. The dispatcher then finds the component (name, slot), connects, and calls the
 * record's callback: MSGBUS_EVENT_CONNECTED with the peer's id, every message, and
 * MSGBUS_EVENT_DISCONNECTED after the messages that came before the loss. It connects again, with
 * pauses of 50 ms growing to 1 s, whenever the component is back; each connection is a new peer.
 *   record  copied; stays with the caller
 *   out     reserved, null
 * Returns 0 when registered; non-zero when that is not possible now (try again later).
 */
SWITCH_API int32_t dispatchAddClient(const DispatchClientRecord *record, void *out) SWITCH_NOEXCEPT;

/*
 * Schedules a routine.
 *   argument1, argument2  handed to the routine as they are
 *   delay                 time before each run, copied; null: as soon as possible
 *   count                 number of runs, each `delay` after the one before; 0: until cancelled
 * Returns the work item's id, never 0; 0 when it cannot be scheduled. Items that are due run in the
 * order of their due times, then in the order of scheduling.
 */
SWITCH_API uint32_t dispatchExecuteWorkItem(DispatchRoutine routine, void *argument1,
                                            void *argument2, const DispatchDelay *delay,
                                            uint32_t count) SWITCH_NOEXCEPT;

/*
 * Cancels a work item. When called on the dispatcher's thread the routine does not run afterwards;
 * on another thread a run that has begun goes on.
 * Returns 0; -1 when there is no such item (also when it has run for the last time).
 */
SWITCH_API int32_t dispatchWorkCancel(uint32_t item) SWITCH_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_DISPATCH_H */
