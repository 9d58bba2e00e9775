// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Staves, and the voices of each staff: chords in a row, with written lengths.
#pragma once

#include "score/rhythm.h"

#include <vector>

namespace score {

struct Chord {
    int Onset;              // ticks from the beginning of the first bar
    int Length;             // ticks; ends at the next chord of the voice at the latest
    std::vector<int> Notes; // indices in the notes of the score, ascending in pitch
};

struct Voice {
    int Staff = 0;          // 0 is the upper one
    bool Secondary = false; // notes held while the staff's other voice moves; has no written rests
    std::vector<Chord> Chords;
};

// The staff of each note: 0, or 1 for the left hand. staves: 1, 2, or 0 to choose by the range.
// Where the hands part may move through the piece.
std::vector<int> FindStaves(Melody notes, const Rhythm& rhythm, int staves);

// At most two voices for each staff. A note reaches to the next one of its voice unless it is much
// shorter than this player's articulation makes notes.
// staves: the staff of each note. count: number of staves; one without notes has rests.
std::vector<Voice> FindVoices(Melody notes, const Rhythm& rhythm, const std::vector<int>& staves,
                              int count);

} // namespace score
