// What OK does in the MIDI Setup dialog.
#include "engine/module.h"
#include "mme/ini_keys.h"
#include "mme/ports.h"
#include "mme/profile.h"
#include "mme/setup_dialog.h"

#include <algorithm>
#include <cstring>

using namespace midisetup;

namespace {

constexpr int HighestBase = 64; // one-based, as the user counts

void WriteInt(const char* name, int row, std::int32_t value) {
    WriteProfileInt(MMESection, RowKey(name, row).Text, value, IniPath);
}

void WriteText(const char* name, int row, const char* text) {
    WritePrivateProfileStringA(MMESection, RowKey(name, row).Text, text, IniPath);
}

// The entry chosen in a list of devices.
struct Choice {
    std::int32_t DeviceID;
    char Name[NameSize];
};

Choice ReadChoice(HWND dialog, int id) {
    Choice choice = {NoDevice, ""};
    const HWND list = GetDlgItem(dialog, id);
    const LRESULT index = SendMessageA(list, CB_GETCURSEL, 0, 0);
    if (index < 0) return choice;
    const LRESULT data = SendMessageA(list, CB_GETITEMDATA, static_cast<WPARAM>(index), 0);
    choice.DeviceID = static_cast<std::int16_t>(data);
    // The list says how long the text is before it writes it anywhere.
    const LRESULT length = SendMessageA(list, CB_GETLBTEXTLEN, static_cast<WPARAM>(index), 0);
    if (length >= 0 && length < NameSize)
        SendMessageA(list, CB_GETLBTEXT, static_cast<WPARAM>(index),
                     reinterpret_cast<LPARAM>(choice.Name));
    return choice;
}

// Zero-based. What is out of range is brought into it without a word.
std::int16_t ReadBase(HWND dialog, int id) {
    const int typed = static_cast<int>(GetDlgItemInt(dialog, id, nullptr, TRUE));
    return static_cast<std::int16_t>(std::clamp(typed, 1, HighestBase) - 1);
}

template <typename Port>
bool StandsBefore(const Port* ports, int row, std::int32_t device) {
    return std::any_of(ports, ports + row,
                       [device](const Port& port) { return port.DeviceID == device; });
}

std::uint8_t Refuse(HWND dialog) {
    char caption[30] = "", text[128] = "";
    LoadStringA(ModuleInstance, MapperName, caption, sizeof caption);
    LoadStringA(ModuleInstance, DeviceTwiceText, text, sizeof text);
    MessageBoxA(dialog, text, caption, MB_OK | MB_ICONEXCLAMATION | MB_TASKMODAL);
    return 0;
}

template <typename Port>
void Take(Port& port, const Choice& choice) {
    std::memcpy(port.Name, choice.Name, sizeof port.Name);
    std::memcpy(port.DeviceName, choice.Name, sizeof port.DeviceName);
    port.DeviceID = choice.DeviceID;
}

bool SaveInput(HWND dialog, int row) {
    MMEInPort& port = InPorts[row];
    const Choice choice = ReadChoice(dialog, InDevice + row);
    if (choice.DeviceID == NoDevice)
        port.Clear();
    else if (StandsBefore(InPorts, row, choice.DeviceID))
        return false;
    Take(port, choice);
    if (IsDlgButtonChecked(dialog, SyncChoice + row)) SyncMaster = static_cast<std::int16_t>(row);
    port.BaseChannel = ReadBase(dialog, InBase + row);
    WriteText("InName", row, port.Name);
    WriteInt("InBase", row, port.BaseChannel + 1);
    return true;
}

// The default device counts like any other here: two rows on it would open it twice.
bool SaveOutput(HWND dialog, int row) {
    MMEOutPort& port = OutPorts[row];
    const Choice choice = ReadChoice(dialog, OutDevice + row);
    if (choice.DeviceID == NoDevice) {
        port.Clear();
        port.OutMatch = 1;
    } else if (StandsBefore(OutPorts, row, choice.DeviceID))
        return false;
    Take(port, choice);
    port.BaseChannel = ReadBase(dialog, OutBase + row);
    if (choice.DeviceID != NoDevice) {
        MIDIOUTCAPSA caps = {};
        midiOutGetDevCapsA(static_cast<UINT>(choice.DeviceID), &caps, sizeof caps);
        port.Support = caps.dwSupport;
    }
    WriteText("OutName", row, port.Name);
    WriteInt("OutBase", row, port.BaseChannel + 1);
    WriteInt("OutMatch", row, port.OutMatch);
    return true;
}

} // namespace

std::uint8_t SaveMIDISetup(HWND dialog) {
    for (int row = 0; row < PortRows; ++row)
        if (!SaveInput(dialog, row)) return Refuse(dialog);
    for (int row = 0; row < PortRows; ++row)
        if (!SaveOutput(dialog, row)) return Refuse(dialog);
    MidiOutReset = IsDlgButtonChecked(dialog, ResetOutputs) != 0;
    WriteProfileInt(MMESection, "MidiOutReset", MidiOutReset, IniPath);
    WriteProfileInt(MMESection, "SyncMaster", SyncMaster, IniPath);
    return 1;
}
