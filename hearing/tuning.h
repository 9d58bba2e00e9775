// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Estimates the tuning of a recording.
#pragma once

#include "hearing/frame.h"

#include <span>

namespace hearing {

// How much sharper than 440 Hz the recording's A4 is, in semitones, above -0.5 and up to 0.5; 0 if
// no frame has a pitch. It is the mean direction of all measured pitches around the circle of a
// semitone, as in circular statistics (K. V. Mardia, P. E. Jupp, "Directional Statistics", 2000).
double TuningOf(std::span<const Frame> frames);

} // namespace hearing
