// A MIDI file that a user names, and what is changed in it before it is played.
#pragma once

#include "midifile/reader.h"
#include "midifile/song.h"

#include <string>
#include <vector>

namespace zorhost {

// Reads the file and tells on standard error, a line each, what was put right or left out of it.
// Throws HostError if it cannot be read; with strict, if anything had to be put right.
midifile::Song ReadSong(const std::string& path, bool strict = false);
// The same without telling.
midifile::Song ReadSongQuietly(const std::string& path, bool strict = false);

// Throws HostError if there is no message in it.
void CheckNotEmpty(const midifile::Song& song, const std::string& path);

// Channels from 1 as "10", tracks as "t2".
struct SongEdit {
    int Transpose = 0; // semitones; drums, on channel 10, stay
    std::vector<std::string> Solo;
    std::vector<std::string> Mute;
};

// Gives how many notes no key is left for, which are left out. Throws HostError for what is neither
// a channel nor a track of the song.
int Apply(const SongEdit& edit, midifile::Song& song);

} // namespace zorhost
