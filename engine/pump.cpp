// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The pump: plays the records of the output queues whose time has come.
#include "engine/active_call.h"
#include "engine/driver_table.h"
#include "engine/queues.h"
#include "engine/sections.h"
#include "engine/time_base.h"
#include "engine/timer.h"
#include "engine/transmission.h"

#include <atomic>

namespace {

// Set while a thread runs pump passes.
std::atomic<bool> PlayBusy{false};

bool ExternalClockStopped() { return ExternalSync() && !ReadTimeBase().ClockRunning; }

// Updates the queue's position or marker from a record whose time has come. Returns false for a
// record that is not sent to the drivers.
bool UpdatePosition(MIDIQueue& queue, const MIDIEvent& event) {
    if (event.Status == 0 && event.Length == 0) {
        queue.Marker.store(static_cast<std::uint16_t>(event.Etime), std::memory_order_relaxed);
        return false;
    }
    queue.Etime.store(event.Etime, std::memory_order_relaxed);
    return !(event.Status == 0xF8 && event.Data1 == 1);
}

// The head of a queue, as one pass read it.
struct HeadRecord {
    enum {
        NotDue,     // no record, or its time has not come
        NeedsClock, // it waits until the external clock runs
        NotSent,    // due; it changed the position or marker only
        ForDrivers, // due
        StalePass,  // the generation changed: the pass must start again
    } State = NotDue;
    MIDIEvent Event;
};

// One pass over both queues, at one time and in one generation.
struct Pass {
    Generation Start = CurrentGeneration(); // read before the time, which it makes stale
    std::int32_t Time = CurrentMIDITime();
};

// Copies the head record if its time has come; it stays in the queue.
HeadRecord ReadDue(MIDIQueue& queue, const Pass& pass) {
    HeadRecord found{};
    if (!queue.HasRecords()) return found;
    QueueSection section;
    if (!IsCurrent(pass.Start)) {
        found.State = HeadRecord::StalePass;
    } else if (queue.HasRecords() && ExternalClockStopped()) {
        found.State = HeadRecord::NeedsClock;
    } else if (queue.HasRecords() && pass.Time >= queue.Head->Time) {
        found.Event = *queue.Head;
        const bool forDrivers = UpdatePosition(queue, found.Event);
        found.State = forDrivers ? HeadRecord::ForDrivers : HeadRecord::NotSent;
    }
    return found;
}

// Removes the head record after it was played, unless the queue was emptied since passStart. A
// change of the time alone does not keep the record: it must not be sent twice.
void RemoveHead(MIDIQueue& queue, Generation passStart) {
    QueueSection section;
    if (queue.EmptiedGeneration <= passStart) queue.Pop();
}

// Plays all due records of one queue. Returns the head that ended the loop.
HeadRecord PlayQueue(MIDIQueue& queue, const Pass& pass) {
    for (;;) {
        const HeadRecord record = ReadDue(queue, pass);
        const bool due =
            record.State == HeadRecord::ForDrivers || record.State == HeadRecord::NotSent;
        if (!due) return record;
        if (record.State == HeadRecord::ForDrivers) XmitToDrivers(record.Event, pass.Start);
        RemoveHead(queue, pass.Start);
    }
}

// Runs one pass and programs the next expiry. All due records of queue 1 precede those of queue 2.
// Returns false if another pass must follow at once: a record became due during this pass, or the
// pass is stale. Does nothing once playback has ended.
bool PlayAndProgram() {
    const Pass pass;
    if (ChainEnded()) return true; // read after the generation, which a later end raises
    bool needsClock = false;
    for (int index = FirstOutputQueue; index < QueueCount; ++index) {
        const HeadRecord last = PlayQueue(MIDIQueues[index], pass);
        if (last.State == HeadRecord::StalePass) return false;
        if (last.State == HeadRecord::NeedsClock) needsClock = true;
    }
    const NextDelay next = DelayToNextEvent(CurrentMIDITime());
    if (!next.Due) return ArmTimer(next.Delay, pass.Start);
    // A due record that waits for the clock ends the chain, unless the clock has started since the
    // pass read the queue.
    return needsClock && ExternalClockStopped() && DisarmTimer(pass.Start);
}

// Runs passes until none must follow at once. While another thread runs passes or transmits, this
// call is deferred to the next timer period.
void PlayQueues() {
    // Acquire and release order the passes of different threads.
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
    const ActiveCall call(CallKind::TimerCallback);
    // The system dispatched this expiry before playback was ended.
    if (ChainEnded()) return;
    PollPitchRec();
    PlayQueues();
}
