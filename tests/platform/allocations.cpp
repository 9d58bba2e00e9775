#include "tests/platform/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<int> allocations{0};
}

int Allocations() { return allocations; }

// A file of its own, so that no compiler sees malloc behind one half of a pair and not the other.
void* operator new(std::size_t bytes) {
    ++allocations;
    if (void* const memory = std::malloc(bytes)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
