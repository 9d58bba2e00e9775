// Pitch in cents. Everything in double precision; a cent is 1/1200 of an octave.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace Sonorel {

constexpr double LogOf2 = 0.6931471805599453; // ln 2.0
constexpr double OctavesPerLog = 1.0 / LogOf2;
constexpr double CentsPerLog = 1200.0 / LogOf2;

// With reference 440.0 and offset 6900.0: cents above MIDI note 0.
inline double FrequencyToCents(double frequency, double reference, double offset) {
    return std::log(frequency / reference) * CentsPerLog + offset;
}

// Toward zero. What does not fit (an absurd reference pitch) becomes the lowest number instead of
// undefined behaviour.
inline std::int32_t Truncated(double value) {
    constexpr double limit = 2147483648.0;
    if (value > -limit - 1.0 && value < limit) return static_cast<std::int32_t>(value);
    return std::numeric_limits<std::int32_t>::min();
}

} // namespace Sonorel
