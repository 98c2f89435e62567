// Reading memory at an address that may be any integer.
#ifndef ACL_LIB_ENCODING_ADDRESS_PROBE_H
#define ACL_LIB_ENCODING_ADDRESS_PROBE_H

#include <cstddef>
#include <cstdint>

namespace acl {

// Copies `length` bytes that start at `address`, without ever faulting.
//   address      any integer
//   destination  receives the bytes; some may have been written when the result is false
//   length       at most 4096
// Returns false when not all of them can be read, and also when the process has no two file
// descriptors left to find out. Any thread. Costs a few system calls.
bool copyFromAnyAddress(std::uintptr_t address, void *destination, std::size_t length) noexcept;

}  // namespace acl

#endif  // ACL_LIB_ENCODING_ADDRESS_PROBE_H
