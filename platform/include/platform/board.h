/*
 * Board facts: where this process runs, and what the hardware there can do. Thread-safe.
 */
#ifndef PLATFORM_BOARD_H
#define PLATFORM_BOARD_H

#include <stdint.h>

#include "platform/linkage.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the number of the slot this process runs in; the low 8 bits are significant. */
SWITCH_API uint32_t boardGetSlotSelf(void) SWITCH_NOEXCEPT;

/* Returns the number of the chassis; the low 8 bits are significant. */
SWITCH_API uint32_t boardGetChassisId(void) SWITCH_NOEXCEPT;

/* Returns the id of the switch's platform (its model line). */
SWITCH_API uint32_t boardGetPlatformId(void) SWITCH_NOEXCEPT;

/*
 * Tells the state that a daemon has published for itself.
 *   name  the daemon's name, for example "acl" for the ACL manager
 * Returns its state (9: up and serving), 0 when no such process runs.
 */
SWITCH_API int32_t boardGetProcessState(const char *name) SWITCH_NOEXCEPT;

/* Returns non-zero when the card in `slot` can enforce ACLs on egress, else 0. */
SWITCH_API int32_t boardCardEgressAclCapable(uint32_t slot) SWITCH_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_BOARD_H */
