// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "hearing/tuning.h"

#include "hearing/observation.h"
#include "hearing/pitch.h"

#include <cmath>
#include <numbers>

namespace hearing {

double TuningOf(std::span<const Frame> frames) {
    constexpr double turn = 2 * std::numbers::pi;
    double along = 0;
    double across = 0;
    // Each pitch is a unit vector whose angle is its position within a semitone.
    for (const Frame& frame : frames) {
        if (frame.Frequency <= 0) continue;
        const double pitch = PitchOf(frame.Frequency);
        if (pitch < LowestPitch || pitch > HighestPitch) continue;
        along += std::cos(turn * pitch);
        across += std::sin(turn * pitch);
    }
    return std::atan2(across, along) / turn;
}

} // namespace hearing
