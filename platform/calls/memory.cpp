// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Global memory. The handle of a block differs from its address, so that a caller which confuses
// the two fails. Blocks do not move, so locks need no count.
#include "platform/machine/faults.h"
#include "platform/system/kernel.h"

#include <cstdlib>

namespace zorsystem {

using namespace machine;

namespace {

constexpr SIZE_T LargestBlock = 0x7FFF0000; // bytes; the system's limit for one block
// Bytes before a block's address: keeps the alignment that malloc gives.
constexpr SIZE_T HeaderSize = alignof(std::max_align_t);

} // namespace

HGLOBAL GlobalAlloc(UINT /*flags*/, SIZE_T bytes) {
    if (const Failure failure{Call::GlobalAlloc}) return failure;
    return bytes <= LargestBlock ? std::calloc(HeaderSize + bytes, 1) : nullptr;
}

LPVOID GlobalLock(HGLOBAL memory) {
    if (const Failure failure{Call::GlobalLock}) return failure;
    return static_cast<char*>(memory) + HeaderSize;
}

BOOL GlobalUnlock(HGLOBAL /*memory*/) { return FALSE; }

HGLOBAL GlobalHandle(const void* address) {
    return const_cast<char*>(static_cast<const char*>(address)) - HeaderSize;
}

// Null for success.
HGLOBAL GlobalFree(HGLOBAL memory) {
    std::free(memory);
    return nullptr;
}

} // namespace zorsystem
