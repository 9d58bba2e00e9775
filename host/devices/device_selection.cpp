// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/devices/device_selection.h"

#include "host/terminal/names.h"
#include "platform/machine.h"
#include "platform/platform.h"

#include <cstdio>

namespace zorhost {

namespace {

constexpr int LoopbackCount = 4;
constexpr char LoopbackPrefix[] = "Loopback MIDI ";

// Returns false if the port could not be shared with other processes. It then works within this
// process only.
bool AddLoopback(const std::string& name, DevicePolicy policy) {
    const int output = machine::AddMidiOutput(name);
    if (policy == DevicePolicy::HardwareOrLoopbackOutputs)
        return machine::BridgeOutput(output, name);
    const int input = machine::AddMidiInput(name);
    // A shared cable also returns this process's own messages to its input.
    if (policy == DevicePolicy::HardwareOrLoopback && machine::BridgeInput(input, name)) {
        if (machine::BridgeOutput(output, name)) return true;
        machine::BridgeInput(input, "");
    }
    machine::Connect(output, input);
    return policy == DevicePolicy::PrivateLoopback;
}

void AddLoopbacks(const std::string& reason, DevicePolicy policy) {
    bool shared = true;
    for (int i = 1; i <= LoopbackCount; ++i)
        shared = AddLoopback(LoopbackPrefix + std::to_string(i), policy) && shared;
    std::fprintf(stderr, "%s: using loopback ports %s1 to %d.\n", reason.c_str(), LoopbackPrefix,
                 LoopbackCount);
    if (!shared)
        std::fprintf(stderr, "Other zorhost processes cannot use them: shared memory is not "
                             "available.\n");
}

// Switches to the computer's MIDI devices. Returns an empty string if there are any beside the
// software synthesizer, else the reason why there are none.
std::string FindDevices() {
    const std::string reason = machine::UseNative();
    const unsigned inputs = midiInGetNumDevs(), outputs = midiOutGetNumDevs();
    const unsigned synthesizers = machine::HasSynthesizer();
    if (inputs + outputs == synthesizers)
        return "No MIDI devices found" + (reason.empty() ? "" : " (" + reason + ")");
    std::fprintf(stderr, "MIDI devices of this computer: %s, %s.%s\n",
                 Counted(inputs, "input").c_str(), Counted(outputs, "output").c_str(),
                 outputs == 0 ? " The default output is silent." : "");
    return "";
}

} // namespace

DeviceSelection::DeviceSelection(const GlobalOptions& global, DevicePolicy policy) {
    machine::PowerOn();
    machine::PrintBoxes(true);
    machine::RecordSentMidi(false);
    if (!global.Virtual) machine::UseNativeMicrophones();
    if (policy == DevicePolicy::NoDevices) return;
    const bool virtualOnly = global.Virtual || policy == DevicePolicy::PrivateLoopback;
    const std::string reason = virtualOnly ? "MIDI hardware is not used" : FindDevices();
    if (reason.empty()) return;
    if (policy == DevicePolicy::HardwareOnly)
        std::fprintf(stderr, "%s.\n", reason.c_str());
    else
        AddLoopbacks(reason, policy);
}

bool DeviceSelection::IsLoopback(const std::string& device) {
    return device.starts_with(LoopbackPrefix);
}

DeviceSelection::~DeviceSelection() { machine::PowerOn(); }

} // namespace zorhost
