/*
 * Directory: which components are served, and at which address. Thread-safe.
 */
#ifndef PLATFORM_DIRSVC_H
#define PLATFORM_DIRSVC_H

#include <stdint.h>

#include "platform/linkage.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * A directory record: 52 bytes. A caller fills the first three fields for a key and reads the last
 * three from a result. The numbers are in host byte order and not aligned.
 */
typedef struct __attribute__((packed, aligned(4))) DirsvcRecord {
  char name[34];     /* 0: component name, NUL-padded */
  uint8_t chassis;   /* 34 */
  uint8_t slot;      /* 35: slot the component is served in */
  uint64_t address;  /* 36: messaging address, for msgbusRegisterPeerByAddr() */
  uint32_t port;     /* 44: for diagnostics */
  uint32_t reserved; /* 48 */
} DirsvcRecord;

/*
 * Looks a component up by name and slot.
 *   key     52 bytes laid out as a DirsvcRecord: name and slot are read
 *   result  52 bytes: filled when found, unchanged otherwise
 * Returns 0 when the component is served at this moment; -1 when it is not.
 */
SWITCH_API int32_t dirsvcGetEntryByAttr(const void *key, void *result) SWITCH_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_DIRSVC_H */
