// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "zorhearing/resampler.h"

#include "zorhearing/frame_analyser.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <iterator>

namespace {

using namespace zorhearing;

std::vector<float> Resample(std::unique_ptr<Resampler> resampler, std::span<const float> sound) {
    std::vector<float> result;
    for (std::size_t i = 0; i < sound.size(); i += 1000)
        std::ranges::copy(resampler->Feed(sound.subspan(i, 1000)), std::back_inserter(result));
    std::ranges::copy(resampler->Finish(), std::back_inserter(result));
    return result;
}

// Tones up to 0.7 of the lower Nyquist frequency pass as through soxr; those above it are gone.
TEST(SincResampler, IsAsGoodAsSoxr) {
    for (const int rate : {8000, 16000, 32000, 44100, 44101, 48000, 96000, 192000})
        for (const double share : {0.005, 0.1, 0.3, 0.5, 0.7, 1.2, 1.9}) {
            const double frequency = share * std::min(rate, AnalysisRate) / 2;
            if (frequency > rate / 2.0) continue;
            std::vector<float> tone(96000); // begins and ends slowly
            for (std::size_t i = 0; i < tone.size(); ++i)
                tone[i] = static_cast<float>(std::sin(2 * M_PI * frequency * i / rate) *
                                             std::min({1.0, i / 24000.0, 4 - i / 24000.0}));
            const auto own = Resample(std::make_unique<SincResampler>(rate), tone);
            auto expected = Resample(MakeResampler(rate), tone);
            EXPECT_NEAR(own.size(), expected.size(), 1);
            expected.resize(own.size());
            float difference = 0;
            for (std::size_t i = 0; i < own.size(); ++i)
                difference =
                    std::max(difference, std::fabs(own[i] - (share < 1 ? expected[i] : 0)));
            EXPECT_LT(difference, 1e-4) << rate << " Hz, tone of " << frequency;
        }
}

} // namespace
