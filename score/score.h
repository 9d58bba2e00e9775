// A melody as a score: the one door to this folder.
#pragma once

#include "score/bars.h"
#include "score/key.h"
#include "score/melody.h"
#include "score/rhythm.h"

#include <string>
#include <vector>

namespace score {

struct Clef {
    char Sign; // G or F
    int Line;
    int Octave; // 1: sounds an octave higher than it reads
};

struct Score {
    Rhythm Of;
    Key In;
    Clef At;
    std::vector<Spelling> Pitches; // one for each note
    std::vector<Bar> Bars;

    std::string Meter() const; // "3/4"
    // "3/4, A minor, 108 quarter notes a minute, 13 bars"
    std::string Description() const;
};

// quartersPerMinute: about which the tempo lies; 0 if nobody knows. The melody has a note at least.
// Pauses are written as 8 seconds at most.
Score MakeScore(Melody melody, double quartersPerMinute = 0);

// As MusicXML 3.1.
std::string MusicXml(const Score& score, const std::string& title);

} // namespace score
