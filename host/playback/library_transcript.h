// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The notes that the library's own recogniser finds in a sound file.
#pragma once

#include "engine/zormidi.h"

#include <string>
#include <vector>

namespace zorhost {

// Feeds the sound to the library's microphone on a virtual machine with a stepped clock, faster
// than real time. iniFolder: as in GlobalOptions. Times of the records are milliseconds from the
// beginning of the sound. Throws HostError.
std::vector<MIDIEvent> TranscribeWithLibrary(const std::string& path, const std::string& iniFolder);

} // namespace zorhost
