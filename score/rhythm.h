// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Estimates tempo and meter of a melody, and the position of each note in its bars.
#pragma once

#include "score/melody.h"
#include "score/meter.h"

#include <vector>

namespace score {

struct Rhythm {
    const score::Meter* Meter = nullptr; // one of Meters()
    double QuartersPerMinute = 0;        // of the whole melody; the given value if there is one
    std::vector<int> Onsets;             // grid units from the beginning of the first note's bar
    std::vector<double> UnitSeconds; // duration of a grid unit at each note: the tempo may drift
};

// The most likely rhythm of a melody with at least one note. quartersPerMinute: the approximate
// tempo; 0 to estimate it. Time and memory are proportional to the number of notes.
Rhythm FindRhythm(Melody melody, double quartersPerMinute = 0);

} // namespace score
