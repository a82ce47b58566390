#pragma once

#include <cstddef>
#include <cstdint>

namespace norvad::test {

// How often this test program has allocated so far; its own operator new counts.
size_t CountedAllocations();

// The bytes that it holds now, as the allocator hands them out, which is in steps of 16.
int64_t AllocatedBytes();

}  // namespace norvad::test
