// What this process knows of the board it runs on: from the environment or a configuration file.
#ifndef PLATFORM_HOST_BOARD_FACTS_H
#define PLATFORM_HOST_BOARD_FACTS_H

#include <cstdint>
#include <functional>
#include <istream>
#include <string>
#include <vector>

namespace swplat {

struct BoardFacts {
  uint32_t slot = 1;
  uint32_t chassis = 1;
  uint32_t platform = 1;
  uint32_t egressAcl = 1;
  std::string processName;
};

// Returns the value of an environment variable, or null.
using EnvironmentLookup = std::function<const char *(const char *name)>;

// Reads "key = value" lines into the facts: slot, chassis, platform, egress_acl, process_name.
// Blank lines and lines that begin with '#' are skipped. What is not understood is left out and
// described in `complaints`.
void readConfiguration(std::istream &lines, BoardFacts &facts,
                       std::vector<std::string> &complaints);

// Reads SWPLAT_SLOT, SWPLAT_CHASSIS, SWPLAT_PLATFORM, SWPLAT_EGRESS_ACL and SWPLAT_PROCESS_NAME
// over the facts. Bad values are left out and described in `complaints`.
void readEnvironment(const EnvironmentLookup &environment, BoardFacts &facts,
                     std::vector<std::string> &complaints);

// The facts of this process: defaults, then the file $SWPLAT_CONF (/etc/swplat.conf when not set),
// then the environment. Read once, with a warning for each complaint. Thread-safe.
const BoardFacts &boardFacts();

}  // namespace swplat

#endif  // PLATFORM_HOST_BOARD_FACTS_H
