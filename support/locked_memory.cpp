// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "support/locked_memory.h"

namespace Sonorel {

void* AllocateLocked(UINT flags, std::size_t bytes) {
    const HGLOBAL memory = GlobalAlloc(flags, bytes);
    if (!memory) return nullptr;
    void* const address = GlobalLock(memory);
    if (!address) GlobalFree(memory);
    return address;
}

void FreeLocked(void* address) {
    if (!address) return;
    const HGLOBAL memory = GlobalHandle(address);
    GlobalUnlock(memory);
    GlobalFree(memory);
}

} // namespace Sonorel
