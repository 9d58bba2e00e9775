// The notes of a sound file, as a table and as MIDI.
#pragma once

#include "engine/zormidi.h"
#include "hearing/decoder.h"
#include "host/sound/analysed_sound.h"
#include "host/sound/melody.h"

#include <vector>

namespace zorhost {

struct Transcript {
    std::vector<Note> Notes;
    double Tuning = 0; // what A4 is sharper than 440 Hz, in semitones
};

// Followed loudness: each frame decided with the live lag, at 440 Hz.
Transcript Decode(const HeardSound& sound, Loudness loudness);

// In the take's own tuning: the nearest key, and the cents from it.
Note ToKey(const hearing::Note& note, double tuning);

void PrintNotes(const Transcript& transcript);
// Stretches that were loud enough for a note, and have none.
void PrintGaps(const Transcript& transcript, const HeardSound& sound);
// Both as JSON: the kinds note and gap.
void PrintJson(const Transcript& transcript, const HeardSound& sound);

// As records of channel 1.
std::vector<MIDIEvent> ToRecords(const std::vector<Note>& notes);
// With the pitch of each frame as bends, for a receiver whose range is two semitones up and down,
// as it is unless told otherwise.
std::vector<MIDIEvent> ToRecords(const std::vector<Note>& notes, const HeardSound& sound);

} // namespace zorhost
