// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/rhythm.h"

#include "score/beat_tracker.h"
#include "score/sections.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace score {

namespace {

constexpr double LineSpread = 0.05;     // seconds from the first to the last note of a chord
constexpr double ChordSpread = 0.07;    // the same in a piece with chords
constexpr double ArpeggioSpread = 0.08; // of one whose notes follow each other within ArpeggioStep
constexpr double ArpeggioStep = 0.03;
constexpr double ChordShare = 0.1;         // of the clusters: more chords are a keyboard's
constexpr double UsualArticulation = 0.75; // sounding share of a note's written length
constexpr std::size_t StressAround = 8;    // clusters before and behind
constexpr int HandDistance = 9;            // semitones from the upper line to the other hand
constexpr std::size_t LongestRest = 4;     // clusters of the other hand while the upper line rests

// Notes that begin together.
struct Cluster {
    double First, Last; // onsets in seconds
    int Lowest;         // MIDI note number
    int Highest;
    int Count;
    double End;                  // of the highest note
    std::array<int, 12> Classes; // number of notes of each pitch class
};

// The clusters of a piece, and for each note the index of its cluster.
std::vector<Cluster> FindClusters(std::span<const HeardNote> notes, double chordSpread,
                                  std::vector<std::size_t>& of) {
    of.clear();
    std::vector<Cluster> clusters;
    for (const HeardNote& note : notes) {
        const double spread = clusters.empty() ? 1 : note.Onset - clusters.back().First;
        const bool close =
            spread < chordSpread ||
            (spread < ArpeggioSpread && note.Onset - clusters.back().Last < ArpeggioStep);
        if (clusters.empty() || !close) {
            clusters.push_back({note.Onset, note.Onset, note.Key, note.Key, 1, note.End, {}});
        } else {
            clusters.back().Last = std::max(clusters.back().Last, note.Onset);
            clusters.back().Lowest = std::min(clusters.back().Lowest, note.Key);
            ++clusters.back().Count;
            if (note.Key > clusters.back().Highest) {
                clusters.back().Highest = note.Key;
                clusters.back().End = note.End;
            }
        }
        ++clusters.back().Classes[static_cast<std::size_t>(note.Key % 12)];
        of.push_back(clusters.size() - 1);
    }
    return clusters;
}

PulseTrack FindPulse(std::span<const double> onsets, const RhythmHints& hints) {
    using Grid = RhythmHints::Grid;
    PulseOptions options;
    options.Fine = hints.Shortest == Grid::Any || hints.Shortest == Grid::Fourths;
    if (hints.Shortest == Grid::Any || hints.Shortest == Grid::Thirds)
        return TrackPulse(onsets, options);
    // Without triplets, all pulses have two parts, or in compound meters all have three.
    PulseOptions two = options, three = options;
    two.Ternary = false;
    three.Binary = false;
    if (hints.Meter && !hints.Meter->IsCompound()) return TrackPulse(onsets, two);
    PulseTrack inTwo = TrackPulse(onsets, two), inThree = TrackPulse(onsets, three);
    return inTwo.Cost <= inThree.Cost ? inTwo : inThree;
}

bool HasChords(std::span<const Cluster> clusters) {
    const auto chords =
        std::count_if(clusters.begin(), clusters.end(), [](const auto& c) { return c.Count > 1; });
    return static_cast<double>(chords) > ChordShare * static_cast<double>(clusters.size());
}

// Whether a note is the other hand's in a rest of the upper line, which was far above it and soon
// goes on there.
bool IsOtherHand(std::span<const Cluster> clusters, std::size_t at, const Cluster& above) {
    const int line = clusters[at].Highest + HandDistance;
    const auto next =
        clusters.subspan(at + 1).first(std::min(LongestRest, clusters.size() - at - 1));
    return line <= above.Highest && std::any_of(next.begin(), next.end(), [line](const Cluster& c) {
               return line <= c.Highest;
           });
}

// The upper line: notes that begin while a higher one sounds, or should by its written length, and
// those of the other hand are left out.
std::vector<GridNote> MelodyOf(std::span<const Cluster> clusters, const PulseTrack& pulse) {
    std::vector<GridNote> melody;
    const bool chords = HasChords(clusters);
    const Cluster* above = nullptr;
    for (std::size_t i = 0; i < clusters.size(); ++i) {
        const Cluster& cluster = clusters[i];
        const bool covered =
            chords && above && cluster.Highest < above->Highest &&
            (cluster.First < above->First + (above->End - above->First) / UsualArticulation ||
             IsOtherHand(clusters, i, *above));
        if (covered) continue;
        above = &cluster;
        melody.push_back({pulse.Ticks[i], cluster.Highest});
    }
    return melody;
}

// How much the pitch classes within a pulse from a cluster differ from those within a pulse before
// it: 0 if their shares are the same, 1 if they have none in common.
double HarmonyChange(std::span<const Cluster> clusters, const PulseTrack& pulse, std::size_t at) {
    std::array<double, 12> before{}, after{};
    const int tick = pulse.Ticks[at];
    for (std::size_t i = at; i > 0 && pulse.Ticks[i - 1] >= tick - TicksPerPulse; --i)
        for (std::size_t k = 0; k < 12; ++k) before[k] += clusters[i - 1].Classes[k];
    for (std::size_t i = at; i < clusters.size() && pulse.Ticks[i] < tick + TicksPerPulse; ++i)
        for (std::size_t k = 0; k < 12; ++k) after[k] += clusters[i].Classes[k];
    const auto product = [](const std::array<double, 12>& a, const std::array<double, 12>& b) {
        return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
    };
    const double squares = product(before, before) * product(after, after);
    return squares > 0 ? 1 - product(before, after) / std::sqrt(squares) : 0;
}

std::vector<Stress> StressesOf(std::span<const Cluster> clusters, const PulseTrack& pulse) {
    std::vector<Stress> stresses;
    if (!HasChords(clusters)) return stresses;
    for (std::size_t i = 0; i < clusters.size(); ++i) {
        const std::size_t begin = i - std::min<std::size_t>(i, StressAround);
        const std::size_t end = std::min(i + StressAround + 1, clusters.size());
        double mean = 0;
        for (std::size_t k = begin; k < end; ++k) mean += clusters[k].Lowest;
        mean /= static_cast<double>(end - begin);
        const double depth = std::clamp((mean - clusters[i].Lowest) / 6, 0.0, 2.0);
        stresses.push_back({pulse.Ticks[i], depth + 0.3 * (clusters[i].Count - 1),
                            HarmonyChange(clusters, pulse, i)});
    }
    return stresses;
}

BarLineHints HintsFor(const RhythmHints& hints) {
    BarLineHints result{hints.Meter, hints.QuartersPerMinute, {}, {}};
    if (hints.PickupQuarters)
        result.PickupTicks = static_cast<int>(std::lround(*hints.PickupQuarters * TicksPerQuarter));
    return result;
}

// Replaces the tempo of the whole piece by those of its parts, if it changes.
void WriteTempos(Rhythm& rhythm, const PulseTrack& pulse, std::span<const double> onsets,
                 const std::vector<std::size_t>& clusterOf, double scale) {
    if (pulse.TempoChanges.empty()) return;
    const std::vector<int> bars = BarsOf(rhythm);
    rhythm.Tempos.clear();
    std::size_t begin = 0;
    for (std::size_t n = 0; n <= pulse.TempoChanges.size(); ++n) {
        const bool ends = n == pulse.TempoChanges.size();
        const std::size_t last = (ends ? onsets.size() : pulse.TempoChanges[n]) - 1;
        const auto note = std::lower_bound(clusterOf.begin(), clusterOf.end(), begin);
        const int bar = n == 0 ? 0 : bars[static_cast<std::size_t>(note - clusterOf.begin())];
        const double ticks = pulse.Ticks[last] - pulse.Ticks[begin];
        const double tempo = ticks * scale * 60 / TicksPerPulse / (onsets[last] - onsets[begin]);
        if (n == 0 || bar > rhythm.Tempos.back().Bar) rhythm.Tempos.push_back({bar, tempo});
        begin = last + 1;
    }
}

} // namespace

