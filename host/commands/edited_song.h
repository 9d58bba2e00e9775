// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A MIDI file and what a user changes in it, as options of the commands that play it.
#pragma once

#include "host/cli/options.h"
#include "host/playback/song_file.h"
#include "host/playback/transport.h"

namespace zorhost {

struct EditedSong {
    SongOptions File;
    int TempoPercent = 100;
    int FirstBar = 1;
    SongEdit Edit;
};

// --tempo, --from, --transpose, --solo and --mute.
void AddChanges(const Command& command, EditedSong& song);

// Throws HostError if the file cannot be read or no notes remain to be played.
midifile::Song ReadEditedSong(const EditedSong& options);
// option: for the message. Throws HostError if the song ends before the bar.
std::int64_t TickOfBar(const midifile::Song& song, std::int64_t bar, const char* option);
// From the first bar to the end of the song.
PlayRange RangeOf(const EditedSong& options, const midifile::Song& song);

} // namespace zorhost
