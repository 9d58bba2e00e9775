// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost render, which needs the software synthesizer; Windows has one of its own.
#include "host/cli/command_line.h"
#include "host/cli/commands.h"
#include "host/terminal/host_error.h"

#include <memory>

namespace zorhost {

void AddRender(const Command& app, const GlobalOptions&) {
    const Command command =
        app.AddCommand("render", "Write a MIDI file as sound. Not available on Windows");
    const auto file = std::make_shared<std::string>();
    command.Value("FILE", *file, "MIDI file (.mid)").Required();
    command.OnRun([file] {
        throw HostError("\"" + *file +
                            "\": render is not available on Windows; use `zorhost play`, and "
                            "record what the system's synthesizer plays",
                        ExitWrongUse);
    });
}

} // namespace zorhost
