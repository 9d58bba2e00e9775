// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Dialogs and message boxes, for hosts and tests.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace machine {

// The reason why the last dialog could not be shown; empty if it was. Thread: the dialog's.
std::string DialogError();

// Requests the open dialog to close, as its close box does. False if none is open. Thread: any.
bool CloseDialog();

// A window of the host, as the parent of a dialog. Its procedure receives the messages that dialogs
// post to it, on the thread that shows the dialog. Thread: any.
using WindowProcedure =
    std::function<void(unsigned message, std::uintptr_t first, std::intptr_t second)>;
void* CreateHostWindow(WindowProcedure procedure);
void DestroyHostWindow(void* window);

// Message boxes are recorded, and printed on request. A call returns at once, unless a dialog is
// open on the screen: then the box is shown too, on the dialog's thread, until the user presses OK.
struct Box {
    void* Owner;
    std::string Text;
    std::string Caption;
    unsigned Flags;
};
// Returns and removes the boxes since the last call, in order.
std::vector<Box> DrainBoxes();

// Whether boxes are also printed to standard error, as suits a host without windows.
void PrintBoxes(bool on);

// Sets an action that runs inside each MessageBoxA, on the calling thread. Null for none.
void WhileBoxIsUp(std::function<void(const Box&)> action);

} // namespace machine
