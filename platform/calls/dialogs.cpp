// Running modal dialogs.
#include "platform/calls/dialogs.h"

#include "platform/machine/dialogs.h"
#include "platform/machine/faults.h"
#include "platform/machine/power.h"
#include "platform/ui/windows.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <strings.h>
#include <utility>

namespace machine {
namespace {

std::atomic<HWND> openDialog{nullptr}; // the one in front, null for none
thread_local ui::Dialog* shown = nullptr;
thread_local Screen* on = nullptr;
std::string error;

const AtPowerOn atPowerOn([] {
    UseScreen(nullptr);
    error.clear();
});

} // namespace

INT_PTR RunDialog(Screen& screen, ui::Dialog& dialog, LPARAM init) {
    ui::Dialog* const around = std::exchange(shown, &dialog);
    Screen* const before = std::exchange(on, &screen);
    const HWND behind = openDialog.exchange(dialog.Handle);
    dialog.Start(init);
    if (!dialog.Ended) screen.Run(dialog);
    ui::DispatchPosted();
    openDialog = behind;
    on = before;
    shown = around;
    return dialog.Result;
}

Screen* ScreenHere() { return on; }

std::string DialogError() { return error; }

bool CloseDialog() {
    if (!ui::Post(openDialog, WM_CLOSE, 0, 0)) return false;
    WakeScreen();
    return true;
}

void* CreateHostWindow(WindowProcedure procedure) {
    return ui::NewWindow({.Hear = std::move(procedure)});
}
void DestroyHostWindow(void* window) { ui::DropWindow(static_cast<HWND>(window)); }

} // namespace machine

namespace zorsystem {

using namespace machine;

INT_PTR DialogBoxParamA(HINSTANCE module, LPCSTR resource, HWND parent, DLGPROC procedure,
                        LPARAM init) {
    if (const Failure failure{Call::DialogBoxParamA}) return failure;
    const auto id = static_cast<int>(reinterpret_cast<std::uintptr_t>(resource));
    const auto& dialogs = ui::ResourcesOf(module).Dialogs;
    const auto form = std::ranges::find(dialogs, id, &ui::DialogTemplate::Id);
    error.clear();
    Screen* screen = form != dialogs.end() ? TheScreen(error) : nullptr;
    if (!screen) return -1;
    ui::Dialog dialog(*form, screen->Measure(), parent, procedure);
    return RunDialog(*screen, dialog, init);
}

HWND GetFocus() { return shown && shown->Focus ? shown->Focus->Handle : nullptr; }

// Of the volume program it tells the user if there is none.
HINSTANCE ShellExecuteA(HWND owner, LPCSTR, LPCSTR file, LPCSTR parameters, LPCSTR, int) {
    constexpr std::intptr_t started = 42; // any number above 32
    constexpr std::intptr_t notFound = 2;
    const bool recording = parameters && std::strstr(parameters, "/r");
    const bool volume = strcasecmp(file, "sndvol32.exe") == 0;
    const bool done = on && volume && on->OpenVolume(recording);
    if (volume && !done)
        MessageBoxA(owner, "No volume program was found. pavucontrol is one that can be installed.",
                    "Volume", MB_ICONEXCLAMATION);
    return reinterpret_cast<HINSTANCE>(done ? started : notFound);
}

} // namespace zorsystem
