// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Window handles, and the queue of messages posted to windows. Thread: any, except for
// DispatchPosted.
#pragma once

#include "platform/system/types.h"

#include <functional>

namespace ui {

class Dialog;
struct Control;

// A dialog, or one of its controls (Owner is its dialog), or a host's window, which only receives
// posted messages.
struct Window {
    Dialog* Owner = nullptr;
    Control* Item = nullptr;
    std::function<void(UINT message, WPARAM first, LPARAM second)> Procedure{}; // of a host
};

// A handle is never reused. Resolve gives an empty Window for one that is not open.
HWND NewWindow(Window window);
void DropWindow(HWND handle);
Window Resolve(HWND handle);

// Queues a message for DispatchPosted. False if the window does not exist.
bool Post(HWND window, UINT message, WPARAM first, LPARAM second);
// Delivers all queued messages in order. Thread: the dialog's.
void DispatchPosted();

} // namespace ui
