// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "engine/time_base.h"

#include "engine/driver_table.h"
#include "engine/generation.h"
#include "engine/library_state.h"
#include "engine/sections.h"

#include <algorithm>

std::atomic<std::int16_t> SyncMode{ZOR_SYNC_INTERNAL};

namespace {

// The time base in two pages: readers use the page shown, writers fill the other one under
// QueueLock and then show it. A reader starts over only if a page was shown while it read. Release
// on every store and acquire on every load: a reader that sees a value of the next write also sees
// a changed version.
class DoubleBuffer {
public:
    TimeBase Read() const {
        for (;;) {
            const std::uint32_t version = shown.load(std::memory_order_acquire);
            const TimeBase base = Load(pages[version & 1]);
            if (shown.load(std::memory_order_acquire) == version) return base;
        }
    }
    void Write(const TimeBase& changed) {
        const std::uint32_t next = shown.load(std::memory_order_relaxed) + 1;
        Store(pages[next & 1], changed);
        shown.store(next, std::memory_order_release);
    }

private:
    struct Page {
        std::atomic<std::uint32_t> TimeOrigin{0};
        std::atomic<std::int32_t> ClockCount{0};
        std::atomic<std::uint32_t> LastClockTime{0};
        std::atomic<std::int32_t> LastClockGap{0};
        std::atomic<bool> ClockRunning{false};
        std::atomic<bool> ClockPending{false};
    };
    static TimeBase Load(const Page& page) {
        constexpr auto order = std::memory_order_acquire;
        return {page.TimeOrigin.load(order),    page.ClockCount.load(order),
                page.LastClockTime.load(order), page.LastClockGap.load(order),
                page.ClockRunning.load(order),  page.ClockPending.load(order)};
    }
    static void Store(Page& page, const TimeBase& base) {
        constexpr auto order = std::memory_order_release;
        page.TimeOrigin.store(base.TimeOrigin, order);
        page.ClockCount.store(base.ClockCount, order);
        page.LastClockTime.store(base.LastClockTime, order);
        page.LastClockGap.store(base.LastClockGap, order);
        page.ClockRunning.store(base.ClockRunning, order);
        page.ClockPending.store(base.ClockPending, order);
    }

    Page pages[2];
    std::atomic<std::uint32_t> shown{0};
};

constinit DoubleBuffer buffer;

// moment: on the timeGetTime clock, which wraps at 32 bits; so does the difference.
std::int32_t MillisecondsSince(std::uint32_t moment) {
    return static_cast<std::int32_t>(timeGetTime() - moment);
}

// One incoming MIDI clock.
void CountClock(TimeBase& base) {
    if (!base.ClockRunning && !base.ClockPending) return;
    if (base.ClockPending) {
        base.ClockPending = false;
        base.ClockRunning = true;
    }
    const std::uint32_t now = timeGetTime();
    base.ClockCount = static_cast<std::int32_t>(static_cast<std::uint32_t>(base.ClockCount) + 1);
    // The gap is unknown if the millisecond clock, as a signed number, wrapped since the last
    // clock.
    const bool backwards =
        static_cast<std::int32_t>(now) < static_cast<std::int32_t>(base.LastClockTime);
    base.LastClockGap = backwards ? 0 : static_cast<std::int32_t>(now - base.LastClockTime);
    base.LastClockTime = now;
}

// Sets the count to that many clocks after the position set by ZorSetMIDITimer.
void SetPosition(TimeBase& base, std::int32_t clocks) {
    base.LastClockTime = 0;
    base.LastClockGap = 0;
    base.ClockCount = TimeToClocks(static_cast<std::int32_t>(base.TimeOrigin)) + clocks;
}

// Publishes a discontinuous time. Raises the generation, since delays computed before are stale.
void Jump(const TimeBase& changed) {
    WriteTimeBase(changed);
    RaiseGeneration();
}

} // namespace

TimeBase ReadTimeBase() { return buffer.Read(); }
void WriteTimeBase(const TimeBase& changed) { buffer.Write(changed); }

