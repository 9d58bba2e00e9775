// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost monitor
#include "host/cli/commands.h"
#include "host/devices/input.h"
#include "host/terminal/json.h"
#include "host/terminal/terminal.h"
#include "midi/status.h"

#include <cstdio>
#include <memory>

namespace zorhost {

namespace {

constexpr int IdleInterval = 300; // milliseconds between checks for Ctrl-C
constexpr int WideColumns = 72;   // width needed for lines with the port's name

struct MonitorOptions {
    InputOptions Input;
    bool AsJson = false;
};

struct Source {
    std::string Name;
    int Channel; // within the port, from 1
};

Source SourceOf(const MIDIEvent& record, const PortMap& map) {
    const int channel = record.Channel + 1;
    if (const Port* const port = map.InputOf(record.Channel))
        return {port->Device, channel - port->FirstChannel + 1};
    const bool mic = map.MicrophoneOn && channel == map.MicrophoneChannel;
    return {mic ? "Microphone" : "?", channel};
}

Colour ColourOf(const MIDIEvent& record) {
    if (!midi::IsChannelStatus(record.Status) || midi::EndsNote(record.Status, record.Data2))
        return Colour::Dim;
    switch (record.Status) {
    case midi::NoteOn:
        return Colour::Green;
    case midi::ControlChange:
        return Colour::Yellow;
    case midi::ProgramChange:
        return Colour::Magenta;
    default:
        return Colour::Cyan;
    }
}

// Prints time in seconds, port if the terminal is wide enough, channel within the port, message.
void PrintLine(const MIDIEvent& record, const PortMap& map) {
    const Source source = SourceOf(record, map);
    const std::string channel = record.Status >= midi::FirstSystemStatus
                                    ? "      "
                                    : "ch " + std::string(source.Channel < 100, ' ') +
                                          std::string(source.Channel < 10, ' ') +
                                          std::to_string(source.Channel);
    const std::string text = Coloured(MessageText(record), ColourOf(record));
    static const bool narrow = IsNarrow(WideColumns);
    if (narrow) {
        std::printf("%8.3f %s %s\n", record.Time / 1000.0, channel.c_str(), text.c_str());
    } else {
        std::printf("%10.3f  %-20s  %s  %s\n", record.Time / 1000.0, source.Name.c_str(),
                    channel.c_str(), text.c_str());
    }
}

void PrintJson(const MIDIEvent& record, const PortMap& map) {
    const Source source = SourceOf(record, map);
    Json line;
    line.Add("time", record.Time / 1000.0).Add("port", source.Name);
    if (record.Status < midi::FirstSystemStatus) line.Add("channel", source.Channel);
    line.Add("status", record.Status)
        .Add("data1", record.Data1)
        .Add("data2", record.Data2)
        .Add("text", MessageText(record))
        .Print();
}

void Run(const GlobalOptions& global, const MonitorOptions& options) {
    Session session(global, options.Input.Plan());
    if (!options.Input.ThruOutputs.empty()) session.RefuseLoop("--thru");
    ReceiveUntilStopped(session, options.Input, 0, IdleInterval,
                        [&](const std::vector<MIDIEvent>& received) {
                            for (const MIDIEvent& record : received)
                                (options.AsJson ? PrintJson : PrintLine)(record, session.Ports());
                            return received.empty() || std::fflush(stdout) == 0;
                        });
}

} // namespace

void AddMonitor(const Command& app, const GlobalOptions& global) {
    const Command command =
        app.AddCommand("monitor", "Print each received message: seconds, port, channel, message");
    const auto options = std::make_shared<MonitorOptions>();
    options->Input.AddTo(command);
    AddJson(command, options->AsJson, "message");
    command.Footer("Example: zorhost monitor --in piano --filter clock");
    command.OnRun([&global, options] { Run(global, *options); });
}

} // namespace zorhost
