// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Fills the port tables from the ini file and the devices present.
#include "engine/library_instance.h"
#include "mme/devices.h"
#include "mme/ini_keys.h"

#include <algorithm>
#include <cstring>

namespace {

int ReadInt(const char* key, int fallback) {
    return static_cast<int>(GetPrivateProfileIntA(MMESection, key, fallback, IniPath));
}

// A row's device name; false if the file has none.
bool ReadName(const char* key, int row, char (&name)[NameSize]) {
    char text[NameSize];
    if (!GetPrivateProfileStringA(MMESection, RowKey(key, row).Text, "", text, sizeof text,
                                  IniPath))
        return false;
    std::memcpy(name, text, sizeof text);
    return true;
}

// The file counts from 1. Values from a hand-edited file are limited, so that all 16 channels of
// the port fit into a Channel.
std::int16_t ReadBase(const char* key, int row) {
    const int stored = ReadInt(RowKey(key, row).Text, PortChannels * row + 1);
    return static_cast<std::int16_t>(std::clamp(stored, 1, 0x8000 - PortChannels) - 1);
}

template <typename Port>
void SetDevice(Port& port, const MidiDevice& device) {
    port.DeviceID = device.ID;
    std::memcpy(port.DeviceName, device.Name, sizeof port.DeviceName);
}

void LoadInput(int row, const DeviceList& inputs) {
    MMEInPort& port = InPorts[row];
    if (ReadName("InName", row, port.Name)) {
        port.BaseChannel = ReadBase("InBase", row);
        SetDevice(port, InputFor(row, port.Name, inputs));
        return;
    }
    SetDevice(port, row == 0 ? ChooseInput(inputs) : MidiDevice());
    std::memcpy(port.Name, port.DeviceName, sizeof port.Name);
}

void LoadOutput(int row, const DeviceList& outputs) {
    MMEOutPort& port = OutPorts[row];
    if (!ReadName("OutName", row, port.Name)) {
        SetDevice(port, row == 0 ? DefaultOutput() : MidiDevice());
        std::memcpy(port.Name, port.DeviceName, sizeof port.Name);
        return;
    }
    port.BaseChannel = ReadBase("OutBase", row);
    const MidiDevice device = OutputFor(row, port.Name, outputs);
    SetDevice(port, device);
    if (device.ID >= 0) port.Support = device.Support;
    port.OutMatch = ReadInt(RowKey("OutMatch", row).Text, 1) != 0;
}

bool AnyPortOpen() {
    return std::ranges::any_of(InPorts,
                               [](const MMEInPort& port) { return port.Handle != nullptr; }) ||
           std::ranges::any_of(OutPorts,
                               [](const MMEOutPort& port) { return port.Handle != nullptr; });
}

} // namespace

void LoadMMEConfig() {
    if (AnyPortOpen()) return;
    DeviceLists& devices = KnownDevices();
    devices = {ReadInputs(), ReadOutputs()};
    for (int row = 0; row < PortRows; ++row) LoadInput(row, devices.Inputs);
    for (int row = 0; row < PortRows; ++row) LoadOutput(row, devices.Outputs);
    MidiOutReset = ReadInt("MidiOutReset", 0) != 0;
    const auto master = static_cast<std::int16_t>(ReadInt("SyncMaster", 0));
    SyncMaster = std::clamp<std::int16_t>(master, 0, PortRows - 1);
}
