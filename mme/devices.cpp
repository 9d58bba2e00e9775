// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "mme/devices.h"

#include "engine/library_instance.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <string_view>

namespace {

std::string_view Trimmed(const char* name) {
    std::string_view text(name, strnlen(name, NameSize));
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

void LoadText(UINT id, char (&text)[NameSize]) {
    text[0] = '\0';
    LoadStringA(ModuleInstance, id, text, sizeof text);
}

// ASCII only: the strings searched for have no other letters.
void UpperCase(char (&text)[NameSize]) {
    for (char& c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
}

MidiDevice MakeDevice(UINT number, const char (&name)[MAXPNAMELEN], DWORD support) {
    static_assert(MAXPNAMELEN == NameSize);
    MidiDevice device;
    device.ID = static_cast<std::int32_t>(number);
    std::memcpy(device.Name, name, sizeof device.Name);
    device.Name[NameSize - 1] = '\0';
    device.Support = support;
    return device;
}

// The device at a number; NoDevice if there is none or its name cannot be read.
MidiDevice ReadInput(UINT number) {
    MIDIINCAPSA caps = {};
    if (midiInGetDevCapsA(number, &caps, sizeof caps)) return {};
    return MakeDevice(number, caps.szPname, 0);
}

MidiDevice ReadOutput(UINT number) {
    MIDIOUTCAPSA caps = {};
    if (midiOutGetDevCapsA(number, &caps, sizeof caps)) return {};
    return MakeDevice(number, caps.szPname, caps.dwSupport);
}

DeviceList ReadAll(UINT devices, MidiDevice (*read)(UINT number)) {
    DeviceList list;
    for (UINT number = 0; number < devices; ++number) list.push_back(read(number));
    return list;
}

DeviceList Choices(DeviceList devices, std::initializer_list<MidiDevice> others) {
    std::erase_if(devices, [](const MidiDevice& device) { return device.ID == NoDevice; });
    devices.insert(devices.end(), others);
    return devices;
}

MidiDevice NoDeviceChoice() {
    MidiDevice none;
    LoadText(NoDeviceName, none.Name);
    return none;
}

} // namespace

DeviceList ReadInputs() { return ReadAll(midiInGetNumDevs(), ReadInput); }
DeviceList ReadOutputs() { return ReadAll(midiOutGetNumDevs(), ReadOutput); }

// Never destroyed: a host may start and stop playback while static objects are destroyed.
DeviceLists& KnownDevices() {
    static DeviceLists& known = *new DeviceLists;
    return known;
}

DeviceList InputChoices() { return Choices(ReadInputs(), {NoDeviceChoice()}); }
DeviceList OutputChoices() { return Choices(ReadOutputs(), {DefaultOutput(), NoDeviceChoice()}); }

bool SameName(const char* one, const char* other) { return Trimmed(one) == Trimmed(other); }

const MidiDevice* FindByName(const DeviceList& devices, const char* name) {
    const auto found = std::ranges::find_if(devices, [name](const MidiDevice& device) {
        return device.ID != NoDevice && SameName(device.Name, name);
    });
    return found != devices.end() ? &*found : nullptr;
}

MidiDevice ChooseInput(const DeviceList& inputs) {
    char midi[NameSize], mpu401[NameSize];
    LoadText(MidiInName, midi);
    LoadText(Mpu401InName, mpu401);
    MidiDevice first, named401;
    for (const MidiDevice& device : inputs) {
        if (device.ID == NoDevice) continue;
        char upper[NameSize];
        std::memcpy(upper, device.Name, sizeof upper);
        UpperCase(upper);
        if (std::strstr(upper, midi)) return device;
        if (named401.ID == NoDevice && std::strstr(upper, mpu401)) named401 = device;
        if (first.ID == NoDevice) first = device;
    }
    return named401.ID != NoDevice ? named401 : first;
}

MidiDevice DefaultOutput() {
    MidiDevice device;
    device.ID = MapperDevice;
    LoadText(MapperName, device.Name);
    return device;
}

MidiDevice InputFor(int row, const char* name, const DeviceList& inputs) {
    if (const MidiDevice* const found = FindByName(inputs, name)) return *found;
    return row == 0 ? ChooseInput(inputs) : MidiDevice();
}

MidiDevice OutputFor(int row, const char* name, const DeviceList& outputs) {
    const MidiDevice standard = DefaultOutput();
    if (SameName(name, standard.Name)) return standard;
    if (const MidiDevice* const found = FindByName(outputs, name)) return *found;
    return row == 0 ? standard : MidiDevice();
}

DWORD SupportOf(std::int32_t number, const char* name) {
    const MidiDevice device = ReadOutput(static_cast<UINT>(number));
    if (number == MapperDevice || SameName(device.Name, name)) return device.Support;
    const DeviceList outputs = ReadOutputs();
    const MidiDevice* const found = FindByName(outputs, name);
    return found ? found->Support : 0;
}
