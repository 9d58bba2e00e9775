// A critical section entered for the length of a scope.
#pragma once

#include "platform/platform.h"

namespace Sonorel {

class Section {
public:
    explicit Section(CRITICAL_SECTION& entered) : section(entered) {
        EnterCriticalSection(&section);
    }
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;
    ~Section() { LeaveCriticalSection(&section); }

private:
    CRITICAL_SECTION& section;
};

} // namespace Sonorel
