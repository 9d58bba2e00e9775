// What window handles stand for, and messages on their way to windows.
#pragma once

#include "platform/system/types.h"

#include <functional>

namespace ui {

class Dialog;
struct Control;

// A dialog, with Item one of its controls. Neither: not a window of a dialog.
struct Target {
    Dialog* Owner = nullptr;
    Control* Item = nullptr;
};

// Handles are never used again, so that a late one finds nothing. Thread: any.
HWND NewHandle(Target target);
void DropHandle(HWND handle);
Target Resolve(HWND handle);

// Windows of a host, which only hear what is posted to them.
using HostProcedure = std::function<void(UINT message, WPARAM first, LPARAM second)>;
HWND NewHostHandle(HostProcedure procedure);

// Keeps a message for DispatchPosted. False if there is no such window. Thread: any.
bool Post(HWND window, UINT message, WPARAM first, LPARAM second);
// Delivers what has been posted, in order. Thread: the dialog's.
void DispatchPosted();

} // namespace ui
