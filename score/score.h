// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Turns a melody into notation. The entry point of this folder.
#pragma once

#include "score/bars.h"
#include "score/key.h"
#include "score/melody.h"
#include "score/rhythm.h"

#include <string>
#include <vector>

namespace score {

struct Clef {
    char Sign;  // G or F
    int Line;   // of the staff, 1 is the lowest
    int Octave; // 1: sounds an octave higher than written, -1: lower
};

struct Score {
    score::Rhythm Rhythm;
    score::Key Key;
    score::Clef Clef;
    std::vector<Spelling> Pitches; // one for each note of the melody
    std::vector<Bar> Bars;

    std::string TimeSignature() const; // "3/4"
    // "3/4, A minor, 108 quarter notes per minute, 13 bars"
    std::string Description() const;
};

// melody: at least one note. quartersPerMinute: the approximate tempo; 0 to estimate it. A pause
// longer than 8 seconds is written as 8 seconds.
Score MakeScore(Melody melody, double quartersPerMinute = 0);

// The score as a MusicXML 3.1 document in UTF-8. title: UTF-8.
std::string MusicXml(const Score& score, const std::string& title);

} // namespace score
