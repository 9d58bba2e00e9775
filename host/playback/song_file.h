// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Reads a MIDI file that the user names, and edits it before it is played.
#pragma once

#include "midifile/reader.h"
#include "midifile/song.h"

#include <string>
#include <vector>

namespace zorhost {

// Reads the file and prints its warnings to standard error, one per line. Throws HostError if it
// cannot be read, and with strict also if it has any fault.
midifile::Song ReadSong(const std::string& path, bool strict = false);
// The same without printing.
midifile::Song ReadSongQuietly(const std::string& path, bool strict = false);

// Throws HostError if the song has no channel message.
void CheckNotEmpty(const midifile::Song& song, const std::string& path);

// Solo and Mute contain channels from 1, "10", and tracks, "t2".
struct SongEdit {
    int Transpose = 0; // semitones; channel 10, the drums, is not transposed
    std::vector<std::string> Solo;
    std::vector<std::string> Mute;
};

// Returns the number of notes that were removed since they are outside the MIDI range after
// transposing. Throws HostError for an invalid channel or track.
int ApplyEdit(const SongEdit& edit, midifile::Song& song);

} // namespace zorhost
