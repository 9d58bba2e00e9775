#include "engine/timer.h"

#include "engine/lifecycle.h"
#include "engine/queues.h"
#include "engine/sections.h"
#include "engine/time_base.h"
#include "engine/zormidi.h"

#include <algorithm>
#include <limits>

std::atomic<std::uint8_t> TimerRunning{0};
std::int32_t MMESpeed = 4;

namespace {

// Guards what follows. Inside it stand only the system's timer calls, none of which waits for a
// callback, and QueueLock. Never entered from within a QueueSection.
Lock TimerLock;
MMRESULT TimerID = 0;
std::uint16_t TimerPeriod = 1;
std::atomic<bool> ended{false};

void CancelPending() {
    if (TimerID != 0) timeKillEvent(TimerID);
    TimerID = 0;
}

void Program(std::uint32_t delay) {
    CancelPending();
    if (!TimerRunning) return;
    // The callback's type is the system's own; its integers have the widths of ours.
    TimerID = timeSetEvent(std::max<std::uint32_t>(delay, TimerPeriod), 1,
                           reinterpret_cast<LPTIMECALLBACK>(MMETimerCallBack), 0, TIME_ONESHOT);
}

// The period wished for, within what the system offers; its lower limit wins.
std::uint16_t ChoosePeriod(const TIMECAPS& caps) {
    constexpr std::uint32_t widest = std::numeric_limits<std::uint16_t>::max();
    std::uint32_t period = static_cast<std::uint32_t>(MMESpeed);
    period = std::min<std::uint32_t>({period, caps.wPeriodMax, widest});
    period = std::max<std::uint32_t>({period, caps.wPeriodMin, 1});
    return static_cast<std::uint16_t>(std::min(period, widest));
}

} // namespace

bool ChainEnded() { return ended.load(); }

void ResumeChain() {
    if (!ended.load()) return;
    LockScope scope(TimerLock);
    ended = false;
}

bool ArmTimer(std::uint32_t delay, Generation since) {
    LockScope scope(TimerLock);
    if (CurrentGeneration() != since) return false;
    Program(delay);
    return true;
}

bool DisarmTimer(Generation since) {
    LockScope scope(TimerLock);
    if (CurrentGeneration() != since) return false;
    CancelPending();
    return true;
}

void DeferTimer() {
    LockScope scope(TimerLock);
    if (ended) return;
    RaiseGeneration();
    Program(0);
}

void EndPlayback() {
    LockScope scope(TimerLock);
    CancelPending();
    QueueSection section;
    ended = true;
    EndTransmissions();
    MIDIQueues[ZOR_QUEUE_OUTPUT].Empty();
    MIDIQueues[ZOR_QUEUE_OUTPUT2].Empty();
}

void StopMIDITimer() {
    LockScope scope(TimerLock);
    if (!TimerRunning) return;
    ended = true;
    CancelPending();
    timeEndPeriod(TimerPeriod);
    // Raised last: a pass that begins under the new number sees the time stand.
    TimerRunning.store(0);
    RaiseGeneration();
}

NextDelay DelayToNextEvent(std::int32_t now) {
    const std::int32_t next = NextEventTime();
    if (next == NoEvent) return {false, 0};
    // Two times can lie further apart than a time is wide.
    const std::int64_t delay = std::min<std::int64_t>(std::int64_t{next} - now, NoEvent);
    if (delay <= 0) return {true, 0};
    return {false, delay == NoEvent ? 0 : static_cast<std::uint32_t>(delay)};
}

// The delay is figured by the time base still in force; the new one stands before anybody can see
// the timer run.
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
    ended = false;
    TimerRunning.store(1, std::memory_order_release);
    Program(delay);
    return 1;
}
