// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "hearing/dip_finder.h"

#include "hearing/pitch.h"

#include <algorithm>
#include <cmath>

namespace hearing {

namespace {

constexpr float LeastLevel = 4; // lower ones are noise
constexpr double StepSeconds = FrameSeconds / StepsPerFrame;
constexpr double SamePitch = 0.5; // semitones

// Beats and noise make dips all the time. The usual depth is the seventh greatest of the last 16
// frames, since in quick succession notes that are struck again have one in up to six of them. The
// depth of a dip is counted from this many times it.
constexpr std::ptrdiff_t UsualRank = 9;
constexpr double UsualShare = 3.25;

// A note can die away for 100 ms before it is struck again. Then the depth is the mean of that fall
// and the rise, less what the swings of a vibrato reach.
constexpr double LeastRise = 3;    // decibels
constexpr double VibratoSwing = 4; // decibels

} // namespace

Dip DipFinder::Find(const Frame& frame) {
    Keep(frame);
    if (Measured < StepCount) return {};
    Dip dip = Deepest();
    const double usual = UsualDepth();
    Depths[FrameCount++ % Depths.size()] = dip.Depth;
    dip.Depth = std::max(0.0, dip.Depth - UsualShare * usual);
    return KeepsPitch() ? dip : Dip{};
}

void DipFinder::Keep(const Frame& frame) {
    FrameEnd = frame.Begin + FrameSeconds;
    std::copy_backward(Pitches.begin(), Pitches.end() - 1, Pitches.end());
    Pitches[0] = frame.Frequency > 0 ? PitchOf(frame.Frequency) : 0;
    std::copy(Steps.begin() + StepsPerFrame, Steps.end(), Steps.begin());
    std::transform(
        frame.Steps.begin(), frame.Steps.end(), Steps.end() - StepsPerFrame,
        [&](float level) { return 20 * std::log10(std::max(level, LeastLevel) / frame.Gain); });
    Measured = frame.Steps[0] < 0 ? 0 : std::min(Measured + StepsPerFrame, StepCount);
}

// A dip soon after a change of pitch belongs to the attack.
bool DipFinder::KeepsPitch() const {
    const auto isSame = [&](double pitch) { return std::fabs(pitch - Pitches[0]) < SamePitch; };
    return Pitches[0] > 0 && std::all_of(Pitches.begin() + PitchesBefore, Pitches.end(), isSame);
}

// Steps that a period of the lowest of the last pitches touches.
std::size_t DipFinder::PeriodSteps() const {
    double lowest = PitchOf(1 / StepSeconds);
    for (const double pitch : Pitches)
        if (pitch > 0) lowest = std::min(lowest, pitch);
    const auto steps = static_cast<std::size_t>(std::ceil(1 / (FrequencyOf(lowest) * StepSeconds)));
    return std::min(steps, LongestPeriod);
}

Dip DipFinder::Deepest() const {
    // The level of a sound is that of whole periods.
    const std::size_t period = PeriodSteps();
    const std::size_t count = StepCount - period + 1;
    std::array<double, StepCount> levels{};
    const auto greatest = [](const auto& values, std::size_t begin, std::size_t end) {
        return *std::max_element(values.begin() + begin, values.begin() + end);
    };
    for (std::size_t i = 0; i < count; ++i) levels[i] = greatest(Steps, i, i + period);
    Dip deepest;
    for (std::size_t i = count - Later - StepsPerFrame; i < count - Later; ++i) {
        const double fall = greatest(levels, i - Reach, i) - levels[i];
        const double decay = greatest(levels, i - DecayReach, i) - levels[i];
        const double rise = greatest(levels, i + 1, i + 1 + Reach) - levels[i];
        double depth = std::min(fall, rise);
        if (rise >= LeastRise) depth = std::max(depth, (decay + rise) / 2 - VibratoSwing);
        if (depth <= deepest.Depth) continue;
        deepest = {depth, FrameEnd - static_cast<double>(count - 1 - i) * StepSeconds};
    }
    return deepest;
}

double DipFinder::UsualDepth() const {
    auto depths = Depths;
    std::nth_element(depths.begin(), depths.begin() + UsualRank, depths.end());
    return depths[UsualRank];
}

} // namespace hearing
