// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The key of a melody, and the spelling of its notes in that key.
#pragma once

#include "score/melody.h"

#include <optional>
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

// A key that "C", "a minor", "F sharp major", "Bb" or "eb minor" names; none if the text names
// none. Small letters do not mean minor.
std::optional<Key> ParseKey(const std::string& text);

struct KeyChange {
    int Bar; // counted from 0, the bar of the first note
    score::Key Key;
};

// The most likely keys of at least one note, from six flats to five sharps; the first one is that
// of bar 0. bars: the bar of each note, ascending.
std::vector<KeyChange> FindKeys(Melody notes, const std::vector<int>& bars);

// A pitch as it is written.
struct Spelling {
    char Letter;    // C to B
    int Alteration; // semitones: -1 is flat, 1 is sharp
    int Octave;     // C4 is middle C
};

// The spelling of a MIDI note. step: semitones to the next note of its voice, 0 if there is none: a
// chromatic note is spelled towards a note that is a semitone away. Double accidentals are avoided.
Spelling Spell(int note, int step, const Key& key);

} // namespace score
