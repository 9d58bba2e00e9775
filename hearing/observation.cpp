// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "hearing/observation.h"

#include "hearing/pitch.h"

#include <algorithm>
#include <cmath>

namespace hearing {

namespace {

// Errors of a pitch detector: octaves and twelfths, in semitones.
constexpr int HarmonicErrors[] = {-24, -19, -12, 12, 19, 24};

// Lower levels are noise, whose rises have no meaning.
constexpr int LeastLevel = 4;

// A re-onset needs sound in the five frames before the last three. Without it, the rise is a slow
// attack that still goes on.
constexpr unsigned SoundingBefore = 0b11111000;

double Decibels(int level) { return 20 * std::log10(std::max(level, LeastLevel)); }

} // namespace

Observer::Observer(const Costs& costs, double tuning)
    : Cost(costs), BinsPerSemitone(costs.BinsPerSemitone), Lowest(LowestPitch + tuning) {
    Result.Note.resize(
        static_cast<std::size_t>((HighestPitch - LowestPitch + 1) * BinsPerSemitone));
    PreviousDecibels[0] = PreviousDecibels[1] = Decibels(0);
}

const Observation& Observer::Observe(const Frame& frame) {
    const double pitch = frame.Frequency > 0 ? PitchOf(frame.Frequency) : 0;
    const bool voiced = pitch > LowestPitch - 1 && pitch < HighestPitch + 1;
    const float unvoiced = frame.Level <= Cost.QuietLevel ? Cost.Quiet : Cost.Unvoiced;
    std::fill(Result.Note.begin(), Result.Note.end(), voiced ? Cost.MaxPitchError : unvoiced);
    Result.Silence = voiced ? Cost.VoicedSilence : 0;
    if (voiced) ApplyPitch(pitch);
    FindJump(voiced ? pitch : 0, frame.Level);
    MeasureRise(frame.Level);
    MeasureDip(frame);
    return Result;
}

void Observer::ApplyPitch(double pitch) {
    for (const int error : HarmonicErrors) {
        const auto bin = std::lround((pitch + error - Lowest) * BinsPerSemitone);
        if (bin < 0 || bin >= Bins()) continue;
        Result.Note[static_cast<std::size_t>(bin)] = std::min(Cost.Harmonic, Cost.MaxPitchError);
    }
    ApplyNearBins(pitch);
}

void Observer::ApplyNearBins(double pitch) {
    const double reach = Cost.MaxPitchError / Cost.PitchError; // semitones
    const auto first = static_cast<int>(std::ceil((pitch - reach - Lowest) * BinsPerSemitone));
    const auto last = static_cast<int>(std::floor((pitch + reach - Lowest) * BinsPerSemitone));
    for (int bin = std::max(first, 0); bin <= std::min(last, Bins() - 1); ++bin) {
        const auto off = static_cast<float>(std::fabs(PitchAt(bin) - pitch));
        Result.Note[static_cast<std::size_t>(bin)] =
            std::min(Cost.PitchError * off, Cost.MaxPitchError);
    }
}

// The rise is measured from the softer of the two frames before, since an attack often takes two.
void Observer::MeasureRise(int level) {
    const double now = Decibels(level);
    const double before = std::min(PreviousDecibels[0], PreviousDecibels[1]);
    const double rise = (now - before) / Cost.FullRise;
    Result.Rise = static_cast<float>(std::clamp(rise, 0.0, 1.0));
    Result.ReOnset = (SoundHistory & SoundingBefore) == SoundingBefore ? Result.Rise : 0;
    SoundHistory = SoundHistory << 1 | (level > Cost.QuietLevel ? 1u : 0u);
    PreviousDecibels[1] = PreviousDecibels[0];
    PreviousDecibels[0] = now;
}

void Observer::FindJump(double pitch, int level) {
    const auto bin = static_cast<int>(std::lround((pitch - Lowest) * BinsPerSemitone));
    Result.JumpBin = Jumps.Find(pitch, Decibels(level)) && bin >= 0 && bin < Bins() ? bin : -1;
}

void Observer::MeasureDip(const Frame& frame) {
    const Dip dip = Dips.Find(frame);
    const double share = (dip.Depth - Cost.LeastDip) / (Cost.FullDip - Cost.LeastDip);
    Result.ReOnset = std::max(Result.ReOnset, static_cast<float>(std::clamp(share, 0.0, 1.0)));
    Result.DipEnd = share > 0 ? dip.End : 0;
}

} // namespace hearing
