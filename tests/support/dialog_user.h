// Dialogs without a display: a screen of the tests' own, on which a script plays the user.
#pragma once

#include "platform/platform.h"
#include "platform/ui/dialog.h"

#include <functional>
#include <string>
#include <vector>

// The user of one open dialog: he reaches only what is shown and enabled. Actions give false for
// what he could not do. Controls are named by their ids.
class DialogUser {
public:
    explicit DialogUser(ui::Dialog& dialog) : At(dialog) {}

    HWND Handle() const { return At.Handle; }
    std::string Title() const { return At.Title; }
    bool Ended() const { return At.Ended; }      // nothing has an effect any more
    int Width() const { return At.Place.Width; } // pixels, of the whole dialog
    int Height() const { return At.Place.Height; }
    int Focus() const { return At.Focus ? At.Focus->Id : -1; } // id, -1 for none

    bool Shown(int id) const; // visible, and its corner inside the dialog
    bool Enabled(int id) const { return The(id).Enabled; }
    bool Checked(int id) const { return The(id).Checked; }
    std::string Text(int id) const; // of a list, the selected entry's
    std::vector<std::string> Items(int id) const;
    std::intptr_t ItemData(int id, std::size_t index) const { return The(id).Items.at(index).Data; }
    int Selection(int id) const { return The(id).Selection; } // -1 for none
    int Position(int id) const { return The(id).Position; }   // of a slider
    // What has been drawn into it, row by row, 0x00BBGGRR; 0xFFFFFFFF where nothing was.
    std::vector<std::uint32_t> Pixels(int id) const { return The(id).Picture.Pixels; }

    bool Click(int id);                         // a push button, check box or radio button
    bool Type(int id, const std::string& text); // clicks into the field and replaces its text
    bool Select(int id, const std::string& entry);
    bool Select(int id, int index);
    void Drop(int id, bool down) { The(id).Dropped = down; } // a list's entries
    bool Slide(int id, int position);
    void Scroll(int id) { // any control
        At.Send(WM_VSCROLL, 0, reinterpret_cast<LPARAM>(GetDlgItem(At.Handle, id)));
    }
    void Enter() { At.PressEnter(); }
    void Escape(); // or the close box

    // Lets time pass for the dialog's timer, and with the stepped clock for the whole machine.
    void Wait(std::uint32_t milliseconds);

private:
    ui::Control& The(int id) const;
    ui::Control* Reach(int id) const; // null unless the user can use it
    bool Do(int id, const std::function<void(ui::Control&)>& action);
    ui::Dialog& At;
};

// From now on, until PowerOn, runs for each dialog that is opened, on the thread that opens it. A
// dialog that it leaves open is closed as by its close box; message boxes close by themselves.
using DialogScript = std::function<void(DialogUser&)>;
void ScriptDialogs(DialogScript script);

// The volume programs that dialogs have opened since the last call: true for that of recording.
std::vector<bool> DrainVolumePrograms();
