// Which ini file the library reads, and what it lays over the devices: eight input and eight output
// ports.
#pragma once

#include <string>
#include <vector>

namespace zorhost {

std::vector<std::string> InputDevices();
std::vector<std::string> OutputDevices();
// What the system's default output is: the first device or, without any, "silence". Empty: the
// system has no default output then.
std::string DefaultOutputDevice();

struct Port {
    int Row;            // 1 to 8, as in the ini file
    std::string Name;   // as the ini file has it
    std::string Device; // the device that the port opens; empty if it opens none
    int Channel;        // the first of its 16, from 1
    // Of an output: send every note off. False: of overlapping notes of one key, only the last.
    bool EveryNoteOff = true;
};

struct PortMap {
    std::vector<Port> Inputs;  // only rows that name a device or open one
    std::vector<Port> Outputs; // likewise
    int SyncInput = 1;         // row that external clock is taken from
    bool Microphone = false;   // is the recogniser on
    int MicrophoneChannel = 1; // of its notes, from 1

    // The input that a record's Channel, counted from 0, came from; null if none has it.
    const Port* InputOf(int channel) const;
    // The first open output that sends a record with that Channel, counted from 0; null if none.
    const Port* OutputOf(int channel) const;
};

// Reads an ini file by the library's own rules. A missing file reads as an empty one.
PortMap ReadPortMap(const std::string& iniPath);

// The folder of the settings: --ini, or that of every host of this user, which need not exist.
// Settings of former versions of zorhost are brought there. Throws HostError if that is not
// possible, or --ini names no folder. The machine has no module path of its own yet.
std::string SettingsFolder(const std::string& iniOption);

// Changes for one run, beside what the ini file says. The user's file is never written: the library
// reads a changed copy.
struct RunChanges {
    // Devices by number, from 1, by name, or by a part that only one name has.
    std::vector<std::string> Inputs;  // in place of the input ports, 16 channels each
    std::vector<std::string> Outputs; // in place of the output ports, all on channels 1-16
    bool Microphone = false;          // the recogniser on, whatever the file says
    int MicrophoneChannel = 0;        // of its notes, from 1; 0: as the file says
    bool None() const { return Inputs.empty() && Outputs.empty() && !Microphone; }
};

// The library's ini file for this run. Tells the machine where the library finds it.
class RunSettings {
public:
    // Throws HostError if a device is not there or more than one fits (naming them), is named
    // twice, or is one of more than eight.
    RunSettings(const std::string& folder, const RunChanges& changes);
    ~RunSettings();
    RunSettings(const RunSettings&) = delete;
    RunSettings& operator=(const RunSettings&) = delete;

    const std::string& IniPath() const { return Path; }

private:
    std::string Copy; // folder of a changed copy, empty if there is none
    std::string Path;
};

} // namespace zorhost
