// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "zorhearing/frame_analyser.h"

#include "soundin/sound_in.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <new>
#include <numbers>

namespace zorhearing {

namespace {

// A capture device for the recogniser that delivers nothing: blocks are passed to it directly.
class NoDevice : public Sonorel::SoundIn {
public:
    std::uint32_t GetSampleRate() override { return AnalysisRate; }
    bool Open(std::uint32_t) override { return true; }
    bool Close() override { return true; }
    bool Start() override { return true; }
    bool Stop() override { return true; }
};

// An 8-bit sample, rounded: 128 is the centre, and the conversion to integer truncates.
std::uint8_t Byte(float sample) {
    const float shifted = sample * FullLevel + 128.5f;
    const float positive = shifted > 0 ? shifted : 0;
    return static_cast<std::uint8_t>(static_cast<int>(positive < 255 ? positive : 255));
}

constexpr double Turn = 2 * std::numbers::pi;
constexpr double HighPassAngle = Turn * 40 / AnalysisRate;
constexpr double LowPassAngle = Turn * 1500 / AnalysisRate;

} // namespace

FrameAnalyser::FrameAnalyser() : Recogniser(new NoDevice) {
    if (!Recogniser.Open(AnalysisRate)) throw std::bad_alloc();
}

hearing::Frame FrameAnalyser::Analyse(std::span<const float, FrameSamples> samples, float gain) {
    for (std::size_t i = 0; i < FrameSamples; ++i) {
        Bytes[2 * i] = Bytes[2 * i + 1] = Byte(samples[i] * gain);
    }
    const double begin = static_cast<double>(FrameCount++) * hearing::FrameSeconds;
    const auto end = static_cast<std::uint32_t>(FrameCount * 1000 * FrameSamples / AnalysisRate);
    Sonorel::PitchRecWaveIn::ProcessChunk(end, Bytes.data(), 2 * FrameSamples, &Recogniser);
    // Its note ring is never read: when it is full, further notes are dropped.
    const Sonorel::FrameState& now = Recogniser.Now;
    const double loudBegin = std::max(begin, now.OnsetTime / 1000.0);
    hearing::Frame frame = {begin, loudBegin, now.Frequency, now.Amplitude, gain};
    constexpr std::size_t step = FrameSamples / hearing::StepsPerFrame;
    for (std::size_t i = 0; i < hearing::StepsPerFrame; ++i)
        frame.Steps[i] = PeakOf(samples.subspan(i * step, step)) * gain * FullLevel;
    return frame;
}

// The high-pass: Butterworth by bilinear transform, as in R. Bristow-Johnson, "Cookbook formulae
// for audio equalizer biquad filter coefficients". The low-pass: a first-order decay.
ToneFilter::ToneFilter() {
    const double cosine = std::cos(HighPassAngle);
    const double alpha = std::sin(HighPassAngle) / std::numbers::sqrt2;
    const double a1 = -2 * cosine / (1 + alpha);
    const double a2 = (1 - alpha) / (1 + alpha);
    const double fall = std::exp(-LowPassAngle);
    const double gain = (1 + cosine) / 2 / (1 + alpha) * (1 - fall);
    FeedForward = {gain, -2 * gain, gain};
    FeedBack = {fall - a1, a1 * fall - a2, a2 * fall};
}

// The feed-forward part depends on the input only, so its loop vectorises. In the feedback part
// each sample depends on the ones before.
void ToneFilter::Apply(std::span<float, FrameSamples> samples) {
    std::copy(Input.end() - Order, Input.end(), Input.begin());
    std::copy(Output.end() - Order, Output.end(), Output.begin());
    std::copy(samples.begin(), samples.end(), Input.begin() + Order);
    const auto [b0, b1, b2] = FeedForward;
    const auto [a1, a2, a3] = FeedBack;
    const double* in = Input.data() + Order;
    double* out = Output.data() + Order;
    for (std::ptrdiff_t i = 0; i < std::ssize(samples); ++i) {
        out[i] = b0 * in[i] + b1 * in[i - 1] + b2 * in[i - 2];
    }
    double last1 = out[-1], last2 = out[-2], last3 = out[-3];
    for (std::ptrdiff_t i = 0; i < std::ssize(samples); ++i) {
        const double now = out[i] + a3 * last3 + a2 * last2 + a1 * last1;
        last3 = last2;
        last2 = last1;
        out[i] = last1 = now;
    }
    std::transform(out, out + std::ssize(samples), samples.begin(),
                   [](double sample) { return static_cast<float>(sample); });
}

} // namespace zorhearing
