// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The library, initialised, with one output and one input device in memory.
#pragma once

#include "engine/zormidi.h"
#include "platform/machine.h"

#include <cstdint>

namespace bench {

class Library {
public:
    enum Clock { Real, Stepped };
    // Initialises the library and opens its drivers; timer: starts the timer too. Ends the process
    // on failure.
    explicit Library(Clock clock, bool timer);
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    // The handle of the input port, the first argument of its callback.
    static void* InputHandle();
};

} // namespace bench
