#pragma once

// A seam for out-of-memory paths: this test program replaces the global
// operator new, and can make one allocation of the calling thread fail.

#include <cstddef>

namespace grs::test {

// The `nth` allocation of this thread from now on throws std::bad_alloc
// (once); 0 disarms.
void FailAllocation(size_t nth);
// Allocations made by this thread so far.
size_t AllocationCount();

}  // namespace grs::test
