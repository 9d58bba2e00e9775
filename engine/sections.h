// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The lock of the queues and its scoped form.
#pragma once

#include "support/lock.h"

using Sonorel::Lock;
using Sonorel::LockScope;

// Guards the queues, changes of the time base and changes of XmitBusy. Held while one record is
// copied or a few values are stored, never across a driver slot. Recursive.
extern Lock QueueLock;

class QueueSection : public LockScope {
public:
    QueueSection() : LockScope(QueueLock) {}
};
