// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Counts memory allocations, in programs linked with allocations.cpp: of the library, the platform
// layer, the C++ library and the test itself, on all threads. Not with sanitizers, which have their
// own allocator.
#pragma once

// Starts counting at 0.
void WatchAllocations();
// Stops counting and returns the count.
int StopWatching();

template <typename Action>
int Allocations(Action action) {
    WatchAllocations();
    action();
    return StopWatching();
}
