// Notes and rests as they stand in bars: cut at bar lines and where the beat must be seen.
#pragma once

#include "score/rhythm.h"

#include <vector>

namespace score {

// A note or rest of a value that can be written: from a sixteenth to a whole note, dotted once.
struct Symbol {
    int Note;  // in the melody; below 0 for a rest
    int Place; // sixteenths from the bar's beginning
    int Length;
    bool TiedBack = false;
    bool TiedOn = false;
};

struct Bar {
    int Place = 0; // where it begins: not at 0 for a pickup
    std::vector<Symbol> Symbols;
};

// How long each note is written, in sixteenths: to the next one, unless it is much shorter than the
// player's way of parting notes makes it.
std::vector<int> Lengths(Melody melody, const Rhythm& rhythm);

// Whole bars but for a pickup.
std::vector<Bar> MakeBars(const Rhythm& rhythm, const std::vector<int>& lengths);

} // namespace score
