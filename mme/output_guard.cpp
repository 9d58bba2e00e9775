// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "mme/output_guard.h"

#include "engine/active_call.h"

namespace {

bool EnterLock(Lock& lock) {
    if (InInputCallback()) return lock.TryEnter();
    lock.Enter();
    return true;
}

bool LockPort(MMEOutPort& port) {
    if (!EnterLock(port.SendLock)) return false;
    if (!port.Sending) {
        port.Sending = true;
        return true;
    }
    port.SendLock.Leave(); // the lock is recursive: this thread holds the port already
    return false;
}

} // namespace

OutputGuard::OutputGuard(MMEOutPort& port) : Port(port), Locked(LockPort(port)) {}

OutputGuard::~OutputGuard() {
    if (!Locked) return;
    Port.Sending = false;
    Port.SendLock.Leave();
}
