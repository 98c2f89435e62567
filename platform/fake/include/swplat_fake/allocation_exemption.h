// Memory that is not the tested code's own.
#ifndef SWPLAT_FAKE_ALLOCATION_EXEMPTION_H
#define SWPLAT_FAKE_ALLOCATION_EXEMPTION_H

namespace swplat_fake {

// The number of exemptions in force on this thread.
inline thread_local int allocationExemptions = 0;

// While one lives, this thread's allocations belong to the test's equipment: a test that lets
// allocations fail neither counts them nor lets them fail. The fake platform's own are exempt.
class AllocationExemption {
 public:
  AllocationExemption() { ++allocationExemptions; }
  ~AllocationExemption() { --allocationExemptions; }
  AllocationExemption(const AllocationExemption &) = delete;
  AllocationExemption &operator=(const AllocationExemption &) = delete;
};

}  // namespace swplat_fake

#endif  // SWPLAT_FAKE_ALLOCATION_EXEMPTION_H
