// Results of the exported calls.
#ifndef ACL_LIB_ENCODING_RESULTS_H
#define ACL_LIB_ENCODING_RESULTS_H

#include <cstdint>

namespace acl {

inline constexpr std::int32_t kSuccess = 0;
// There is no connection, or the platform did not do what was asked for.
inline constexpr std::int32_t kFailed = -1;
// Callers cannot tell it from kFailed; the code says which one it means.
inline constexpr std::int32_t kNoMemory = -1;
inline constexpr std::int32_t kInvalidArgument = -2;

}  // namespace acl

#endif  // ACL_LIB_ENCODING_RESULTS_H
