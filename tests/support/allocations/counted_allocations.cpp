#include "tests/support/allocations/counted_allocations.h"

#include <cstdlib>
#include <new>

namespace {

size_t allocations = 0;

}  // namespace

// Apart from the tests: where a compiler sees new and delete together, it may take one of them out.
void* operator new(size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}

namespace norvad::test {

size_t CountedAllocations() {
    return allocations;
}

}  // namespace norvad::test
