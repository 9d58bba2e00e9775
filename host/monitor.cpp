// zorhost monitor
#include "host/commands.h"
#include "host/input.h"

#include <cstdio>
#include <memory>

namespace zorhost {

namespace {

// Time in seconds, port, channel within the port, message.
std::string Line(const MIDIEvent& record, const PortMap& map) {
    const Port* port = map.InputOf(record.Channel);
    std::string name = "?";
    int channel = record.Channel + 1;
    if (port) {
        name = port->Device;
        channel -= port->Channel - 1;
    } else if (map.Microphone && channel == map.MicrophoneChannel) {
        name = "Microphone";
    }
    char text[160];
    if (record.Status >= 0xF0) {
        std::snprintf(text, sizeof text, "%10.3f  %-20s          %s", record.Time / 1000.0,
                      name.c_str(), MessageText(record).c_str());
    } else {
        std::snprintf(text, sizeof text, "%10.3f  %-20s  ch %3d  %s", record.Time / 1000.0,
                      name.c_str(), channel, MessageText(record).c_str());
    }
    return text;
}

void Run(const GlobalOptions& global, const InputOptions& options) {
    Session session(global, options.Plan());
    if (!options.Thru.empty()) session.RefuseLoop("--thru");
    RunInput(session, options, 0, [&](const std::vector<MIDIEvent>& received) {
        for (const MIDIEvent& record : received)
            std::printf("%s\n", Line(record, session.Ports()).c_str());
        return received.empty() || std::fflush(stdout) == 0;
    });
}

} // namespace

void AddMonitor(CLI::App& app, const GlobalOptions& global) {
    CLI::App* command =
        app.add_subcommand("monitor", "Print each message as it comes in: seconds, port, channel, "
                                      "message");
    const auto options = std::make_shared<InputOptions>();
    options->AddTo(*command);
    command->callback([&global, options] { Run(global, *options); });
}

} // namespace zorhost
