// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "mme/setup_dialog.h"

#include "engine/driver_table.h"
#include "engine/library_instance.h"
#include "mme/devices.h"

using namespace midisetup;

namespace {

// 1: the large layout is shown. Kept from one opening of the dialog to the next.
std::uint8_t AdvancedShown = 0;

// A drop-down list of devices. The data of an entry is its device number, in the low 16 bits.
class ChoiceList {
public:
    ChoiceList(HWND dialog, int id, const DeviceList& choices)
        : List(GetDlgItem(dialog, id)), Choices(choices) {
        for (const MidiDevice& choice : choices) Add(choice);
    }
    // Selects the choice with that name, else the first entry that begins with it, else "no
    // device".
    void Select(const char* name) const {
        const MidiDevice* const exact = name[0] ? FindByName(Choices, name) : nullptr;
        LRESULT index = exact ? EntryOf(exact->ID) : name[0] ? Find(name) : CB_ERR;
        if (index < 0) index = EntryOf(NoDevice);
        SendMessageA(List, CB_SETCURSEL, static_cast<WPARAM>(index), 0);
    }

private:
    // The list is sorted, and names may be equal or share a beginning, so only the returned index
    // identifies the new entry.
    void Add(const MidiDevice& choice) const {
        const auto name = reinterpret_cast<LPARAM>(choice.Name);
        const LRESULT index = SendMessageA(List, CB_ADDSTRING, 0, name);
        if (index >= 0) SendMessageA(List, CB_SETITEMDATA, static_cast<WPARAM>(index), choice.ID);
    }
    LRESULT Find(const char* name) const {
        return SendMessageA(List, CB_FINDSTRING, static_cast<WPARAM>(-1),
                            reinterpret_cast<LPARAM>(name));
    }
    LRESULT EntryOf(std::int32_t device) const {
        for (std::size_t index = 0; index < Choices.size(); ++index) {
            const LRESULT data = SendMessageA(List, CB_GETITEMDATA, index, 0);
            if (static_cast<std::int16_t>(data) == device) return static_cast<LRESULT>(index);
        }
        return CB_ERR;
    }
    HWND List;
    const DeviceList& Choices;
};

template <typename Port>
void ShowRow(HWND dialog, const Port& port, int list, int base, const DeviceList& choices) {
    ChoiceList(dialog, list, choices).Select(port.Name);
    SetDlgItemInt(dialog, base, static_cast<UINT>(port.BaseChannel + 1), TRUE);
}

void ShowAdvancedButton(HWND dialog, UINT id) {
    char text[30] = "";
    LoadStringA(ModuleInstance, id, text, sizeof text);
    SetDlgItemTextA(dialog, Advanced, text);
}

void OpenDialog(HWND dialog) {
    LoadMMEConfig();
    const DeviceList inputs = InputChoices(), outputs = OutputChoices();
    for (int row = 0; row < PortRows; ++row)
        ShowRow(dialog, InPorts[row], InDevice + row, InBase + row, inputs);
    for (int row = 0; row < PortRows; ++row)
        ShowRow(dialog, OutPorts[row], OutDevice + row, OutBase + row, outputs);
    CheckDlgButton(dialog, SyncChoice + SyncMaster, BST_CHECKED);
    CheckDlgButton(dialog, MidiOutResetBox, MidiOutReset ? BST_CHECKED : BST_UNCHECKED);
    SetWindowLongPtrA(dialog, DWLP_USER, Resource);
    char version[VersionTextSize];
    VersionText(ZorMIDIDriverVersion(nullptr), version);
    SetDlgItemTextA(dialog, Version, version);
    AdvancedShown = SizeMIDISetup(dialog, AdvancedShown);
    if (AdvancedShown) ShowAdvancedButton(dialog, HideAdvancedText);
}

void SwitchLayout(HWND dialog) {
    AdvancedShown = SizeMIDISetup(dialog, !AdvancedShown);
    ShowAdvancedButton(dialog, AdvancedShown ? HideAdvancedText : ShowAdvancedText);
}

// Compares the whole parameter: a click has the notification code 0 in its high word.
INT_PTR Command(HWND dialog, WPARAM command) {
    switch (command) {
    case IDOK:
        if (SaveMIDISetup(dialog)) EndDialog(dialog, 1);
        return 1;
    case IDCANCEL:
        EndDialog(dialog, 0);
        return 1;
    case Advanced:
        SwitchLayout(dialog);
        return 0;
    case Help:
        PostMessageA(GetParent(dialog), HelpMessage, 0, reinterpret_cast<LPARAM>(dialog));
        return 1;
    default:
        return 0;
    }
}

} // namespace

INT_PTR CALLBACK MIDISetupProc(HWND dialog, UINT message, WPARAM first, LPARAM) {
    switch (message) {
    case WM_INITDIALOG:
        OpenDialog(dialog);
        return 1;
    case WM_COMMAND:
        return Command(dialog, first);
    default:
        return 0;
    }
}

std::uint8_t SizeMIDISetup(HWND dialog, std::uint8_t large) {
    const HWND corner = GetDlgItem(dialog, large ? LargeCorner : SmallCorner);
    if (!corner) return large;
    RECT place = {}, end = {};
    GetWindowRect(dialog, &place);
    GetWindowRect(corner, &end);
    const LONG width = end.left - place.left, height = end.top - place.top;
    MoveWindow(dialog, static_cast<int>(place.left), static_cast<int>(place.top),
               static_cast<int>(width), static_cast<int>(height), TRUE);

    // Disable controls outside the layout, so that the Tab key skips them.
    for (HWND child = GetWindow(dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        RECT at = {};
        GetWindowRect(child, &at);
        const bool inside = at.left - place.left < width && at.top - place.top < height;
        if (!inside)
            EnableWindow(child, FALSE);
        else if (IsWindowVisible(child))
            EnableWindow(child, TRUE);
    }

    for (const int id : {InBaseLabel, SyncLabel, OutBaseLabel, InBase, SyncChoice, OutBase})
        ShowWindow(GetDlgItem(dialog, id), large ? SW_SHOW : SW_HIDE);
    return large;
}

void MMEConfig(HWND parent) {
    AbandonPortsLeftOpen(); // LoadMMEConfig does nothing while a port is open
    DialogBoxParamA(ModuleInstance, MAKEINTRESOURCEA(Resource), parent, MIDISetupProc, 0);
}
