// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "setup/tonequill.h"

#include "engine/driver_table.h"
#include "engine/library_instance.h"
#include "pitchrec/driver/listening.h"
#include "pitchrec/driver/microphone_list.h"
#include "pitchrec/driver/prec_driver.h"
#include "support/error_box.h"

#include <cstdlib>

using namespace tonequill;

namespace {

// Position 0 is the slider's top, so its position is 100 minus the percentage. The level's range is
// documented in pitchrec/pitch_rec.h.
constexpr int FullScale = 100, FullLevel = 255;

int LevelPercent() {
    const int level = Recogniser ? Recogniser->GetMicLevel() : 0;
    return (FullScale * level + 127) / FullLevel;
}

LRESULT Slider(HWND dialog, UINT message, WPARAM first, LPARAM second) {
    return SendDlgItemMessageA(dialog, LevelSlider, message, first, second);
}
int SliderPercent(HWND dialog) {
    return FullScale - static_cast<int>(Slider(dialog, TBM_GETPOS, 0, 0));
}

// The devices in the list.
MicrophoneList Microphones;

LRESULT Devices(HWND dialog, UINT message, WPARAM first = 0, LPARAM second = 0) {
    return SendMessageA(GetDlgItem(dialog, DeviceList), message, first, second);
}

void ShowDevices(HWND dialog) {
    Microphones.Read();
    Devices(dialog, CB_RESETCONTENT);
    const Sonorel::TextStringArray& names = Microphones.Names();
    for (std::int32_t index = 0; index < names.Count; ++index)
        Devices(dialog, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(names.Items[index]->Text()));
    Devices(dialog, CB_SETCURSEL, static_cast<WPARAM>(Microphones.CurrentIndex()));
}

// An opened list is not refreshed, so that its entries do not move while the user chooses.
void RefreshDevices(HWND dialog) {
    if (!Devices(dialog, CB_GETDROPPEDSTATE) && Microphones.IsStale()) ShowDevices(dialog);
}

void ShowLevel(HWND dialog) {
    Slider(dialog, TBM_SETPAGESIZE, 0, 0);
    Slider(dialog, TBM_SETTICFREQ, 10, 0);
    Slider(dialog, TBM_SETRANGEMIN, FALSE, 0);
    Slider(dialog, TBM_SETRANGEMAX, FALSE, FullScale);
    Slider(dialog, TBM_SETPOS, TRUE, FullScale - LevelPercent());
}

void ShowMicThru(HWND dialog) {
    const bool through = Recogniser && Recogniser->GetMicThru() != 0;
    CheckDlgButton(dialog, MicThru, through ? BST_CHECKED : BST_UNCHECKED);
}

// The dialog that ended last. While it closes, the system still sends it EN_KILLFOCUS, which must
// be ignored.
HWND EndedDialog = nullptr;

void OpenDialog(HWND dialog) {
    if (dialog == EndedDialog) EndedDialog = nullptr; // the system reuses handles
    ReadPRecSettings();
    // Zero-based in memory: a typed 0 is stored as -1 and shown as 0.
    const int channel = static_cast<std::int16_t>(PRecChannel.load()) + 1;
    SetDlgItemInt(dialog, ChannelField, static_cast<UINT>(channel), FALSE);
    ShowDevices(dialog);
    ShowLevel(dialog);
    ShowMicThru(dialog);
    CheckDlgButton(dialog, EnableBox, EnablePitchRec ? BST_CHECKED : BST_UNCHECKED);
    SetDlgItemInt(dialog, RangeMinField, NoteRangeMin & 0xFFu, FALSE);
    SetDlgItemInt(dialog, RangeMaxField, NoteRangeMax & 0xFFu, FALSE);
    SetTimer(dialog, TickTimer, TickMilliseconds, nullptr);
    SetWindowLongPtrA(dialog, DWLP_USER, Resource);
}

// Ends the editing of a field, so that the shown value is stored.
void LeaveField(HWND dialog) { SetFocus(GetDlgItem(dialog, IDOK)); }

void CloseDialog(HWND dialog, INT_PTR result) {
    EndedDialog = dialog;
    KillTimer(dialog, TickTimer);
    EndDialog(dialog, result);
}

// Discards the notes that the recogniser found during the dialog.
void DiscardNotes() {
    std::int32_t time, status, data1, data2;
    while (Recogniser->GetNote(&time, &status, &data1, &data2)) {
    }
}

// Moves the slider to the mixer's level, which other programs may change. A difference of 1 is a
// rounding error.
void RefreshLevel(HWND dialog) {
    const int percent = LevelPercent();
    if (std::abs(percent - SliderPercent(dialog)) > 1)
        Slider(dialog, TBM_SETPOS, TRUE, FullScale - percent);
}

void Tick(HWND dialog) {
    if (Recogniser && Recogniser->IsRunning()) {
        DiscardNotes();
        PRecLevel = Recogniser->GetSignalLevel();
    }
    PaintMeter(GetDlgItem(dialog, Meter), PRecLevel);
    RefreshLevel(dialog);
    RefreshDevices(dialog);
}

void SliderMoved(HWND dialog) {
    if (Recogniser) Recogniser->SetMicLevel(SliderPercent(dialog) * FullLevel / FullScale);
}

// Level and mic-through are values of the device's mixer, so both may differ on the new device. The
// next tick updates the slider.
void DeviceChosen(HWND dialog) {
    const LRESULT index = Devices(dialog, CB_GETCURSEL);
    if (!Recogniser || index < 0) return;
    const bool chosen = ChoosePRecDevice(Microphones.NameAt(static_cast<std::int32_t>(index)));
    // The two capture classes list different devices.
    if (!chosen || Microphones.IsStale()) ShowDevices(dialog);
    ShowMicThru(dialog);
}

// Text that is no number counts as 0.
UINT ReadNumber(HWND dialog, int id) { return GetDlgItemInt(dialog, id, nullptr, FALSE); }

void FieldLeft(HWND dialog, int id) {
    if (dialog == EndedDialog) return;
    const UINT number = ReadNumber(dialog, id);
    switch (id) {
    case ChannelField:
        PRecChannel = static_cast<std::uint16_t>(number - 1);
        break;
    case RangeMinField:
        NoteRangeMin = static_cast<std::uint16_t>(number & 0xFF);
        break;
    case RangeMaxField:
        NoteRangeMax = static_cast<std::uint16_t>(number & 0xFF);
        break;
    }
}

// Opens the volume program with these parameters. Windows Vista and later have none: opens the
// sound settings instead, on the page of the recording or playback devices.
void OpenVolumeProgram(HWND dialog, const char* parameters, const char* settings) {
    constexpr INT_PTR failed = 32; // and below
    const HINSTANCE opened =
        ShellExecuteA(dialog, nullptr, "sndvol32.exe", parameters, nullptr, SW_SHOWNORMAL);
    if (reinterpret_cast<INT_PTR>(opened) <= failed)
        ShellExecuteA(dialog, nullptr, "control.exe", settings, nullptr, SW_SHOWNORMAL);
}

INT_PTR Command(HWND dialog, int id, WORD code) {
    switch (id) {
    case IDOK:
        LeaveField(dialog);
        if (!WritePRecSettings()) Sonorel::ShowNotSavedBox(dialog, "Tonequill", IniPath);
        CloseDialog(dialog, 1);
        return 1;
    case IDCANCEL:
        CloseDialog(dialog, 0);
        return 1;
    case ChannelField:
    case RangeMinField:
    case RangeMaxField:
        if (code != EN_KILLFOCUS) return 0;
        FieldLeft(dialog, id);
        return 1;
    case MicThru:
        if (Recogniser) Recogniser->SetMicThru(IsDlgButtonChecked(dialog, MicThru) ? 1 : 0);
        return 1;
    case EnableBox:
        EnablePitchRec = !EnablePitchRec;
        return 1;
    case DeviceList:
        if (code != CBN_SELCHANGE) return 0;
        DeviceChosen(dialog);
        return 1;
    case OutputVolume:
        OpenVolumeProgram(dialog, nullptr, "mmsys.cpl,,0");
        return 1;
    case InputVolume:
        OpenVolumeProgram(dialog, " /r", "mmsys.cpl,,1");
        return 1;
    case Help:
        PostMessageA(GetParent(dialog), HelpMessage, 0, reinterpret_cast<LPARAM>(dialog));
        return 1;
    default:
        return 0;
    }
}

} // namespace

INT_PTR CALLBACK PRecSetupProc(HWND dialog, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
    case WM_INITDIALOG:
        OpenDialog(dialog);
        return 1;
    case WM_COMMAND:
        return Command(dialog, LOWORD(first), HIWORD(first));
    case WM_TIMER:
        Tick(dialog);
        return 1;
    case WM_VSCROLL:
        if (GetDlgCtrlID(reinterpret_cast<HWND>(second)) != LevelSlider) return 0;
        SliderMoved(dialog);
        return 1;
    default:
        return 0;
    }
}
