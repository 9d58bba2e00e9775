// How zorhost ends: its exit codes, and the error that carries one up to main.
#pragma once

#include <stdexcept>
#include <string>

namespace zorhost {

enum ExitCode : int {
    ExitOk = 0,
    ExitTrouble = 1,  // a file or a port could not be used, or records were lost
    ExitWrongUse = 2, // the command line makes no sense
};

// Shown as "zorhost: text" on standard error.
class HostError : public std::runtime_error {
public:
    explicit HostError(const std::string& text, ExitCode code = ExitTrouble)
        : std::runtime_error(text), Code(code) {}
    ExitCode Code;
};

} // namespace zorhost
