// The seam of the clock: what the calls and the other devices ask of it. A clock has lanes of
// things to come that all devices share: timers, messages on their way, sound blocks that fill.
// Times are microseconds on the machine's clock, of the same origin as timeGetTime.
//
// For the writer of the next clock. It gives every function below but the one at the end, and:
// - Actions of a lane run one at a time, by due time, equal times in the order of scheduling, never
//   before they are due. What was forgotten before it began does not begin.
// - A lane's thread goes before ordinary ones as far as the system lets it: a timer that comes late
//   is heard. The other lane is sound, and may never hold it up.
// - Threads outlive everything: the process ends, or the library is unloaded, without a word to
//   them, so nothing that they touch is ever destroyed. LetActionsEnd is called before code goes.
// - No lock is held while an action runs, so that an action may call anything here.
// - Changing the clock drops what is to come, and is over when no action of the old one runs on.
// Thread and real time: everything here may be called from any thread, inside actions too. "Real
// time" below means: allocates nothing, and takes no lock but the queue's, held for a few stores.
#pragma once

#include "platform/machine/clock.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace machine {

// With the real clock each lane is a thread. With the stepped clock all lanes run inside Advance,
// in one order.
enum class Lane { Timers, Audio };

using Action = void (*)(void* context, std::uintptr_t argument);
using Token = std::uint32_t; // never 0, and not used again for 2^32 actions

constexpr std::uint64_t Forever = ~std::uint64_t{0}; // a time that does not come

// Starts the lane's thread, if the clock is real and it is not there yet. Schedule does so by
// itself; a caller that prepares a real-time path does it first. Real time: no, starts a thread.
void StartLane(Lane lane);

// MIDI messages that a lane has room for: as many as a cable between processes holds, so that a
// flood of them takes no room of the timers'.
constexpr std::size_t MostMessages = 1u << 16;

// Runs action once at the given time. Gives 0 when the lane has room for no more (thousands beyond
// MostMessages), or so many entries as the caller means to leave it with at most, or the system has
// no thread for it. Real time: yes once the lane is started.
Token Schedule(Lane lane, std::uint64_t dueMicroseconds, Action action, void* context,
               std::uintptr_t argument = 0, std::size_t most = ~std::size_t{0});

// Forgets an action that has not begun. False if it has begun or ended. Real time: yes; does not
// wait, but looks through all that is to come.
bool Unschedule(Token token);

// Forgets every action of this context, and waits for one under way unless called from within it.
// Real time: no.
void UnscheduleAll(void* context);

// The time that the action now running on this thread was scheduled for, and its token; the present
// time and 0 outside actions. With the real clock an action always begins a little later than that.
// Real time: yes.
std::uint64_t ActionDue();
Token ActionToken();

// Lets the calling thread go before ordinary ones, where the system allows it, as the timers' lane
// does. What it starts is ordinary again. Real time: no.
void HastenThread();

// When the actions of this kind that have not begun are due, ascending. Real time: no, allocates.
std::vector<std::uint64_t> PendingDues(Action action);

// Waits until no other thread is inside an action, for five seconds at the most: for a module
// that is about to leave memory, which a callback may still be in. Real time: no.
void LetActionsEnd();

// ---- stepped time and waits --------------------------------------------------------------------
// A thread that waits for an object lets stepped time pass if it is the one that moves it. A clock
// that only runs by itself says no to the first.

bool ThisThreadSteers();

// Whether this thread is inside an action, where time cannot move. Real time: yes.
bool InsideAction();

// On the steering thread outside actions: runs the next thing due up to the limit. False if there
// is none; time then stands at the limit, or where it was if the limit is Forever.
bool StepTowards(std::uint64_t limit);

// Given by the calls, for the clock to keep time still while the library works: returns when every
// thread that was started through _beginthreadex has ended or waits in a call. Not for such a
// thread itself to call.
void WaitUntilLibraryThreadsWait();

} // namespace machine
