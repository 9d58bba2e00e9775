// Filling the port tables from the ini file and the devices present.
#include "engine/module.h"
#include "mme/ports.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr char Section[] = "MMEDRVR";

// A numbered key, such as InName1 for row 0.
struct Key {
    char Text[24];
    Key(const char* name, int row) { std::snprintf(Text, sizeof Text, "%s%d", name, row + 1); }
};

int ReadInt(const char* key, int fallback) {
    return static_cast<int>(GetPrivateProfileIntA(Section, key, fallback, IniPath));
}

// A row's device name; false if the file has none.
bool ReadName(const char* key, int row, char (&name)[NameSize]) {
    char text[NameSize];
    if (!GetPrivateProfileStringA(Section, Key(key, row).Text, "", text, sizeof text, IniPath))
        return false;
    std::memcpy(name, text, sizeof text);
    return true;
}

// Stored from 1 up. A file edited by hand may hold anything: below 1 is taken as 1, and the top
// leaves room for the port's 16 channels.
std::int16_t ReadBase(const char* key, int row) {
    const int stored = ReadInt(Key(key, row).Text, PortChannels * row + 1);
    return static_cast<std::int16_t>(std::clamp(stored, 1, 0x8000 - PortChannels) - 1);
}

void LoadText(UINT id, char (&text)[NameSize]) {
    text[0] = '\0';
    LoadStringA(ModuleInstance, id, text, sizeof text);
}

bool SameName(const char* one, const char* other) { return !std::strncmp(one, other, NameSize); }

// Names of the system's devices hold no letters outside ASCII worth folding.
void UpperCase(char (&text)[NameSize]) {
    for (char& c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
}

bool InputName(int device, char (&name)[NameSize]) {
    MIDIINCAPSA caps = {};
    if (midiInGetDevCapsA(static_cast<UINT>(device), &caps, sizeof caps)) return false;
    std::memcpy(name, caps.szPname, sizeof name);
    name[NameSize - 1] = '\0';
    return true;
}

struct Candidate {
    std::int32_t DeviceID = NoDevice;
    char Name[NameSize] = "";
    void Take(int device, const char (&name)[NameSize]) {
        if (DeviceID != NoDevice) return;
        DeviceID = device;
        std::memcpy(Name, name, sizeof Name);
    }
};

// Until the user chooses: a device that calls itself MIDI, else one like an MPU-401, else the
// first.
Candidate ChooseInput() {
    char midi[NameSize], mpu401[NameSize];
    LoadText(MidiInName, midi);
    LoadText(Mpu401InName, mpu401);
    Candidate first, namedMidi, named401;
    const int devices = static_cast<int>(midiInGetNumDevs());
    for (int device = 0; device < devices; ++device) {
        char name[NameSize], upper[NameSize];
        if (!InputName(device, name)) continue;
        std::memcpy(upper, name, sizeof upper);
        UpperCase(upper);
        first.Take(device, name);
        if (std::strstr(upper, midi)) namedMidi.Take(device, name);
        if (std::strstr(upper, mpu401)) named401.Take(device, name);
    }
    if (namedMidi.DeviceID != NoDevice) return namedMidi;
    return named401.DeviceID != NoDevice ? named401 : first;
}

void LoadInput(int row) {
    MMEInPort& port = InPorts[row];
    const Candidate choice = row == 0 ? ChooseInput() : Candidate();
    std::memcpy(port.Name, choice.Name, sizeof port.Name);
    port.DeviceID = choice.DeviceID;
    if (!ReadName("InName", row, port.Name)) return;
    port.BaseChannel = ReadBase("InBase", row);
    const int devices = static_cast<int>(midiInGetNumDevs());
    for (int device = 0; device < devices; ++device) {
        char name[NameSize];
        if (!InputName(device, name) || !SameName(name, port.Name)) continue;
        port.DeviceID = device;
        return;
    }
}

void FindOutput(MMEOutPort& port) {
    const int devices = static_cast<int>(midiOutGetNumDevs());
    for (int device = 0; device < devices; ++device) {
        MIDIOUTCAPSA caps = {};
        if (midiOutGetDevCapsA(static_cast<UINT>(device), &caps, sizeof caps)) continue;
        if (!SameName(caps.szPname, port.Name)) continue;
        port.DeviceID = device;
        port.Support = caps.dwSupport;
        return;
    }
}

void LoadOutput(int row) {
    MMEOutPort& port = OutPorts[row];
    char mapper[NameSize];
    LoadText(MapperName, mapper);
    port.Name[0] = '\0';
    if (row == 0) std::memcpy(port.Name, mapper, sizeof mapper);
    port.DeviceID = row == 0 ? MapperDevice : NoDevice;
    if (!ReadName("OutName", row, port.Name)) return;
    port.BaseChannel = ReadBase("OutBase", row);
    if (SameName(port.Name, mapper))
        port.DeviceID = MapperDevice;
    else
        FindOutput(port);
    port.OutMatch = ReadInt(Key("OutMatch", row).Text, 1) != 0;
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
    for (int row = 0; row < PortRows; ++row) LoadInput(row);
    for (int row = 0; row < PortRows; ++row) LoadOutput(row);
    MidiOutReset = ReadInt("MidiOutReset", 0) != 0;
    const auto master = static_cast<std::int16_t>(ReadInt("SyncMaster", 0));
    SyncMaster = std::clamp<std::int16_t>(master, 0, PortRows - 1);
}
