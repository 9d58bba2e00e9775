// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Pitch detection: scan for cycles, vote on the period, convert it to a note and cents.
#include "pitchrec/cycle_scan.h"
#include "pitchrec/frame.h"
#include "pitchrec/period_vote.h"
#include "pitchrec/pitch_arithmetic.h"
#include "pitchrec/pitch_rec.h"

namespace Sonorel {

namespace {

// The peaks of a cycle must reach these fractions of the frame's extremes, by PeakFactorSet: Max
// for the polarity of the larger extreme, Min for the other.
constexpr double MaxPeakThresholdFactor[] = {0.667, 0.9};
constexpr double MinPeakThresholdFactor[] = {0.5, 0.9};

constexpr double ReferenceCents = 6900.0; // note 69
constexpr std::int32_t LeastVotes = 2;    // a single measurement is not reliable

PeakThresholds MakeThresholds(const FrameState& frame, std::int32_t factorSet) {
    const double major = MaxPeakThresholdFactor[factorSet];
    const double minor = MinPeakThresholdFactor[factorSet];
    const bool positive = frame.Extreme > 0;
    return {static_cast<std::int32_t>(frame.MaxSample * (positive ? major : minor)),
            static_cast<std::int32_t>(frame.MinSample * (positive ? minor : major)), positive};
}

} // namespace

// If no period is found, the frame stays without a note, which ends a held note.
void PitchRecWaveIn::FindPeriod(const Frame& frame) {
    const PeakThresholds thresholds =
        MakeThresholds(Now, PeakFactorSet.load(std::memory_order_relaxed));
    const CycleTable cycles = ScanCycles(frame.Window, frame.Count, frame.FirstNew(), thresholds);
    const PeriodCluster best = VotePeriod(cycles);
    if (best.Votes < LeastVotes) return;

    Now.Frequency = static_cast<double>(SampleRate * best.Votes) / best.Total;
    const double reference = ReferencePitch.load(std::memory_order_relaxed);
    // A note covers -50 to +49 cents.
    const std::int32_t cents =
        Truncated(FrequencyToCents(Now.Frequency, reference, ReferenceCents)) + 50;
    Now.DetectedNote = cents / 100;
    Now.CentsOffset = cents % 100 - 50;
    DecideNote();
    CheckRelease();
}

} // namespace Sonorel
