// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The machine's clock: real, or moved by the caller so that every timer expiry is exact and
// repeatable.
#pragma once

#include <cstdint>
#include <vector>

namespace machine {

// Selects the real clock: timeGetTime runs, and one thread calls timer and MIDI input callbacks in
// order. Changing the clock drops everything that is pending on the old one.
void UseRealClock();

// Selects the stepped clock, starting at the given millisecond (one shortly before 2^32 tests the
// wrap). Time moves only in Advance, and callbacks run on the thread that calls Advance. While the
// thread that called this function or Advance last waits for an object or sleeps, time moves by
// itself from one due action to the next until the wait is over. Every other thread waits for real.
void UseSteppedClock(std::uint32_t startMilliseconds = 1000);
bool ClockIsStepped();

// Moves stepped time forward and runs every action that is due on the way, in order of time, each
// at its due time. Before each action it waits until every thread that the library started is
// waiting. A callback cannot move time. With 0 it runs what is due now.
void Advance(std::uint32_t milliseconds);

// Microseconds on the machine's clock, of the same origin as timeGetTime. Real time: yes.
std::uint64_t Microseconds();

// Sets a function that the timer thread calls after each timer expiry and each incoming message, so
// that a host need not poll; null for none. It must not block. False where there is no such thread:
// the function is then never called. Thread: any. Real time: yes.
bool AfterTimers(void (*then)());

// Sets the answer of timeGetDevCaps, in milliseconds. 1 and 1000000 at load.
void SetTimerCaps(unsigned periodMin, unsigned periodMax);

// Due times of the pending one-shot timers, on the timeGetTime clock, ascending.
std::vector<std::uint32_t> PendingTimers();

// Periods, in milliseconds, of timeBeginPeriod calls without a timeEndPeriod yet.
std::vector<unsigned> OpenTimerPeriods();

} // namespace machine
