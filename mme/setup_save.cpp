// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Stores the choices of the MIDI Setup dialog when the user clicks OK.
#include "engine/library_instance.h"
#include "mme/settings.h"
#include "mme/setup_dialog.h"
#include "support/error_box.h"

using namespace midisetup;

namespace {

// Reads the controls of a row.
PortSetting ReadRow(HWND dialog, int deviceId, int baseId) {
    PortSetting row;
    row.Base = static_cast<int>(GetDlgItemInt(dialog, baseId, nullptr, TRUE));
    const HWND list = GetDlgItem(dialog, deviceId);
    const LRESULT index = SendMessageA(list, CB_GETCURSEL, 0, 0);
    if (index < 0) return row;
    const LRESULT data = SendMessageA(list, CB_GETITEMDATA, static_cast<WPARAM>(index), 0);
    row.Device = static_cast<std::int16_t>(data);
    // CB_GETLBTEXT has no limit, so check the length first.
    const LRESULT length = SendMessageA(list, CB_GETLBTEXTLEN, static_cast<WPARAM>(index), 0);
    if (length >= 0 && length < NameSize)
        SendMessageA(list, CB_GETLBTEXT, static_cast<WPARAM>(index),
                     reinterpret_cast<LPARAM>(row.Name));
    return row;
}

std::uint8_t ShowDeviceTwice(HWND dialog) {
    char caption[30] = "", text[128] = "";
    LoadStringA(ModuleInstance, MapperName, caption, sizeof caption);
    LoadStringA(ModuleInstance, DeviceTwiceText, text, sizeof text);
    MessageBoxA(dialog, text, caption, MB_OK | MB_ICONEXCLAMATION | MB_TASKMODAL);
    return 0;
}

} // namespace

std::uint8_t SaveMIDISetup(HWND dialog) {
    MMESettings settings;
    settings.SyncMaster = SyncMaster; // stays if no choice is checked
    for (int row = 0; row < PortRows; ++row) {
        settings.Inputs[row] = ReadRow(dialog, InDevice + row, InBase + row);
        settings.Outputs[row] = ReadRow(dialog, OutDevice + row, OutBase + row);
        if (IsDlgButtonChecked(dialog, SyncChoice + row)) settings.SyncMaster = row;
    }
    settings.MidiOutReset = IsDlgButtonChecked(dialog, MidiOutResetBox) != 0;
    const Stored stored = StoreMMESettings(settings);
    if (stored == Stored::Unwritten) Sonorel::ShowNotSavedBox(dialog, "MIDI Setup", IniPath);
    return stored != Stored::DeviceTwice || ShowDeviceTwice(dialog);
}
