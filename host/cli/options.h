// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Options that several commands share, each declared once.
#pragma once

#include "host/cli/command_line.h"

namespace zorhost {

// --in, and an output option (--to or --thru): devices by number, name or a unique part of the
// name.
Option AddInputs(const Command& command, Texts& inputs, const std::string& help);
Option AddOutputs(const Command& command, const char* option, Texts& outputs,
                  const std::string& help);
// --seconds: run time. 0 means until Ctrl-C.
Option AddSeconds(const Command& command, double& seconds);
// --mic: a sound file in place of the microphone.
Option AddMicrophoneFile(const Command& command, std::string& file);

// FILE and --strict: the MIDI file to play.
struct SongOptions {
    std::string File;
    bool Strict = false;
};
void AddSongOptions(const Command& command, SongOptions& song);

// --json. objects: what the objects stand for, for the help: "message".
Option AddJson(const Command& command, bool& json, const char* objects);

} // namespace zorhost
