// zorhost transcribe, where there is nothing that reads sound files.
#include "host/commands.h"
#include "host/host_error.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace zorhost {

void AddTranscribe(CLI::App& app, const GlobalOptions&) {
    CLI::App* command = app.add_subcommand(
        "transcribe", "Turn a recording into notes: zorhost for Linux only, as sound files are "
                      "not read here");
    const auto file = std::make_shared<std::string>();
    command->add_option("IN", *file, "The sound")->required();
    command->callback([file] {
        throw HostError("\"" + *file +
                            "\": sound files are read by zorhost for Linux only; "
                            "`zorhost listen` hears the microphone here",
                        ExitWrongUse);
    });
}

} // namespace zorhost
