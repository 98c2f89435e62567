// Memory that runs out on purpose.
//
// The executable must be linked through the CMake function acl_wrap_allocations(target). The
// allocations of everything linked statically into it are then seen here: malloc, calloc, realloc,
// aligned_alloc and operator new (except the over-aligned one). Allocations that shared libraries
// make for themselves are not. Works with the sanitizers.
#ifndef TESTS_SUPPORT_FAILING_ALLOCATOR_H
#define TESTS_SUPPORT_FAILING_ALLOCATOR_H

#include "swplat_fake/allocation_exemption.h"

namespace test_support {

// While one lives, allocations of the test's own are neither counted nor let fail.
using AllocationExemption = swplat_fake::AllocationExemption;

// While it lives, one allocation of this thread fails: null, or std::bad_alloc from the throwing
// operator new. One at a time for a thread.
class FailAllocation {
 public:
  // number  1: the very next allocation; 0: none fails, they are only counted
  explicit FailAllocation(unsigned number);
  ~FailAllocation();
  FailAllocation(const FailAllocation &) = delete;
  FailAllocation &operator=(const FailAllocation &) = delete;

  // Tells whether the allocation has been asked for, and failed.
  bool failed() const;

  // Allocations of this thread since the guard was made, the failed one included.
  unsigned allocationsMade() const;
};

// Runs `run` with its first allocation failing, then with its second, and so on, until a run asks
// for none that fails. Returns the number of failures that were tried.
//   run   called without arguments; assertions inside may allocate, so let them live under an
//         AllocationExemption
template <typename Run>
unsigned forEachAllocationFailure(Run run) {
  for (unsigned number = 1;; ++number) {
    FailAllocation guard(number);
    run();
    if (!guard.failed()) return number - 1;
  }
}

}  // namespace test_support

#endif  // TESTS_SUPPORT_FAILING_ALLOCATOR_H
