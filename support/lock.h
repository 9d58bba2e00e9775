// A critical section as an object, and the scope that holds it.
#pragma once

#include "platform/platform.h"

namespace Sonorel {

// The owner may enter it again. Never destroyed, for static locks: callbacks of the system may
// still be under way after the library has been taken down, and even while the process ends, and
// they must find a lock.
class Lock {
public:
    Lock() { InitializeCriticalSection(&section); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    void Enter() { EnterCriticalSection(&section); }
    bool TryEnter() { return TryEnterCriticalSection(&section) != 0; } // never waits
    void Leave() { LeaveCriticalSection(&section); }

protected:
    CRITICAL_SECTION section;
};

// One that goes with the object that it belongs to.
class ObjectLock : public Lock {
public:
    ~ObjectLock() { DeleteCriticalSection(&section); }
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

} // namespace Sonorel
