// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/support/scarce_memory.h"

#include <cstddef>
#include <new>

namespace {
bool Scarce = false;
} // namespace

ScarceMemory::ScarceMemory() { Scarce = true; }
ScarceMemory::~ScarceMemory() { Scarce = false; }

// The throwing forms stay those of the C++ library.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Scarce ? nullptr : operator new(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Scarce ? nullptr : operator new[](size);
}
