// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost devices
#include "host/cli/commands.h"
#include "host/cli/options.h"
#include "host/commands/watch.h"
#include "host/devices/device_selection.h"
#include "host/devices/settings.h"
#include "host/terminal/json.h"
#include "host/terminal/terminal.h"
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

// A present device, or one that only the settings name.
struct Row {
    std::string Kind;
    unsigned Number; // for the options, from 1; 0 if it is not present
    std::string Name;
    std::string State;
    std::vector<std::string> Users = {}; // other programs that use it
    int Port = 0;                        // row of the settings that opens it, from 1; 0 for none
    int Channel = 0;                     // of a microphone's notes, from 1; 0 if it is off
    bool IsDefault = false;              // the output that the system's default one plays on
};
using Rows = std::vector<Row>;

void CALLBACK IgnoreInput(HMIDIIN, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR) {}

// Opens and closes the device to find out whether it can be opened.
MMRESULT TryInput(unsigned number) {
    HMIDIIN handle = nullptr;
    const MMRESULT code = midiInOpen(&handle, number, reinterpret_cast<DWORD_PTR>(&IgnoreInput), 0,
                                     CALLBACK_FUNCTION);
    if (code == MMSYSERR_NOERROR) midiInClose(handle);
    return code;
}

MMRESULT TryOutput(unsigned number) {
    HMIDIOUT handle = nullptr;
    const MMRESULT code = midiOutOpen(&handle, number, 0, 0, CALLBACK_NULL);
    if (code == MMSYSERR_NOERROR) midiOutClose(handle);
    return code;
}

// The MIDI devices of one direction.
struct Direction {
    const char* Kind;
    const char* Title;
    std::vector<std::string> (*Names)();
    MMRESULT (*TryOpen)(unsigned number);
    std::vector<std::string> (*Users)(int number);
};
const Direction Inputs = {"input", "Input devices", InputDevices, TryInput,
                          machine::UsersOfMidiInput};
const Direction Outputs = {"output", "Output devices", OutputDevices, TryOutput,
                           machine::UsersOfMidiOutput};

const char* StateOf(MMRESULT code, bool shared) {
    if (code == MMSYSERR_NOERROR) return shared ? "shared" : "free";
    if (code == MMSYSERR_ALLOCATED) return "in use";
    return code == MMSYSERR_NODRIVER ? "gone" : "unavailable";
}

Rows MidiRows(const Direction& direction, const std::vector<Port>& ports) {
    Rows rows;
    const std::vector<std::string> names = direction.Names();
    for (unsigned i = 0; i < names.size(); ++i) {
        Row row{direction.Kind, i + 1, names[i], ""};
        const MMRESULT code = direction.TryOpen(i);
        row.Users = direction.Users(static_cast<int>(i));
        row.State = StateOf(code, !row.Users.empty());
        const auto port = std::ranges::find(ports, names[i], &Port::Device);
        if (port != ports.end()) row.Port = port->Row;
        rows.push_back(row);
    }
    for (const Port& port : ports)
        if (port.Device.empty() && std::ranges::find(names, port.Name) == names.end())
            rows.push_back({direction.Kind, 0, port.Name, "not found", {}, port.Row});
    return rows;
}

// The settings name no microphone: if they switch it on, the first one is used.
Rows MicrophoneRows(const PortMap& map) {
    Rows rows;
    for (const auto& found : machine::FindMicrophones()) {
        const char* const state = rows.empty() ? "default" : found.IsMonitor ? "monitor" : "free";
        rows.push_back({"microphone", static_cast<unsigned>(rows.size()) + 1, found.Name, state});
    }
    if (rows.empty() && map.MicrophoneOn)
        rows.push_back({"microphone", 0, "(default)", "not found"});
    if (map.MicrophoneOn) rows.front().Channel = map.MicrophoneChannel;
    return rows;
}

std::string StateText(const Row& row) {
    if (row.State == "in use") return "in use by another program";
    if (row.State == "monitor") return "sound output monitor";
    if (row.State != "shared") return row.State;
    std::string users;
    for (const std::string& user : row.Users) users += (users.empty() ? "" : ", ") + user;
    return "shared with " + users;
}

