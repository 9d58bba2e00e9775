#include "engine/pump.h"

#include "engine/drivers.h"
#include "engine/queues.h"
#include "engine/sections.h"
#include "engine/time_base.h"

#include <atomic>

namespace {

// Set for as long as one thread plays.
std::atomic<bool> PlayBusy{false};

bool ExternalClockStands() { return ExternalSync() && !ReadTimeBase().ClockRunning; }

// Moves the queue's position or marker to that of a record whose time has come. False if the
// record is for that alone and no driver gets it.
bool MovePosition(MIDIQueue& queue, const MIDIEvent& event) {
    if (event.Status == 0 && event.Length == 0) {
        queue.Marker.store(static_cast<std::uint16_t>(event.Etime), std::memory_order_relaxed);
        return false;
    }
    queue.Etime.store(event.Etime, std::memory_order_relaxed);
    return !(event.Status == 0xF8 && event.Data1 == 1);
}

// What a pass found at the head of a queue.
struct HeadRecord {
    enum { Nothing, AwaitsClock, ForQueue, ForDrivers } State = Nothing;
    MIDIEvent Event;
    std::uint32_t Resets; // of the ring, when the record was copied
};

// Copies the record at the head if its time has come; it stays in the queue.
HeadRecord TakeDue(MIDIQueue& queue, std::int32_t now) {
    HeadRecord found{};
    if (!queue.Holds()) return found;
    QueueSection section;
    if (!queue.Holds()) return found;
    if (ExternalClockStands()) {
        found.State = HeadRecord::AwaitsClock;
    } else if (now >= queue.Head->Time) {
        found.Event = *queue.Head;
        found.Resets = queue.Resets;
        const bool forDrivers = MovePosition(queue, found.Event);
        found.State = forDrivers ? HeadRecord::ForDrivers : HeadRecord::ForQueue;
    }
    return found;
}

// Removes the record that was copied, unless the ring has been emptied or replaced meanwhile.
void Remove(MIDIQueue& queue, const HeadRecord& record) {
    QueueSection section;
    if (queue.Resets == record.Resets) queue.Drop();
}

// Hands the record out. If playback was ended while it was on its way, the drivers may have been
// silenced before they had it: they are silenced once more.
void Send(const MIDIEvent& event, std::uint32_t kills) {
    XmitToDrivers(event);
    if (TimerKills() != kills) SilenceDrivers();
}

// Plays what is due in one queue. True if it waits for the external clock.
bool PlayQueue(MIDIQueue& queue, std::int32_t now) {
    for (;;) {
        const std::uint32_t kills = TimerKills();
        const HeadRecord record = TakeDue(queue, now);
        if (record.State == HeadRecord::Nothing) return false;
        if (record.State == HeadRecord::AwaitsClock) return true;
        if (record.State == HeadRecord::ForDrivers) Send(record.Event, kills);
        Remove(queue, record);
    }
}

// One pass over both queues by one time; all that is due in queue 1 goes before queue 2.
bool PlayPass() {
    const std::int32_t now = CurrentMIDITime();
    bool awaitingClock = false;
    for (int index = FirstOutputQueue; index < QueueCount; ++index) {
        if (PlayQueue(MIDIQueues[index], now)) awaitingClock = true;
    }
    return awaitingClock;
}

// Plays a pass and programs the expiry for what comes next. False if a record came due while the
// pass ran: it is to be played at once.
bool PlayAndProgram(TimerTicket& ticket) {
    const bool awaitingClock = PlayPass();
    CancelTimer(ticket);
    const NextDelay next = DelayToNextEvent();
    if (!next.Due) {
        ArmTimer(next.Delay, ticket);
        return true;
    }
    // A record that is due but waits for the clock ends the chain, unless the clock has started
    // since the pass looked.
    return awaitingClock && ExternalClockStands();
}

} // namespace

void PlayQueues(TimerTicket ticket) {
    // Acquire and release: the passes of two threads follow each other.
    if (Transmitting() || PlayBusy.exchange(true, std::memory_order_acquire)) {
        DeferTimer(ticket);
        return;
    }
    while (!PlayAndProgram(ticket)) {
    }
    PlayBusy.store(false, std::memory_order_release);
}

void ZORCALL ZorMIDIPlay(void) ZORNOEXCEPT { PlayQueues(TakeTimerTicket()); }

void ZORCALL MMETimerCallBack(uint32_t, uint32_t, uintptr_t, uintptr_t, uintptr_t) ZORNOEXCEPT {
    const TimerTicket ticket = TakeTimerTicket();
    PollPitchRec();
    PlayQueues(ticket);
}
