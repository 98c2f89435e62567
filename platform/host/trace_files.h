// The files of trace buffers: <runtime directory>/trace/<name>.<process>.trace.
#ifndef PLATFORM_HOST_TRACE_FILES_H
#define PLATFORM_HOST_TRACE_FILES_H

#include <cstddef>
#include <string>

#include "platform/host/claim_file.h"

namespace swplat {

// Makes this process's file for a name, `size` zero bytes, and claims it. Files of the name that
// dead processes left are removed, but for the newest `keep`; one with this process's number is
// renamed <name>.<process>-<seconds>.trace first. Throws std::system_error.
ClaimFile makeTraceFile(const std::string &name, size_t size, size_t keep);

}  // namespace swplat

#endif  // PLATFORM_HOST_TRACE_FILES_H
