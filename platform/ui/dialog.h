// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The model of a modal dialog, the same on every screen: it makes its controls from a template,
// turns user input into the messages that the dialog procedure expects, and keeps its timer.
// Thread: the one that shows the dialog.
#pragma once

#include "platform/system/user.h"
#include "platform/ui/control.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ui {

// The units of a dialog's layout on a screen: average width and height of a character of the dialog
// font, in pixels.
struct Metrics {
    int BaseX = 6, BaseY = 13;
};

class Dialog {
public:
    Dialog(const DialogTemplate& form, const Metrics& metrics, HWND parent, DLGPROC procedure);
    ~Dialog();

    // Sends WM_INITDIALOG and sets the focus as the procedure requests. The screen then shows it.
    void Start(LPARAM init);
    void End(INT_PTR result);
    // Returns whether the procedure handled the message.
    INT_PTR Send(UINT message, WPARAM first, LPARAM second);
    Control* Find(int id) const;                  // null if there is none
    Control* After(const Control& control) const; // the next one of the template, or null

    // User input. No effect on controls that are not Reachable, or once the dialog has ended.
    void MoveFocus(Control* control); // null for none
    void Click(Control& button);
    void PressEnter(); // presses the default button without moving the focus
    void Type(Control& edit, const std::string& text); // replaces the whole text
    void Choose(Control& list, int index);
    void Slide(Control& slider, int position);
    void Close();

    // Starts the one timer, which sends WM_TIMER; 0 milliseconds stops it.
    void SetTimer(UINT_PTR id, UINT milliseconds);
    // Its due time in microseconds on the machine's clock; ~0 for none.
    std::uint64_t NextTimer() const { return TimerDue; }
    // Delivers posted messages, and the timer if it is due.
    void Pump();

    HWND Handle;
    HWND Parent;
    int Resource; // 0 for a message box
    std::string Title;
    Box Place; // on the screen
    bool Ended = false;
    INT_PTR Result = 0;
    LONG_PTR UserWord = 0;
    Control* Focus = nullptr;
    std::vector<std::unique_ptr<Control>> Controls; // in the order of the Tab key

private:
    void Notify(Control& control, WORD code);
    void CheckRadio(Control& radio);

    DLGPROC Procedure;
    UINT_PTR TimerId = 0;
    std::uint64_t TimerPeriod = 0, TimerDue = ~std::uint64_t{0};
};

} // namespace ui
