// A modal dialog as a model, the same on a screen as under a script: it makes its controls of a
// template, turns what a user does into the messages that the dialog procedure expects, and keeps
// its timers. All of it runs on the thread that shows the dialog.
#pragma once

#include "platform/system/user.h"
#include "platform/ui/control.h"
#include "platform/ui/template.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ui {

// What the look of a screen means for the layout.
struct Metrics {
    int BaseX = 6, BaseY = 13; // average width and height of a character of the dialog font, pixels
    COLORREF Face = 0x00F0F0F0;
};

enum class Key { Tab, Enter, Escape, Space, Up, Down, Left, Right, Home, End, PageUp, PageDown };
struct KeyPress {
    Key What;
    bool Shift = false;
};

class Dialog {
public:
    Dialog(const DialogTemplate& form, const Metrics& metrics, HWND parent, DLGPROC procedure);
    ~Dialog();
    Dialog(const Dialog&) = delete;
    Dialog& operator=(const Dialog&) = delete;

    // Gives the dialog procedure its first message, and the focus as it wishes it; then shows.
    void Start(LPARAM init);
    void End(INT_PTR result);
    INT_PTR Send(UINT message, WPARAM first, LPARAM second);
    Control* Find(int id) const;                  // null if there is none
    Control* After(const Control& control) const; // the next one of the template, or null

    // What a user does. Only on controls that are Reachable; nothing once the dialog has ended.
    void MoveFocus(Control* control); // null for nowhere
    void Click(Control& button);
    void Type(Control& edit, const std::string& text); // replaces the whole text
    void Choose(Control& list, int index);
    void Slide(Control& slider, int position);
    void Wheel(Control& control, int notches); // positive: towards the user
    // Keys that dialogs know. False for one that means nothing just now.
    bool Press(const KeyPress& key);
    // A letter: with Alt the control it belongs to, without Alt in a list the next such entry.
    bool PressLetter(char letter, bool alt);
    void CloseBox();

    // On the machine's clock, in microseconds.
    void StartTimer(UINT_PTR id, UINT milliseconds);
    bool StopTimer(UINT_PTR id);
    std::uint64_t NextTimer() const; // ~0 for none
    void RunTimers();                // those that are due

    HWND Handle;
    HWND Parent;
    int Resource;
    std::string Title;
    Metrics Look;
    Box Place; // on the screen
    bool Visible = false;
    bool Ended = false;
    INT_PTR Result = 0;
    LONG_PTR UserWord = 0;
    Control* Focus = nullptr;
    std::vector<std::unique_ptr<Control>> Controls; // in the order of the Tab key

private:
    struct Timer {
        UINT_PTR Id;
        std::uint64_t Period, Due;
    };
    void AddControl(const ControlTemplate& form);
    Box Pixels(int x, int y, int width, int height) const;
    void Notify(Control& control, WORD code);
    void NotifyFocus(Control& control, bool got);
    bool PressEnter();
    bool PressEscape();
    bool PressArrow(Key key);
    bool ArrowInList(Control& list, Key key);
    bool ArrowInSlider(Control& slider, Key key);
    bool ArrowInGroup(Control& button, Key key);
    void Tab(bool backward);
    bool UseMnemonic(Control& control);
    void SlideBy(Control& slider, int position, WORD code);
    Control* NextInGroup(Control& control, int step) const;

    DLGPROC Procedure;
    std::vector<Timer> Timers;
};

// Checks a radio button and clears the others of its group, whose Tab stop it becomes.
void CheckRadio(Control& radio);

} // namespace ui
