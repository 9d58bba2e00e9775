// What the library's own microphone gives for a sound file.
#pragma once

#include "engine/zormidi.h"

#include <string>
#include <vector>

namespace zorhost {

// Runs the sound through the library on a machine with a stepped clock, as fast as it goes;
// iniFolder as for GlobalOptions. Record times count from the beginning of the sound. Throws
// HostError.
std::vector<MIDIEvent> HearAsLibrary(const std::string& path, const std::string& iniFolder);

} // namespace zorhost
