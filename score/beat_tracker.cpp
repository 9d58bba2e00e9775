// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/beat_tracker.h"

#include "score/pulse_search.h"
#include "score/tempo_changes.h"

#include <algorithm>
#include <cmath>

namespace score {

namespace {

constexpr double Stretches[] = {0.03, 0.06, 0.1};
constexpr double SwingOffBeats[] = {0.59, 0.64};
constexpr double SwingCost = 4;            // of swing in a piece
constexpr double SlowestSwing = 85;        // pulses per minute
constexpr std::size_t MannerOnsets = 1000; // from which stretch and swing are found
constexpr int Rounds = 2;

// In swing, a pulse in three parts without the second one is a pulse of two eighths.
void Straighten(PulseTrack& track) {
    for (std::size_t i = 0; i < track.Ticks.size(); ++i) {
        const int tick = track.Ticks[i] % TicksPerPulse;
        const int begin = track.Ticks[i] - tick;
        if (!track.InThree[i] || tick != TicksPerPulse * 2 / 3) continue;
        if (i == 0 || track.Ticks[i - 1] <= begin) track.Ticks[i] = begin + TicksPerPulse / 2;
    }
}

PulseTrack TrackOnce(std::span<const double> onsets, const PulseOptions& options) {
    PulseManner manner = UsualManner(options);
    PulseTrack best;
    best.Cost = INFINITY;
    // The manner of a long piece is that of its beginning.
    std::span<const double> considered = onsets.first(std::min(onsets.size(), MannerOnsets));
    const auto attempt = [&](const PulseOptions& limits, double penalty) {
        PulseTrack track = SearchPulse(considered, limits, manner);
        track.Cost += penalty;
        track.Stretch = manner.LocalStretch;
        track.OffBeat = manner.OffBeat;
        if (track.Cost < best.Cost) best = std::move(track);
    };
    for (const double stretch : Stretches) {
        manner.LocalStretch = stretch;
        attempt(options, 0);
    }
    manner.LocalStretch = best.Stretch;
    PulseOptions swung = options;
    swung.MinPulsesPerMinute = std::max(SlowestSwing, options.MinPulsesPerMinute);
    for (const double offBeat : SwingOffBeats) {
        manner.OffBeat = offBeat;
        if (options.Binary) attempt(swung, SwingCost);
    }
    manner.OffBeat = best.OffBeat;
    considered = onsets;
    for (int i = 0; i < Rounds; ++i) {
        Learn(manner, best);
        best.Cost = INFINITY;
        attempt(options, 0);
    }
    if (manner.OffBeat != 0.5) Straighten(best);
    best.TempoChanges = FindTempoChanges(best);
    return best;
}

// Whether most pulses have three parts, between two onsets.
bool MostlyInThree(const PulseTrack& track, std::size_t begin, std::size_t end) {
    const auto first = track.InThree.begin() + static_cast<std::ptrdiff_t>(begin);
    const auto last = track.InThree.begin() + static_cast<std::ptrdiff_t>(end);
    return std::count(first, last, true) * 2 > last - first;
}

// Whether pulses change from two parts to three, or back, with the tempo. Such a change is one of
// meter in equal eighths.
bool TempoChangesDivision(const PulseTrack& track) {
    std::size_t begin = 0;
    for (std::size_t n = 0; n < track.TempoChanges.size(); ++n) {
        const bool last = n + 1 == track.TempoChanges.size();
        const std::size_t at = track.TempoChanges[n];
        const std::size_t end = last ? track.Ticks.size() : track.TempoChanges[n + 1];
        if (MostlyInThree(track, begin, at) != MostlyInThree(track, at, end)) return true;
        begin = at;
    }
    return false;
}

} // namespace

PulseTrack TrackPulse(std::span<const double> onsets, const PulseOptions& options) {
    PulseTrack track = TrackOnce(onsets, options);
    if (!TempoChangesDivision(track)) return track;
    PulseOptions steady = options;
    steady.TempoJumps = false;
    track = TrackOnce(onsets, steady);
    if (TempoChangesDivision(track)) track.TempoChanges.clear();
    return track;
}

} // namespace score
