#include "engine/time_base.h"

#include "engine/driver_table.h"
#include "engine/generation.h"
#include "engine/queues.h"
#include "engine/sections.h"
#include "engine/timer.h"

#include <algorithm>

std::atomic<std::int16_t> SyncMode{ZOR_SYNC_INTERNAL};

namespace {

// The picture of the time base that readers see, and the one being written beside it. Writers take
// turns under QueueLock: they fill the picture that is out of sight and then show it. A reader
// starts over only if a new picture was shown while it read.
// Release on every store and acquire on every load: who reads a value of the picture after next
// also reads a version that has moved.
class Picture {
public:
    TimeBase Read() const {
        for (;;) {
            const std::uint32_t version = shown.load(std::memory_order_acquire);
            const TimeBase seen = Load(pages[version & 1]);
            if (shown.load(std::memory_order_acquire) == version) return seen;
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
    static void Store(Page& page, const TimeBase& from) {
        constexpr auto order = std::memory_order_release;
        page.TimeOrigin.store(from.TimeOrigin, order);
        page.ClockCount.store(from.ClockCount, order);
        page.LastClockTime.store(from.LastClockTime, order);
        page.LastClockGap.store(from.LastClockGap, order);
        page.ClockRunning.store(from.ClockRunning, order);
        page.ClockPending.store(from.ClockPending, order);
    }

    Page pages[2];
    std::atomic<std::uint32_t> shown{0};
};

constinit Picture picture;

// Differences of the 32-bit millisecond clock wrap with it.
std::int32_t Since(std::uint32_t moment) {
    return static_cast<std::int32_t>(timeGetTime() - moment);
}

void Count(TimeBase& base) {
    if (!base.ClockRunning && !base.ClockPending) return;
    if (base.ClockPending) {
        base.ClockPending = false;
        base.ClockRunning = true;
    }
    const std::uint32_t now = timeGetTime();
    base.ClockCount = static_cast<std::int32_t>(static_cast<std::uint32_t>(base.ClockCount) + 1);
    const bool backwards =
        static_cast<std::int32_t>(now) < static_cast<std::int32_t>(base.LastClockTime);
    base.LastClockGap = backwards ? 0 : static_cast<std::int32_t>(now - base.LastClockTime);
    base.LastClockTime = now;
}

// Puts the count at that many clocks after the position that ZorSetMIDITimer was given.
void Locate(TimeBase& base, std::int32_t clocks) {
    base.LastClockTime = 0;
    base.LastClockGap = 0;
    base.ClockCount = TimeToClocks(static_cast<std::int32_t>(base.TimeOrigin)) + clocks;
}

// The time jumps: what was figured by the old one is void.
void Move(const TimeBase& changed) {
    WriteTimeBase(changed);
    RaiseGeneration();
}

} // namespace

TimeBase ReadTimeBase() { return picture.Read(); }
void WriteTimeBase(const TimeBase& changed) { picture.Write(changed); }

// The fraction is taken apart so that no product leaves 64 bits, however large gap and clocks are:
// whole and rest have the same sign, so that both round towards zero as the plain quotient does.
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
    if (!ExternalSync()) return Since(base.TimeOrigin);
    if (!base.ClockRunning) return ClocksToTime(base.ClockCount, 0, 0);
    const std::int32_t elapsed =
        std::max(std::min(Since(base.LastClockTime), base.LastClockGap), 0);
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
    Move(base);
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
        Locate(base, 6 * ((event.Data2 & 0x7F) * 128 + (event.Data1 & 0x7F)));
        return Move(base);
    case 0xFA: // Start
        base.ClockPending = true;
        Locate(base, 0);
        return Move(base);
    case 0xFB: // Continue
        base.ClockPending = true;
        break;
    case 0xFC: // Stop
        base.ClockRunning = base.ClockPending = false;
        break;
    case 0xF8:
        Count(base);
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
        Locate(base, 0);
    } else {
        base.TimeOrigin = timeGetTime() - static_cast<std::uint32_t>(time);
    }
    Move(base);
}

int32_t ZORCALL ZorEtimeMIDI(int16_t queue, uint16_t* marker) ZORNOEXCEPT {
    const bool known = queue >= 0 && queue < QueueCount;
    if (marker) *marker = known ? MIDIQueues[queue].Marker.load() : std::uint16_t{0};
    if (!known) return 0;
    return ExternalSync() ? CurrentMIDITime() : MIDIQueues[queue].Etime.load();
}

void ZORCALL ZorSyncMIDI(int16_t mode) ZORNOEXCEPT {
    for (MIDIDriverEntry& row : MIDIDrivers) {
        if (row.Inited) row.Sync(row.TakesSync ? mode : std::int16_t{0});
    }
    SyncMode.store(mode, std::memory_order_relaxed);
}

uint32_t ZORCALL ZorResoMIDI(void) ZORNOEXCEPT { return 1000; }
