// The window of a dialog.
#pragma once

#include "platform/ui/dialog.h"

#include <FL/Fl_Double_Window.H>
#include <vector>

namespace ui {

class DialogWindow : public Fl_Double_Window {
public:
    explicit DialogWindow(Dialog& dialog);

    // Shows what has changed in the model since the last time.
    void Sync();

    int handle(int event) override;
    void resize(int x, int y, int w, int h) override;

private:
    struct Part {
        Control* Of;
        Fl_Widget* Widget;
        Control Last; // as it was shown
    };
    void AddParts(bool groups);
    void SyncPart(Part& part);
    void SyncSize();
    void SyncFocus();

    Dialog& Of;
    std::vector<Part> Parts;
};

} // namespace ui
