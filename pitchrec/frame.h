// One block's place in the window of samples.
#pragma once

#include "pitchrec/pitch_rec.h"

#include <cstdint>

namespace Sonorel {

// Of the new samples; 0 or more, and 0 or less.
struct Extremes {
    std::int16_t Most = 0;
    std::int16_t Least = 0;
};

// The window is one plain run of samples, oldest first, that ends with this block's.
struct PitchRecWaveIn::Frame {
    std::uint32_t Time;         // milliseconds, of the window's end
    const std::int16_t* Window; // Count samples
    std::int32_t Count;
    std::int32_t New; // how many at the end came with this block
    Extremes Peaks;

    std::int32_t FirstNew() const { return Count - New; }

    // Time stamp of the sample at a window index. Truncated toward zero, so toward the end.
    std::int32_t TimeOf(std::int32_t index, std::int32_t rate) const {
        const std::int32_t before = (index - Count) * 1000 / rate;
        return static_cast<std::int32_t>(Time + static_cast<std::uint32_t>(before));
    }
};

} // namespace Sonorel
