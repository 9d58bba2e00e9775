// The machine's clock: real, or stepped by hand so that every expiry is exact and repeatable.
#pragma once

#include <cstdint>
#include <vector>

namespace machine {

// The real clock: timeGetTime runs, and one thread calls back timers and MIDI input in order.
// Changing the clock drops everything that is still to come on the old one.
void UseRealClock();

// The stepped clock, starting at the given millisecond (choose one shortly before 2^32 to meet the
// wrap). Time stands still but for Advance; callbacks run on the thread that calls Advance. The
// thread that calls this function or Advance steers: where it waits for an object or sleeps, time
// moves on by itself from one thing due to the next until the wait is over. Every other thread
// really waits.
void UseSteppedClock(std::uint32_t startMilliseconds = 1000);
bool ClockIsStepped();

// Moves stepped time forward and runs everything that falls due on the way, in order of time, at
// its own moment. Between two moments it waits until every thread that the library started is
// waiting again. Nothing a callback does can move time. Returns at once for 0, after running what
// is due now.
void Advance(std::uint32_t milliseconds);

// Microseconds on the machine's clock, for measuring lateness. Same origin as timeGetTime.
std::uint64_t Microseconds();

// Has this called on the timers' thread whenever an expiry, or a message that came in, has been
// dealt with there, so that a host need not look at intervals of its own; null for none. It must not
// wait. False where there is no such thread: then it is never called. Thread: any. Real time: yes.
bool AfterTimers(void (*then)());

// What timeGetDevCaps answers. 1 and 1000000 at load.
void SetTimerCaps(unsigned periodMin, unsigned periodMax);

// One-shots programmed and not expired: their due times on the timeGetTime clock, ascending.
std::vector<std::uint32_t> PendingTimers();

// timeBeginPeriod calls not yet paired by timeEndPeriod, by period.
std::vector<unsigned> OpenTimerPeriods();

} // namespace machine
