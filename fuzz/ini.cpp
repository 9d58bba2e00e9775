// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Any ini file: the library initialises with it, and settings stored in it are read back unchanged.
#include "fuzz/fuzz.h"
#include "mme/ports.h"
#include "mme/settings.h"
#include "pitchrec/driver/settings.h"

#include <algorithm>
#include <cstring>

extern std::int32_t MMESpeed;

namespace {

template <typename Port>
void CheckPort(const Port& port, int devices) {
    Check(port.BaseChannel >= 0 && port.BaseChannel <= 0x8000 - 2 * PortChannels + 15, "a base");
    Check(std::memchr(port.Name, 0, NameSize) != nullptr, "the name ends");
    Check(port.DeviceID >= MapperDevice || port.DeviceID == NoDevice, "the device is valid");
    Check(port.DeviceID < devices, "the device exists");
}

void CheckTables() {
    for (const MMEInPort& port : InPorts) CheckPort(port, 1);
    for (const MMEOutPort& port : OutPorts) CheckPort(port, 2);
    Check(SyncMaster >= 0 && SyncMaster < PortRows && MMESpeed >= 1, "values are in range");
}

MMESettings Named(Bytes& bytes) {
    MMESettings settings = CurrentSettings();
    for (int row = 0; row < PortRows; ++row)
        settings.Inputs[row].Device = settings.Outputs[row].Device = NoDevice;
    const std::string_view name = bytes.Read(bytes.Below(NameSize));
    PortSetting& first = settings.Outputs[0];
    first = {1, "", static_cast<int>(bytes.Below(HighestBase) + 1)};
    for (std::size_t i = 0; i < name.size(); ++i)
        first.Name[i] = std::isgraph(static_cast<unsigned char>(name[i])) ? name[i] : 'x';
    settings.SyncMaster = static_cast<int>(bytes.Below(PortRows));
    return settings;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    const std::size_t stored = bytes.Below(48);
    Bytes setting = bytes;
    bytes.Read(stored);
    FreshMachine(std::string(bytes.Read(size)));
    machine::AddMidiInput("MPU-401");
    for (const char* name : {"Synth", "B"}) machine::AddMidiOutput(name);
    Check(MIDISysInit(0) == -1, "initialises with any file");
    CheckTables();
    ZorStartMIDI(1);
    machine::Advance(10);
    ZorStopMIDI();
    machine::DrainBoxes();

    const MMESettings wanted = Named(setting);
    Check(StoreMMESettings(wanted) == Stored::All && WritePRecSettings(), "can be stored");
    const std::uint16_t channel = PRecChannel;
    MIDISysInit(1);
    CheckTables();
    const MMESettings read = CurrentSettings();
    const PortSetting &one = wanted.Outputs[0], &other = read.Outputs[0];
    const auto quoted = [](const char* text) { return text[0] == '"' || text[0] == '\''; };
    if (one.Name[0] && !quoted(one.Name))
        Check(!std::strcmp(one.Name, other.Name) && one.Base == other.Base, "is read as stored");
    Check(read.SyncMaster == wanted.SyncMaster && PRecChannel == channel, "as stored");
    MIDISysTerm();
    return 0;
}
