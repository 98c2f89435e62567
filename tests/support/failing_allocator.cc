#include "tests/support/failing_allocator.h"

#include <cstddef>
#include <new>

// The linker sends every call of `malloc` to `__wrap_malloc`, and `__real_malloc` is the true one;
// so for the others. The names of operator new contain the type of std::size_t, which the build
// gives as MANGLED_SIZE.
extern "C" {
void *realMalloc(std::size_t size) asm("__real_malloc");
void *realCalloc(std::size_t count, std::size_t size) asm("__real_calloc");
void *realRealloc(void *block, std::size_t size) asm("__real_realloc");
void *realAlignedAlloc(std::size_t alignment, std::size_t size) asm("__real_aligned_alloc");
void *realNew(std::size_t size) asm("__real__Znw" MANGLED_SIZE);
void *realNewArray(std::size_t size) asm("__real__Zna" MANGLED_SIZE);
void *realNewNothrow(std::size_t size,
                     const std::nothrow_t &tag) asm("__real__Znw" MANGLED_SIZE "RKSt9nothrow_t");
void *realNewArrayNothrow(std::size_t size,
                          const std::nothrow_t &tag) asm("__real__Zna" MANGLED_SIZE
                                                         "RKSt9nothrow_t");

void *wrapMalloc(std::size_t size) asm("__wrap_malloc");
void *wrapCalloc(std::size_t count, std::size_t size) asm("__wrap_calloc");
void *wrapRealloc(void *block, std::size_t size) asm("__wrap_realloc");
void *wrapAlignedAlloc(std::size_t alignment, std::size_t size) asm("__wrap_aligned_alloc");
void *wrapNew(std::size_t size) asm("__wrap__Znw" MANGLED_SIZE);
void *wrapNewArray(std::size_t size) asm("__wrap__Zna" MANGLED_SIZE);
void *wrapNewNothrow(std::size_t size,
                     const std::nothrow_t &tag) asm("__wrap__Znw" MANGLED_SIZE "RKSt9nothrow_t");
void *wrapNewArrayNothrow(std::size_t size,
                          const std::nothrow_t &tag) asm("__wrap__Zna" MANGLED_SIZE
                                                         "RKSt9nothrow_t");
}

namespace test_support {
namespace {

struct Plan {
  bool active;
  bool failed;
  unsigned failing;  // number of the allocation that fails, 0: none
  unsigned made;
};

thread_local constinit Plan plan{};

// Counts an allocation. Returns true when it is the one that fails.
bool failsNow() noexcept {
  if (!plan.active || swplat_fake::allocationExemptions > 0) return false;
  if (++plan.made != plan.failing) return false;
  plan.failed = true;
  return true;
}

}  // namespace

FailAllocation::FailAllocation(unsigned number) {
  plan = {true, false, number, 0};
}
FailAllocation::~FailAllocation() {
  plan.active = false;
}
bool FailAllocation::failed() const {
  return plan.failed;
}
unsigned FailAllocation::allocationsMade() const {
  return plan.made;
}

}  // namespace test_support

using test_support::failsNow;

void *wrapMalloc(std::size_t size) {
  return failsNow() ? nullptr : realMalloc(size);
}

void *wrapCalloc(std::size_t count, std::size_t size) {
  return failsNow() ? nullptr : realCalloc(count, size);
}

void *wrapRealloc(void *block, std::size_t size) {
  return failsNow() ? nullptr : realRealloc(block, size);
}

void *wrapAlignedAlloc(std::size_t alignment, std::size_t size) {
  return failsNow() ? nullptr : realAlignedAlloc(alignment, size);
}

void *wrapNew(std::size_t size) {
  if (failsNow()) throw std::bad_alloc();
  return realNew(size);
}

void *wrapNewArray(std::size_t size) {
  if (failsNow()) throw std::bad_alloc();
  return realNewArray(size);
}

void *wrapNewNothrow(std::size_t size, const std::nothrow_t &tag) {
  return failsNow() ? nullptr : realNewNothrow(size, tag);
}

void *wrapNewArrayNothrow(std::size_t size, const std::nothrow_t &tag) {
  return failsNow() ? nullptr : realNewArrayNothrow(size, tag);
}
