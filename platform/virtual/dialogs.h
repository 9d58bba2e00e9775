// Dialogs: shown on the screen, or run by a script that stands in for the user.
#pragma once

#include "platform/system/types.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace ui {
class Dialog;
struct Control;
} // namespace ui

namespace machine {

// The user of one open dialog, as a script sees and plays him: he reaches only what is shown and
// enabled. Actions give false for what he could not do. Controls are named by their ids.
class DialogUser {
public:
    explicit DialogUser(ui::Dialog& dialog) : At(dialog) {}

    zorsystem::HWND Handle() const;
    int Resource() const;
    std::string Title() const;
    bool Ended() const; // nothing has an effect any more
    int Width() const;  // pixels, of the whole dialog
    int Height() const;
    int Focus() const; // id, -1 for none

    bool Shown(int id) const; // visible, and its corner inside the dialog
    bool Enabled(int id) const;
    bool Checked(int id) const;
    std::string Text(int id) const; // of a list, the selected entry's
    std::vector<std::string> Items(int id) const;
    std::intptr_t ItemData(int id, int index) const;
    int Selection(int id) const; // -1 for none
    int Position(int id) const;  // of a slider
    struct Place {
        int Left, Top, Width, Height; // pixels within the dialog
    };
    Place Where(int id) const;
    // What has been drawn into it, row by row, 0x00BBGGRR; 0xFFFFFFFF where nothing was.
    std::vector<std::uint32_t> Pixels(int id) const;

    bool Click(int id);                         // a push button, check box or radio button
    bool Type(int id, const std::string& text); // clicks into the field and replaces its text
    bool Select(int id, const std::string& entry);
    bool Select(int id, int index);
    bool Slide(int id, int position);
    bool Wheel(int id, int notches); // positive: towards the user
    bool Tab(bool backward = false);
    bool Enter();
    bool Escape();
    bool Space();
    enum class Arrow { Up, Down, Left, Right, Home, End, PageUp, PageDown };
    bool Press(Arrow key);
    bool Letter(char letter, bool alt);
    void CloseBox(); // the system menu's, or the window's

    // Lets time pass for the dialog's timers, and with the stepped clock for the whole machine.
    void Wait(std::uint32_t milliseconds);

private:
    ui::Control* Find(int id) const;
    ui::Control* Reach(int id) const; // null unless the user can use it
    ui::Dialog& At;
};

// Runs for each dialog that is opened, on the thread that opens it, in place of a screen. A dialog
// that it leaves open is closed as by its close box. Null, as at load: dialogs are shown.
using DialogScript = std::function<void(DialogUser&)>;
void ScriptDialogs(DialogScript script);

// Why the last dialog could not be shown; empty if it could.
std::string DialogError();

// Closes the dialog that is open, as by its close box, once it gets to it. False if there is none.
// Thread: any.
bool CloseDialog();

// A window of the host, for the parent of a dialog: hears what dialogs post to it, while one is
// open, on the thread that shows it.
using WindowProcedure =
    std::function<void(unsigned message, std::uintptr_t first, std::intptr_t second)>;
zorsystem::HWND CreateHostWindow(WindowProcedure procedure);
void DestroyHostWindow(zorsystem::HWND window);

// Programs that scripted dialogs have started since the last call.
struct StartedProgram {
    std::string File;
    std::string Parameters;
};
std::vector<StartedProgram> TakeStartedPrograms();

// Brushes, pens and device contexts not yet given back.
int DrawingObjects();

} // namespace machine
