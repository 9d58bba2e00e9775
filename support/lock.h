// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A recursive lock, and its scoped form.
#pragma once

#include "platform/platform.h"

namespace Sonorel {

// The thread that holds it may enter it again. For static objects: never destroyed, since callbacks
// of the system may use it after the library was shut down, and even while the process ends.
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

// A lock that is a member of an object and is destroyed with it.
class ObjectLock : public Lock {
public:
    ~ObjectLock() { DeleteCriticalSection(&section); }
};

class LockScope {
public:
    explicit LockScope(Lock& target) : lock(target) { lock.Enter(); }
    ~LockScope() { lock.Leave(); }
    LockScope(const LockScope&) = delete;
    LockScope& operator=(const LockScope&) = delete;

private:
    Lock& lock;
};

} // namespace Sonorel
