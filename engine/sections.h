// The engine's locks and the scoped sections that hold them.
#pragma once

#include "platform/platform.h"

#include <atomic>
#include <cstdint>

// A critical section that lives as long as the module: callbacks of the system may still be under
// way after the library has been taken down, and they must find a lock.
class Lock {
public:
    Lock() { InitializeCriticalSection(&section); }
    ~Lock() { DeleteCriticalSection(&section); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    void Enter() { EnterCriticalSection(&section); }
    void Leave() { LeaveCriticalSection(&section); }

private:
    CRITICAL_SECTION section;
};

class LockScope {
public:
    explicit LockScope(Lock& wanted) : lock(wanted) { lock.Enter(); }
    ~LockScope() { lock.Leave(); }
    LockScope(const LockScope&) = delete;
    LockScope& operator=(const LockScope&) = delete;

private:
    Lock& lock;
};

// Guards the rings, the changes of the time base and XmitBusy. Never held across a driver slot.
extern Lock QueueLock;
// How deep the counted sections of the thread that holds QueueLock are nested.
extern std::uint16_t LockDepth;
// The thread inside a counted section, 0 for none. Relaxed: a thread asks only whether it is
// itself.
extern std::atomic<DWORD> LockHolder;

// Nests: used around every access that moves a ring's parts together or sets the time base.
class CountedSection {
public:
    CountedSection() {
        const DWORD self = GetCurrentThreadId();
        if (LockHolder.load(std::memory_order_relaxed) != self) {
            QueueLock.Enter();
            LockHolder.store(self, std::memory_order_relaxed);
        }
        ++LockDepth;
    }
    ~CountedSection() {
        if (--LockDepth == 0) {
            LockHolder.store(0, std::memory_order_relaxed);
            QueueLock.Leave();
        }
    }
    CountedSection(const CountedSection&) = delete;
    CountedSection& operator=(const CountedSection&) = delete;
};

// For the few stores that are over at once. Free of charge inside a counted section.
class PlainSection {
public:
    PlainSection() : entered(LockHolder.load(std::memory_order_relaxed) != GetCurrentThreadId()) {
        if (entered) QueueLock.Enter();
    }
    ~PlainSection() {
        if (entered) QueueLock.Leave();
    }
    PlainSection(const PlainSection&) = delete;
    PlainSection& operator=(const PlainSection&) = delete;

private:
    bool entered;
};
