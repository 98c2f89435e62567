/*
 * Type-length-value objects: how a packet carries several messages.
 *
 * An object is a 4-byte header (type, then the length of the value without padding; 16 bits each,
 * big-endian) and the value, padded to an even number of bytes with one zero byte. Objects follow
 * each other without gaps. One TlvBuilder serves for writing (cursor: where the next object goes)
 * and for reading (cursor: the next object to look at).
 */
#ifndef PLATFORM_TLV_H
#define PLATFORM_TLV_H

#include <stdint.h>

#include "platform/linkage.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
  uint8_t *start;    /* first byte of the area */
  uint32_t capacity; /* bytes of the area: room when writing, bytes to read when reading */
  uint8_t *cursor;   /* start <= cursor; the used length is cursor - start */
} TlvBuilder;

/*
 * Lays a builder over an area and sets its cursor to the start.
 *   area      not null unless capacity is 0; borrowed for as long as the builder is used
 *   capacity  bytes
 * For writing objects longer than `capacity`, the area must be the data area of a packet from
 * pktbufAllocPacket(), whose tailroom takes one object of any length.
 */
SWITCH_API void tlvInit(TlvBuilder *builder, void *area, uint32_t capacity) SWITCH_NOEXCEPT;

/*
 * Appends one object, copying its value.
 *   data    `length` bytes; may be null when length is 0
 *   type    object type
 *   length  bytes of the value, at most 65535
 * Returns 0 when the object was written; -1 when it was not and nothing changed: the value is
 * longer than 65535 bytes, or it does not fit behind the objects already there. An object that is
 * longer than the whole area is taken when the area is still empty.
 */
SWITCH_API int32_t tlvAddObject(TlvBuilder *builder, const void *data, uint16_t type,
                                uint32_t length) SWITCH_NOEXCEPT;

/*
 * Reads the next object and moves the cursor behind it.
 *   type, length  set to the object's type and the length of its value without padding
 *   value         set to the first byte of the value, inside the area
 * Returns 0 when there was an object; -1 at the end of the area or where what follows is not a
 * whole object (the outputs and the cursor are then unchanged). The padding byte of the very last
 * object may be missing.
 */
SWITCH_API int32_t tlvGetObject(TlvBuilder *reader, uint16_t *type, uint16_t *length,
                                void **value) SWITCH_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_TLV_H */
