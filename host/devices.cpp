// zorhost devices
#include "host/commands.h"
#include "host/port_map.h"
#include "host/settings.h"
#include "host/virtual_machine.h"

#include <cstdio>
#include <filesystem>

namespace zorhost {

namespace {

void PrintNames(const char* title, const std::vector<std::string>& names) {
    std::printf("%s\n", title);
    int number = 0;
    for (const std::string& name : names) std::printf("  %d  %s\n", ++number, name.c_str());
    if (names.empty()) std::printf("  (none)\n");
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

void Devices(const GlobalOptions& global) {
    const VirtualMachine machine;
    const RunSettings settings(SettingsFolder(global.IniFolder), {});
    const PortMap map = ReadPortMap(settings.IniPath());
    PrintNames("Input devices", InputDevices());
    PrintNames("Output devices", OutputDevices());
    std::printf("Microphones\n  (those of this computer are not reached yet; --mic lets one hear a "
                "sound file)\n");
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
}

} // namespace

void AddDevices(CLI::App& app, const GlobalOptions& global) {
    CLI::App* command = app.add_subcommand(
        "devices", "List the MIDI devices, and which of them the settings make into ports");
    command->callback([&global] { Devices(global); });
}

} // namespace zorhost
