// Messages of the host platform itself, for whoever operates the machine.
#ifndef PLATFORM_HOST_DIAGNOSTICS_H
#define PLATFORM_HOST_DIAGNOSTICS_H

#include <string>

namespace swplat {

// Writes one line to syslog and to the standard error stream. Thread-safe.
void warn(const std::string &message);

}  // namespace swplat

#endif  // PLATFORM_HOST_DIAGNOSTICS_H
