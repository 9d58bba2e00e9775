// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Notes with a beginning and an end, and the comparison of two melodies.
#pragma once

#include "engine/zormidi.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

struct Note {
    std::int64_t Start; // milliseconds
    std::int64_t End;   // milliseconds
    int Key;            // MIDI note number
    int Velocity;
    double Pitch = 0;      // exact MIDI note number with fractions; 0 if it was not measured
    double Confidence = 0; // 0 to 1; 0 if the pitch was not measured
};

// Pairs the note ons and note offs of one voice, by Start. A note without a note off ends at `end`,
// in milliseconds.
std::vector<Note> PairNotes(const std::vector<MIDIEvent>& records, std::int64_t end);

// Written and detected notes side by side.
struct MelodyComparison {
    std::string Text; // a table, one line per note: times, names, delay
    int WrittenNotes = 0;
    int MatchedNotes = 0; // written and detected
    int MissedNotes = 0;  // written, but not detected
    int ExtraNotes = 0;   // detected, but not written
};
// A detected note matches the nearest written one with the same key that starts within 150 ms of
// it.
MelodyComparison CompareMelodies(const std::vector<Note>& written,
                                 const std::vector<Note>& detected);

} // namespace zorhost
