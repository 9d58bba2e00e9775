#include "tests/support/scarce_memory.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {
bool Scarce = false;
} // namespace

ScarceMemory::ScarceMemory() { Scarce = true; }
ScarceMemory::~ScarceMemory() { Scarce = false; }

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Scarce ? nullptr : std::malloc(size ? size : 1);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Scarce ? nullptr : std::malloc(size ? size : 1);
}
void* operator new(std::size_t size) {
    if (void* block = std::malloc(size ? size : 1)) return block;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
