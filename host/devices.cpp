// zorhost devices
#include "host/commands.h"
#include "host/machine.h"
#include "host/microphone.h"
#include "host/settings.h"
#include "host/watch.h"
#include "platform/machine.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace zorhost {

namespace {

std::string StateText(MMRESULT code, const std::vector<std::string>& users) {
    std::string names;
    for (const std::string& user : users) names += (names.empty() ? "" : ", ") + user;
    if (code == MMSYSERR_NOERROR) return names.empty() ? "free" : "shared with " + names;
    if (code == MMSYSERR_ALLOCATED) return "in use by another program";
    return "gone";
}

bool Contains(const std::vector<std::string>& names, const std::string& name) {
    return std::ranges::find(names, name) != names.end();
}

void CALLBACK Ignore(HMIDIIN, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR) {}

// Whether it can be opened is found out by opening it.
std::string InputState(unsigned number) {
    HMIDIIN handle = nullptr;
    const MMRESULT code =
        midiInOpen(&handle, number, reinterpret_cast<DWORD_PTR>(&Ignore), 0, CALLBACK_FUNCTION);
    if (code == MMSYSERR_NOERROR) midiInClose(handle);
    return StateText(code, machine::UsersOfMidiInput(static_cast<int>(number)));
}

std::string OutputState(unsigned number) {
    HMIDIOUT handle = nullptr;
    const MMRESULT code = midiOutOpen(&handle, number, 0, 0, CALLBACK_NULL);
    if (code == MMSYSERR_NOERROR) midiOutClose(handle);
    return StateText(code, machine::UsersOfMidiOutput(static_cast<int>(number)));
}

// The ports that have the device, by the settings.
std::string Uses(const std::vector<Port>& ports, const std::string& device) {
    std::string text;
    for (const Port& port : ports)
        if (port.Device == device)
            text += (text.empty() ? "  port " : ", ") + std::to_string(port.Row);
    return text;
}

// Those that are there, and those that the settings remember.
void PrintDevices(const char* title, const std::vector<std::string>& devices,
                  std::string (*state)(unsigned number), const std::vector<Port>& ports) {
    std::printf("%s\n", title);
    for (unsigned i = 0; i < devices.size(); ++i)
        std::printf("  %u  %-31s  %-24s%s\n", i + 1, devices[i].c_str(), state(i).c_str(),
                    Uses(ports, devices[i]).c_str());
    bool any = !devices.empty();
    for (const Port& port : ports) {
        if (!port.Device.empty() || Contains(devices, port.Name)) continue;
        std::printf("     %-31s  %-24s  port %d\n", port.Name.c_str(), "not there", port.Row);
        any = true;
    }
    if (!any) std::printf("  (none)\n");
}

void PrintPorts(const char* kind, const std::vector<Port>& ports) {
    for (const Port& port : ports) {
        std::string note;
        if (port.Device.empty()) {
            note = "  (not there: not opened)";
        } else if (port.Device != port.Name) {
            note = "  -> " + port.Device;
        }
        std::printf("  %-6s %d   channels %3d-%-3d  %s%s\n", kind, port.Row, port.Channel,
                    port.Channel + 15, port.Name.c_str(), note.c_str());
    }
}

void Devices(const GlobalOptions& global, bool watch) {
    const Machine machine(global, watch ? Cables::None : Cables::Shared);
    const RunSettings settings(SettingsFolder(global.IniFolder), {});
    const PortMap map = ReadPortMap(settings.IniPath());
    PrintDevices("Input devices", InputDevices(), InputState, map.Inputs);
    PrintDevices("Output devices", OutputDevices(), OutputState, map.Outputs);
    std::printf("Microphones\n");
    PrintMicrophones();
    const bool there = std::filesystem::exists(settings.IniPath());
    std::printf("Ports by %s%s\n", settings.IniPath().c_str(),
                there ? "" : " (not there: defaults)");
    PrintPorts("input", map.Inputs);
    PrintPorts("output", map.Outputs);
    std::printf("  external clock comes from input %d\n", map.SyncInput);
    if (map.Microphone) {
        std::printf("  the microphone is on, its notes on channel %d\n", map.MicrophoneChannel);
    } else {
        std::printf("  the microphone is off\n");
    }
    if (watch) WatchDevices();
}

} // namespace

void AddDevices(CLI::App& app, const GlobalOptions& global) {
    CLI::App* command = app.add_subcommand(
        "devices", "List the MIDI devices, and which of them the settings make into ports");
    const auto watch = std::make_shared<bool>(false);
    command->add_flag("--watch", *watch, "Then tell what is plugged in and pulled out");
    command->callback([&global, watch] { Devices(global, *watch); });
}

} // namespace zorhost
