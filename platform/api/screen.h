// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// What a screen back end offers. Above this interface the system calls make a dialog from its
// template and answer its procedure; below it a back end shows the dialog and turns the user's
// input into calls on it. Both sides meet on the model in ui/dialog.h: dialogs and their controls.
// docs/new-back-end.md lists the steps to add one; this header is the contract.
//
// Run makes a window of the size of Dialog::Place and, for each Visible control, a widget of its
// Kind at its Place. The order of controls is that of the Tab key; the "&" letter of a label
// belongs to the control that follows it. Until the dialog has ended, Run
//   - waits for input, for Wake, or until Dialog::NextTimer,
//   - calls Dialog::Pump, and
//   - redraws what differs from what it showed: any call on the dialog may change any control, the
//     dialog's size, and the focus.
// Clicks, choices, typing and sliding go to the Dialog functions of these names, and focus changes
// to MoveFocus. Only the dialog's end closes the window: close box and Escape call Dialog::Close.
// platform/backends/fltk/ is an example; tests/support/dialog_user.cpp is another, whose user is a
// script.
//
// Identity. A control is an object for the life of its dialog.
// Threads. One thread at a time shows dialogs, a message box over another dialog on the same
// thread; it calls every function but Wake. A later dialog may be shown by another thread. Real
// time. No. Failure. No function throws. Leaving and returning. A display that disappears while a
// dialog is shown closes the dialog; the next dialog may find it again.
#pragma once

#include "platform/ui/dialog.h"

#include <string>

namespace device {

class Screen {
public:
    virtual ~Screen() = default;

    // Called before a dialog is made, since its layout depends on the result.
    virtual ui::Metrics Measure() = 0;
    // Size of a text in the dialog font in pixels, wrapped at width if it does not fit on one line.
    virtual void MeasureText(const char* text, int& width, int& height) = 0;
    // Shows the dialog, which has had WM_INITDIALOG, until it has ended. A message box is a dialog
    // whose Resource is 0.
    virtual void Run(ui::Dialog& dialog) = 0;
    // Makes Run call Pump soon. Thread: any, at any time.
    virtual void Wake() = 0;
    // Starts the desktop's volume program, for recording or playing. False if none is installed.
    virtual bool OpenVolume(bool recording) = 0;
};

// Selects the screen for the next dialogs; null, as at load, for the registry's first back end that
// opens, loaded when the first dialog is shown. Thread: the steering one.
void UseScreen(Screen* screen);

// The screen for the next dialog. Null with the reason if there is none. Thread: the dialog's.
Screen* CurrentScreen(std::string& reason);
// Wakes every screen in use. Thread: any.
void WakeScreen();

} // namespace device
