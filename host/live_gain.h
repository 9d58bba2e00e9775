// Brings sound whose peak is not known beforehand near the level that the recogniser hears best.
#pragma once

#include <algorithm>
#include <cmath>
#include <span>

namespace zorhost {

constexpr float GoodPeak = 100.0f / 128; // of full scale

// Follows the peak of the last seconds: up at once, down by half in three seconds. Real time: yes.
class LiveGain {
public:
    // Of one block of 512 samples at 22,050 Hz.
    float For(std::span<const float> samples) {
        float peak = 0;
        for (const float sample : samples) peak = std::max(peak, std::fabs(sample));
        Peak = std::max({peak, Peak * Fall, LeastPeak});
        return GoodPeak / Peak;
    }

private:
    static constexpr float Fall = 0.99466f; // a block: half in three seconds
    static constexpr float LeastPeak =
        GoodPeak / 16;      // so the noise of a room stays below the notes
    float Peak = LeastPeak; // what is louder lowers the gain at once
};

} // namespace zorhost
