// The library's eight input and eight output ports, as the ini file lays them over the devices.
#pragma once

#include <string>
#include <vector>

namespace zorhost {

std::vector<std::string> InputDevices();
std::vector<std::string> OutputDevices();

struct Port {
    int Row;            // 1 to 8, as in the ini file
    std::string Name;   // as the ini file has it
    std::string Device; // the device that the port opens; empty if it opens none
    int Channel;        // the first of its 16, from 1
};

struct PortMap {
    std::vector<Port> Inputs;  // only rows that name a device or open one
    std::vector<Port> Outputs; // likewise
    int SyncInput = 1;         // row that external clock is taken from
    bool Microphone = false;   // is the recogniser on
    int MicrophoneChannel = 1; // of its notes, from 1

    // The input that a record's Channel, counted from 0, came from; null if none has it.
    const Port* InputOf(int channel) const;
};

// Reads an ini file by the library's own rules. A missing file reads as an empty one.
PortMap ReadPortMap(const std::string& iniPath);

} // namespace zorhost
