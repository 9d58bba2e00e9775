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

// The time of no event at all.
constexpr std::int32_t NoEvent = 0x7FFFFFFF;

// Guards what follows. Inside it only the system's timer calls are made, none of which waits for a
// callback.
Lock TimerLock;
MMRESULT TimerID = 0;
std::uint16_t TimerPeriod = 1;
std::uint32_t kills = 0;
std::uint32_t deferrals = 0;

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

// True if the timer runs; started says whether it was this call that did it.
bool Begin(bool& started) {
    LockScope scope(TimerLock);
    if (TimerRunning) return true;
    TIMECAPS caps{};
    if (timeGetDevCaps(&caps, sizeof caps) != TIMERR_NOERROR) return false;
    const std::uint16_t period = ChoosePeriod(caps);
    if (timeBeginPeriod(period) != TIMERR_NOERROR) return false;
    TimerPeriod = period;
    TimerRunning.store(1, std::memory_order_release);
    CancelPending();
    return started = true;
}

std::int32_t NextEventTime() {
    std::int32_t earliest = NoEvent;
    for (int index = FirstOutputQueue; index < QueueCount; ++index) {
        const MIDIQueue& queue = MIDIQueues[index];
        if (!queue.Holds()) continue;
        QueueSection section;
        if (queue.Holds()) earliest = std::min(earliest, queue.Head->Time);
    }
    return earliest;
}

} // namespace

TimerTicket TakeTimerTicket() {
    LockScope scope(TimerLock);
    return {kills, deferrals};
}

std::uint32_t TimerKills() {
    LockScope scope(TimerLock);
    return kills;
}

void CancelTimer(TimerTicket& ticket) {
    LockScope scope(TimerLock);
    ticket.Deferrals = deferrals;
    if (ticket.Kills == kills) CancelPending();
}

void ArmTimer(std::uint32_t delay, const TimerTicket& ticket) {
    LockScope scope(TimerLock);
    if (ticket.Kills == kills) Program(ticket.Deferrals == deferrals ? delay : 0);
}

void DeferTimer(const TimerTicket& ticket) {
    LockScope scope(TimerLock);
    if (ticket.Kills != kills) return;
    ++deferrals;
    Program(0);
}

void EndTimerChain() {
    LockScope scope(TimerLock);
    ++kills;
    CancelPending();
}

void StopMIDITimer() {
    LockScope scope(TimerLock);
    if (!TimerRunning) return;
    CancelPending();
    timeEndPeriod(TimerPeriod);
    TimerRunning.store(0, std::memory_order_release);
}

NextDelay DelayToNextEvent() {
    const std::int32_t now = CurrentMIDITime();
    const std::int32_t next = NextEventTime();
    if (next == NoEvent) return {false, 0};
    // Two times can lie further apart than a time is wide.
    const std::int64_t delay = std::min<std::int64_t>(std::int64_t{next} - now, NoEvent);
    if (delay <= 0) return {true, 0};
    return {false, delay == NoEvent ? 0 : static_cast<std::uint32_t>(delay)};
}

ZorBool ZORCALL ZorStartTimer(void) ZORNOEXCEPT {
    if (!LibraryIsUp()) return 0;
    const TimerTicket ticket = TakeTimerTicket();
    bool started = false;
    if (!Begin(started)) return 0;
    if (!started) return 1;
    ArmTimer(DelayToNextEvent().Delay, ticket);
    if (TimerRunning) {
        QueueSection section;
        ResetMIDITime();
    }
    return 1;
}
