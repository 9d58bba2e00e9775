// A MIDI file that a user names.
#pragma once

#include "midifile/reader.h"

#include <string>

namespace zorhost {

// Reads the file and tells on standard error, a line each, what was put right or left out of it.
// Throws HostError if it cannot be read; with strict, if anything had to be put right.
midifile::Song ReadSong(const std::string& path, bool strict = false);
// The same without telling.
midifile::Song ReadSongQuietly(const std::string& path, bool strict = false);

// Throws HostError if there is no message in it.
void CheckNotEmpty(const midifile::Song& song, const std::string& path);

} // namespace zorhost
