// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

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

namespace calls {

using device::Screen;

namespace {

std::atomic<HWND> openDialog{nullptr}; // the topmost; null for none
thread_local ui::Dialog* shownDialog = nullptr;
thread_local Screen* shownScreen = nullptr;
std::string error;

const machine::AtPowerOn atPowerOn([] {
    device::UseScreen(nullptr);
    error.clear();
});

} // namespace

INT_PTR RunDialog(Screen& screen, ui::Dialog& dialog, LPARAM init) {
    ui::Dialog* const outerDialog = std::exchange(shownDialog, &dialog);
    Screen* const outerScreen = std::exchange(shownScreen, &screen);
    const HWND outerHandle = openDialog.exchange(dialog.Handle);
    dialog.Start(init);
    if (!dialog.Ended) screen.Run(dialog);
    ui::DispatchPosted();
    openDialog = outerHandle;
    shownScreen = outerScreen;
    shownDialog = outerDialog;
    return dialog.Result;
}

Screen* ScreenOfThisThread() { return shownScreen; }

} // namespace calls

namespace machine {

using namespace calls;

std::string DialogError() { return error; }

bool CloseDialog() {
    if (!ui::Post(openDialog, WM_CLOSE, 0, 0)) return false;
    device::WakeScreen();
    return true;
}

void* CreateHostWindow(WindowProcedure procedure) {
    return ui::NewWindow({.Procedure = std::move(procedure)});
}
void DestroyHostWindow(void* window) { ui::DropWindow(static_cast<HWND>(window)); }

} // namespace machine

namespace zorsystem {

using namespace calls;
using namespace device;
using namespace machine;

INT_PTR DialogBoxParamA(HINSTANCE module, LPCSTR resource, HWND parent, DLGPROC procedure,
                        LPARAM init) {
    if (const Failure failure{Call::DialogBoxParamA}) return failure;
    const auto id = static_cast<int>(reinterpret_cast<std::uintptr_t>(resource));
    const auto& dialogs = ui::ResourcesOf(module).Dialogs;
    const auto form = std::ranges::find(dialogs, id, &ui::DialogTemplate::Id);
    error.clear();
    Screen* screen = form != dialogs.end() ? CurrentScreen(error) : nullptr;
    if (!screen) return -1;
    ui::Dialog dialog(*form, screen->Measure(), parent, procedure);
    return RunDialog(*screen, dialog, init);
}

HWND GetFocus() { return shownDialog && shownDialog->Focus ? shownDialog->Focus->Handle : nullptr; }

// Starts no program but the volume program, and shows a message box if none is installed.
HINSTANCE ShellExecuteA(HWND owner, LPCSTR, LPCSTR file, LPCSTR parameters, LPCSTR, int) {
    constexpr std::intptr_t started = 42; // any number above 32
    constexpr std::intptr_t notFound = 2;
    const bool recording = parameters && std::strstr(parameters, "/r");
    const bool volume = strcasecmp(file, "sndvol32.exe") == 0;
    const bool done = shownScreen && volume && shownScreen->OpenVolume(recording);
    if (volume && !done)
        MessageBoxA(owner, "No volume program was found. pavucontrol is one that can be installed.",
                    "Volume", MB_ICONEXCLAMATION);
    return reinterpret_cast<HINSTANCE>(done ? started : notFound);
}

} // namespace zorsystem
