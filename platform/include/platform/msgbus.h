/*
 * Message bus: packets to and from other processes of the switch.
 *
 * A client is a process's entrance to the bus; a peer is one connection of a client to a served
 * component. Peers come to be in two ways: the dispatcher finds and connects the peer of a client
 * that was registered with dispatchAddClient() and delivers what it sends (dispatch.h); or a caller
 * registers an address from the directory itself, connects and receives by calls.
 *
 * Packets arrive whole, in the order in which one sender sent them. Nothing that was accepted is
 * lost while the peer lives. Packets that arrived are delivered before the loss of their peer is.
 * All calls are thread-safe.
 */
#ifndef PLATFORM_MSGBUS_H
#define PLATFORM_MSGBUS_H

#include <stdint.h>

#include "platform/linkage.h"
#include "platform/pktbuf.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Results of the calls below. */
enum {
  MSGBUS_ERROR = -1,         /* no such peer or client, or the connection is gone */
  MSGBUS_REFUSED = -109,     /* msgbusConnectToPeer: the component refuses this process */
  MSGBUS_IN_PROGRESS = -113, /* msgbusConnectToPeer: nobody serves the component yet */
  MSGBUS_QUEUE_FULL = -115,  /* msgbusSend: not taken, the peer's queue is at its limit */
  MSGBUS_QUEUED = -116,      /* msgbusSend: taken, and queued until the peer reads on */
  MSGBUS_TIMED_OUT = -110    /* msgbusRecv: nothing came within the wait */
};

/* Events given to a receive callback in place of a message length. */
enum {
  MSGBUS_EVENT_CONNECTED = -121,   /* the peer is connected; its id accompanies the event */
  MSGBUS_EVENT_DISCONNECTED = -112 /* the connection is lost */
};

/* Codes given to a control callback. */
enum {
  MSGBUS_CONTROL_CONNECTED = 1,    /* first connection of the peer */
  MSGBUS_CONTROL_DISCONNECTED = 2, /* the connection is lost; the platform tries to restore it */
  MSGBUS_CONTROL_RESTORED = -121   /* the connection is back */
};

/* Options of a peer. */
enum {
  MSGBUS_OPTION_KEEP_ALIVE = 2,  /* 1: the platform connects again by itself after a loss */
  MSGBUS_OPTION_QUEUE_LIMIT = 3, /* packets that may wait for the peer to read on; 1024 at first */
  MSGBUS_OPTION_PRIORITY = 8     /* service class 0 to 7; kept, without effect on this host */
};

/*
 * Told about the connections of a client's peers, on the dispatcher's thread, with no lock held.
 * The result is not used.
 */
typedef int32_t (*MsgbusControlCallback)(uint32_t peerId, int32_t code);

/*
 * Creates a client.
 *   kind     1: a client for requests and answers; nothing else exists
 *   control  told about connections of peers that msgbusRegisterPeerByAddr() made; may be null
 *   context  reserved, 0
 * Returns the client's handle, never 0; 0 when it cannot be created. A client lives as long as the
 * process.
 */
SWITCH_API uint32_t msgbusInitClient(uint32_t kind, MsgbusControlCallback control,
                                     uint32_t context) SWITCH_NOEXCEPT;

/*
 * Makes a peer of a client from an address that dirsvcGetEntryByAttr() found.
 *   peerId  set to the new peer's id, never 0; unchanged on failure
 * Returns 0, or MSGBUS_ERROR for an unknown client or address. The peer is not connected yet.
 */
SWITCH_API int32_t msgbusRegisterPeerByAddr(uint32_t client, uint64_t address,
                                            uint32_t *peerId) SWITCH_NOEXCEPT;

/*
 * Connects a peer.
 *   flags  reserved, 0
 * Returns 0 when connected (also when it already was); MSGBUS_REFUSED when the component's socket
 * may not be used by this process; MSGBUS_IN_PROGRESS when nobody answers there at present (try
 * again); MSGBUS_ERROR for an unknown peer.
 */
SWITCH_API int32_t msgbusConnectToPeer(uint32_t peerId, uint32_t flags) SWITCH_NOEXCEPT;

/*
 * Closes a peer and forgets it. Packets still queued for it are dropped.
 * Returns 0, or MSGBUS_ERROR for an unknown peer. The peer of a dispatcher client is connected anew
 * by the dispatcher, under a new id.
 */
SWITCH_API int32_t msgbusDeregisterPeer(uint32_t peerId) SWITCH_NOEXCEPT;

/*
 * Sets an option of a peer (MSGBUS_OPTION_...).
 * Returns 0, or MSGBUS_ERROR for an unknown peer. Unknown options are accepted and have no effect.
 */
SWITCH_API int32_t msgbusSetPeerOption(uint32_t peerId, uint32_t option,
                                       uint32_t value) SWITCH_NOEXCEPT;

/*
 * Sends one packet. Never blocks.
 *   packet  the first `length` bytes are sent; an empty packet is accepted and nothing is delivered
 *   flags   reserved, 0
 * Returns the number of bytes when the packet is on its way (0 for an empty one); MSGBUS_QUEUED
 * when it was taken and waits for the peer to read on; MSGBUS_QUEUE_FULL when as many packets wait
 * as the peer's queue limit allows; MSGBUS_ERROR when there is no such peer or its connection is
 * gone.
 *
 * Ownership: a packet that was not taken (MSGBUS_QUEUE_FULL, MSGBUS_ERROR) stays with the caller. A
 * packet that was taken belongs to the bus; as some callers free their packet whatever the outcome,
 * pktbufFree() of exactly that packet is allowed as the next thing this thread does with the bus
 * and has no effect. It must not be touched otherwise.
 */
SWITCH_API int32_t msgbusSend(uint32_t peerId, PktBuf *packet, uint32_t flags) SWITCH_NOEXCEPT;

/*
 * Receives one packet of a peer made with msgbusRegisterPeerByAddr(), waiting for it.
 *   packet  owned by the caller; the message is written at `data` and `length` is set; a message
 *           longer than the packet's capacity is cut to it
 *   wait    three words: seconds, milliseconds, microseconds to wait at most, added up
 *   flags   reserved, 0
 * Returns the message's length in bytes (1 or more); MSGBUS_TIMED_OUT when none came in time;
 * MSGBUS_ERROR when there is no such peer or it is not connected. When several threads receive from
 * one peer with different waits, one may wait as long as another asked for.
 */
SWITCH_API int32_t msgbusRecv(uint32_t peerId, PktBuf *packet, const uint32_t wait[3],
                              uint32_t flags) SWITCH_NOEXCEPT;

/*
 * Tells how many packets are queued for a peer.
 * Returns the count, 0 or more; MSGBUS_ERROR for an unknown peer.
 */
SWITCH_API int32_t msgbusGetVqStatsCount(uint32_t peerId) SWITCH_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_MSGBUS_H */
