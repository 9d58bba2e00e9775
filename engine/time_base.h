// The present time: milliseconds, or 1024 units a quarter note counted from incoming MIDI clock.
#pragma once

#include "engine/zormidi.h"
#include "platform/platform.h"

#include <atomic>
#include <cstdint>

// As last given to ZorSyncMIDI. Only ZOR_SYNC_EXTERNAL means anything.
extern std::atomic<std::int16_t> SyncMode;
inline bool ExternalSync() { return SyncMode.load(std::memory_order_relaxed) == ZOR_SYNC_EXTERNAL; }

struct TimeBase {
    std::uint32_t TimeOrigin;    // internal: timeGetTime at time 0; external: the position set last
    std::int32_t ClockCount;     // MIDI clocks, 24 a quarter note
    std::uint32_t LastClockTime; // timeGetTime at the last clock, 0 after a reset
    std::int32_t LastClockGap;   // milliseconds between the last two clocks, 0 if unknown
    bool ClockRunning;           // the external clock counts
    bool ClockPending;           // Start or Continue has come: the next clock begins the count
};

// One consistent picture of the time base. Thread: any. Real time: yes; takes no lock, and never
// waits for a thread that was interrupted in the middle of a change.
TimeBase ReadTimeBase();

// Publishes a new picture. Inside a section only.
void WriteTimeBase(const TimeBase& changed);

// Gives 0 while the timer is stopped. Thread: any. Real time: yes.
std::int32_t CurrentMIDITime();

// What it gives while the timer runs. Thread: any. Real time: yes.
std::int32_t RunningTime();

// Sets the present time to 0, and raises the generation. Inside a section only.
void ResetMIDITime();

// Position of so many clocks, elapsed milliseconds after the last of them, gap milliseconds being
// the length of one; a gap of 0 is an unknown one.
std::int32_t ClocksToTime(std::int32_t clocks, std::int32_t gap, std::int32_t elapsed);

// The clock at the position that ZorSetMIDITimer was given, where Start begins to count.
std::int32_t TimeToClocks(std::int32_t time);

// The drivers are opening: the external clock stands at 0 until it starts again.
void StopExternalClock();

// What incoming Song Position, Clock, Start, Continue and Stop do to the time base; any other
// message does nothing. Thread: MIDI input, timer. Real time: yes.
void FeedClock(const MIDIEvent& event);
