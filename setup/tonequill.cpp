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

// The slider's top is position 0, so its position is 100 less the percentage. The scales of the
// level stand in pitchrec/pitch_rec.h.
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

// What the list shows.
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

// A list that is down stands still under the user's eyes.
void FollowDevices(HWND dialog) {
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

// The dialog that has ended last. The system tells it of a lost focus on its way out, which is no
// leaving of a field any more.
HWND EndedDialog = nullptr;

void OpenDialog(HWND dialog) {
    if (dialog == EndedDialog) EndedDialog = nullptr; // the same handle once more
    ReadPRecSettings();
    // Zero-based in memory: a typed 0 is kept as -1, and shows as 0 again.
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

// A field that is still being edited counts as left: what is shown is what is stored.
void LeaveField(HWND dialog) { SetFocus(GetDlgItem(dialog, IDOK)); }

void CloseDialog(HWND dialog, INT_PTR result) {
    EndedDialog = dialog;
    KillTimer(dialog, TickTimer);
    EndDialog(dialog, result);
}

// Notes sung into the dialog are nobody's.
void DropNotes() {
    std::int32_t time, status, data1, data2;
    while (Recogniser->GetNote(&time, &status, &data1, &data2)) {
    }
}

// A mixer that another program moves, or that does not obey, takes the slider along. A difference
// of 1 comes from rounding.
void FollowMixer(HWND dialog) {
    const int percent = LevelPercent();
    if (std::abs(percent - SliderPercent(dialog)) > 1)
        Slider(dialog, TBM_SETPOS, TRUE, FullScale - percent);
}

void Tick(HWND dialog) {
    if (Recogniser && Recogniser->IsRunning()) {
        DropNotes();
        PRecLevel = Recogniser->GetSignalLevel();
    }
    PaintMeter(GetDlgItem(dialog, Meter), PRecLevel);
    FollowMixer(dialog);
    FollowDevices(dialog);
}

void SliderMoved(HWND dialog) {
    if (Recogniser) Recogniser->SetMicLevel(SliderPercent(dialog) * FullLevel / FullScale);
}

// Level and mic-through belong to the device's own mixer, so both may have changed with it. The
// slider follows by itself.
void DeviceChosen(HWND dialog) {
    const LRESULT index = Devices(dialog, CB_GETCURSEL);
    if (!Recogniser || index < 0) return;
    const bool chosen = ChoosePRecDevice(Microphones.NameAt(static_cast<std::int32_t>(index)));
    // The other capture class has a list of its own.
    if (!chosen || Microphones.IsStale()) ShowDevices(dialog);
    ShowMicThru(dialog);
}

// Numbers that are none count as 0.
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

// Where there is no volume program, as since Windows Vista, the system's sound settings have the
// level of a microphone; they open with the recording or the playback devices in front.
void OpenVolumeProgram(HWND dialog, const char* parameters, const char* settings) {
    constexpr INT_PTR refused = 32; // and below
    const HINSTANCE opened =
        ShellExecuteA(dialog, nullptr, "sndvol32.exe", parameters, nullptr, SW_SHOWNORMAL);
    if (reinterpret_cast<INT_PTR>(opened) <= refused)
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
