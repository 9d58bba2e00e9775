// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Pitch in cents. All in double precision; a cent is 1/1200 of an octave.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace Sonorel {

constexpr double LogOf2 = 0.6931471805599453; // ln 2.0
constexpr double OctavesPerLog = 1.0 / LogOf2;
constexpr double CentsPerLog = 1200.0 / LogOf2;

// frequency and reference in Hz. With reference 440.0 and offset 6900.0 the result is cents above
// MIDI note 0.
inline double FrequencyToCents(double frequency, double reference, double offset) {
    return std::log(frequency / reference) * CentsPerLog + offset;
}

// Rounds toward zero. A value out of range, as an absurd reference pitch gives, becomes the lowest
// number.
inline std::int32_t Truncated(double value) {
    constexpr double limit = 2147483648.0;
    if (value > -limit - 1.0 && value < limit) return static_cast<std::int32_t>(value);
    return std::numeric_limits<std::int32_t>::min();
}

} // namespace Sonorel
