// A screen shows a dialog's model and turns what a user does into calls on it. There is one that
// runs scripts, and one that is a shared object of its own, loaded when the first dialog is shown.
#pragma once

#include "platform/system/types.h"
#include "platform/ui/dialog.h"

#include <memory>
#include <string>

namespace ui {

class Screen {
public:
    virtual ~Screen() = default;

    // Asked for before a dialog is made, since its layout depends on it.
    virtual Metrics Measure() = 0;
    // Shows the dialog, which has had its first message, until it has ended. Meanwhile it calls
    // RunTimers and DispatchPosted in time, and shows every change of the model.
    virtual void Run(Dialog& dialog) = 0;
    // Makes Run look for posted messages. Thread: any.
    virtual void Wake() = 0;
    // A message box in front of everything; gives the button's number. Null owner: of no window.
    virtual int ShowBox(HWND owner, const char* text, const char* caption, UINT flags) = 0;
};

// What the shared object libzorscreen.so exports, by the name "OpenZorScreen". Null with the reason
// if there is no display.
using OpenScreenFunction = Screen* (*)(std::string* reason);

// The screen that dialogs are to be shown on: the script's, or the loaded one. Null if there is
// none; machine::DialogError() then tells why. Thread: the dialog's.
Screen* TheScreen();

// Whether there is a script to run instead of showing anything.
bool Scripted();

// Wakes the screen that is running a dialog. Thread: any.
void WakeScreen();

// The real screen, for the thread that is showing a dialog on it; null for any other. Thread: any.
Screen* ScreenForBoxes();

// While this lives, the calling thread shows a dialog on the screen.
class ShowingDialog {
public:
    explicit ShowingDialog(Screen& screen);
    ~ShowingDialog();
    ShowingDialog(const ShowingDialog&) = delete;
    ShowingDialog& operator=(const ShowingDialog&) = delete;

private:
    Screen* Before;
};

void SetDialogError(const std::string& reason);

} // namespace ui
