// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Critical sections, and thread-local slots.
#include "platform/system/kernel.h"

#include <atomic>

namespace zorsystem {

namespace {

constexpr DWORD SlotCount = 8;
std::atomic<DWORD> allocated{0};

// Initial-exec: part of each thread's static block, so that no access allocates.
constinit thread_local LPVOID slots[SlotCount] __attribute__((tls_model("initial-exec"))) = {};

} // namespace

// A section is complete once constructed and owns no resource of the system.
void InitializeCriticalSection(CRITICAL_SECTION* /*section*/) {}
void DeleteCriticalSection(CRITICAL_SECTION* /*section*/) {}

void EnterCriticalSection(CRITICAL_SECTION* section) { section->Mutex.lock(); }
BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) { return section->Mutex.try_lock(); }
void LeaveCriticalSection(CRITICAL_SECTION* section) { section->Mutex.unlock(); }

DWORD TlsAlloc() {
    const DWORD index = allocated.fetch_add(1, std::memory_order_relaxed);
    return index < SlotCount ? index : TLS_OUT_OF_INDEXES;
}
LPVOID TlsGetValue(DWORD index) { return index < SlotCount ? slots[index] : nullptr; }
BOOL TlsSetValue(DWORD index, LPVOID value) {
    if (index >= SlotCount) return FALSE;
    slots[index] = value;
    return TRUE;
}

} // namespace zorsystem
