// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "mme/settings.h"

#include "engine/library_instance.h"
#include "mme/devices.h"
#include "mme/ini_keys.h"
#include "support/profile.h"

#include <algorithm>
#include <cstring>

namespace {

// Writes keys. Good becomes false if one cannot be written.
class IniWriter {
public:
    void Text(const char* name, int row, const char* text) {
        Good &= WriteProfileText(MMESection, RowKey(name, row).Text, text, IniPath);
    }
    void Int(const char* name, int row, std::int32_t value) { Int(RowKey(name, row).Text, value); }
    void Int(const char* key, std::int32_t value) {
        Good &= WriteProfileInt(MMESection, key, value, IniPath);
    }
    bool Good = true;
};

template <typename Port>
PortSetting SettingOf(const Port& port) {
    PortSetting setting = {port.DeviceID, "", port.BaseChannel + 1};
    std::memcpy(setting.Name, port.Name, sizeof setting.Name);
    return setting;
}

template <typename Port>
void Apply(Port& port, const PortSetting& setting) {
    if (setting.Device == NoDevice) port.Clear();
    std::memcpy(port.Name, setting.Name, sizeof port.Name);
    std::memcpy(port.DeviceName, setting.Name, sizeof port.DeviceName);
    port.DeviceID = setting.Device;
    port.BaseChannel = static_cast<std::int16_t>(std::clamp(setting.Base, 1, HighestBase) - 1);
}

// True if an earlier row has the device. The default device counts like any other, since a device
// can be opened only once.
template <typename Port>
bool UsedByEarlierRow(const Port* ports, int row, std::int32_t device) {
    return device != NoDevice && std::any_of(ports, ports + row, [device](const Port& port) {
               return port.DeviceID == device;
           });
}

void StoreInput(IniWriter& ini, int row, const PortSetting& setting) {
    MMEInPort& port = InPorts[row];
    Apply(port, setting);
    ini.Text("InName", row, port.Name);
    ini.Int("InBase", row, port.BaseChannel + 1);
}

void StoreOutput(IniWriter& ini, int row, const PortSetting& setting) {
    MMEOutPort& port = OutPorts[row];
    Apply(port, setting);
    if (setting.Device == NoDevice)
        port.OutMatch = 1; // the default
    else
        port.Support = SupportOf(setting.Device, setting.Name);
    ini.Text("OutName", row, port.Name);
    ini.Int("OutBase", row, port.BaseChannel + 1);
    ini.Int("OutMatch", row, port.OutMatch);
}

} // namespace

MMESettings CurrentSettings() {
    MMESettings settings;
    std::ranges::transform(InPorts, settings.Inputs, SettingOf<MMEInPort>);
    std::ranges::transform(OutPorts, settings.Outputs, SettingOf<MMEOutPort>);
    settings.MidiOutReset = MidiOutReset != 0;
    settings.SyncMaster = SyncMaster;
    return settings;
}

Stored StoreMMESettings(const MMESettings& settings) {
    IniWriter ini;
    for (int row = 0; row < PortRows; ++row) {
        if (UsedByEarlierRow(InPorts, row, settings.Inputs[row].Device)) return Stored::DeviceTwice;
        if (settings.SyncMaster == row) SyncMaster = static_cast<std::int16_t>(row);
        StoreInput(ini, row, settings.Inputs[row]);
    }
    for (int row = 0; row < PortRows; ++row) {
        if (UsedByEarlierRow(OutPorts, row, settings.Outputs[row].Device))
            return Stored::DeviceTwice;
        StoreOutput(ini, row, settings.Outputs[row]);
    }
    MidiOutReset = settings.MidiOutReset;
    ini.Int("MidiOutReset", MidiOutReset);
    ini.Int("SyncMaster", SyncMaster);
    return ini.Good ? Stored::All : Stored::Unwritten;
}
