// What window handles stand for, and messages on their way to windows. Thread: any, but for
// DispatchPosted.
#pragma once

#include "platform/system/types.h"

#include <functional>

namespace ui {

class Dialog;
struct Control;

// A dialog, or one of its controls, or a window of a host, which only hears what is posted to it.
struct Window {
    Dialog* Owner = nullptr;
    Control* Item = nullptr;
    std::function<void(UINT message, WPARAM first, LPARAM second)> Hear{};
};

// Handles are never used again, so that a late one finds nothing.
HWND NewWindow(Window window);
void DropWindow(HWND handle);
Window Resolve(HWND handle);

// Keeps a message for DispatchPosted. False if there is no such window.
bool Post(HWND window, UINT message, WPARAM first, LPARAM second);
// Delivers what has been posted, in order. Thread: the dialog's.
void DispatchPosted();

} // namespace ui
