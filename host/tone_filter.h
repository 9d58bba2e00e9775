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
    // equalizer biquad filter coefficients". Direct form: what waits for the sample before is one
    // product and one sum.
    float HighPass(double in) {
        const double ahead = B0 * (in - 2 * In1 + In2) - A2 * Out2;
        const double out = ahead - A1 * Out1;
        In2 = In1;
        In1 = in;
        Out2 = Out1;
        Out1 = out;
        return static_cast<float>(out);
    }
    float LowPass(float in) { return Low = Smoothing * in + Kept * Low; }

    static constexpr double Rate = 22050;
    static constexpr double Turn = 2 * std::numbers::pi;
    static constexpr double Angle = Turn * 40 / Rate;

    const double Alpha = std::sin(Angle) / std::numbers::sqrt2;
    const double B0 = (1 + std::cos(Angle)) / 2 / (1 + Alpha);
    const double A1 = -2 * std::cos(Angle) / (1 + Alpha);
    const double A2 = (1 - Alpha) / (1 + Alpha);
    const float Kept = static_cast<float>(std::exp(-Turn * 1500 / Rate));
    const float Smoothing = 1 - Kept;
    // In double: so near to a pole rounding adds up.
    double In1 = 0;
    double In2 = 0;
    double Out1 = 0;
    double Out2 = 0;
    float Low = 0;
};

} // namespace zorhost
