// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The clock that calls and devices share: actions that are due at a time. Times are microseconds on
// the machine's clock, of the same origin as timeGetTime.
//
// A lane is one delivery thread and its list of pending actions: timer expiries and MIDI messages
// on one, sound blocks on the other. clock/ implements this interface twice: scheduler.cpp plays in
// real time, a thread for each lane; stepped.cpp is the clock that tests move, on which all lanes
// run inside Advance in one order.
//
// What every clock guarantees:
// - The actions of a lane run one at a time, by due time, those of equal time in the order of
//   scheduling, never before they are due. An action that was unscheduled before it began does not
//   begin.
// - The timer lane's thread runs at real-time priority where the user has the right: a late timer
// is
//   audible. The audio lane never delays it.
// - Lane threads run until the process ends, or the library is unloaded without stopping them, so
//   objects that they use are never destroyed. WaitForActions is called before code is unloaded.
// - No lock is held while an action runs, so that an action may call anything here.
// - Changing the clock drops all pending actions, and returns when no action of the old one runs.
//
// Thread: any, inside actions too. "Real time" below means: allocates nothing, and takes no lock
// but the clock's, which is held for a few stores.
#pragma once

#include "platform/machine/clock.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace device {

enum class Lane { Timers, Audio };

using Action = void (*)(void* context, std::uintptr_t argument);
using Token = std::uint32_t; // never 0, and not used again for 2^32 actions

constexpr std::uint64_t Forever = ~std::uint64_t{0}; // a time that is never reached

// Starts the lane's thread, if the clock is real and it does not run yet. Schedule does so too; a
// caller that prepares a real-time path calls this first. Real time: no, starts a thread.
void StartLane(Lane lane);

// MIDI messages that may be pending on the timer lane: as many as a cable between processes holds.
// The lane has thousands of places more, so that a flood of messages leaves room for timers.
constexpr std::size_t MaxMessages = 1u << 16;

// Runs action once at the given time. 0 if the lane already has most entries, is full, or the
// system has no thread for it. Real time: yes once the lane is started.
Token Schedule(Lane lane, std::uint64_t dueMicroseconds, Action action, void* context,
               std::uintptr_t argument = 0, std::size_t most = ~std::size_t{0});

// Removes an action that has not begun. False if it has begun or ended. Real time: yes; does not
// wait, but searches all pending actions.
bool Unschedule(Token token);

// Removes every action of this context, and waits for a running one unless called from within it.
// Real time: no.
void UnscheduleAll(void* context);

// Due time and token of the action that runs on this thread; the present time and 0 outside
// actions. On the real clock an action begins a little after its due time. Real time: yes.
std::uint64_t ActionDue();
Token ActionToken();

// Gives the calling thread real-time priority where the system allows it, as the timer lane has.
// Threads that it starts have ordinary priority. Real time: no.
void RaiseThreadPriority();

// Due times of the pending actions that call this function, ascending. Real time: no, allocates.
std::vector<std::uint64_t> PendingDueTimes(Action action);

// Waits until no other thread runs an action, for five seconds at most: called before a module is
// unloaded that an action may still be running in. Real time: no.
void WaitForActions();

// ---- stepped time and waits --------------------------------------------------------------------

// Whether the calling thread moves stepped time; it then also moves it while it waits for an object
// or sleeps. Always false on the real clock.
bool IsSteeringThread();

// Whether this thread runs an action, where time cannot move. Real time: yes.
bool IsInsideAction();

// On the steering thread outside actions: runs the next action due up to the limit. False if there
// is none; time then is the limit, or unchanged if the limit is Forever.
bool RunNextAction(std::uint64_t limit);

// Given by the calls, so that stepped time does not move while the library works: returns when
// every thread that was started through _beginthreadex has ended or waits in a call. Not to be
// called by such a thread.
void WaitForLibraryThreads();

} // namespace device
