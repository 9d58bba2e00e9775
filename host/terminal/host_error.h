// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The exit codes of zorhost, and the exception that carries one to main.
#pragma once

#include <stdexcept>
#include <string>

namespace zorhost {

enum ExitCode : int {
    ExitOk = 0,
    ExitFailure = 1,  // a file or port could not be used, or data was lost
    ExitWrongUse = 2, // the command line is invalid
};

// main prints it as "zorhost: text" on standard error and exits with the code.
class HostError : public std::runtime_error {
public:
    explicit HostError(const std::string& text, ExitCode code = ExitFailure)
        : std::runtime_error(text), Code(code) {}
    ExitCode Code;
};

} // namespace zorhost
