// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Dialogs without a display: a screen for tests, on which a script acts as the user.
#pragma once

#include "platform/platform.h"
#include "platform/ui/dialog.h"

#include <functional>
#include <string>
#include <vector>

// The user of one open dialog. Actions work on visible and enabled controls only and return false
// otherwise. Controls are given by their ids.
class DialogUser {
public:
    explicit DialogUser(ui::Dialog& dialog) : Target(dialog) {}

    HWND Handle() const { return Target.Handle; }
    std::string Title() const { return Target.Title; }
    bool Ended() const { return Target.Ended; }      // actions have no effect any more
    int Width() const { return Target.Place.Width; } // pixels, of the whole dialog
    int Height() const { return Target.Place.Height; }
    int Focus() const { return Target.Focus ? Target.Focus->Id : -1; } // id, -1 for none

    bool Shown(int id) const; // visible, with its corner inside the dialog
    bool Enabled(int id) const { return Control(id).Enabled; }
    bool Checked(int id) const { return Control(id).Checked; }
    std::string Text(int id) const; // of a list, the selected entry's
    std::vector<std::string> Items(int id) const;
    std::intptr_t ItemData(int id, std::size_t index) const {
        return Control(id).Items.at(index).Data;
    }
    int Selection(int id) const { return Control(id).Selection; } // -1 for none
    int Position(int id) const { return Control(id).Position; }   // of a slider
    // Pixels drawn into the control, row by row: 0x00BBGGRR, or 0xFFFFFFFF if not drawn.
    std::vector<std::uint32_t> Pixels(int id) const { return Control(id).Picture.Pixels; }

    bool Click(int id);                         // a push button, check box or radio button
    bool Type(int id, const std::string& text); // clicks into the field and replaces its text
    bool Select(int id, const std::string& entry);
    bool Select(int id, int index);
    void Drop(int id, bool down) { Control(id).Dropped = down; } // opens or closes a list's entries
    bool Slide(int id, int position);
    void Scroll(int id) { // any control
        Target.Send(WM_VSCROLL, 0, reinterpret_cast<LPARAM>(GetDlgItem(Target.Handle, id)));
    }
    void Enter() { Target.PressEnter(); }
    void Escape(); // or the close box

    // Advances the stepped clock and runs the dialog's timer.
    void Wait(std::uint32_t milliseconds);

private:
    ui::Control& Control(int id) const;
    ui::Control* FindUsable(int id) const; // null unless the user can use it
    bool Act(int id, const std::function<void(ui::Control&)>& action);
    ui::Dialog& Target;
};

// Runs the script for each dialog opened until PowerOn, on the thread that opens it. A dialog that
// is still open afterwards is closed as by its close box; message boxes close by themselves.
using DialogScript = std::function<void(DialogUser&)>;
void ScriptDialogs(DialogScript script);

// The volume programs opened by dialogs since the last call: true for recording.
std::vector<bool> DrainVolumePrograms();
