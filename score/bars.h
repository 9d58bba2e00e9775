// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Notes and rests in bars: split at bar lines, and where the beat must stay visible.
#pragma once

#include "score/voices.h"

#include <vector>

namespace score {

// A value that one sign shows.
struct NoteValue {
    int Type = TicksPerQuarter; // ticks without dot and tuplet: ShortestTicks to WholeTicks
    bool Dotted = false;
    int Actual = 1, Normal = 1; // 3 and 2 in a triplet: three notes in the time of two
};

// A note, chord or rest that one sign shows. A longer note is several symbols connected by ties.
struct Symbol {
    std::vector<int>
        Notes;    // indices in the notes of the score, ascending in pitch; none for a rest
    int Position; // ticks from the beginning of the bar
    int Length;   // ticks
    NoteValue Value;
    bool TieStop = false;  // tied to the symbol before
    bool TieStart = false; // tied to the next symbol
    bool TupletBegin = false;
    bool TupletEnd = false;
};

struct Bar {
    TimeSignature Meter;
    int Offset = 0; // ticks before the first symbol: above 0 only in a pickup bar
    // For each voice of the score the symbols from Offset to the end of the bar; a secondary voice
    // may have gaps, or none.
    std::vector<std::vector<Symbol>> Voices;
};

std::vector<Bar> MakeBars(const Rhythm& rhythm, const std::vector<Voice>& voices);

} // namespace score
