// From samples to the recogniser's frames: filtered, raised to a good level, measured, without a
// device.
#pragma once

#include "hearing/frame.h"
#include "pitchrec/pitch_rec.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zorhost {

constexpr std::int32_t AnalysisRate = 22050; // Hz
constexpr std::size_t FrameSamples = 512;
static_assert(hearing::FrameSeconds == FrameSamples / double{AnalysisRate});
constexpr int FullLevel = 128;

// The recogniser, fed with samples, for what the library does not tell: the level and the exact
// pitch of each frame.
class FrameMaker {
public:
    // Throws HostError if memory is short.
    FrameMaker();

    // Samples from -1 to 1, times gain. Real time: yes.
    hearing::Frame Take(std::span<const float, FrameSamples> samples, float gain);

    // So many frames of time went by without sound. Real time: yes.
    void Pass(std::int64_t frames) { Frames += frames; }

    // Levels from which a pitch is searched for at first, and further on.
    std::int32_t OnLevel() const { return Recogniser.NoteOnThreshold; }
    std::int32_t OffLevel() const { return Recogniser.NoteOffThreshold; }

private:
    Sonorel::PitchRecWaveIn Recogniser;
    // Both channels of the usual capture, which the recogniser takes fastest.
    std::array<std::uint8_t, 2 * FrameSamples> Bytes{};
    std::int64_t Frames = 0;
};

constexpr float GoodPeak = 100.0f / 128; // of full scale

// Keeps soft stretches near the level that the recogniser hears best: follows the peak of the last
// seconds: up at once, down by half in three seconds. Real time: yes.
class LiveGain {
public:
    // least: the peak down to which it follows, so that noise stays below the notes. It begins
    // there, since what is louder lowers the gain at once.
    explicit LiveGain(float least) : Least(least), Peak(least) {}

    // Of one block of 512 samples at 22,050 Hz.
    float For(std::span<const float> samples) {
        float peak = 0;
        for (const float sample : samples) peak = std::max(peak, std::fabs(sample));
        Peak = std::max({peak, Peak * Fall, Least});
        return GoodPeak / Peak;
    }

private:
    static constexpr float Fall = 0.99466f; // a block: half in three seconds
    float Least;
    float Peak;
};

// Without knowing what is to come: 24 dB below a good peak.
constexpr float LeastLivePeak = GoodPeak / 16;

// What the scan for cycles is spared: rumble below the lowest notes, and harmonics that rise over
// the fundamental. A second-order high-pass at 40 Hz and a first-order low-pass at 1.5 kHz, for
// 22,050 Hz. Real time: yes.
class ToneFilter {
public:
    ToneFilter();
    void Apply(std::span<float, FrameSamples> samples);

private:
    static constexpr std::size_t Order = 3;

    // The two as one: what goes in by Ahead, what came out by Back, newest first.
    std::array<double, Order> Ahead;
    std::array<double, Order> Back;
    // Oldest first: the end of the block before, then the block. In double: so near to a pole
    // rounding adds up.
    std::array<double, Order + FrameSamples> In{};
    std::array<double, Order + FrameSamples> Out{};
};

} // namespace zorhost
