// The library, up, with one output and one input device in memory.
#pragma once

#include "engine/zormidi.h"
#include "platform/machine.h"

#include <cstdint>

namespace bench {

class Library {
public:
    enum Clock { Real, Stepped };
    // Drivers open; the timer runs only if wanted.
    explicit Library(Clock clock, bool timer);
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    // The input port's handle, as the device layer gives it to the callback.
    static void* InputHandle();
};

} // namespace bench
