// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/placement.h"

#include <algorithm>
#include <cmath>

namespace score {

namespace {

using Grid = RhythmHints::Grid;

// Seconds from the first to the last key of a chord. Shorter notes become one: thirty-seconds above
// 150 quarters per minute.
constexpr double ChordSpread = 0.05;
constexpr double PlayerJitter = 0.025; // seconds, standard deviation of an onset
constexpr double MaxOnsetCost = 8;     // of an onset that is off the grid

// Costs are negative logarithms of probabilities.
struct Division {
    int Step;       // ticks
    int OtherStep;  // a place is a multiple of either
    double OnBeat;  // cost of the division itself
    double OffBeat; // of each onset between the beats, but for the half of a beat
};
constexpr Division Divisions[] = {
    {EighthTicks, EighthTicks, 0, 0.5},
    {SixteenthTicks, SixteenthTicks, 0.5, 1},
    {TripletTicks, TripletTicks, 1.5, 1},
    {ThirtySecondTicks, ThirtySecondTicks, 4, 1.5},
    {TripletTicks / 2, TripletTicks / 2, 5, 1.5},
    {TripletTicks, EighthTicks, 3, 1}, // eighths of one hand against triplets of the other
};

bool IsAllowed(const Division& division, Grid shortest) {
    switch (shortest) {
    case Grid::Halves:
        return division.Step == EighthTicks;
    case Grid::Fourths:
        return division.Step == EighthTicks || division.Step == SixteenthTicks;
    case Grid::Thirds:
        return division.Step == EighthTicks || division.Step == TripletTicks;
    default:
        return true;
    }
}

// The onsets of chords, in quarters and seconds per quarter.
struct Onset {
    double Quarters;
    double QuarterSeconds;
};

// The place of a division next to a number of ticks.
int Nearest(double ticks, const Division& division) {
    const int one = static_cast<int>(std::lround(ticks / division.Step)) * division.Step;
    const int other =
        static_cast<int>(std::lround(ticks / division.OtherStep)) * division.OtherStep;
    return std::fabs(ticks - one) <= std::fabs(ticks - other) ? one : other;
}

double Cost(const Division& division, std::span<const Onset> onsets, double beat) {
    double cost = division.OnBeat;
    for (const Onset& onset : onsets) {
        const double ticks = (onset.Quarters - beat) * TicksPerQuarter;
        const int nearest = Nearest(ticks, division);
        const double off =
            (ticks - nearest) / TicksPerQuarter * onset.QuarterSeconds / PlayerJitter;
        cost += std::min(off * off / 2, MaxOnsetCost);
        if (nearest % TicksPerQuarter != 0) cost += division.OffBeat;
    }
    return cost;
}

// The ticks of all onsets, each beat in the division that fits it best.
std::vector<int> FitToBeats(const std::vector<Onset>& onsets, Grid shortest) {
    // In quarters: an onset that is two thirds of the shortest value before a beat belongs to it.
    constexpr double early = 2.0 / 3 * ShortestTicks / TicksPerQuarter;
    std::vector<int> ticks;
    for (std::size_t begin = 0, end = 0; begin < onsets.size(); begin = end) {
        const double beat = std::floor(onsets[begin].Quarters + early);
        while (end < onsets.size() && onsets[end].Quarters + early < beat + 1) ++end;
        const std::span<const Onset> group(&onsets[begin], end - begin);
        const Division* best = nullptr;
        for (const Division& division : Divisions)
            if (IsAllowed(division, shortest) &&
                (!best || Cost(division, group, beat) < Cost(*best, group, beat)))
                best = &division;
        for (const Onset& onset : group)
            ticks.push_back(Nearest((onset.Quarters - beat) * TicksPerQuarter, *best) +
                            static_cast<int>(beat) * TicksPerQuarter);
    }
    return ticks;
}

// Removes the bars before the first note.
void DropBars(Rhythm& rhythm) {
    int bars = 0, begin = 0;
    std::size_t meter = 0;
    for (;;) {
        const int length = rhythm.Meters[meter].Meter.BarTicks();
        if (rhythm.Onsets.front() < begin + length) break;
        begin += length;
        ++bars;
        if (meter + 1 < rhythm.Meters.size() && rhythm.Meters[meter + 1].Bar <= bars) ++meter;
    }
    for (int& onset : rhythm.Onsets) onset -= begin;
    const auto shift = [bars](auto& changes) {
        while (changes.size() > 1 && changes[1].Bar <= bars) changes.erase(changes.begin());
        for (auto& change : changes) change.Bar = std::max(0, change.Bar - bars);
    };
    shift(rhythm.Meters);
    shift(rhythm.Tempos);
}

} // namespace

Rhythm PlaceOnBeats(Melody notes, const KnownBeats& beats, Grid shortest) {
    Rhythm rhythm;
    rhythm.Meters = beats.Meters;
    rhythm.Tempos = beats.Tempos;
    std::vector<Onset> onsets;
    std::vector<std::size_t> chordOf;
    double first = 0; // seconds, of the present chord
    for (std::size_t i = 0; i < notes.size(); ++i) {
        if (i == 0 || notes[i].Onset - first > ChordSpread) {
            first = notes[i].Onset;
            onsets.push_back({std::max(0.0, beats.Quarters[i]), 0.5});
        }
        chordOf.push_back(onsets.size() - 1);
    }
    // The duration of a quarter between notes; the last one keeps that of its predecessor.
    std::vector<double> seconds(notes.size(), 60 / beats.Tempos.front().QuartersPerMinute);
    for (std::size_t i = 1; i < notes.size(); ++i) {
        const double quarters = beats.Quarters[i] - beats.Quarters[i - 1];
        const double passed = notes[i].Onset - notes[i - 1].Onset;
        seconds[i] = quarters > 0.01 ? passed / quarters : seconds[i - 1];
    }
    if (notes.size() > 1) seconds[0] = seconds[1];
    for (std::size_t i = 0; i < notes.size(); ++i) onsets[chordOf[i]].QuarterSeconds = seconds[i];
    const std::vector<int> ticks = FitToBeats(onsets, shortest);
    for (std::size_t i = 0; i < notes.size(); ++i) {
        rhythm.Onsets.push_back(ticks[chordOf[i]]);
        rhythm.TickSeconds.push_back(seconds[i] / TicksPerQuarter);
    }
    DropBars(rhythm);
    return rhythm;
}

} // namespace score
