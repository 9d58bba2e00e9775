// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The window that shows a dialog.
#pragma once

#include "platform/ui/dialog.h"

#include <FL/Fl_Double_Window.H>
#include <vector>

namespace ui {

class DialogWindow : public Fl_Double_Window {
public:
    explicit DialogWindow(Dialog& dialog);

    // Redraws what has changed in the model since the last call.
    void Sync();

    int handle(int event) override;
    void resize(int x, int y, int w, int h) override;

private:
    struct Part {
        Control* Model;
        Fl_Widget* Widget;
        Control Last; // as drawn
    };
    void AddParts(bool groups);
    void SyncPart(Part& part);
    void SyncSize();
    void SyncFocus();

    Dialog& Model;
    std::vector<Part> Parts;
};

} // namespace ui
