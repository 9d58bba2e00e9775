// Pointers of each thread's own.
#include "platform/system/kernel.h"

#include <atomic>

namespace zorsystem {

namespace {

constexpr DWORD SlotCount = 8;
std::atomic<DWORD> taken{0};

// Initial-exec: in the thread's own block from its start, so that nothing is allocated for it.
constinit thread_local LPVOID slots[SlotCount] __attribute__((tls_model("initial-exec"))) = {};

} // namespace

DWORD TlsAlloc() {
    const DWORD index = taken.fetch_add(1, std::memory_order_relaxed);
    return index < SlotCount ? index : TLS_OUT_OF_INDEXES;
}

LPVOID TlsGetValue(DWORD index) { return index < SlotCount ? slots[index] : nullptr; }

BOOL TlsSetValue(DWORD index, LPVOID value) {
    if (index >= SlotCount) return FALSE;
    slots[index] = value;
    return TRUE;
}

} // namespace zorsystem
