#include "platform/host/diagnostics.h"

#include <syslog.h>

#include <cstdio>

namespace swplat {

void warn(const std::string &message) {
  syslog(LOG_WARNING, "swplat: %s", message.c_str());
  std::fprintf(stderr, "swplat: %s\n", message.c_str());
}

}  // namespace swplat
