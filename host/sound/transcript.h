// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The notes of a sound file, as a table, as JSON and as MIDI records.
#pragma once

#include "engine/zormidi.h"
#include "hearing/note.h"
#include "host/sound/analysed_sound.h"
#include "host/sound/melody.h"

#include <vector>

namespace zorhost {

struct Transcript {
    std::vector<Note> Notes;
    double Tuning = 0; // how much sharper than 440 Hz A4 is, in semitones
};

Transcript ToTranscript(const AnalysedSound& sound);

// Rounds to the nearest key. tuning: as in Transcript.
Note ToKey(const hearing::Note& note, double tuning);

// Prints a table to standard output, a narrow one if the terminal is narrow.
void PrintNotes(const Transcript& transcript);
// Prints the gaps: passages that were loud enough for a note, but have none.
void PrintGaps(const Transcript& transcript, const AnalysedSound& sound);
// Prints both as JSON, one object per line, of the kinds "note" and "gap".
void PrintJson(const Transcript& transcript, const AnalysedSound& sound);

// Note ons and note offs on channel 1, at their Time in milliseconds.
std::vector<MIDIEvent> ToRecords(const std::vector<Note>& notes);
// The same with the pitch of each frame as a pitch bend. The range of the receiver must be the
// usual two semitones up and down.
std::vector<MIDIEvent> ToRecords(const std::vector<Note>& notes, const AnalysedSound& sound);

} // namespace zorhost
