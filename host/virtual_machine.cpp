#include "host/virtual_machine.h"

#include "platform/machine.h"

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

} // namespace

VirtualMachine::VirtualMachine(Cables cables) {
    machine::PowerOn();
    machine::PrintBoxes(true);
    machine::RecordSentMidi(false);
    if (cables == Cables::None) {
        machine::AddMidiOutput("Nowhere"); // the library opens an output in any case
        return;
    }
    bool joined = true;
    for (int i = 1; i <= Loopbacks; ++i) {
        joined = AddLoopback(Prefix + std::to_string(i), cables) && joined;
    }
    std::fprintf(stderr, "No MIDI hardware is in use: running on loopback ports, %s1 to %d.\n",
                 Prefix, Loopbacks);
    if (!joined) {
        std::fprintf(stderr,
                     "They cannot be joined with those of other zorhosts: there is no shared "
                     "memory for it.\n");
    }
}

bool VirtualMachine::IsLoopback(const std::string& device) { return device.starts_with(Prefix); }

VirtualMachine::~VirtualMachine() { machine::PowerOn(); }

} // namespace zorhost