std::vector<int> BarsOf(const Rhythm& rhythm) {
    std::vector<int> bars;
    std::size_t change = 0;
    int bar = 0, begin = 0;
    for (const int onset : rhythm.Onsets) {
        while (onset - begin >= rhythm.Meters[change].Meter.BarTicks()) {
            begin += rhythm.Meters[change].Meter.BarTicks();
            ++bar;
            if (change + 1 < rhythm.Meters.size() && rhythm.Meters[change + 1].Bar <= bar) ++change;
        }
        bars.push_back(bar);
    }
    return bars;
}

Rhythm FindRhythm(std::span<const HeardNote> notes, const RhythmHints& hints) {
    std::vector<std::size_t> clusterOf;
    std::vector<Cluster> clusters = FindClusters(notes, LineSpread, clusterOf);
    if (HasChords(clusters)) clusters = FindClusters(notes, ChordSpread, clusterOf);
    std::vector<double> onsets;
    onsets.reserve(clusters.size());
    for (const Cluster& cluster : clusters) onsets.push_back((cluster.First + cluster.Last) / 2);
    const PulseTrack pulse = FindPulse(onsets, hints);
    BarLineHints barHints = HintsFor(hints);
    barHints.Stresses = StressesOf(clusters, pulse);
    const double pulses = (pulse.Ticks.back() - pulse.Ticks.front()) / double{TicksPerPulse};
    const double perMinute =
        pulses > 0 ? pulses * 60 / (onsets.back() - onsets.front()) : 60 / pulse.PulseSeconds[0];
    const std::vector<GridNote> melody = MelodyOf(clusters, pulse);
    const auto [sections, holds] =
        FindSections(melody, perMinute, barHints, FindBarLines(melody, perMinute, barHints));
    const BarLines& lines = sections.front().Lines;
    const double scale = static_cast<double>(lines.Numerator) / lines.Denominator;

    Rhythm rhythm;
    rhythm.Meters = {{0, lines.Meter}};
    rhythm.Swing = pulse.OffBeat > 0.5;
    rhythm.Tempos = {{0, perMinute * scale}};
    const int bar = lines.Meter.BarTicks();
    const int first = Written(pulse.Ticks.front(), lines);
    const int shift = Modulo(first, bar) - first;
    int bars = 0;
    for (std::size_t n = 1; n < sections.size(); ++n) {
        const Section& before = sections[n - 1];
        const int begin = n == 1 ? -lines.Phase - shift : before.Begin;
        bars += (sections[n].Begin - begin) / before.Lines.Meter.BarTicks();
        rhythm.Meters.push_back({bars, sections[n].Lines.Meter});
    }
    const std::vector<int> ticks = RemoveHolds(pulse.Ticks, holds);
    for (const std::size_t cluster : clusterOf) {
        rhythm.Onsets.push_back(Written(ticks[cluster], lines) + shift);
        rhythm.TickSeconds.push_back(pulse.PulseSeconds[cluster] / TicksPerPulse / scale);
    }
    WriteTempos(rhythm, pulse, onsets, clusterOf, scale);
    if (hints.QuartersPerMinute > 0)
        rhythm.Tempos.front().QuartersPerMinute = hints.QuartersPerMinute;
    return rhythm;
}

} // namespace score
