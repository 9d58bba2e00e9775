// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "zorhearing/resampler.h"

#include "zorhearing/frame_analyser.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace zorhearing {

namespace {

constexpr std::size_t Lobes = 32; // of the sinc on each side, if it were not lowered
constexpr double CutOff = 0.875;  // of half the lower rate
constexpr int Positions = 512;    // between two input samples
constexpr std::size_t Lanes = 8;  // sums that a processor can form side by side

// The windowed sinc. at: -1 to 1 within A. H. Nuttall's window of four terms; lobes: on each side.
double Kernel(double at, double lobes) {
    if (std::fabs(at) >= 1) return 0;
    const double angle = std::numbers::pi * at;
    const double window = 0.3635819 + 0.4891775 * std::cos(angle) +
                          0.1365995 * std::cos(2 * angle) + 0.0106411 * std::cos(3 * angle);
    return window * (at == 0 ? 1 : std::sin(angle * lobes) / (angle * lobes));
}

// In a fixed order, so that the result is the same on every system.
float DotProduct(const float* a, const float* b, std::size_t count) {
    float sums[Lanes] = {};
    for (std::size_t i = 0; i < count; i += Lanes)
        for (std::size_t lane = 0; lane < Lanes; ++lane) sums[lane] += a[i + lane] * b[i + lane];
    for (std::size_t width = Lanes / 2; width > 0; width /= 2)
        for (std::size_t lane = 0; lane < width; ++lane) sums[lane] += sums[lane + width];
    return sums[0];
}

} // namespace

SincResampler::SincResampler(int rate) : Rate(rate) {
    const double period = std::max(1.0, rate / double{AnalysisRate}); // of the lower rate, in input
    const auto half = static_cast<std::size_t>(std::ceil(Lobes * period / 4)) * 4;
    const auto width = static_cast<double>(half);
    Taps = 2 * half;
    Filters.resize((Positions + 1) * Taps);
    for (int position = 0; position <= Positions; ++position) {
        float* filter = Filters.data() + static_cast<std::size_t>(position) * Taps;
        const double centre = width - 1 + position / double{Positions};
        double sum = 0;
        for (std::size_t tap = 0; tap < Taps; ++tap) {
            const double at = (static_cast<double>(tap) - centre) / width;
            sum += filter[tap] = static_cast<float>(Kernel(at, CutOff * width / period));
        }
        for (std::size_t tap = 0; tap < Taps; ++tap) filter[tap] /= static_cast<float>(sum);
    }
    Input.resize(Taps + MaxSamples + Taps);
    InputCount = half - 1; // silence, so that the first output is at the first sample
    Output.resize(MaxSamples * AnalysisRate / static_cast<std::size_t>(rate) + 2);
}

std::span<const float> SincResampler::Feed(std::span<const float> samples) {
    std::copy(samples.begin(), samples.end(),
              Input.begin() + static_cast<std::ptrdiff_t>(InputCount));
    InputCount += samples.size();
    std::size_t count = 0;
    for (; Position + Taps <= InputCount; ++count) {
        // A straight line between the results of two filters beside the output's position.
        const int place = Part * Positions;
        const float share = static_cast<float>(place % AnalysisRate) / float{AnalysisRate};
        const float* filter =
            Filters.data() + static_cast<std::size_t>(place / AnalysisRate) * Taps;
        const float* input = Input.data() + Position;
        const float before = DotProduct(input, filter, Taps);
        Output[count] = before + share * (DotProduct(input, filter + Taps, Taps) - before);
        Part += Rate;
        Position += static_cast<std::size_t>(Part / AnalysisRate);
        Part %= AnalysisRate;
    }
    const std::size_t used = std::min(Position, InputCount);
    std::copy(Input.begin() + static_cast<std::ptrdiff_t>(used),
              Input.begin() + static_cast<std::ptrdiff_t>(InputCount), Input.begin());
    InputCount -= used;
    Position -= used;
    return std::span(Output).first(count);
}

std::span<const float> SincResampler::Finish() {
    static constexpr float silence[MaxSamples] = {};
    return Feed(std::span(silence).first(Taps / 2));
}

} // namespace zorhearing
