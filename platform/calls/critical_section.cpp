#include "platform/system/kernel.h"

namespace zorsystem {

// A section is there from its construction and holds nothing that must be given back.
void InitializeCriticalSection(CRITICAL_SECTION* /*section*/) {}
void DeleteCriticalSection(CRITICAL_SECTION* /*section*/) {}

void EnterCriticalSection(CRITICAL_SECTION* section) { section->Mutex.lock(); }
BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) { return section->Mutex.try_lock(); }
void LeaveCriticalSection(CRITICAL_SECTION* section) { section->Mutex.unlock(); }

} // namespace zorsystem
