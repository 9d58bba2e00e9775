#include "platform/calls/threads.h"
#include "platform/system/kernel.h"

namespace {

constexpr int Free = 0, Held = 1, Contended = 2;

// Records a fresh entry. Relaxed: only the owner finds its own identifier here, and it wrote it.
void Own(CRITICAL_SECTION& section, DWORD thread) {
    section.Owner.store(thread, std::memory_order_relaxed);
    section.Depth = 1;
}

bool OwnedBy(const CRITICAL_SECTION& section, DWORD thread) {
    return section.Owner.load(std::memory_order_relaxed) == thread;
}

// Sections are held for a few stores, so a short spin mostly saves the sleep. From then on the
// state says that somebody waits, and stays so until a leave finds it.
void WaitToEnter(CRITICAL_SECTION& section) {
    for (int spin = 0; spin < 100; ++spin) {
        int free = Free;
        if (section.State.load(std::memory_order_relaxed) == Free &&
            section.State.compare_exchange_weak(free, Held, std::memory_order_acquire))
            return;
    }
    while (section.State.exchange(Contended, std::memory_order_acquire) != Free)
        section.State.wait(Contended, std::memory_order_relaxed);
}

// A section that another thread holds or this one has entered already, or a thread without an
// identifier yet. Out of line, so that entering a free section is a handful of instructions.
[[gnu::noinline]] void EnterBusy(CRITICAL_SECTION& section) {
    const DWORD thread = machine::CurrentThread();
    if (OwnedBy(section, thread)) {
        ++section.Depth;
        return;
    }
    WaitToEnter(section);
    Own(section, thread);
}

} // namespace

void InitializeCriticalSection(CRITICAL_SECTION* section) {
    section->Owner.store(0, std::memory_order_relaxed);
    section->Depth = 0;
    section->State.store(Free, std::memory_order_release);
}

void DeleteCriticalSection(CRITICAL_SECTION* section) { InitializeCriticalSection(section); }

void EnterCriticalSection(CRITICAL_SECTION* section) {
    int free = Free;
    // Acquire: what the last owner wrote is seen from here on.
    if (machine::threadId != 0 &&
        section->State.compare_exchange_strong(free, Held, std::memory_order_acquire)) [[likely]]
        return Own(*section, machine::threadId);
    EnterBusy(*section);
}

BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) {
    const DWORD thread = machine::CurrentThread();
    int free = Free;
    if (section->State.compare_exchange_strong(free, Held, std::memory_order_acquire)) {
        Own(*section, thread);
        return TRUE;
    }
    if (!OwnedBy(*section, thread)) return FALSE;
    ++section->Depth;
    return TRUE;
}

void LeaveCriticalSection(CRITICAL_SECTION* section) {
    if (--section->Depth > 0) return;
    section->Owner.store(0, std::memory_order_relaxed);
    // Release: the next owner sees what was written inside.
    if (section->State.exchange(Free, std::memory_order_release) == Contended)
        section->State.notify_one();
}
