/*
 * Linkage of the switch's C interfaces: what is exported, and what a C++ compiler may assume.
 *
 * Every interface of the platform and of the client libraries is plain C. The two macros below are
 * the only ones that these headers define beside their include guards.
 */
#ifndef PLATFORM_LINKAGE_H
#define PLATFORM_LINKAGE_H

/* Marks a name that a shared library exports; everything else is hidden. */
#define SWITCH_API __attribute__((visibility("default")))

/* No exception crosses a C interface; C++ callers may rely on it. */
#ifdef __cplusplus
#define SWITCH_NOEXCEPT noexcept
#else
#define SWITCH_NOEXCEPT
#endif

#endif /* PLATFORM_LINKAGE_H */
