// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Plays the notes of a recording beside the recording.
#pragma once

#include "engine/zormidi.h"
#include "host/cli/commands.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace zorhost {

class NotePlayback {
public:
    virtual ~NotePlayback() = default;
    // Left the recording, right the notes: played until their end or Ctrl-C, or written to the
    // target. peak: of the recording; 1 is full scale. tuning: semitones. Throws HostError.
    virtual void Play(double peak, const std::vector<MIDIEvent>& records, double tuning,
                      std::FILE* messages) = 0;
};

// Opens what --hear needs, so that it fails before the analysis. path: of the recording. target: of
// the sound file to write; empty to play it. Throws HostError.
std::unique_ptr<NotePlayback> OpenNotePlayback(const GlobalOptions& global, const std::string& path,
                                               const std::string& target);

} // namespace zorhost
