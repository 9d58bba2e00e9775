// Options that several commands have, each declared once.
#pragma once

#include "host/cli/command_line.h"

namespace zorhost {

// Devices by number, name, or a part of the name that only one has.
Option AddInputs(const Command& command, Texts& inputs, const std::string& help);
Option AddOutputs(const Command& command, const char* option, Texts& outputs,
                  const std::string& help);
Option AddSeconds(const Command& command, double& seconds);
Option AddMicrophoneFile(const Command& command, std::string& file);

// The MIDI file that is played.
struct Piece {
    std::string File;
    bool Strict = false;
};
void AddPiece(const Command& command, Piece& piece);

Option AddJson(const Command& command, bool& json, const char* what);

} // namespace zorhost
