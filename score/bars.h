// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Notes and rests in bars: split at bar lines, and where the beat must stay visible.
#pragma once

#include "score/rhythm.h"

#include <vector>

namespace score {

// A note or rest of a length that one sign can show: a sixteenth to a whole note, dotted at most
// once. A longer note is several symbols connected by ties.
struct Symbol {
    int Note;              // index in the melody; below 0 for a rest
    int Position;          // grid units from the beginning of the bar
    int Length;            // grid units
    bool TieStop = false;  // tied to the symbol before
    bool TieStart = false; // tied to the next symbol
};

struct Bar {
    int Offset = 0; // grid units before the first symbol: above 0 only in a pickup bar
    std::vector<Symbol> Symbols;
};

// The written length of each note in grid units. A note reaches to the next one unless it is much
// shorter than this player's articulation makes notes.
std::vector<int> FindLengths(Melody melody, const Rhythm& rhythm);

// Bars filled with symbols from their Offset to their end. lengths: one for each note of the
// rhythm.
std::vector<Bar> MakeBars(const Rhythm& rhythm, const std::vector<int>& lengths);

} // namespace score
