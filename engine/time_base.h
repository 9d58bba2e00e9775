// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The time base: milliseconds, or with external sync 1024 units per quarter note, counted from
// incoming MIDI clock.
#pragma once

#include "engine/zormidi.h"
#include "platform/platform.h"

#include <atomic>
#include <cstdint>

// The last argument of ZorSyncMIDI. All values but ZOR_SYNC_EXTERNAL count milliseconds.
extern std::atomic<std::int16_t> SyncMode;
inline bool ExternalSync() { return SyncMode.load(std::memory_order_relaxed) == ZOR_SYNC_EXTERNAL; }

struct TimeBase {
    std::uint32_t TimeOrigin;    // internal: timeGetTime at time 0; external: the last set position
    std::int32_t ClockCount;     // MIDI clocks, 24 per quarter note
    std::uint32_t LastClockTime; // timeGetTime at the last clock, 0 after a reset
    std::int32_t LastClockGap;   // milliseconds between the last two clocks, 0 if unknown
    bool ClockRunning;           // the external clock counts
    bool ClockPending;           // after Start or Continue: counting begins at the next clock
};

// Returns a consistent copy of the time base. Lock-free: does not wait for a thread that was
// interrupted during a change. Thread: any. Real time: yes.
TimeBase ReadTimeBase();

// Publishes a changed time base. Inside a QueueSection only.
void WriteTimeBase(const TimeBase& changed);

// The time in units of the time base; 0 while the timer is stopped. Thread: any. Real time: yes.
std::int32_t CurrentMIDITime();

// The same, as if the timer were running. Thread: any. Real time: yes.
std::int32_t RunningTime();

// Sets the time to 0 and raises the generation. Inside a QueueSection only.
void ResetMIDITime();

// The time (1024 units per quarter note) of that many MIDI clocks, plus elapsed milliseconds after
// the last one. gap: milliseconds between two clocks; 0 if unknown, and elapsed is then ignored.
std::int32_t ClocksToTime(std::int32_t clocks, std::int32_t gap, std::int32_t elapsed);

// The MIDI clock at that time, rounded towards zero.
std::int32_t TimeToClocks(std::int32_t time);

// Stops the external clock at 0, until a Start or Continue comes in. Called when the drivers open.
void StopExternalClock();

// Updates the time base from an incoming Song Position, Clock, Start, Continue or Stop; ignores
// other messages. Thread: MIDI input, timer. Real time: yes.
void FeedClock(const MIDIEvent& event);
