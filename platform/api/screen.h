// The seam of screens. Above it the system calls make a dialog of its template and answer what its
// procedure asks; below it a back end shows the dialog, and turns what a user does into calls on
// it. What passes between them is the model in ui/dialog.h: dialogs, their controls, and what can
// be done to them.
//
// To write the next back end: derive a Screen. Run makes a window of the size of Dialog::Place and,
// for each of the controls that is Visible, something that looks like its Kind at its Place; the
// order of the controls is that of the Tab key, and a label's "&" letter belongs to the control
// behind it. Until the dialog has ended it
//   - waits for what the user does, for Wake, or until Dialog::NextTimer,
//   - calls Dialog::Pump, and
//   - shows whatever differs from what it showed: each call on the dialog may change any of its
//     controls, its size, and who has the focus.
// A click, a choice, typing and sliding go to the dialog by its functions of these names, and so
// does the focus wherever the user puts it. The window is never closed but by the dialog's end:
// its close box and Escape are Dialog::Close. Export it from a shared object as OpenZorScreen, or
// give it to UseScreen. platform/backends/fltk/ is the example; tests/support/dialog_user.cpp is another,
// whose user is a script.
//
// Threads. One thread at a time shows dialogs, a box over another one's dialog on the same thread;
// every function but Wake is called by it. Another dialog may be shown by another thread later.
// Real time. None.
// Failure. None is thrown. A screen that goes away while it shows a dialog closes it.
#pragma once

#include "platform/ui/dialog.h"

#include <string>

namespace machine {

class Screen {
public:
    virtual ~Screen() = default;

    // Asked before a dialog is made, since its layout depends on it.
    virtual ui::Metrics Measure() = 0;
    // Pixels that a text takes in the dialog font, wrapped at width if that is not enough for it.
    virtual void MeasureText(const char* text, int& width, int& height) = 0;
    // Shows the dialog, which has had its first message, until it has ended. A message box is a
    // dialog too, whose Resource is 0.
    virtual void Run(ui::Dialog& dialog) = 0;
    // Makes Run call Pump soon. Thread: any, at any time.
    virtual void Wake() = 0;
    // Starts the desktop's volume program, for recording or playing. False if it has none.
    virtual bool OpenVolume(bool recording) = 0;
};

// What the shared object libzorbackend-fltk.so exports, by the name "OpenZorScreen": its screen, which
// stays for the life of the process. Null with the reason if there is no display.
using OpenScreenFunction = Screen* (*)(std::string* reason);

// From now on dialogs are shown on this screen; null, as at load, for that of libzorbackend-fltk.so,
// which is loaded when the first dialog is shown. Thread: the one that steers.
void UseScreen(Screen* screen);

// The screen that dialogs are to be shown on. Null with the reason if there is none. Thread: the
// dialog's.
Screen* TheScreen(std::string& reason);
// Wakes it if there is one. Thread: any.
void WakeScreen();

} // namespace machine
