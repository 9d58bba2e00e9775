// Options that several commands have, each declared once.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace zorhost {

using Texts = std::vector<std::string>;

// Devices by number, name, or a part of the name that only one has.
CLI::Option* AddInputs(CLI::App& command, Texts& inputs, const std::string& help);
CLI::Option* AddOutputs(CLI::App& command, const char* option, Texts& outputs,
                        const std::string& help);
CLI::Option* AddSeconds(CLI::App& command, double& seconds);
CLI::Option* AddMicrophoneFile(CLI::App& command, std::string& file);

// The MIDI file that is played.
struct Piece {
    std::string File;
    bool Strict = false;
};
void AddPiece(CLI::App& command, Piece& piece);

CLI::Option* AddJson(CLI::App& command, bool& json, const char* what);

} // namespace zorhost
