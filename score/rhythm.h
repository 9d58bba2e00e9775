// Tempo and meter of a melody, and where in its bars each note begins.
#pragma once

#include "score/melody.h"
#include "score/meter.h"

#include <vector>

namespace score {

struct Rhythm {
    const Meter* In = nullptr;
    double QuartersPerMinute = 0;  // over the whole
    std::vector<int> Onsets;       // sixteenths from the beginning of the first note's bar
    std::vector<double> Sixteenth; // seconds, as each note begins: the tempo may drift
};

// quartersPerMinute: about which the tempo lies; 0 if nobody knows. The melody has a note at least.
Rhythm FindRhythm(Melody melody, double quartersPerMinute = 0);

} // namespace score
