// zorhost devices
#include "host/cli/commands.h"
#include "host/terminal/json.h"
#include "host/devices/device_selection.h"
#include "host/cli/options.h"
#include "host/devices/settings.h"
#include "host/terminal/terminal.h"
#include "host/commands/watch.h"
#include "platform/machine.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace zorhost {

namespace {

struct DevicesOptions {
    bool Watch = false;
    bool Json = false;
};

// A device that is there, or that the settings remember.
struct Row {
    std::string Kind;
    unsigned Number; // as options take it; 0 if it is not there
    std::string Name;
    std::string State;
    std::vector<std::string> Users = {}; // other programs that have it too
    int Port = 0;                        // that the settings make of it
    int Channel = 0;                     // of the notes of a microphone that they switch on
};
using Rows = std::vector<Row>;

void CALLBACK Ignore(HMIDIIN, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR) {}

// Whether it can be opened is found out by opening it.
MMRESULT TryInput(unsigned number) {
    HMIDIIN handle = nullptr;
    const MMRESULT code =
        midiInOpen(&handle, number, reinterpret_cast<DWORD_PTR>(&Ignore), 0, CALLBACK_FUNCTION);
    if (code == MMSYSERR_NOERROR) midiInClose(handle);
    return code;
}

MMRESULT TryOutput(unsigned number) {
    HMIDIOUT handle = nullptr;
    const MMRESULT code = midiOutOpen(&handle, number, 0, 0, CALLBACK_NULL);
    if (code == MMSYSERR_NOERROR) midiOutClose(handle);
    return code;
}

// The MIDI devices of one way.
struct Way {
    const char* Kind;
    const char* Title;
    std::vector<std::string> (*Names)();
    MMRESULT (*Try)(unsigned number);
    std::vector<std::string> (*Users)(int number);
};
const Way Inputs = {"input", "Input devices", InputDevices, TryInput, machine::UsersOfMidiInput};
const Way Outputs = {"output", "Output devices", OutputDevices, TryOutput,
                     machine::UsersOfMidiOutput};

const char* StateOf(MMRESULT code, bool shared) {
    if (code == MMSYSERR_NOERROR) return shared ? "shared" : "free";
    return code == MMSYSERR_ALLOCATED ? "in use" : "gone";
}

Rows MidiRows(const Way& way, const std::vector<Port>& ports) {
    Rows rows;
    const std::vector<std::string> names = way.Names();
    for (unsigned i = 0; i < names.size(); ++i) {
        Row row{way.Kind, i + 1, names[i], ""};
        const MMRESULT code = way.Try(i);
        row.Users = way.Users(static_cast<int>(i));
        row.State = StateOf(code, !row.Users.empty());
        const auto port = std::ranges::find(ports, names[i], &Port::Device);
        if (port != ports.end()) row.Port = port->Row;
        rows.push_back(row);
    }
    for (const Port& port : ports)
        if (port.Device.empty() && std::ranges::find(names, port.Name) == names.end())
            rows.push_back({way.Kind, 0, port.Name, "not there", {}, port.Row});
    return rows;
}

// The settings name no microphone: the default one is what they switch on.
Rows MicrophoneRows(const PortMap& map) {
    Rows rows;
    for (const auto& found : machine::FindMicrophones()) {
        const char* const state = rows.empty() ? "default" : found.IsMonitor ? "monitor" : "free";
        rows.push_back({"microphone", static_cast<unsigned>(rows.size()) + 1, found.Name, state});
    }
    if (rows.empty() && map.Microphone)
        rows.push_back({"microphone", 0, "(the default one)", "not there"});
    if (map.Microphone) rows.front().Channel = map.MicrophoneChannel;
    return rows;
}

std::string StateText(const Row& row) {
    if (row.State == "in use") return "in use by another program";
    if (row.State == "default") return "the default one";
    if (row.State == "monitor") return "what is played";
    if (row.State != "shared") return row.State;
    std::string users;
    for (const std::string& user : row.Users) users += (users.empty() ? "" : ", ") + user;
    return "shared with " + users;
}

void PrintText(const char* title, const Rows& rows, const std::string& whyNone = "") {
    std::printf("%s\n", title);
    for (const Row& row : rows) {
        std::string use;
        if (row.Port > 0) use = "  port " + std::to_string(row.Port);
        if (row.Channel > 0) use = "  notes on channel " + std::to_string(row.Channel);
        const std::string number = row.Number > 0 ? std::to_string(row.Number) : "";
        PrintRow(5, "  %-2s %-31s  %-24s%s", number.c_str(), row.Name.c_str(),
                 StateText(row).c_str(), use.c_str());
    }
    if (rows.empty() || !whyNone.empty())
        std::printf("  %s %s\n", rows.empty() ? "(none)" : "  ", whyNone.c_str());
}

void PrintJson(const Rows& rows) {
    for (const Row& row : rows) {
        Json line;
        line.Add("kind", row.Kind).Add("name", row.Name).Add("state", row.State);
        if (row.Number > 0) line.Add("number", std::size_t{row.Number});
        if (!row.Users.empty()) line.Add("users", row.Users);
        if (row.Port > 0) line.Add("port", row.Port);
        if (row.Channel > 0) line.Add("channel", row.Channel);
        line.Print();
    }
}

void PrintPorts(const char* kind, const std::vector<Port>& ports) {
    for (const Port& port : ports) {
        std::string note;
        if (port.Device.empty()) {
            note = "  (not there: not opened)";
        } else if (port.Device != port.Name) {
            note = "  -> " + port.Device;
        }
        PrintRow(11, "  %-6s %d   channels %3d-%-3d  %s%s", kind, port.Row, port.Channel,
                 port.Channel + 15, port.Name.c_str(), note.c_str());
    }
}

void PrintSettings(const std::string& path, const PortMap& map) {
    const bool there = std::filesystem::exists(path);
    PrintRow(2, "Ports by %s%s", path.c_str(), there ? "" : " (not there: defaults)");
    PrintPorts("input", map.Inputs);
    PrintPorts("output", map.Outputs);
    std::printf("  external clock comes from input %d\n", map.SyncInput);
    if (map.Microphone) {
        std::printf("  the microphone is on, its notes on channel %d\n", map.MicrophoneChannel);
    } else {
        std::printf("  the microphone is off\n");
    }
}

// Where there is no output to list.
std::string SilenceText(const Rows& outputs) {
    if (!outputs.empty() || DefaultOutputDevice().empty()) return "";
    return "The default output is silent: there is no output to play on.";
}

void Devices(const GlobalOptions& global, const DevicesOptions& options) {
    const Machine machine(global, options.Watch ? Cables::None : Cables::Shared);
    const RunSettings settings(SettingsFolder(global.IniFolder), {});
    const PortMap map = ReadPortMap(settings.IniPath());
    const Rows inputs = MidiRows(Inputs, map.Inputs), outputs = MidiRows(Outputs, map.Outputs);
    const Rows microphones = MicrophoneRows(map);
    const std::string silence = SilenceText(outputs), problem = machine::MicrophoneProblem();
    if (options.Json) {
        for (const Rows& rows : {inputs, outputs, microphones}) PrintJson(rows);
        for (const std::string& text : {silence, problem})
            if (!text.empty()) Json().Add("kind", "warning").Add("text", text).Print();
    } else {
        PrintText(Inputs.Title, inputs);
        PrintText(Outputs.Title, outputs, silence);
        PrintText("Microphones", microphones, problem);
        PrintSettings(settings.IniPath(), map);
    }
    if (options.Watch) WatchDevices(options.Json);
}

} // namespace

void AddDevices(const Command& app, const GlobalOptions& global) {
    const Command command = app.Add(
        "devices", "List the MIDI devices and the microphones, and what the settings make of them");
    const auto options = std::make_shared<DevicesOptions>();
    command.Flag("--watch", options->Watch, "Then tell what is plugged in and pulled out");
    AddJson(command, options->Json, "each device, and what happens to it, as a line");
    command.Does([&global, options] { Devices(global, *options); });
}

} // namespace zorhost
