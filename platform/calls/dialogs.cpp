// Running modal dialogs.
#include "platform/calls/dialogs.h"

#include "platform/calls/resources.h"
#include "platform/machine/dialogs.h"
#include "platform/machine/fault_point.h"
#include "platform/machine/power.h"
#include "platform/system/shell.h"
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

// Null if the module has no such dialog. The tables stay as long as the module does.
const ui::DialogTemplate* FindTemplate(HINSTANCE module, int id) {
    const auto dialogs = ResourcesOf(module).Dialogs;
    const auto at = std::ranges::find(dialogs, id, &ui::DialogTemplate::Id);
    return at == dialogs.end() ? nullptr : &*at;
}

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
    const ui::DialogTemplate* form = FindTemplate(module, id);
    error = form ? "" : "The module has no dialog " + std::to_string(id) + ".";
    Screen* screen = form ? TheScreen(error) : nullptr;
    if (!screen) return -1;
    ui::Dialog dialog(*form, screen->Measure(), parent, procedure);
    return RunDialog(*screen, dialog, init);
}

HWND GetFocus() { return shown && shown->Focus ? shown->Focus->Handle : nullptr; }

HINSTANCE ShellExecuteA(HWND, LPCSTR, LPCSTR file, LPCSTR parameters, LPCSTR, int) {
    constexpr std::intptr_t started = 42; // any number above 32
    constexpr std::intptr_t notFound = 2;
    const bool recording = parameters && std::strstr(parameters, "/r");
    const bool done = on && strcasecmp(file, "sndvol32.exe") == 0 && on->OpenVolume(recording);
    return reinterpret_cast<HINSTANCE>(done ? started : notFound);
}

} // namespace zorsystem
