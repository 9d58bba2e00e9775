// Reads MIDI files as people have them.
#pragma once

#include "midifile/warnings.h"
#include "midifile/song.h"

namespace midifile {

enum class Care { Lenient, Strict };

// Reads a file of any type and division. What is faulty is put right or left out, and each kind
// told in Song::Findings; with Care::Strict the first one is thrown. Throws Error too for what is
// no MIDI file or holds no track. Time: linear, but for the merging of tracks.
Song Read(Bytes file, Care care = Care::Lenient);

} // namespace midifile
