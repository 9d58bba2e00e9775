// A modal dialog as a model, the same on every screen: it makes its controls of a template, turns
// what a user does into the messages that the dialog procedure expects, and keeps its timer. All of
// it runs on the thread that shows the dialog.
#pragma once

#include "platform/system/user.h"
#include "platform/ui/control.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ui {

// What the look of a screen means for the layout: average width and height of a character of the
// dialog font, in pixels.
struct Metrics {
    int BaseX = 6, BaseY = 13;
};

class Dialog {
public:
    Dialog(const DialogTemplate& form, const Metrics& metrics, HWND parent, DLGPROC procedure);
    ~Dialog();

    // Gives the dialog procedure its first message, and the focus as it wishes it; then shows.
    void Start(LPARAM init);
    void End(INT_PTR result);
    // Gives whether the procedure took it.
    INT_PTR Send(UINT message, WPARAM first, LPARAM second);
    Control* Find(int id) const;                  // null if there is none
    Control* After(const Control& control) const; // the next one of the template, or null

    // What a user does. Only on controls that are Reachable; nothing once the dialog has ended.
    void MoveFocus(Control* control); // null for nowhere
    void Click(Control& button);
    void PressEnter(); // the default button's command, which moves no focus: a field is not left
    void Type(Control& edit, const std::string& text); // replaces the whole text
    void Choose(Control& list, int index);
    void Slide(Control& slider, int position);
    void Close();

    // Sends WM_TIMER; 0 milliseconds for none any more. One at a time.
    void SetTimer(UINT_PTR id, UINT milliseconds);
    // When it is due on the machine's clock, in microseconds; ~0 for none.
    std::uint64_t NextTimer() const { return TimerDue; }
    // Lets posted messages, and the timer if it is due, have their turn.
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
