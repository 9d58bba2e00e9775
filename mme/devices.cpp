#include "mme/devices.h"

#include "engine/module.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

std::string_view WithoutBlanksAtTheEnd(const char* name) {
    const std::string_view text(name, strnlen(name, NameSize));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

void LoadText(UINT id, char (&text)[NameSize]) {
    text[0] = '\0';
    LoadStringA(ModuleInstance, id, text, sizeof text);
}

// Names of the system's devices hold no letters outside ASCII worth folding.
void UpperCase(char (&text)[NameSize]) {
    for (char& c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
}

MidiDevice Named(UINT number, const char (&name)[MAXPNAMELEN], DWORD support) {
    static_assert(MAXPNAMELEN == NameSize);
    MidiDevice device;
    device.ID = static_cast<std::int32_t>(number);
    std::memcpy(device.Name, name, sizeof device.Name);
    device.Name[NameSize - 1] = '\0';
    device.Support = support;
    return device;
}

// The device at a number; none if there is none, or it does not say its name.
MidiDevice InputAt(UINT number) {
    MIDIINCAPSA caps = {};
    if (midiInGetDevCapsA(number, &caps, sizeof caps)) return {};
    return Named(number, caps.szPname, 0);
}

MidiDevice OutputAt(UINT number) {
    MIDIOUTCAPSA caps = {};
    if (midiOutGetDevCapsA(number, &caps, sizeof caps)) return {};
    return Named(number, caps.szPname, caps.dwSupport);
}

bool Bears(const MidiDevice& device, const char* name) {
    return device.ID != NoDevice && SameName(device.Name, name);
}

MidiDevice Find(UINT devices, MidiDevice (*at)(UINT number), const char* name) {
    for (UINT number = 0; number < devices; ++number) {
        const MidiDevice device = at(number);
        if (Bears(device, name)) return device;
    }
    return {};
}

std::vector<MidiDevice> All(UINT devices, MidiDevice (*at)(UINT number)) {
    std::vector<MidiDevice> all;
    for (UINT number = 0; number < devices; ++number) {
        const MidiDevice device = at(number);
        if (device.ID != NoDevice) all.push_back(device);
    }
    return all;
}

MidiDevice None() {
    MidiDevice none;
    LoadText(NoDeviceName, none.Name);
    return none;
}

} // namespace

std::vector<MidiDevice> InputChoices() {
    std::vector<MidiDevice> all = All(midiInGetNumDevs(), InputAt);
    all.push_back(None());
    return all;
}

std::vector<MidiDevice> OutputChoices() {
    std::vector<MidiDevice> all = All(midiOutGetNumDevs(), OutputAt);
    all.insert(all.end(), {DefaultOutput(), None()});
    return all;
}

bool SameName(const char* one, const char* other) {
    return WithoutBlanksAtTheEnd(one) == WithoutBlanksAtTheEnd(other);
}

MidiDevice ChooseInput() {
    char midi[NameSize], mpu401[NameSize];
    LoadText(MidiInName, midi);
    LoadText(Mpu401InName, mpu401);
    MidiDevice first, named401;
    const UINT devices = midiInGetNumDevs();
    for (UINT number = 0; number < devices; ++number) {
        const MidiDevice device = InputAt(number);
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

MidiDevice InputFor(int row, const char* name) {
    const MidiDevice found = Find(midiInGetNumDevs(), InputAt, name);
    return found.ID == NoDevice && row == 0 ? ChooseInput() : found;
}

MidiDevice OutputFor(int row, const char* name) {
    const MidiDevice standard = DefaultOutput();
    if (SameName(name, standard.Name)) return standard;
    const MidiDevice found = Find(midiOutGetNumDevs(), OutputAt, name);
    return found.ID == NoDevice && row == 0 ? standard : found;
}

std::int32_t InputToOpen(int row) {
    const MMEInPort& port = InPorts[row];
    if (port.DeviceID == NoDevice ||
        Bears(InputAt(static_cast<UINT>(port.DeviceID)), port.DeviceName))
        return port.DeviceID;
    const MidiDevice moved = Find(midiInGetNumDevs(), InputAt, port.DeviceName);
    return moved.ID != NoDevice ? moved.ID : InputFor(row, port.Name).ID;
}

std::int32_t OutputToOpen(int row) {
    const MMEOutPort& port = OutPorts[row];
    if (port.DeviceID < 0 || Bears(OutputAt(static_cast<UINT>(port.DeviceID)), port.DeviceName))
        return port.DeviceID;
    return OutputFor(row, port.DeviceName).ID;
}
