// Choosing the screen, and loading the one of libzorscreen.so.
#include "platform/device/screen.h"

#include <atomic>
#include <dlfcn.h>

namespace machine {
namespace {

std::atomic<Screen*> given{nullptr};
std::atomic<Screen*> loaded{nullptr}; // stays for the life of the process

// The shared object lies beside this one.
std::string ScreenPath() {
    const std::string name = "libzorscreen.so." ZOR_SCREEN_VERSION;
    Dl_info self{};
    if (dladdr(reinterpret_cast<void*>(&TheScreen), &self) == 0 || !self.dli_fname) return name;
    const std::string path = self.dli_fname;
    return path.substr(0, path.rfind('/') + 1) + name;
}

// Stays loaded even where there is no display to open: its toolkit makes objects as it is loaded
// and keeps them, so each loading anew would leak some.
Screen* Load(std::string& reason) {
    void* module = dlopen(ScreenPath().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) {
        reason = std::string("The dialogs' screen cannot be loaded: ") + dlerror();
        return nullptr;
    }
    const auto open = reinterpret_cast<OpenScreenFunction>(dlsym(module, "OpenZorScreen"));
    return open ? open(&reason) : nullptr;
}

} // namespace

void UseScreen(Screen* screen) { given = screen; }

Screen* TheScreen(std::string& reason) {
    if (Screen* screen = given) return screen;
    if (!loaded) loaded = Load(reason);
    return loaded;
}

void WakeScreen() {
    for (Screen* screen : {given.load(), loaded.load()})
        if (screen) screen->Wake();
}

} // namespace machine
