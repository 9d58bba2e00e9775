// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The notes of a recording beside the recording, to check them by ear.
#pragma once

#include "engine/zormidi.h"
#include "host/cli/commands.h"

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace zorhost {

// Left the recording, right the records, played by a flute of the synthesizer: until the end or
// Ctrl-C, or written to a sound file. peak: of the recording, for its level; 1 is full scale.
// records: note ons, note offs and bends, with times in milliseconds. tuning: of the recording, in
// semitones above 440 Hz, unless the records have bends. Throws HostError.
using NotePlayback = std::function<void(double peak, const std::vector<MIDIEvent>& records,
                                        double tuning, std::FILE* messages)>;

// Opens what --hear needs, so that it fails before the analysis. path: of the recording. target: of
// the sound file to write; empty to play it. Throws HostError.
NotePlayback OpenNotePlayback(const GlobalOptions& global, const std::string& path,
                              const std::string& target);

} // namespace zorhost
