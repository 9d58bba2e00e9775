// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost transcribe, which needs sound-file libraries that the Windows version does not use.
#include "host/cli/command_line.h"
#include "host/cli/commands.h"
#include "host/terminal/host_error.h"

#include <memory>

namespace zorhost {

void AddTranscribe(const Command& app, const GlobalOptions&) {
    const Command command =
        app.AddCommand("transcribe", "Convert a recording to notes. Not available on Windows");
    const auto file = std::make_shared<std::string>();
    command.Value("IN", *file, "Sound file").Required();
    command.OnRun([file] {
        throw HostError("\"" + *file +
                            "\": transcribe is not available on Windows; use `zorhost listen` "
                            "with a microphone",
                        ExitWrongUse);
    });
}

} // namespace zorhost
