// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/support/allocations.h"

#include <atomic>
#include <cstddef>

extern "C" {
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* old, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);
}

namespace {

std::atomic<bool> watching{false};
std::atomic<int> allocations{0};

void CountRequest() {
    if (watching.load(std::memory_order_relaxed)) ++allocations;
}

} // namespace

// Default visibility, so that all shared libraries of the program use these.
#define REPLACES extern "C" __attribute__((visibility("default")))
REPLACES void* malloc(std::size_t bytes) noexcept {
    CountRequest();
    return __libc_malloc(bytes);
}
REPLACES void* calloc(std::size_t count, std::size_t bytes) noexcept {
    CountRequest();
    return __libc_calloc(count, bytes);
}
REPLACES void* realloc(void* old, std::size_t bytes) noexcept {
    CountRequest();
    return __libc_realloc(old, bytes);
}
REPLACES void* aligned_alloc(std::size_t alignment, std::size_t bytes) noexcept {
    CountRequest();
    return __libc_memalign(alignment, bytes);
}

void WatchAllocations() {
    allocations = 0;
    watching = true;
}

int StopWatching() {
    watching = false;
    return allocations;
}
