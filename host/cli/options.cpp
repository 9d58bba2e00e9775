// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/cli/options.h"

namespace zorhost {

namespace {

Option AddPorts(const Command& command, const char* option, Texts& devices,
                const std::string& help) {
    return command.Value(option, devices, help).Repeatable().ValueName("PORT");
}

} // namespace

Option AddInputs(const Command& command, Texts& inputs, const std::string& help) {
    return AddPorts(command, "--in", inputs,
                    help + "; can be repeated. Default: the inputs of the settings");
}

Option AddOutputs(const Command& command, const char* option, Texts& outputs,
                  const std::string& help) {
    const bool fromSettings = std::string(option) == "--to";
    return AddPorts(command, option, outputs,
                    help + "; can be repeated" +
                        (fromSettings ? ". Default: the outputs of the settings" : ""));
}

Option AddSeconds(const Command& command, double& seconds) {
    return command.Value("--seconds", seconds, "Stop after N seconds. Default: run until Ctrl-C")
        .HiddenRange(0.001, 2000000)
        .ValueName("N");
}

Option AddMicrophoneFile(const Command& command, std::string& file) {
    return command
        .Value("--mic", file,
               "Sound file to play into the virtual microphone; its notes arrive on channel 65")
        .ValueName("FILE");
}

void AddSongOptions(const Command& command, SongOptions& song) {
    command.Value("FILE", song.File, "MIDI file (.mid)").Required();
    command.Flag("--strict", song.Strict,
                 "Fail if anything in the file has to be repaired or skipped");
}

Option AddJson(const Command& command, bool& json, const char* objects) {
    return command.Flag("--json", json, std::string("Print one JSON object per ") + objects);
}

} // namespace zorhost
