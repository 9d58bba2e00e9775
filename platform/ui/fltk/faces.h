// What controls look like on the screen, and how the mouse works on them. All of them read and
// change the model only; a window draws them again when the model differs from what they showed.
#pragma once

#include "platform/ui/dialog.h"
#include "platform/ui/fltk/look.h"

#include <FL/Fl_Input.H>
#include <FL/Fl_Widget.H>
#include <string>

namespace ui {

class DialogWindow;

// The part of a control's state that shows.
struct Shown {
    std::string Text;
    Box Place;
    bool Visible = false, Enabled = false, Checked = false, Focused = false;
    std::string Entry; // of a list
    int Position = 0;
    unsigned Picture = 0;
    bool operator==(const Shown&) const = default;
};
Shown ShownOf(const Control& control);

// A control that the mouse works on, or one that is drawn into.
class Face : public Fl_Widget {
public:
    Face(DialogWindow& window, Control& control);
    int handle(int event) override;

    Control& Of;

protected:
    virtual void Pressed() {}  // the left button went down on it
    virtual void Dragged() {}  // and is moved
    virtual void Released() {} // and let go, wherever that is
    bool Under() const;        // the mouse is over it
    bool Focused() const;
    look::Rgb InkColour() const;

    DialogWindow& In;
    bool Down = false;
    bool Hover = false;

private:
    int HandleWheel();
};

Face* MakeFace(DialogWindow& window, Control& control); // null for labels, groups and fields

// A field to type in.
class Field : public Fl_Input {
public:
    Field(DialogWindow& window, Control& control);
    int handle(int event) override;
    void draw() override;
    void TakeText(); // from the model

    Control& Of;

private:
    static void Changed(Fl_Widget* widget, void*);
    DialogWindow& In;
};

// What stands on the window itself.
void DrawGroup(const Control& group, const Dialog& dialog);
void DrawText(const Control& label, const Dialog& dialog);
void DrawIcon(const Control& icon);

} // namespace ui
