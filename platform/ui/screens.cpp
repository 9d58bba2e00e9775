// Choosing the screen, and loading the real one.
#include "platform/machine/clock.h"
#include "platform/machine/power.h"
#include "platform/ui/handles.h"
#include "platform/ui/screen.h"
#include "platform/virtual/dialogs.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <dlfcn.h>
#include <string>
#include <thread>
#include <utility>

namespace ui {
namespace {

// Plays a script for the user.
class ScriptScreen : public Screen {
public:
    Metrics Measure() override { return {}; }
    void Run(Dialog& dialog) override {
        machine::DialogUser user(dialog);
        if (Script) Script(user);
        if (!dialog.Ended) dialog.CloseBox();
        DispatchPosted();
        if (!dialog.Ended) dialog.End(0);
    }
    void Wake() override {}
    int ShowBox(HWND, const char*, const char*, UINT) override { return IDOK; }
    machine::DialogScript Script;
};

ScriptScreen scriptScreen;
std::atomic<Screen*> loaded{nullptr}; // stays for the life of the process
thread_local Screen* shown = nullptr;
std::string error;

void Reset() {
    scriptScreen.Script = nullptr;
    error.clear();
}
const machine::AtPowerOn atPowerOn(Reset);

// The shared object lies beside this one.
std::string ScreenPath() {
    const std::string name = "libzorscreen.so." ZOR_SCREEN_VERSION;
    Dl_info self{};
    if (dladdr(reinterpret_cast<void*>(&TheScreen), &self) == 0 || !self.dli_fname) return name;
    const std::string path = self.dli_fname;
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? name : path.substr(0, slash + 1) + name;
}

// Stays loaded even where there is no display to open: its toolkit makes objects as it is loaded
// and keeps them, so each loading anew would leak some.
Screen* Load() {
    void* module = dlopen(ScreenPath().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) {
        error = std::string("The dialogs' screen cannot be loaded: ") + dlerror();
        return nullptr;
    }
    const auto open = reinterpret_cast<OpenScreenFunction>(dlsym(module, "OpenZorScreen"));
    return open ? open(&error) : nullptr;
}

} // namespace

bool Scripted() { return scriptScreen.Script != nullptr; }

Screen* TheScreen() {
    error.clear();
    if (Scripted()) return &scriptScreen;
    if (!loaded) loaded = Load();
    return loaded;
}

void WakeScreen() {
    if (Screen* screen = loaded) screen->Wake();
}

Screen* ScreenForBoxes() { return shown; }

ShowingDialog::ShowingDialog(Screen& screen)
    : Before(std::exchange(shown, &screen == &scriptScreen ? nullptr : &screen)) {}
ShowingDialog::~ShowingDialog() { shown = Before; }

void SetDialogError(const std::string& reason) { error = reason; }

} // namespace ui

namespace machine {

void ScriptDialogs(DialogScript script) { ui::scriptScreen.Script = std::move(script); }

std::string DialogError() { return ui::error; }

} // namespace machine
