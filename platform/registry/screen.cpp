// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The screen in use: given by a host, or opened when the first dialog is shown.
#include "platform/api/screen_back_end.h"
#include "platform/registry/back_ends.h"

#include <atomic>

namespace device {
namespace {

std::atomic<Screen*> given{nullptr};
std::atomic<Screen*> opened{nullptr}; // lives until the process ends

} // namespace

void UseScreen(Screen* screen) { given = screen; }

// Tried anew while no display can be opened. The shared object stays loaded: its toolkit makes
// objects at load and keeps them, so that each further load would leak some.
Screen* CurrentScreen(std::string& reason) {
    if (Screen* screen = given) return screen;
    if (!opened) opened = OpenBackEnd<OpenScreenFunction>(BackEndKind::Screen, reason);
    return opened;
}

void WakeScreen() {
    for (Screen* screen : {given.load(), opened.load()})
        if (screen) screen->Wake();
}

} // namespace device
