// What a count action holds. The layout is this manager's; clients copy it as it is.
//
//   offset  size  field
//        0     2  number       shown in dumps; nothing goes by it
//        2    33  counterName  NUL-terminated; the counter is asked for by it
//       35     3  spare        not looked at
#ifndef MANAGER_DECODE_COUNT_ACTION_H
#define MANAGER_DECODE_COUNT_ACTION_H

#include <cstddef>
#include <string>
#include <vector>

#include "manager/decode/outcome.h"
#include "manager/model/policy.h"

namespace aclmgr {

inline constexpr std::size_t kCounterNameOffset = 2;
inline constexpr std::size_t kCounterNameWidth = 33;
inline constexpr std::size_t kCountActionWidth = 38;

// Returns the names of the counters of a rule, in the order of its count actions. A count action
// with an empty name has no counter. kInvalidRule for a name that is not terminated.
Outcome<std::vector<std::string>> counterNamesOf(const Rule &rule);

}  // namespace aclmgr

#endif  // MANAGER_DECODE_COUNT_ACTION_H
