// The engine's locks and the scoped sections that hold them.
#pragma once

#include "platform/platform.h"

// A critical section that is never destroyed: callbacks of the system may still be under way after
// the library has been taken down, and even while the process ends, and they must find a lock.
class Lock {
public:
    Lock() { InitializeCriticalSection(&section); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    void Enter() { EnterCriticalSection(&section); }
    bool TryEnter() { return TryEnterCriticalSection(&section) != 0; } // never waits
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

// Guards the rings, the changes of the time base and XmitBusy. Held for the copy of one record or a
// few stores, and never across a driver slot. A section may stand inside another: the lock knows
// its thread.
extern Lock QueueLock;

class QueueSection : public LockScope {
public:
    QueueSection() : LockScope(QueueLock) {}
};
