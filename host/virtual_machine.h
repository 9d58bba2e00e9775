// The machine that the library runs on here.
#pragma once

#include <string>

namespace zorhost {

enum class Cables {
    Shared,      // loopback ports of the same name are one cable for every zorhost of this user
    Private,     // nobody else hears what is sent, or sends
    OutputsOnly, // shared, without this machine's inputs
    None,        // no inputs, and an output that leads nowhere
};

// Gives the virtual machine its loopback ports, and says on standard error that they stand in for
// MIDI hardware. One at a time; the library is closed before it goes.
class VirtualMachine {
public:
    explicit VirtualMachine(Cables cables = Cables::Shared);
    ~VirtualMachine();
    VirtualMachine(const VirtualMachine&) = delete;
    VirtualMachine& operator=(const VirtualMachine&) = delete;

    // Whether what is played on the output device comes in at the input device of that name.
    static bool IsLoopback(const std::string& device);
};

} // namespace zorhost
