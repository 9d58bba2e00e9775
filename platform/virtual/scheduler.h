// The one queue of things to come that all virtual devices share: timers, messages on their way
// through a cable, sound blocks that fill. For the stand-in's own code; hosts and tests use
// clock.h.
#pragma once

#include <cstdint>

namespace machine {

// With the real clock each lane is a thread, so that sound analysis never delays a timer. Within a
// lane actions run one at a time, by due time, equal times in the order of scheduling. With the
// stepped clock all lanes run inside Advance, in one order.
enum class Lane { Timers, Audio };

using Action = void (*)(void* context, std::uintptr_t argument);
using Token = std::uint64_t; // never 0, never used again

// Starts the lane's thread, if the clock is real and it is not there yet. Schedule does so by
// itself; a caller that prepares a real-time path does it first, since a thread's start allocates.
void StartLane(Lane lane);

// Runs action once at the given time on the machine's clock (Microseconds()). Allocates nothing;
// gives 0 when the queue, thousands of entries long, is full. Thread: any, inside actions too.
Token Schedule(Lane lane, std::uint64_t dueMicroseconds, Action action, void* context,
               std::uintptr_t argument = 0);

// Forgets an action that has not begun. False if it has begun or ended. Does not wait.
bool Unschedule(Token token);

// The time that the action now running on this thread was scheduled for; the present time outside
// actions. With the real clock an action always begins a little later than that.
std::uint64_t ActionDue();

// Forgets every action of this context, and waits for one under way unless called from within it.
void UnscheduleAll(void* context);

// Waits until no other thread is inside an action, for five seconds at the most: for a module
// that is about to leave memory, which a callback may still be in.
void LetActionsEnd();

} // namespace machine
