// What the recogniser's scan for cycles is spared: rumble below the lowest notes, and harmonics
// that rise over the fundamental.
#pragma once

#include <cmath>
#include <numbers>
#include <span>

namespace zorhost {

// A second-order high-pass at 40 Hz and a first-order low-pass at 1.5 kHz, for 22,050 Hz. Real
// time: yes.
class ToneFilter {
public:
    void Apply(std::span<float> samples) {
        for (float& sample : samples) sample = LowPass(HighPass(sample));
    }

private:
    // Butterworth by bilinear transform, as in R. Bristow-Johnson, "Cookbook formulae for audio
    // equalizer biquad filter coefficients"; transposed direct form II.
    float HighPass(float in) {
        const float out = B0 * in + State1;
        State1 = B1 * in - A1 * out + State2;
        State2 = B0 * in - A2 * out;
        return out;
    }
    float LowPass(float in) { return Low += Smoothing * (in - Low); }

    static constexpr double Rate = 22050;
    static constexpr double Turn = 2 * std::numbers::pi;

    const double Angle = Turn * 40 / Rate;
    const double Alpha = std::sin(Angle) / std::numbers::sqrt2;
    const float B0 = static_cast<float>((1 + std::cos(Angle)) / 2 / (1 + Alpha));
    const float B1 = -2 * B0;
    const float A1 = static_cast<float>(-2 * std::cos(Angle) / (1 + Alpha));
    const float A2 = static_cast<float>((1 - Alpha) / (1 + Alpha));
    const float Smoothing = static_cast<float>(1 - std::exp(-Turn * 1500 / Rate));
    float State1 = 0;
    float State2 = 0;
    float Low = 0;
};

} // namespace zorhost
