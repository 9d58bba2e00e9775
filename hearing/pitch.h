// Pitch as a MIDI number with fractions: 69 is A4, 1 is a semitone.
#pragma once

#include <cmath>

namespace hearing {

constexpr double ConcertA = 440; // Hz of 69.0

// frequency above 0, in Hz.
inline double PitchOf(double frequency) { return 69 + 12 * std::log2(frequency / ConcertA); }
inline double FrequencyOf(double pitch) { return ConcertA * std::exp2((pitch - 69) / 12); }

} // namespace hearing