// total * 128 / divisor, in parts, so that no product exceeds 64 bits for any gap and clocks.
// Quotient and remainder have the same sign, so both parts round towards zero as the whole does.
std::int32_t ClocksToTime(std::int32_t clocks, std::int32_t gap, std::int32_t elapsed) {
    const std::int64_t wide = clocks;
    if (gap == 0) return static_cast<std::int32_t>(wide * 128 / 3);
    const std::int64_t total = wide * gap + elapsed;
    const std::int64_t divisor = std::int64_t{gap} * 3;
    return static_cast<std::int32_t>(total / divisor * 128 + total % divisor * 128 / divisor);
}

std::int32_t TimeToClocks(std::int32_t time) {
    return static_cast<std::int32_t>(std::int64_t{time} * 24 / 1024);
}

std::int32_t CurrentMIDITime() {
    return TimerRunning.load(std::memory_order_acquire) ? RunningTime() : 0;
}

std::int32_t RunningTime() {
    const TimeBase base = ReadTimeBase();
    if (!ExternalSync()) return MillisecondsSince(base.TimeOrigin);
    if (!base.ClockRunning) return ClocksToTime(base.ClockCount, 0, 0);
    // At most one clock: the time stops where the next clock is overdue.
    const std::int32_t elapsed =
        std::max(std::min(MillisecondsSince(base.LastClockTime), base.LastClockGap), 0);
    return ClocksToTime(base.ClockCount, base.LastClockGap, elapsed);
}

void ResetMIDITime() {
    TimeBase base = ReadTimeBase();
    if (ExternalSync()) {
        base.TimeOrigin = 0;
        base.LastClockTime = 0;
        base.LastClockGap = 0;
        base.ClockCount = 0;
    } else {
        base.TimeOrigin = timeGetTime();
    }
    Jump(base);
}

void StopExternalClock() {
    QueueSection section;
    TimeBase base = ReadTimeBase();
    base.ClockRunning = false;
    base.ClockCount = 0;
    base.LastClockGap = 0;
    base.LastClockTime = 0;
    WriteTimeBase(base);
}

void FeedClock(const MIDIEvent& event) {
    if (event.Status < 0xF2 || event.Status > 0xFC) return;
    QueueSection section;
    TimeBase base = ReadTimeBase();
    switch (event.Status) {
    case 0xF2: // Song Position, in beats of 6 clocks
        SetPosition(base, 6 * ((event.Data2 & 0x7F) * 128 + (event.Data1 & 0x7F)));
        return Jump(base);
    case 0xFA: // Start
        base.ClockPending = true;
        SetPosition(base, 0);
        return Jump(base);
    case 0xFB: // Continue
        base.ClockPending = true;
        break;
    case 0xFC: // Stop
        base.ClockRunning = base.ClockPending = false;
        break;
    case 0xF8: // Clock
        CountClock(base);
        break;
    default:
        return;
    }
    WriteTimeBase(base);
}

int32_t ZORCALL ZorTimeMIDI(ZorBool reset) ZORNOEXCEPT {
    if (!reset) return CurrentMIDITime();
    if (TimerRunning) {
        QueueSection section;
        ResetMIDITime();
    }
    return 0;
}

void ZORCALL ZorSetMIDITimer(int32_t time) ZORNOEXCEPT {
    QueueSection section;
    TimeBase base = ReadTimeBase();
    if (ExternalSync()) {
        base.TimeOrigin = static_cast<std::uint32_t>(time);
        SetPosition(base, 0);
    } else {
        base.TimeOrigin = timeGetTime() - static_cast<std::uint32_t>(time);
    }
    Jump(base);
}

// Informs the drivers first, which may still receive messages in the old mode.
void ZORCALL ZorSyncMIDI(int16_t mode) ZORNOEXCEPT {
    for (MIDIDriverEntry& row : MIDIDrivers) {
        if (row.Inited) row.Sync(row.TakesSync ? mode : std::int16_t{0});
    }
    SyncMode.store(mode, std::memory_order_relaxed);
}

uint32_t ZORCALL ZorResoMIDI(void) ZORNOEXCEPT { return 1000; }
