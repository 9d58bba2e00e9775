// A critical section as an object, and the scope that holds it.
#pragma once

#include "platform/platform.h"

namespace Sonorel {

// The owner may enter it again.
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

} // namespace Sonorel
