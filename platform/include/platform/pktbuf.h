/*
 * Packet buffers: the memory that messages travel in.
 *
 * A packet has one owner at a time. msgbusSend() takes an accepted packet over (see msgbus.h for
 * the one thing the former owner may still do with it); a receive callback is handed a packet and
 * owns it. Buffers are recycled, so that a steady flow of packets allocates nothing.
 */
#ifndef PLATFORM_PKTBUF_H
#define PLATFORM_PKTBUF_H

#include <stdint.h>

#include "platform/linkage.h"

#ifdef __cplusplus
extern "C" {
#endif

/* One packet. Callers read `data` and `length`; the other fields belong to the platform. */
typedef struct PktBuf {
  uint8_t *data;        /* first byte of the data area, aligned to 8 bytes */
  uint32_t length;      /* bytes of the data area in use */
  uint32_t capacity;    /* bytes that may be written at `data`, tailroom included */
  struct PktBuf *next;  /* link of the queue or the recycling list that holds the packet */
  uint32_t platform[2]; /* private to the implementation */
} PktBuf;

enum {
  /* Bytes a packet offers behind the size asked for: one TLV object of the largest length. */
  PKTBUF_TAILROOM = 4 + 65536
};

/*
 * Allocates a packet of `size` bytes of data.
 *   size      bytes of data asked for; `length` of the new packet
 *   headroom  bytes to keep free in front of the data for lower layers
 *   flags     1: a packet to send; 0: a packet to receive into. Both come from the same pool here.
 * Returns the packet, owned by the caller, with at least PKTBUF_TAILROOM writable bytes behind the
 * `size` bytes; null when memory is exhausted. The content of the data area is indeterminate.
 * Thread-safe.
 */
SWITCH_API PktBuf *pktbufAllocPacket(uint32_t size, uint32_t headroom,
                                     uint32_t flags) SWITCH_NOEXCEPT;

/*
 * Sets the length in use of a packet that the caller owns.
 *   packet  not null
 *   length  bytes; a length above the packet's capacity is cut to it
 * The data stays in place. Not thread-safe for one packet; different packets are independent.
 */
SWITCH_API void pktbufTrimPacket(PktBuf *packet, uint32_t length) SWITCH_NOEXCEPT;

/*
 * Gives a packet back.
 *   packet  owned by the caller, or the packet that this thread's latest msgbusSend() accepted
 *           (which is then only acknowledged, see msgbus.h); null is a no-op
 * Thread-safe.
 */
SWITCH_API void pktbufFree(PktBuf *packet) SWITCH_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_PKTBUF_H */
