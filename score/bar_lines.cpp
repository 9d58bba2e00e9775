// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/bar_lines.h"

#include "score/learnt_weights.h"

#include <algorithm>
#include <cmath>

namespace score {

namespace {

constexpr TimeSignature UsualMeters[] = {{4, 4}, {2, 4},  {3, 4}, {6, 8},
                                         {9, 8}, {12, 8}, {3, 8}, {5, 4}};
constexpr struct {
    int Numerator, Denominator;
} Scales[] = {{1, 3}, {1, 2}, {2, 3}, {3, 4}, {1, 1}, {4, 3}, {3, 2}, {2, 1}, {3, 1}, {4, 1}};
constexpr double SlowestQuarters = 40, FastestQuarters = 240; // per minute
constexpr double HintTempoWidth = 0.06; // standard deviation of a given tempo, as a logarithm
constexpr double StressScale = 6;       // how much an accompaniment counts against the melody
constexpr double HarmonyScale = 14;     // how much changes of harmony count
constexpr double WrongPickup = 50;      // cost of another pickup than the given one

// Ticks of a piece as these bar lines write them, counted from the beginning of a bar.
std::vector<int> Write(std::span<const GridNote> notes, const BarLines& lines) {
    std::vector<int> ticks;
    for (const GridNote& note : notes) ticks.push_back(Written(note.Tick, lines));
    const int bar = lines.Meter.BarTicks();
    const int shift = Modulo(ticks.front(), bar) - ticks.front();
    for (int& tick : ticks) tick += shift;
    return ticks;
}

// The row of Weights for a meter, besides the first one.
std::size_t RowOf(const TimeSignature& meter) {
    if (meter.BeatType == 8) return 4;
    return meter.Beats % 3 == 0 ? 3 : meter.Beats == 2 && meter.BeatType == 4 ? 2 : 1;
}

// What the tunes that the weights are learnt on contain too rarely.
double RarityCost(const TimeSignature& meter) {
    if (meter == TimeSignature{12, 8}) return 1.5;
    if (meter == TimeSignature{3, 8}) return 6;
    return meter == TimeSignature{5, 4} ? 2.5 : 0;
}

// An accompaniment's heavy notes stand on the first beat, and more often on beats than off them.
double StressScore(std::span<const Stress> stresses, const BarLines& lines) {
    double sum = 0, all = 0;
    for (const Stress& stress : stresses) {
        const int tick = Modulo(Written(stress.Tick, lines), lines.Meter.BarTicks());
        const BarPlace place = PlaceOf(lines.Meter, tick);
        const bool beat = place == WeakBeat || place == SecondOfThree || place == ThirdOfThree;
        sum += stress.Weight * (place == Downbeat ? 1 : place == HalfBar ? 0.5 : beat ? 0.1 : -0.2);
        all += stress.Weight;
    }
    return all > 0 ? StressScale * sum / all : 0;
}

// Harmonies change at bar lines: the mean change at those of the piece.
double HarmonyScore(std::span<const Stress> stresses, const BarLines& lines) {
    if (stresses.empty()) return 0;
    const int bar = lines.Meter.BarTicks();
    double sum = 0;
    for (const Stress& stress : stresses)
        if (Written(stress.Tick, lines) % bar == 0) sum += stress.HarmonyChange;
    const int length = Written(stresses.back().Tick, lines) - Written(stresses.front().Tick, lines);
    return HarmonyScale * sum / (1 + static_cast<double>(length) / bar);
}

} // namespace

double ScoreOf(const MeasuredPiece& piece, const BarLines& lines, double pulsesPerMinute,
               const BarLineHints& hints, std::span<const Stress> stresses) {
    const double quarters = pulsesPerMinute * lines.Numerator / lines.Denominator;
    const std::vector<int> ticks = Write(piece.Notes, lines);
    const FeatureVector features = piece.Measure(ticks, lines.Meter, quarters);
    const std::size_t row = RowOf(lines.Meter);
    double score =
        StressScore(stresses, lines) + HarmonyScore(stresses, lines) - RarityCost(lines.Meter);
    for (std::size_t i = 0; i < BarFeatures; ++i)
        score += features[i] * (Weights[0][i] + Weights[row][i]);
    if (hints.QuartersPerMinute > 0) {
        const double off = std::log(quarters / hints.QuartersPerMinute) / HintTempoWidth;
        score -= off * off / 2;
    }
    if (hints.PickupTicks) {
        const int bar = lines.Meter.BarTicks();
        if ((ticks.front() + *hints.PickupTicks) % bar != 0) score -= WrongPickup;
    }
    return score;
}

std::vector<BarLines> ListBarLines(const BarLineHints& hints, double pulsesPerMinute) {
    const std::span<const TimeSignature> meters =
        hints.Meter ? std::span(&*hints.Meter, 1) : std::span(UsualMeters);
    std::vector<BarLines> list;
    for (const auto& scale : Scales) {
        const double quarters = pulsesPerMinute * scale.Numerator / scale.Denominator;
        const bool usual = quarters >= SlowestQuarters && quarters <= FastestQuarters;
        if (!usual && hints.QuartersPerMinute <= 0) continue;
        for (const TimeSignature& meter : meters)
            for (int phase = 0; phase < meter.BarTicks(); phase += EighthTicks)
                list.push_back({meter, scale.Numerator, scale.Denominator, phase});
    }
    return list;
}

} // namespace score
