// Counting what asks for memory, in programs that are built with allocations.cpp: the library, the
// stand-in, the C++ library and the test itself alike, on all threads. Not under sanitizers, which
// bring an allocator of their own.
#pragma once

// From now on, beginning at 0.
void WatchAllocations();
// Ends the watch; gives the number of requests since it began.
int AllocationsSeen();

template <typename Action>
int Allocations(Action action) {
    WatchAllocations();
    action();
    return AllocationsSeen();
}
