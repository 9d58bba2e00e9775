// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Plays a song on the library's time base, with pause, jumps and loops.
#pragma once

#include "host/playback/player.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace zorhost {

// The part of a song to play.
struct PlayRange {
    std::int64_t Begin = 0;       // ticks
    std::int64_t End = EndOfSong; // ticks; not included
    bool Loop = false;            // repeats the range; End must not be EndOfSong then
    int TempoPercent = 100;       // of the written tempo
};

// Thread: the one that runs the library. The song must outlive it.
class Transport {
public:
    Transport(const midifile::Song& song, const PlayRange& range);

    // Starts the music. lead: its time in milliseconds of the time base.
    void Start(std::int64_t lead);
    // Keeps the queue filled. Call it often enough that the queue never runs empty.
    void Step();
    // Everything has been sent. Never while paused or in a loop.
    bool IsDone() const;

    bool Paused() const { return IsPaused; }
    void Pause();
    void Resume();
    void JumpTo(std::int64_t tick);
    // Jumps to the beginning of a bar: 0 for the current one, -1 for the one before.
    void JumpBars(std::int64_t bars);

    // The current playback position, in ticks.
    std::int64_t Position() const;
    // Milliseconds from the beginning of the range to a tick, at the chosen tempo.
    std::int64_t TimeOf(std::int64_t tick) const { return TimeBetween(Range.Begin, tick); }
    std::int64_t Length() const { return TimeOf(std::min(Range.End, Song.EndTick)); }
    // Number of events that are not played, since their time exceeds the 32-bit time base.
    std::size_t DroppedEvents() const { return OverflowCount; }
    // Number of messages that have left the queue.
    std::size_t SentCount() const;
    // The records of the current pass through the range.
    const std::vector<MIDIEvent>& Pass() const { return PassPlayer.Records(); }
    // Ends sounding notes and empties the queue.
    void Silence();

private:
    // A stretch of uninterrupted playback.
    struct Segment {
        std::int64_t StartTime; // milliseconds of the time base
        std::int64_t StartTick;
    };
    std::int64_t TimeBetween(std::int64_t begin, std::int64_t end) const;
    void Schedule(const Segment& segment);
    std::int64_t LoopEnd() const; // milliseconds of the time base

    const midifile::Song& Song;
    const PlayRange Range;
    Player PassPlayer{{}};
    Segment CurrentSegment{0, 0};       // the one that sounds
    std::optional<Segment> NextSegment; // queued after it, in a loop
    std::size_t SentEarlier = 0;        // messages of previous players
    std::size_t OverflowCount = 0;
    std::int64_t PausePosition = 0; // ticks
    bool IsPaused = false;
};

} // namespace zorhost
