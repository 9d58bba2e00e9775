// What OK does in the MIDI Setup dialog.
#include "engine/library_instance.h"
#include "mme/settings.h"
#include "mme/setup_dialog.h"
#include "support/error_box.h"

using namespace midisetup;

namespace {

// What the controls of a row say.
PortSetting ReadRow(HWND dialog, int deviceId, int baseId) {
    PortSetting row;
    row.Base = static_cast<int>(GetDlgItemInt(dialog, baseId, nullptr, TRUE));
    const HWND list = GetDlgItem(dialog, deviceId);
    const LRESULT index = SendMessageA(list, CB_GETCURSEL, 0, 0);
    if (index < 0) return row;
    const LRESULT data = SendMessageA(list, CB_GETITEMDATA, static_cast<WPARAM>(index), 0);
    row.Device = static_cast<std::int16_t>(data);
    // The list says how long the text is before it writes it anywhere.
    const LRESULT length = SendMessageA(list, CB_GETLBTEXTLEN, static_cast<WPARAM>(index), 0);
    if (length >= 0 && length < NameSize)
        SendMessageA(list, CB_GETLBTEXT, static_cast<WPARAM>(index),
                     reinterpret_cast<LPARAM>(row.Name));
    return row;
}

std::uint8_t Refuse(HWND dialog) {
    char caption[30] = "", text[128] = "";
    LoadStringA(ModuleInstance, MapperName, caption, sizeof caption);
    LoadStringA(ModuleInstance, DeviceTwiceText, text, sizeof text);
    MessageBoxA(dialog, text, caption, MB_OK | MB_ICONEXCLAMATION | MB_TASKMODAL);
    return 0;
}

} // namespace

std::uint8_t SaveMIDISetup(HWND dialog) {
    MMESettings settings;
    settings.SyncMaster = SyncMaster; // kept where no choice is checked
    for (int row = 0; row < PortRows; ++row) {
        settings.Inputs[row] = ReadRow(dialog, InDevice + row, InBase + row);
        settings.Outputs[row] = ReadRow(dialog, OutDevice + row, OutBase + row);
        if (IsDlgButtonChecked(dialog, SyncChoice + row)) settings.SyncMaster = row;
    }
    settings.Reset = IsDlgButtonChecked(dialog, ResetOutputs) != 0;
    const Stored stored = StoreMMESettings(settings);
    if (stored == Stored::Unwritten) Sonorel::TellUnwritten(dialog, "MIDI Setup", IniPath);
    return stored != Stored::DeviceTwice || Refuse(dialog);
}
