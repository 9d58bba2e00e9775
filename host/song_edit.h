// What is changed in a piece before it is played.
#pragma once

#include "midifile/song.h"

#include <string>
#include <vector>

namespace zorhost {

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
