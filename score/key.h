// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The key of a melody, and the spelling of its notes in that key.
#pragma once

#include "score/melody.h"

#include <string>
#include <vector>

namespace score {

// A major or minor key. The tonic is a position on the line of fifths: F is -1, C 0, G 1, F sharp
// 6, B flat -2.
struct Key {
    int Tonic = 0;
    bool Minor = false;
    // Number of sharps in the key signature; flats are negative.
    int Signature() const { return Tonic - (Minor ? 3 : 0); }
    std::string Name() const; // "A minor"
};

// The most likely key of a melody with at least one note, from six flats to five sharps.
Key FindKey(Melody melody);

// A pitch as it is written.
struct Spelling {
    char Letter;    // C to B
    int Alteration; // semitones: -1 is flat, 1 is sharp
    int Octave;     // C4 is middle C
};

// One spelling for each note. A chromatic note is spelled towards the next note where that is a
// semitone away. Double accidentals are avoided.
std::vector<Spelling> Spell(Melody melody, const Key& key);

} // namespace score
