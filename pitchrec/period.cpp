// The pitch detector: cycles, their distances, the period that most of them agree on.
#include "pitchrec/cycle_scan.h"
#include "pitchrec/frame.h"
#include "pitchrec/period_vote.h"
#include "pitchrec/pitch_arithmetic.h"
#include "pitchrec/pitch_rec.h"

namespace Sonorel {

namespace {

// By PeakFactorSet: how near the frame's extremes a cycle's peaks must come, on the side of the
// larger extreme and on the other.
constexpr double MaxPeakThresholdFactor[] = {0.667, 0.9};
constexpr double MinPeakThresholdFactor[] = {0.5, 0.9};

constexpr double ReferenceCents = 6900.0; // of note 69
constexpr std::int32_t LeastVotes = 2;    // one lone measurement is never believed

PeakThresholds ThresholdsOf(const FrameState& frame, std::int32_t factorSet) {
    const double major = MaxPeakThresholdFactor[factorSet];
    const double minor = MinPeakThresholdFactor[factorSet];
    const bool positive = frame.Extreme > 0;
    return {static_cast<std::int32_t>(frame.MaxSample * (positive ? major : minor)),
            static_cast<std::int32_t>(frame.MinSample * (positive ? minor : major)), positive};
}

} // namespace

// Finding nothing leaves the frame without a note, which is enough to end a held one.
void PitchRecWaveIn::FindPeriod(const Frame& frame) {
    const PeakThresholds thresholds =
        ThresholdsOf(Now, PeakFactorSet.load(std::memory_order_relaxed));
    const CycleTable cycles = ScanCycles(frame.Window, frame.Count, frame.FirstNew(), thresholds);
    const PeriodCluster best = VotePeriod(cycles);
    if (best.Votes < LeastVotes) return;

    Now.Frequency = static_cast<double>(SampleRate * best.Votes) / best.Total;
    const double reference = ReferencePitch.load(std::memory_order_relaxed);
    // A note owns the cents from 50 below it up to 49 above it.
    const std::int32_t cents =
        Truncated(FrequencyToCents(Now.Frequency, reference, ReferenceCents)) + 50;
    Now.DetectedNote = cents / 100;
    Now.CentsOffset = cents % 100 - 50;
    DecideNote();
    CheckRelease();
}

} // namespace Sonorel
