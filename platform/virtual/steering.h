// What the clock, the timers and the kernel's waits must know of each other.
#pragma once

#include <cstdint>

namespace machine {

constexpr std::uint64_t Never = ~std::uint64_t{0}; // a due time that does not come

// Whether this thread is the one that moves stepped time.
bool ThisThreadSteers();

// Whether this thread is inside a scheduled action, where time cannot move.
bool InsideAction();

// On the steering thread outside actions: runs the next thing due up to the limit. False if there
// is none; time then stands at the limit, or where it was if the limit is Never.
bool StepTowards(std::uint64_t limit);

// The clock has changed, and with it the scheduler has dropped every one-shot.
void ForgetTimers();

} // namespace machine
