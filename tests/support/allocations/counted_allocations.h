#pragma once

#include <cstddef>

namespace norvad::test {

// How often this test program has allocated so far; its own operator new counts.
size_t CountedAllocations();

}  // namespace norvad::test
