// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The window of samples under analysis, and the latest block's place in it.
#pragma once

#include "pitchrec/pitch_rec.h"

#include <cstdint>

namespace Sonorel {

// The extremes of the latest block's samples.
struct Extremes {
    std::int16_t Highest = 0; // 0 or more
    std::int16_t Lowest = 0;  // 0 or less
};

// The window is contiguous, oldest sample first, and ends with the latest block.
struct PitchRecWaveIn::Frame {
    std::uint32_t Time;         // of the window's end, milliseconds on the timeGetTime clock
    const std::int16_t* Window; // Count samples
    std::int32_t Count;
    std::int32_t NewCount; // samples of the latest block, at the end of the window
    Extremes Peaks;

    // Window index of the first sample of the latest block.
    std::int32_t FirstNew() const { return Count - NewCount; }

    // Time stamp of the sample at a window index. Rounded toward the window's end.
    std::int32_t TimeOf(std::int32_t index, std::int32_t rate) const {
        const std::int32_t before = (index - Count) * 1000 / rate;
        return static_cast<std::int32_t>(Time + static_cast<std::uint32_t>(before));
    }
};

} // namespace Sonorel
