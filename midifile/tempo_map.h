// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Converts between ticks, time and bars of a song.
#pragma once

#include <cstdint>
#include <vector>

namespace midifile {

struct Tempo {
    std::int64_t Tick; // from which it is valid
    int MicrosecondsPerQuarter;
};
struct Meter {
    std::int64_t Tick; // from which it is valid
    int Beats;         // per bar
    int BeatUnit;      // 4 for a quarter note, 8 for an eighth
};
struct BarBeat {
    std::int64_t Bar; // from 1
    int Beat;         // from 1
};

// Starts with 120 quarter notes per minute and 4/4, the defaults of a MIDI file.
class TempoMap {
public:
    // ticksPerQuarter: ticks per quarter note, above 0.
    explicit TempoMap(int ticksPerQuarter);

    // In ascending order of tick; a later call for the same tick replaces the earlier one.
    void Add(const Tempo& tempo);
    // Likewise. A meter that does not begin on a bar line starts a new bar.
    void Add(const Meter& meter);

    int TicksPerQuarter() const { return QuarterTicks; }
    // Microseconds from tick 0, rounded down.
    std::int64_t MicrosecondsAt(std::int64_t tick) const;
    // The tick nearest to that time.
    std::int64_t TickAt(std::int64_t microseconds) const;
    BarBeat BarBeatAt(std::int64_t tick) const;
    // The first tick of a bar. bar: from 1.
    std::int64_t TickOfBar(std::int64_t bar) const;

    // In ascending order of tick; the first one is valid from tick 0.
    std::vector<Tempo> Tempos() const;
    std::vector<Meter> Meters() const;

private:
    struct TempoSegment {
        Tempo Start;
        std::int64_t Elapsed; // microseconds before Start, times ticks per quarter: exact
    };
    struct MeterSegment {
        Meter Start;
        std::int64_t FirstBar; // from 0
    };
    std::int64_t TicksPerBar(const Meter& meter) const;
    std::int64_t TicksPerBeat(const Meter& meter) const;

    int QuarterTicks;
    // Never empty; the first ones begin at tick 0.
    std::vector<TempoSegment> TempoSegments{{{0, 500000}, 0}};
    std::vector<MeterSegment> MeterSegments{{{0, 4, 4}, 0}};
};

} // namespace midifile
