// What a take is tuned to.
#pragma once

#include "hearing/frame.h"

#include <span>

namespace hearing {

// How much sharper than 440 Hz the take's A4 is, in semitones, above -0.5 and up to 0.5: the mean
// direction of all measured pitches around the circle of a semitone, as in circular statistics
// (K. V. Mardia, P. E. Jupp, "Directional Statistics", 2000). 0 without any.
double TuningOf(std::span<const Frame> frames);

} // namespace hearing
