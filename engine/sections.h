// The lock of the queues and the scoped section that holds it.
#pragma once

#include "support/lock.h"

using Sonorel::Lock;
using Sonorel::LockScope;

// Guards the rings, the changes of the time base and XmitBusy. Held for the copy of one record or a
// few stores, and never across a driver slot. A section may stand inside another: the lock knows
// its thread.
extern Lock QueueLock;

class QueueSection : public LockScope {
public:
    QueueSection() : LockScope(QueueLock) {}
};
