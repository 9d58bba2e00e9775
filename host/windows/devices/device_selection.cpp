// The machine on Windows is the computer itself.
#include "host/devices/device_selection.h"

#include "host/terminal/host_error.h"
#include "platform/platform.h"

#include <cstdio>

namespace zorhost {

Machine::Machine(const GlobalOptions& global, Cables) {
    if (global.Virtual)
        throw HostError("--virtual: Windows has no loopback ports of its own; install a driver "
                        "for them, and its ports are MIDI devices as all others",
                        ExitWrongUse);
    std::fprintf(stderr, "MIDI devices of this computer: inputs %u, outputs %u.\n",
                 midiInGetNumDevs(), midiOutGetNumDevs());
}

Machine::~Machine() = default;

// That a device leads back is known of none.
bool Machine::IsLoopback(const std::string&) { return false; }

} // namespace zorhost
