#include "host/devices/device_selection.h"

#include "host/terminal/names.h"
#include "platform/machine.h"
#include "platform/platform.h"

#include <cstdio>

namespace zorhost {

namespace {

constexpr int Loopbacks = 4;
constexpr char Prefix[] = "Loopback MIDI ";

// False if the ports could not be joined with those of others; they work alone then.
bool AddLoopback(const std::string& name, Cables cables) {
    const int output = machine::AddMidiOutput(name);
    if (cables == Cables::OutputsOnly) return machine::BridgeOutput(output, name);
    const int input = machine::AddMidiInput(name);
    // A shared cable leads back to this machine's own input too.
    if (cables == Cables::Shared && machine::BridgeInput(input, name)) {
        if (machine::BridgeOutput(output, name)) return true;
        machine::BridgeInput(input, "");
    }
    machine::Connect(output, input);
    return cables == Cables::Private;
}

void AddLoopbacks(const std::string& why, Cables cables) {
    bool joined = true;
    for (int i = 1; i <= Loopbacks; ++i)
        joined = AddLoopback(Prefix + std::to_string(i), cables) && joined;
    std::fprintf(stderr, "%s: running on loopback ports, %s1 to %d.\n", why.c_str(), Prefix,
                 Loopbacks);
    if (!joined)
        std::fprintf(stderr, "They cannot be joined with those of other zorhosts: there is no "
                             "shared memory for it.\n");
}


// Empty if there are some, or why there are none.
std::string FindDevices() {
    const std::string reason = machine::UseNative();
    const unsigned inputs = midiInGetNumDevs(), outputs = midiOutGetNumDevs();
    if (inputs + outputs == 0)
        return "No MIDI device is there" + (reason.empty() ? "" : " (" + reason + ")");
    std::fprintf(stderr, "MIDI devices of this computer: %s, %s.%s\n",
                 Counted(inputs, "input").c_str(), Counted(outputs, "output").c_str(),
                 outputs == 0 ? " The default output is silent." : "");
    return "";
}

} // namespace

Machine::Machine(const GlobalOptions& global, Cables cables) {
    machine::PowerOn();
    machine::PrintBoxes(true);
    machine::RecordSentMidi(false);
    if (!global.Virtual) machine::UseNativeMicrophones();
    if (cables == Cables::Nowhere) return;
    const bool ownOnly = global.Virtual || cables == Cables::Private;
    const std::string why = ownOnly ? "No MIDI hardware is in use" : FindDevices();
    if (why.empty()) return;
    if (cables == Cables::None)
        std::fprintf(stderr, "%s.\n", why.c_str());
    else
        AddLoopbacks(why, cables);
}

bool Machine::IsLoopback(const std::string& device) { return device.starts_with(Prefix); }

Machine::~Machine() { machine::PowerOn(); }

} // namespace zorhost
