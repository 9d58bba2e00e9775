#include "host/port_map.h"

#include "platform/platform.h"

#include <algorithm>
#include <cctype>

namespace zorhost {

namespace {

constexpr char Section[] = "MMEDRVR";
constexpr char DefaultOutput[] = "Default MIDI Output Device";

std::string ReadName(const std::string& key, const std::string& ini) {
    char name[32] = "";
    GetPrivateProfileStringA(Section, key.c_str(), "", name, sizeof name, ini.c_str());
    return name;
}

int ReadNumber(const char* section, const std::string& key, int missing, const std::string& ini) {
    return static_cast<int>(GetPrivateProfileIntA(section, key.c_str(), missing, ini.c_str()));
}

bool Present(const std::vector<std::string>& devices, const std::string& name) {
    return std::find(devices.begin(), devices.end(), name) != devices.end();
}

// What the first input port opens by itself: a device with " MIDI" in its name, or else "401", or
// else the first one.
std::string AutomaticInput(const std::vector<std::string>& devices) {
    for (const char* wanted : {" MIDI", "401"}) {
        for (const std::string& device : devices) {
            std::string upper = device;
            std::transform(upper.begin(), upper.end(), upper.begin(), [](char c) {
                return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            });
            if (upper.find(wanted) != std::string::npos) return device;
        }
    }
    return devices.empty() ? "" : devices.front();
}

Port ReadRow(const std::string& kind, int row, const std::vector<std::string>& devices,
             const Port& automatic, const std::string& ini) {
    const std::string digit = std::to_string(row);
    Port port = automatic;
    port.Row = row;
    const int firstChannel = 16 * (row - 1) + 1;
    // A row that no key names keeps the channels it has when the library is loaded.
    port.Channel = row <= 4 ? firstChannel : 1;
    const std::string name = ReadName(kind + "Name" + digit, ini);
    if (name.empty()) return port;
    port.Name = name;
    port.Channel = ReadNumber(Section, kind + "Base" + digit, firstChannel, ini);
    port.Channel = std::max(1, static_cast<int>(static_cast<SHORT>(port.Channel)));
    if (Present(devices, name)) port.Device = name;
    return port;
}

} // namespace

std::vector<std::string> InputDevices() {
    std::vector<std::string> names;
    for (UINT i = 0; i < midiInGetNumDevs(); ++i) {
        MIDIINCAPSA caps = {};
        if (midiInGetDevCapsA(i, &caps, sizeof caps) == MMSYSERR_NOERROR) {
            names.emplace_back(caps.szPname);
        }
    }
    return names;
}

std::vector<std::string> OutputDevices() {
    std::vector<std::string> names;
    for (UINT i = 0; i < midiOutGetNumDevs(); ++i) {
        MIDIOUTCAPSA caps = {};
        if (midiOutGetDevCapsA(i, &caps, sizeof caps) == MMSYSERR_NOERROR) {
            names.emplace_back(caps.szPname);
        }
    }
    return names;
}

const Port* PortMap::InputOf(int channel) const {
    for (const Port& port : Inputs) {
        const int offset = channel + 1 - port.Channel;
        if (!port.Device.empty() && offset >= 0 && offset < 16) return &port;
    }
    return nullptr;
}

PortMap ReadPortMap(const std::string& ini) {
    PortMap map;
    const std::vector<std::string> inputs = InputDevices();
    const std::vector<std::string> outputs = OutputDevices();
    const std::string firstInput = AutomaticInput(inputs);
    const std::string firstOutput = outputs.empty() ? "" : outputs.front();
    for (int row = 1; row <= 8; ++row) {
        const Port automaticInput = {row, row == 1 ? firstInput : "", row == 1 ? firstInput : "",
                                     1};
        const Port input = ReadRow("In", row, inputs, automaticInput, ini);
        if (!input.Name.empty()) map.Inputs.push_back(input);
        const Port automaticOutput = {row, row == 1 ? DefaultOutput : "",
                                      row == 1 ? firstOutput : "", 1};
        Port output = ReadRow("Out", row, outputs, automaticOutput, ini);
        if (output.Name == DefaultOutput) output.Device = firstOutput;
        if (!output.Name.empty()) map.Outputs.push_back(output);
    }
    map.SyncInput = std::clamp(ReadNumber(Section, "SyncMaster", 0, ini), 0, 7) + 1;
    map.Microphone = ReadNumber("PRECDRVR", "EnablePitchRec", 0, ini) != 0;
    map.MicrophoneChannel = static_cast<SHORT>(ReadNumber("PRECDRVR", "Channel", 0, ini)) + 1;
    return map;
}

} // namespace zorhost
