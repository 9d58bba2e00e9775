// The machine that the library runs on here.
#pragma once

#include "host/commands.h"

#include <string>

namespace zorhost {

// Gives the virtual machine its loopback ports, joined with those of every other zorhost of this
// user, and says on standard error that it stands in for MIDI hardware.
class VirtualMachine {
public:
    explicit VirtualMachine(const GlobalOptions& global);
    ~VirtualMachine();
    VirtualMachine(const VirtualMachine&) = delete;
    VirtualMachine& operator=(const VirtualMachine&) = delete;

    // Whether what is played on the output device comes in at the input device of that name.
    static bool IsLoopback(const std::string& device);
};

} // namespace zorhost