// A line per device: number, name, state and the port that uses it.
void PrintText(const char* title, const Rows& rows, const std::string& warning = "") {
    std::printf("%s\n", title);
    for (const Row& row : rows) {
        const std::string state = StateText(row) + (row.IsDefault ? ", default" : "");
        std::string use;
        if (row.Port > 0) use = "  port " + std::to_string(row.Port);
        if (row.Channel > 0) use = "  notes on channel " + std::to_string(row.Channel);
        const std::string number = row.Number > 0 ? std::to_string(row.Number) : "";
        PrintRow(5, "  %-2s %-31s  %-24s%s", number.c_str(), row.Name.c_str(), state.c_str(),
                 use.c_str());
    }
    if (rows.empty() || !warning.empty())
        std::printf("  %s %s\n", rows.empty() ? "(none)" : "  ", warning.c_str());
}

void PrintJson(const Rows& rows) {
    for (const Row& row : rows) {
        Json line;
        line.Add("kind", row.Kind).Add("name", row.Name).Add("state", row.State);
        if (row.Number > 0) line.Add("number", std::size_t{row.Number});
        if (!row.Users.empty()) line.Add("users", row.Users);
        if (row.Port > 0) line.Add("port", row.Port);
        if (row.Channel > 0) line.Add("channel", row.Channel);
        if (row.IsDefault) line.Add("default", true);
        line.Print();
    }
}

// A line per port: its row, channels, the name in the settings and the device that it opens.
void PrintPorts(const char* kind, const std::vector<Port>& ports) {
    for (const Port& port : ports) {
        std::string note;
        if (port.Device.empty()) {
            note = "  (not found, not opened)";
        } else if (port.Device != port.Name) {
            note = "  -> " + port.Device;
        }
        PrintRow(11, "  %-6s %d   channels %3d-%-3d  %s%s", kind, port.Row, port.FirstChannel,
                 port.FirstChannel + 15, port.Name.c_str(), note.c_str());
    }
}

void PrintSettings(const std::string& path, const PortMap& map) {
    const bool exists = std::filesystem::exists(path);
    PrintRow(2, "Ports from %s%s", path.c_str(), exists ? "" : " (file not found: defaults)");
    PrintPorts("input", map.Inputs);
    PrintPorts("output", map.Outputs);
    std::printf("  external clock from input %d\n", map.SyncInput);
    if (map.MicrophoneOn) {
        std::printf("  microphone on, notes on channel %d\n", map.MicrophoneChannel);
    } else {
        std::printf("  microphone off\n");
    }
}

// The default output is marked. Returns a warning if it is silent or the synthesizer cannot be
// opened; else an empty string.
std::string MarkDefault(Rows& outputs) {
    const std::string standard = DefaultOutputDevice();
    const auto found = std::ranges::find(outputs, standard, &Row::Name);
    const bool isSilent = found == outputs.end() && !standard.empty();
    if (found != outputs.end()) found->IsDefault = true;
    std::string warning = isSilent ? "The default output is silent: no output device found. " : "";
    if (isSilent || machine::HasSynthesizer()) warning += machine::SynthesizerProblem();
    return warning;
}

void Devices(const GlobalOptions& global, const DevicesOptions& options) {
    const DeviceSelection devices(global, options.Watch ? DevicePolicy::HardwareOnly
                                                        : DevicePolicy::HardwareOrLoopback);
    const SessionSettings settings(SettingsFolder(global.IniFolder), {});
    const PortMap map = ReadPortMap(settings.IniPath());
    const Rows inputs = MidiRows(Inputs, map.Inputs), microphones = MicrophoneRows(map);
    Rows outputs = MidiRows(Outputs, map.Outputs);
    const std::string silence = MarkDefault(outputs), problem = machine::MicrophoneProblem();
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
    const Command command = app.AddCommand(
        "devices", "List MIDI devices and microphones, and the ports that the settings define");
    const auto options = std::make_shared<DevicesOptions>();
    command.Flag("--watch", options->Watch,
                 "Keep running, and print devices that are plugged in or pulled out");
    AddJson(command, options->Json, "device or change");
    command.OnRun([&global, options] { Devices(global, *options); });
}

} // namespace zorhost
