// Choosing the screen, and loading the one of libzorbackend-fltk.so.
#include "platform/api/screen.h"

#include "platform/registry/shared_object.h"

#include <atomic>

namespace machine {
namespace {

std::atomic<Screen*> given{nullptr};
std::atomic<Screen*> loaded{nullptr}; // stays for the life of the process

// Stays loaded even where there is no display to open: its toolkit makes objects as it is loaded
// and keeps them, so each loading anew would leak some.
Screen* Load(std::string& reason) {
    std::string problem;
    const auto open =
        reinterpret_cast<OpenScreenFunction>(BackEndFunction("fltk", "OpenZorScreen", problem));
    if (!open) {
        reason = "The dialogs' screen cannot be loaded: " + problem;
        return nullptr;
    }
    return open(&reason);
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
