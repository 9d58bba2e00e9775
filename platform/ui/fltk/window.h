// The window of a dialog.
#pragma once

#include "platform/ui/dialog.h"

#include <FL/Fl_Double_Window.H>
#include <string>
#include <vector>

namespace ui {

class Face;
class Field;
struct Shown;

class DialogWindow : public Fl_Double_Window {
public:
    explicit DialogWindow(Dialog& dialog);
    ~DialogWindow() override;

    // Shows what has changed in the model since the last time.
    void Sync();
    // Lets the dialog's timers and posted messages have their turn, and shows what they did.
    void Pump();
    // The present key event, on its way to a control. Gives whether the dialog took it.
    int HandleKey(Control& control);
    // Lets the user choose from a list.
    void DropDown(Face& list);

    int handle(int event) override;
    void draw() override;
    void resize(int x, int y, int w, int h) override;

private:
    struct Part {
        Control* Of;
        Fl_Widget* Widget;       // null for what is drawn on the window itself
        std::vector<Shown> Last; // one, once it has been shown
    };
    void AddPart(Control& control);
    void SyncPart(Part& part);
    void SyncSize();
    void SyncFocus();
    Fl_Widget* WidgetOf(const Control* control) const;

    Dialog& Of;
    std::vector<Part> Parts;
};

} // namespace ui
