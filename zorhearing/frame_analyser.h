// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Turns samples into the recogniser's frames without a device: filter, gain control and analysis.
#pragma once

#include "hearing/frame.h"
#include "pitchrec/pitch_rec.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zorhearing {

constexpr std::int32_t AnalysisRate = 22050; // Hz
constexpr std::size_t FrameSamples = 512;
static_assert(hearing::FrameSeconds == FrameSamples / double{AnalysisRate});
// Samples of one frame.
using Block = std::array<float, FrameSamples>;
constexpr int FullLevel = 128; // level of a full-scale sample

// Runs the recogniser on blocks of samples and returns the level and the exact pitch of each frame,
// which the library does not report.
class FrameAnalyser {
public:
    // Throws std::bad_alloc.
    FrameAnalyser();

    // Analyses the next block. samples: -1 to 1, multiplied by gain. Real-time safe: yes.
    hearing::Frame Analyse(std::span<const float, FrameSamples> samples, float gain);

    // Advances the time by a number of frames without sound. Real-time safe: yes.
    void Skip(std::int64_t frames) { FrameCount += frames; }

    // Level from which the search for a pitch starts, and level down to which it continues; 0 to
    // 128.
    std::int32_t OnLevel() const { return Recogniser.NoteOnThreshold; }
    std::int32_t OffLevel() const { return Recogniser.NoteOffThreshold; }

private:
    Sonorel::PitchRecWaveIn Recogniser;
    // 8-bit samples on two equal channels, the format that the recogniser processes fastest.
    std::array<std::uint8_t, 2 * FrameSamples> Bytes{};
    std::int64_t FrameCount = 0;
};

// The greatest absolute sample. Several maxima side by side let the compiler vectorise the loop.
inline float PeakOf(std::span<const float> samples) {
    std::array<float, 16> peaks{};
    const std::size_t whole = samples.size() - samples.size() % peaks.size();
    for (std::size_t i = 0; i < whole; i += peaks.size())
        for (std::size_t lane = 0; lane < peaks.size(); ++lane)
            peaks[lane] = std::max(peaks[lane], std::fabs(samples[i + lane]));
    for (const float sample : samples.subspan(whole))
        peaks[0] = std::max(peaks[0], std::fabs(sample));
    return *std::max_element(peaks.begin(), peaks.end());
}

constexpr float GoodPeak = 100.0f / 128; // of full scale

// Automatic gain control that keeps soft passages near the level at which the recogniser works
// best. It follows the peak of the last seconds: upwards at once, downwards by half in three
// seconds. Real-time safe: yes.
class LiveGain {
public:
    // least: the lowest peak to follow, so that noise stays softer than notes. It is also the
    // initial value: the gain starts high, and a louder sound lowers it at once.
    explicit LiveGain(float least) : Least(least), Peak(least) {}

    // Returns the gain for the next block of 512 samples at 22,050 Hz.
    float Update(std::span<const float> samples) {
        Peak = std::max({PeakOf(samples), Peak * Decay, Least});
        return GoodPeak / Peak;
    }

private:
    static constexpr float Decay = 0.99466f; // per block: half in three seconds
    float Least;
    float Peak;
};

// The lowest peak for live use, where later sound is unknown: 24 dB below GoodPeak.
constexpr float LeastLivePeak = GoodPeak / 16;

// Removes what disturbs the recogniser's search for cycles: rumble below the lowest notes, and
// harmonics stronger than the fundamental. A second-order high-pass at 40 Hz and a first-order
// low-pass at 1.5 kHz, for 22,050 Hz. Real-time safe: yes.
class ToneFilter {
public:
    ToneFilter();
    // Filters the next block in place.
    void Apply(std::span<float, FrameSamples> samples);

private:
    static constexpr std::size_t Order = 3;

    // Coefficients of both filters combined, for the newest sample first.
    std::array<double, Order> FeedForward;
    std::array<double, Order> FeedBack;
    // The end of the previous block, then the current block, oldest sample first. In double
    // precision, since rounding errors accumulate so near to a pole.
    std::array<double, Order + FrameSamples> Input{};
    std::array<double, Order + FrameSamples> Output{};
};

} // namespace zorhearing
