// Notes with a beginning and an end, made of note ons and note offs.
#pragma once

#include "engine/zormidi.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

struct Note {
    std::int64_t Start; // milliseconds
    std::int64_t End;
    int Key;
    int Velocity;
    double Pitch = 0;      // exact, a MIDI number with fractions; 0 if it was not measured
    double Confidence = 0; // 0 to 1
};

// Pairs the records of one voice; a note that no note off ends goes on to end. By Start.
std::vector<Note> PairNotes(const std::vector<MIDIEvent>& records, std::int64_t end);

// Written and heard side by side, one line a note: times, names, how late. A heard note belongs to
// the nearest written one of the same key that begins within 150 ms of it.
struct SideBySide {
    std::string Text;
    int Written = 0;
    int Heard = 0;   // of the written ones
    int Missed = 0;  // written, not heard
    int Strange = 0; // heard, not written
};
SideBySide CompareMelodies(const std::vector<Note>& written, const std::vector<Note>& heard);

} // namespace zorhost
