// Dialogs without a display: a screen of the tests' own, on which a script plays the user.
#pragma once

#include "platform/platform.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace ui {
class Dialog;
struct Control;
} // namespace ui

// The user of one open dialog: he reaches only what is shown and enabled. Actions give false for
// what he could not do. Controls are named by their ids.
class DialogUser {
public:
    explicit DialogUser(ui::Dialog& dialog) : At(dialog) {}

    HWND Handle() const;
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
    // What has been drawn into it, row by row, 0x00BBGGRR; 0xFFFFFFFF where nothing was.
    std::vector<std::uint32_t> Pixels(int id) const;

    bool Click(int id);                         // a push button, check box or radio button
    bool Type(int id, const std::string& text); // clicks into the field and replaces its text
    bool Select(int id, const std::string& entry);
    bool Select(int id, int index);
    bool Slide(int id, int position);
    void Enter();
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
std::vector<bool> TakeVolumePrograms();
