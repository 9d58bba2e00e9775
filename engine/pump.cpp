// Plays what is due from the output queues.
#include "engine/active_call.h"
#include "engine/driver_table.h"
#include "engine/queues.h"
#include "engine/sections.h"
#include "engine/time_base.h"
#include "engine/timer.h"
#include "engine/transmission.h"

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
    enum { Nothing, AwaitsClock, ForQueue, ForDrivers, PassIsVoid } State = Nothing;
    MIDIEvent Event;
};

// One pass: all of it by one time, and for one piece.
struct Pass {
    Generation Piece = CurrentGeneration(); // before the time, which may be void as soon as read
    std::int32_t Now = CurrentMIDITime();
};

// Copies the record at the head if its time has come; it stays in the queue.
HeadRecord TakeDue(MIDIQueue& queue, const Pass& pass) {
    HeadRecord found{};
    if (!queue.Holds()) return found;
    QueueSection section;
    if (CurrentGeneration() != pass.Piece) {
        found.State = HeadRecord::PassIsVoid;
    } else if (queue.Holds() && ExternalClockStands()) {
        found.State = HeadRecord::AwaitsClock;
    } else if (queue.Holds() && pass.Now >= queue.Head->Time) {
        found.Event = *queue.Head;
        const bool forDrivers = MovePosition(queue, found.Event);
        found.State = forDrivers ? HeadRecord::ForDrivers : HeadRecord::ForQueue;
    }
    return found;
}

// Removes the record that was copied. One that was sent goes even if the time has been set anew
// meanwhile: it must not go out twice.
void Remove(MIDIQueue& queue, Generation copied) {
    QueueSection section;
    if (queue.Emptied <= copied) queue.Drop();
}

// Plays what is due in one queue; gives what it found then.
HeadRecord PlayQueue(MIDIQueue& queue, const Pass& pass) {
    for (;;) {
        const HeadRecord record = TakeDue(queue, pass);
        const bool taken =
            record.State == HeadRecord::ForDrivers || record.State == HeadRecord::ForQueue;
        if (!taken) return record;
        if (record.State == HeadRecord::ForDrivers) XmitToDrivers(record.Event, pass.Piece);
        Remove(queue, pass.Piece);
    }
}

// Plays a pass and programs the expiry for what comes next; all that is due in queue 1 goes before
// queue 2. False if there is more to do at once: a record came due while the pass ran, or something
// ended or began under it. Nothing is done once playback has ended.
bool PlayAndProgram() {
    const Pass pass;
    if (ChainEnded()) return true; // looked at after the number: an end that comes later moves it
    bool awaitingClock = false;
    for (int index = FirstOutputQueue; index < QueueCount; ++index) {
        const HeadRecord last = PlayQueue(MIDIQueues[index], pass);
        if (last.State == HeadRecord::PassIsVoid) return false;
        if (last.State == HeadRecord::AwaitsClock) awaitingClock = true;
    }
    const NextDelay next = DelayToNextEvent(CurrentMIDITime());
    if (!next.Due) return ArmTimer(next.Delay, pass.Piece);
    // A record that is due but waits for the clock ends the chain, unless the clock has started
    // since the pass looked.
    return awaitingClock && ExternalClockStands() && DisarmTimer(pass.Piece);
}

// Plays and programs the next expiry; a second one at the same time puts itself off.
void PlayQueues() {
    // Acquire and release: the passes of two threads follow each other.
    if (Transmitting() || PlayBusy.exchange(true, std::memory_order_acquire)) return DeferTimer();
    while (!PlayAndProgram()) {
    }
    PlayBusy.store(false, std::memory_order_release);
}

} // namespace

void ZORCALL ZorMIDIPlay(void) ZORNOEXCEPT {
    ResumeChain();
    PlayQueues();
}

void ZORCALL MMETimerCallBack(uint32_t, uint32_t, uintptr_t, uintptr_t, uintptr_t) ZORNOEXCEPT {
    const Errand errand(Errand::Kind::Expiry);
    // Dispatched before playback was ended and entered after it.
    if (ChainEnded()) return;
    PollPitchRec();
    PlayQueues();
}
