// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Pitch as a MIDI note number with fractions: 69 is A4, a step of 1 is a semitone.
#pragma once

#include <algorithm>
#include <cmath>

namespace hearing {

constexpr double ConcertA = 440; // Hz, frequency of pitch 69

// frequency: Hz, above 0.
inline double PitchOf(double frequency) { return 69 + 12 * std::log2(frequency / ConcertA); }
inline double FrequencyOf(double pitch) { return ConcertA * std::exp2((pitch - 69) / 12); }

// The nearest key, 0 to 127. tuning: how much sharper than 440 Hz A4 is, in semitones.
inline int KeyOf(double pitch, double tuning) {
    return std::clamp(static_cast<int>(std::lround(pitch - tuning)), 0, 127);
}

} // namespace hearing
