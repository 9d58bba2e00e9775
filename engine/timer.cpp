// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "engine/timer.h"

#include "engine/library_state.h"
#include "engine/queues.h"
#include "engine/sections.h"
#include "engine/time_base.h"
#include "engine/zormidi.h"

#include <algorithm>
#include <limits>

std::int32_t MMESpeed = 4;

namespace {

// Guards the variables below and TimerRunning. Held only across the system's timer calls, none of
// which waits for a callback, and QueueLock. Never entered inside a QueueSection.
Lock TimerLock;
MMRESULT TimerID = 0;                // the pending one-shot, 0 for none
std::uint16_t TimerPeriod = 1;       // milliseconds
std::atomic<bool> chainEnded{false}; // see ChainEnded

void CancelPending() {
    if (TimerID != 0) timeKillEvent(TimerID);
    TimerID = 0;
}

// delay: milliseconds. Inside TimerLock, as CancelPending.
void Program(std::uint32_t delay) {
    CancelPending();
    if (!TimerRunning) return;
    // The cast changes the names of the integer types, not their widths.
    TimerID = timeSetEvent(std::max<std::uint32_t>(delay, TimerPeriod), 1,
                           reinterpret_cast<LPTIMECALLBACK>(MMETimerCallBack), 0, TIME_ONESHOT);
}

// MMESpeed, limited to the range of the system's timer; its lower limit has precedence.
std::uint16_t ChoosePeriod(const TIMECAPS& caps) {
    constexpr std::uint32_t widest = std::numeric_limits<std::uint16_t>::max();
    std::uint32_t period = static_cast<std::uint32_t>(MMESpeed);
    period = std::min<std::uint32_t>({period, caps.wPeriodMax, widest});
    period = std::max<std::uint32_t>({period, caps.wPeriodMin, 1});
    return static_cast<std::uint16_t>(std::min(period, widest));
}

} // namespace

bool ChainEnded() { return chainEnded.load(); }

void ResumeChain() {
    if (!chainEnded.load()) return;
    LockScope scope(TimerLock);
    chainEnded = false;
}

bool ArmTimer(std::uint32_t delay, Generation start) {
    LockScope scope(TimerLock);
    if (!IsCurrent(start)) return false;
    Program(delay);
    return true;
}

bool DisarmTimer(Generation start) {
    LockScope scope(TimerLock);
    if (!IsCurrent(start)) return false;
    CancelPending();
    return true;
}

void DeferTimer() {
    LockScope scope(TimerLock);
    if (chainEnded) return;
    RaiseGeneration();
    Program(0);
}

void EndPlayback() {
    LockScope scope(TimerLock);
    CancelPending();
    QueueSection section;
    chainEnded = true;
    CancelTransmissions();
    MIDIQueues[ZOR_QUEUE_OUTPUT].Empty();
    MIDIQueues[ZOR_QUEUE_OUTPUT2].Empty();
}

void StopMIDITimer() {
    LockScope scope(TimerLock);
    if (!TimerRunning) return;
    chainEnded = true;
    CancelPending();
    timeEndPeriod(TimerPeriod);
    // Raised last: a pass that starts in the new generation reads the stopped time.
    TimerRunning.store(0);
    RaiseGeneration();
}

NextDelay DelayToNextEvent(std::int32_t now) {
    const std::int32_t next = NextEventTime();
    if (next == NoEvent) return {false, 0};
    // The difference of two 32-bit times can exceed 32 bits.
    const std::int64_t delay = std::min<std::int64_t>(std::int64_t{next} - now, NoEvent);
    if (delay <= 0) return {true, 0};
    return {false, delay == NoEvent ? 0 : static_cast<std::uint32_t>(delay)};
}

// The first delay is computed from the time before the reset. The time base is reset before
// TimerRunning is set, so that no thread reads the old time as running.
ZorBool ZORCALL ZorStartTimer(void) ZORNOEXCEPT {
    if (!LibraryIsUp()) return 0;
    LockScope scope(TimerLock);
    if (TimerRunning) return 1;
    TIMECAPS caps{};
    if (timeGetDevCaps(&caps, sizeof caps) != TIMERR_NOERROR) return 0;
    const std::uint16_t period = ChoosePeriod(caps);
    if (timeBeginPeriod(period) != TIMERR_NOERROR) return 0;
    TimerPeriod = period;
    const std::uint32_t delay = DelayToNextEvent(RunningTime()).Delay;
    {
        QueueSection section;
        ResetMIDITime();
    }
    chainEnded = false;
    TimerRunning.store(1, std::memory_order_release);
    Program(delay);
    return 1;
}
