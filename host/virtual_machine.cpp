#include "host/virtual_machine.h"

#include "platform/machine.h"

#include <cstdio>
#include <string>

namespace zorhost {

namespace {
constexpr int Loopbacks = 4;
constexpr char Prefix[] = "Loopback MIDI ";
} // namespace

VirtualMachine::VirtualMachine(const GlobalOptions&) {
    machine::PrintBoxes(true);
    machine::RecordSentMidi(false);
    for (int i = 1; i <= Loopbacks; ++i) {
        const std::string name = Prefix + std::to_string(i);
        machine::Connect(machine::AddMidiOutput(name), machine::AddMidiInput(name));
    }
    std::fprintf(stderr,
                 "No MIDI hardware is in use: running on loopback ports, \"Loopback MIDI 1\" to "
                 "\"Loopback MIDI %d\".\n",
                 Loopbacks);
}

bool VirtualMachine::IsLoopback(const std::string& device) { return device.starts_with(Prefix); }

VirtualMachine::~VirtualMachine() { machine::PowerOn(); }

} // namespace zorhost
