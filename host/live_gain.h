// Keeps soft stretches near the level that the recogniser hears best.
#pragma once

#include <algorithm>
#include <cmath>
#include <span>

namespace zorhost {

constexpr float GoodPeak = 100.0f / 128; // of full scale

// Follows the peak of the last seconds: up at once, down by half in three seconds. Real time: yes.
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

} // namespace zorhost
