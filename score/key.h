// The key of a melody, and how its notes are spelled in it.
#pragma once

#include "score/melody.h"

#include <string>
#include <vector>

namespace score {

// On the line of fifths: F is -1, C 0, G 1, F sharp 6, B flat -2.
struct Key {
    int Tonic = 0;
    bool Minor = false;
    int Signature() const { return Tonic - (Minor ? 3 : 0); } // sharps; flats below 0
    std::string Name() const;                                 // "A minor"
};

Key FindKey(Melody melody);

struct Spelling {
    char Letter;    // C to B
    int Alteration; // semitones: -1 is flat
    int Octave;     // C4 is middle C
};

// One for each note: chromatic ones lead to the next where they lie beside it.
std::vector<Spelling> Spell(Melody melody, const Key& key);

} // namespace score
