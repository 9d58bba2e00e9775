// Making system calls fail, and counting them.
#pragma once

#include <cstdint>

namespace machine {

// The calls that can fail, one enumerator for each line of calls.inc.
enum class Call : int {
#define CALL(name) name,
#include "platform/machine/calls.inc"
#undef CALL
    Count
};

// Makes the nth next call (1 is the very next) return result and do nothing else; for the following
// times - 1 calls too, forever if times is 0. result is the error code, or 0/null for calls that
// tell failure that way.
void FailCall(Call call, int nth, std::intptr_t result, int times = 1);
void ClearFaults();

// Calls made since PowerOn or ResetCallCounts, failed ones included.
unsigned CallCount(Call call);
void ResetCallCounts();

} // namespace machine
