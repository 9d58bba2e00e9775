// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "zorhearing/resampler.h"

#include "tests/zorhearing/hear_all.h"
#include "zorhearing/frame_analyser.h"

#include <string>

namespace {

using namespace zorhearing;

std::vector<float> Resample(std::unique_ptr<Resampler> resampler, std::span<const float> sound) {
    std::vector<float> result;
    const auto append = [&](std::span<const float> samples) {
        result.insert(result.end(), samples.begin(), samples.end());
    };
    for (std::size_t i = 0; i < sound.size(); i += 1000)
        append(resampler->Feed(sound.subspan(i, std::min<std::size_t>(1000, sound.size() - i))));
    append(resampler->Finish());
    return result;
}

// Decibels of the greatest sample of the difference, or of the sound itself.
double Decibels(const std::vector<float>& sound, const std::vector<float>& other = {}) {
    double peak = 1e-9;
    for (std::size_t i = 0; i < sound.size(); ++i)
        peak = std::max(peak, std::fabs(double{sound[i]} - (other.empty() ? 0 : other[i])));
    return 20 * std::log10(peak);
}

// Tones up to 0.7 of the lower Nyquist frequency pass as through soxr; those above it are gone.
TEST(SincResampler, IsAsGoodAsSoxr) {
    for (const int rate : {8000, 16000, 32000, 44100, 44101, 48000, 96000, 192000}) {
        const double nyquist = std::min(rate, AnalysisRate) / 2.0;
        for (const double share : {0.005, 0.1, 0.3, 0.5, 0.7, 1.2, 1.9}) {
            const double frequency = share * nyquist;
            if (frequency > rate / 2.0) continue;
            SCOPED_TRACE(std::to_string(rate) + " Hz, tone of " + std::to_string(frequency));
            std::vector<float> tone;
            for (int i = 0; i < rate; ++i)
                tone.push_back(
                    static_cast<float>(std::sin(2 * std::numbers::pi * frequency * i / rate) *
                                       std::min({1.0, i * 4.0 / rate, 4 - i * 4.0 / rate})));
            const auto own = Resample(std::make_unique<SincResampler>(rate), tone);
            auto soxr = Resample(MakeResampler(rate), tone);
            EXPECT_NEAR(static_cast<double>(own.size()), static_cast<double>(soxr.size()), 1);
            soxr.resize(own.size());
            EXPECT_LT(share < 1 ? Decibels(own, soxr) : Decibels(own), -80);
        }
    }
}

} // namespace
