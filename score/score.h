// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Turns notes into notation. The entry point of this folder.
#pragma once

#include "score/bars.h"
#include "score/key.h"
#include "score/melody.h"
#include "score/rhythm.h"

#include <optional>
#include <string>
#include <vector>

namespace score {

struct Clef {
    char Sign;  // G or F
    int Line;   // of the staff, 1 is the lowest
    int Octave; // 1: sounds an octave higher than written, -1: lower
};

struct ScoreOptions {
    RhythmHints Hints;
    std::optional<score::Key> Key; // to be found if there is none
    int Staves = 1;                // 1, 2, or 0 to choose by the range of the notes
    bool MarkUnsure = true;        // colour notes of low confidence
};

struct Score {
    score::Rhythm Rhythm;
    std::vector<KeyChange> Keys;    // the first one of bar 0
    std::vector<score::Clef> Clefs; // one for each staff
    std::vector<Spelling> Pitches;  // one for each note
    std::vector<bool> Unsure;       // of the recogniser, one for each note
    std::vector<Voice> Voices;
    std::vector<Bar> Bars;

    std::string TimeSignature() const; // "3/4"
    // "3/4, A minor, 108 quarter notes per minute, 13 bars"
    std::string Description() const;
    // Bars with notes whose confidence is low, as numbers in the written score, ascending.
    std::vector<int> UnsureBars() const;
};

// Notes in ascending order of Onset; at least one. A pause longer than 8 seconds is written as 8
// seconds, a note longer than a minute as a minute. Time and memory are proportional to the number
// of notes and bars.
Score MakeScore(Melody notes, const ScoreOptions& options = {});

// The same with an approximate tempo as the only option, 0 if it is unknown.
Score MakeScore(Melody notes, double quartersPerMinute);

// The score of notes whose rhythm is known, for instance from a recording to a click.
Score MakeScore(Melody notes, const Rhythm& rhythm, const ScoreOptions& options = {});

// The score as a MusicXML 3.1 document in UTF-8. title: UTF-8.
std::string MusicXml(const Score& score, const std::string& title);

} // namespace score
