// zorhost transcribe, where there is nothing that reads sound files.
#include "host/cli/command_line.h"
#include "host/cli/commands.h"
#include "host/terminal/host_error.h"

#include <memory>

namespace zorhost {

void AddTranscribe(const Command& app, const GlobalOptions&) {
    const Command command = app.Add(
        "transcribe", "Turn a recording into notes: zorhost for Linux only, as sound files are "
                      "not read here");
    const auto file = std::make_shared<std::string>();
    command.Value("IN", *file, "The sound").Required();
    command.Does([file] {
        throw HostError("\"" + *file +
                            "\": sound files are read by zorhost for Linux only; "
                            "`zorhost listen` hears the microphone here",
                        ExitWrongUse);
    });
}

} // namespace zorhost
