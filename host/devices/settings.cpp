// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/devices/settings.h"

#include "engine/driver_table.h"
#include "host/devices/setting_keys.h"
#include "host/terminal/host_error.h"
#include "mme/devices.h"
#include "pitchrec/driver/settings.h"
#include "platform/machine.h"
#include "platform/platform.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <random>

namespace zorhost {

namespace fs = std::filesystem;

namespace {

// Without choices such as "(none)" and the default output, whose IDs are negative.
std::vector<std::string> Names(const std::vector<MidiDevice>& choices) {
    std::vector<std::string> names;
    for (const MidiDevice& device : choices)
        if (device.ID >= 0) names.emplace_back(device.Name);
    return names;
}

// Adds the row as a port if it names a device or opens one. mapped: the device of the default
// output.
template <typename Row>
void Add(std::vector<Port>& ports, const Row& row, int number, const std::string& mapped,
         bool everyNoteOff = true) {
    Port port = {number, row.Name, row.DeviceName, row.BaseChannel + 1, everyNoteOff};
    if (row.DeviceID == NoDevice) port.Device.clear();
    if (row.DeviceID == MapperDevice) port.Device = mapped;
    if (!port.Name.empty() || !port.Device.empty()) ports.push_back(port);
}

const Port* PortOf(const std::vector<Port>& ports, int channel) {
    for (const Port& port : ports) {
        const int offset = channel + 1 - port.FirstChannel;
        if (!port.Device.empty() && offset >= 0 && offset < 16) return &port;
    }
    return nullptr;
}

constexpr char IniName[] = "ZORMIDI.INI";
constexpr std::size_t Rows = 8;

std::string Lower(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

// Returns the names as indented lines, for messages.
std::string Listed(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += "\n  " + name;
    return text;
}

// Returns the present device that the user means: by exact name, by number in the list, by name
// ignoring case, or by a unique part of the name. Throws HostError if there is none, or several.
std::string Resolve(const std::string& wanted, const std::vector<std::string>& present,
                    const std::string& kind) {
    if (std::ranges::find(present, wanted) != present.end()) return wanted;
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(wanted.data(), wanted.data() + wanted.size(), number);
    const bool isNumber = error == std::errc() && end == wanted.data() + wanted.size();
    if (isNumber && number >= 1 && number <= present.size()) return present[number - 1];
    std::vector<std::string> matching, sameLength;
    std::ranges::copy_if(present, std::back_inserter(matching), [&](const std::string& name) {
        return !isNumber && !wanted.empty() && Lower(name).find(Lower(wanted)) != std::string::npos;
    });
    std::ranges::copy_if(matching, std::back_inserter(sameLength),
                         [&](const std::string& name) { return name.size() == wanted.size(); });
    if (sameLength.size() == 1) return sameLength.front();
    if (matching.size() == 1) return matching.front();
    if (!matching.empty()) {
        throw HostError("more than one " + kind + " device matches \"" + wanted +
                        "\":" + Listed(matching) + "\nGive more of its name, or its number.");
    }
    throw HostError(kind + " device \"" + wanted + "\" not found" +
                    (present.empty() ? ": there is none" : "; available:" + Listed(present)));
}

// Throws HostError if a device is given twice, or there are more devices than ports.
std::vector<std::string> ResolveAll(const std::vector<std::string>& wanted,
                                    const std::vector<std::string>& present,
                                    const std::string& kind) {
    std::vector<std::string> names;
    for (const std::string& text : wanted) {
        const std::string name = Resolve(text, present, kind);
        if (std::ranges::find(names, name) != names.end()) {
            throw HostError("\"" + name + "\" is given twice; a device can be opened only once",
                            ExitWrongUse);
        }
        names.push_back(name);
    }
    if (names.size() > Rows) {
        throw HostError("at most 8 " + kind + " devices can be used at the same time",
                        ExitWrongUse);
    }
    return names;
}

void Write(const std::string& ini, const char* section, const std::string& key,
           const std::string& value) {
    if (!WritePrivateProfileStringA(section, key.c_str(), value.c_str(), ini.c_str())) {
        throw HostError("\"" + ini + "\" cannot be written");
    }
}

// Rows without a device are written as "(none)", since the library chooses a device for a missing
// name. spacing: channels from one port's first channel to the next one's.
void WritePorts(const std::string& ini, const std::string& kind,
                const std::vector<std::string>& names, int spacing) {
    for (std::size_t row = 0; !names.empty() && row < Rows; ++row) {
        const std::string digit = std::to_string(row + 1);
        const int channel = static_cast<int>(row) * spacing + 1;
        Write(ini, "MMEDRVR", kind + "Name" + digit, row < names.size() ? names[row] : "(none)");
        Write(ini, "MMEDRVR", kind + "Base" + digit, std::to_string(channel));
    }
}

// Copies the settings of earlier versions, which had their own folder, unless present exists.
void MigrateSettings(const fs::path& old, const fs::path& present) {
    std::error_code failed;
    if (!fs::exists(old, failed) || fs::exists(present, failed)) return;
    fs::create_directories(present.parent_path(), failed);
    fs::copy_file(old, present, failed);
    if (failed) {
        throw HostError("cannot copy \"" + old.string() + "\" to \"" + present.string() +
                        "\": " + failed.message());
    }
}

// Makes a folder with a new name that only this user can access. Throws HostError.
std::string MakeTemporaryFolder() {
    std::error_code failed;
    const fs::path place = fs::temp_directory_path(failed);
    std::random_device random;
    for (int tries = 0; !failed && tries < 100; ++tries) {
        const fs::path folder = place / ("zorhost." + std::to_string(random()));
        if (!fs::create_directory(folder, failed)) continue;
        fs::permissions(folder, fs::perms::owner_all);
        return folder.string();
    }
    throw HostError("cannot make a temporary folder: " + failed.message());
}

} // namespace

std::vector<std::string> InputDevices() { return Names(InputChoices()); }
std::vector<std::string> OutputDevices() { return Names(OutputChoices()); }

std::string DefaultOutputDevice() {
    const std::vector<std::string> outputs = OutputDevices();
    const auto number = static_cast<std::size_t>(machine::FindDefaultMidiOutput());
    MIDIOUTCAPSA caps{};
    if (number < outputs.size()) return outputs[number];
    const bool discards = midiOutGetDevCapsA(MIDI_MAPPER, &caps, sizeof caps) == MMSYSERR_NOERROR;
    return discards ? "silence" : "";
}

const Port* PortMap::InputOf(int channel) const { return PortOf(Inputs, channel); }
const Port* PortMap::OutputOf(int channel) const { return PortOf(Outputs, channel); }

PortMap ReadPortMap(const std::string& ini) {
    UseIni(ini);
    LoadMMEConfig();
    ReadPRecSettings();
    PortMap map;
    const std::string standard = DefaultOutputDevice();
    for (int row = 0; row < PortRows; ++row) {
        Add(map.Inputs, InPorts[row], row + 1, "");
        Add(map.Outputs, OutPorts[row], row + 1, standard, OutPorts[row].OutMatch != 0);
    }
    map.SyncInput = SyncMaster + 1;
    map.MicrophoneOn = EnablePitchRec != 0;
    map.MicrophoneChannel = static_cast<std::int16_t>(PRecChannel.load()) + 1;
    return map;
}

std::string SettingsFolder(const std::string& iniOption) {
    if (!iniOption.empty()) {
        if (!fs::is_directory(iniOption)) {
            throw HostError("--ini: folder \"" + iniOption + "\" not found", ExitWrongUse);
        }
        return fs::absolute(iniOption).string();
    }
    const fs::path folder = fs::path(machine::ModulePath()).parent_path();
    MigrateSettings(folder.parent_path() / "zorhost" / IniName, folder / IniName);
    return folder.string();
}

machine::SynthesizerSettings ReadSynthesizerSettings(const std::string& iniOption) {
    const fs::path folder = SettingsFolder(iniOption);
    machine::SetModulePath((folder / "libzormidi.so").string());
    return machine::ReadSynthesizerSettings();
}

SessionSettings::SessionSettings(const std::string& folder, const SettingOverrides& overrides) {
    const std::vector<std::string> inputs = ResolveAll(overrides.Inputs, InputDevices(), "input");
    const std::vector<std::string> outputs =
        ResolveAll(overrides.Outputs, OutputDevices(), "output");
    Path = (fs::path(folder) / IniName).string();
    if (!overrides.Empty()) {
        CopyFolder = MakeTemporaryFolder();
        const std::string original = Path;
        Path = (fs::path(CopyFolder) / IniName).string();
        if (fs::exists(original)) fs::copy_file(original, Path);
        WritePorts(Path, "In", inputs, 16);
        WritePorts(Path, "Out", outputs, 0);
        // Row 0 is the first input, which drives external sync in this session.
        if (!inputs.empty()) Write(Path, "MMEDRVR", "SyncMaster", "0");
        if (overrides.MicrophoneOn) Write(Path, "PRECDRVR", "EnablePitchRec", "1");
        if (overrides.MicrophoneChannel > 0) {
            Write(Path, "PRECDRVR", "Channel", std::to_string(overrides.MicrophoneChannel - 1));
        }
    }
    machine::SetModulePath((fs::path(Path).parent_path() / "libzormidi.so").string());
}

SessionSettings::~SessionSettings() {
    std::error_code ignored;
    if (!CopyFolder.empty()) fs::remove_all(CopyFolder, ignored);
}

} // namespace zorhost
