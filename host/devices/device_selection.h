// The machine that the library runs on here.
#pragma once

#include "host/cli/commands.h"

#include <string>

namespace zorhost {

// What there is besides this computer's MIDI devices, or in their place.
enum class Cables {
    Shared,      // loopback ports of the same name are one cable for every zorhost of this user
    OutputsOnly, // the same without this machine's inputs
    Private,     // nobody else hears what is sent, or sends; whatever devices there are
    Nowhere,     // no inputs and no outputs, whatever devices there are
    None,        // only the computer's devices, even if there are none
};

// Gives the machine its MIDI devices, and says on standard error which: those of this computer, or
// loopback ports if it has none, or if the user wants those. Its microphones are this computer's,
// unless one is made to hear something else. One at a time; the library is closed before it goes.
class Machine {
public:
    Machine(const GlobalOptions& global, Cables cables = Cables::Shared);
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // Whether what is played on the output device comes in at the input device of that name.
    static bool IsLoopback(const std::string& device);
};

} // namespace zorhost
