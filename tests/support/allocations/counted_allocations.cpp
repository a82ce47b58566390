#include "tests/support/allocations/counted_allocations.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace {

size_t allocations = 0;
int64_t allocatedBytes = 0;  // and not freed since

void Free(void* memory) {
    allocatedBytes -= static_cast<int64_t>(malloc_usable_size(memory));
    std::free(memory);
}

}  // namespace

// Apart from the tests: where a compiler sees new and delete together, it may take one of them out.
void* operator new(size_t size) {
    ++allocations;
    void* memory = std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    allocatedBytes += static_cast<int64_t>(malloc_usable_size(memory));
    return memory;
}
void operator delete(void* memory) noexcept {
    Free(memory);
}
void operator delete(void* memory, size_t) noexcept {
    Free(memory);
}

namespace norvad::test {

size_t CountedAllocations() {
    return allocations;
}

int64_t AllocatedBytes() {
    return allocatedBytes;
}

}  // namespace norvad::test
