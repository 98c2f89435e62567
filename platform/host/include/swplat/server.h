/*
 * Serving a component on the host platform: the other end of the message bus.
 *
 * A daemon opens a server for its component, gives it handlers, and runs it on one thread. Handlers
 * are called on that thread only, with no lock held, and may call anything declared here. Every
 * connection is identified by a number that is never used twice while the server lives.
 */
#ifndef SWPLAT_SERVER_H
#define SWPLAT_SERVER_H

#include <stdint.h>

#include "platform/linkage.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Who is at the other end, as the kernel says. */
typedef struct {
  uint32_t pid, uid, gid;
} SwplatCredentials;

/* What a server tells its owner. None may be null. */
typedef struct {
  /* A client has connected. */
  void (*connected)(void *context, uint32_t connection, const SwplatCredentials *credentials);
  /* One whole packet: `length` bytes (1 or more), valid during the call only. */
  void (*received)(void *context, uint32_t connection, const uint8_t *data, uint32_t length);
  /* The client is gone, or swplatServerDisconnect() was called. The last call for a connection. */
  void (*disconnected)(void *context, uint32_t connection);
} SwplatServerHandlers;

typedef struct SwplatServer SwplatServer;

/*
 * Serves a component: takes <runtime directory>/<component>.<slot>.sock.
 *   component  name, at most 33 characters, without '/'
 *   slot       0 to 255
 *   handlers   copied
 *   context    handed to the handlers
 * Returns the server, owned by the caller; null with errno set: EADDRINUSE when another live
 * process serves the component (a socket left behind by a dead one is replaced), EINVAL for a bad
 * argument, or the reason the directory or the socket cannot be made. Clients can connect from now
 * on.
 */
SWITCH_API SwplatServer *swplatServerOpen(const char *component, uint32_t slot,
                                          const SwplatServerHandlers *handlers,
                                          void *context) SWITCH_NOEXCEPT;

/*
 * Runs the server until swplatServerStop().
 * Returns 0; -1 with errno set when the server cannot go on.
 */
SWITCH_API int32_t swplatServerRun(SwplatServer *server) SWITCH_NOEXCEPT;

/*
 * Makes swplatServerRun() return soon. May be called from any thread and from a signal handler.
 */
SWITCH_API void swplatServerStop(SwplatServer *server) SWITCH_NOEXCEPT;

/*
 * Sends one packet to a client. Never blocks.
 *   data    copied when it cannot be sent at once
 *   length  1 or more bytes
 * Returns the number of bytes sent; -116 when the packet is queued until the client reads on; -115
 * when the connection's queue is full (nothing is taken); -1 when there is no such connection.
 */
SWITCH_API int32_t swplatServerSend(SwplatServer *server, uint32_t connection, const void *data,
                                    uint32_t length) SWITCH_NOEXCEPT;

/* Closes a connection; unknown ones are ignored. Queued packets are dropped. */
SWITCH_API void swplatServerDisconnect(SwplatServer *server, uint32_t connection) SWITCH_NOEXCEPT;

/*
 * Closes every connection, gives the component up and frees the server. Null is a no-op. Not to be
 * called from a handler.
 */
SWITCH_API void swplatServerClose(SwplatServer *server) SWITCH_NOEXCEPT;

/*
 * Publishes the state of this daemon for boardGetProcessState(). The state disappears with the
 * process, however it dies; 0 withdraws it.
 * Returns 0; -1 with errno set when it cannot be stored, or another live process holds the name.
 */
SWITCH_API int32_t swplatPublishProcessState(const char *name, int32_t state) SWITCH_NOEXCEPT;

/*
 * Returns the path of the runtime directory: $SWPLAT_DIR, else /run/swplat for root, else
 * $XDG_RUNTIME_DIR/swplat. Valid for the life of the process.
 */
SWITCH_API const char *swplatRuntimeDirectory(void) SWITCH_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* SWPLAT_SERVER_H */
