#pragma once
// Global replacements of operator new (every form) and, outside sanitizer
// builds, of the C library's malloc family, for the executables that link
// so3d_allocation_hooks: they count allocations and can make one fail.

namespace so3d::test::allocation {

// Counts allocations between start and stop; stop returns the count.
void start_counting();
long stop_counting();

// Makes the k-th allocation from now fail (k >= 1); 0 turns it off.
void fail_at(long k);
// Whether the failure armed by fail_at has happened.
bool failed();

// Whether the C library's allocator is replaced too (not under sanitizers,
// which own it).
bool covers_malloc();

}  // namespace so3d::test::allocation
