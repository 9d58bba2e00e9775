// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Estimates tempo and meter of a performance, and the position of each note in its bars.
#pragma once

#include "score/melody.h"
#include "score/meter.h"

#include <optional>
#include <vector>

namespace score {

// What is known of a piece.
struct RhythmHints {
    enum class Grid { Any, Halves, Fourths, Thirds }; // smallest parts of a quarter

    double QuartersPerMinute = 0; // approximate tempo; 0 if unknown
    std::optional<TimeSignature> Meter;
    std::optional<double> PickupQuarters; // length of the bar before the first full one
    Grid Shortest = Grid::Any;            // Thirds: halves as well
};

// "8", "16" or "triplets".
std::optional<RhythmHints::Grid> ParseGrid(std::string_view text);

struct MeterChange {
    int Bar; // counted from 0, the bar of the first note
    TimeSignature Meter;
};

struct TempoChange {
    int Bar;
    double QuartersPerMinute;
};

// Equal onsets are a chord.
struct Rhythm {
    std::vector<MeterChange> Meters; // the first one of bar 0
    std::vector<TempoChange> Tempos; // the first one of bar 0
    bool Swing = false;              // eighths were played long and short, and are written straight
    std::vector<int> Onsets;         // ticks from the beginning of the first note's bar
    std::vector<double> TickSeconds; // duration of a tick at each note: the tempo may drift

    const TimeSignature& Meter() const { return Meters.front().Meter; }
    double QuartersPerMinute() const { return Tempos.front().QuartersPerMinute; }
};

// The bar of each note.
std::vector<int> BarsOf(const Rhythm& rhythm);

// The most likely rhythm of at least one note; notes in ascending order of Onset. Time and memory
// are proportional to the number of notes.
Rhythm FindRhythm(Melody notes, const RhythmHints& hints = {});

} // namespace score
