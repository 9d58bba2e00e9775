#include "tests/support/scarce_memory.h"

#include <cstddef>
#include <new>

namespace {
bool Scarce = false;
} // namespace

ScarceMemory::ScarceMemory() { Scarce = true; }
ScarceMemory::~ScarceMemory() { Scarce = false; }

// Only those that take a refusal; all else is the C++ library's.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Scarce ? nullptr : operator new(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Scarce ? nullptr : operator new[](size);
}
