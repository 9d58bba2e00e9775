// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The ini file that the library reads, and the eight input and eight output ports that it defines.
#pragma once

#include "platform/machine.h"

#include <string>
#include <vector>

namespace zorhost {

// Names of the present MIDI devices, in the system's order.
std::vector<std::string> InputDevices();
std::vector<std::string> OutputDevices();
// Name of the device that the system's default output plays on: the software synthesizer if it can
// be opened, which is tried, else the first one, or "silence" if there is none and the system
// discards the output. Empty if the system has no default output.
std::string DefaultOutputDevice();

struct Port {
    int Row;            // 1 to 8, as in the ini file
    std::string Name;   // device name in the ini file
    std::string Device; // present device that the port opens; empty if it opens none
    int FirstChannel;   // of its 16 channels, from 1
    // Of an output: send every note off. False: of overlapping notes of one key, only the last.
    bool EveryNoteOff = true;
};

struct PortMap {
    std::vector<Port> Inputs;  // only rows that name a device or open one
    std::vector<Port> Outputs; // likewise
    int SyncInput = 1;         // row whose MIDI clock drives external sync
    bool MicrophoneOn = false; // true if the recogniser is enabled
    int MicrophoneChannel = 1; // of its notes, from 1

    // Returns the input port of a record's Channel, counted from 0; null if no port has it.
    const Port* InputOf(int channel) const;
    // The first open output that sends a record with that Channel, counted from 0; null if none.
    const Port* OutputOf(int channel) const;
};

// Reads an ini file by the library's own rules. A missing file reads as an empty one.
PortMap ReadPortMap(const std::string& iniPath);

// Returns the folder of the settings: the value of --ini if not empty, else the user's folder,
// which need not exist. Copies the settings of earlier zorhost versions there. Throws HostError if
// that fails or --ini is not a folder. Call before SessionSettings changes the library's path.
std::string SettingsFolder(const std::string& iniOption);

// The software synthesizer's settings in that folder. Throws HostError as SettingsFolder does.
// Moves the library's path there.
machine::SynthesizerSettings ReadSynthesizerSettings(const std::string& iniOption);

// Settings of one session that differ from the ini file. The user's file is never written: the
// library reads a changed copy.
struct SettingOverrides {
    // Devices by number, from 1, by name, or by a unique part of the name.
    std::vector<std::string> Inputs;  // replace the input ports, with 16 channels each
    std::vector<std::string> Outputs; // replace the output ports, all on channels 1 to 16
    bool MicrophoneOn = false;        // enables the recogniser
    int MicrophoneChannel = 0;        // of its notes, from 1; 0 for that of the ini file
    bool Empty() const { return Inputs.empty() && Outputs.empty() && !MicrophoneOn; }
};

// The library's ini file for one session: the user's, or a temporary copy with overrides. Sets the
// library's path so that the library reads that file.
class SessionSettings {
public:
    // Throws HostError if a device is not found, is ambiguous (the message lists the candidates) or
    // is given twice, or if there are more than eight.
    SessionSettings(const std::string& folder, const SettingOverrides& overrides);
    ~SessionSettings();
    SessionSettings(const SessionSettings&) = delete;
    SessionSettings& operator=(const SessionSettings&) = delete;

    const std::string& IniPath() const { return Path; }

private:
    std::string CopyFolder; // of the temporary copy; empty without one
    std::string Path;
};

} // namespace zorhost
