#include "mme/transmit_lock.h"

#include "platform/platform.h"

namespace {

// Lives as long as the module does, so that a callback that comes late finds it.
struct Section {
    CRITICAL_SECTION Lock;
    Section() { InitializeCriticalSection(&Lock); }
    ~Section() { DeleteCriticalSection(&Lock); }
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;
};
Section section;

} // namespace

TransmitLock::TransmitLock() { EnterCriticalSection(&section.Lock); }
TransmitLock::~TransmitLock() { LeaveCriticalSection(&section.Lock); }
