#include "platform/ui/fltk/faces.h"
#include "platform/ui/fltk/look.h"
#include "platform/ui/fltk/window.h"

#include <FL/Fl.H>
#include <FL/fl_draw.H>

namespace ui {

using namespace look;

Field::Field(DialogWindow& window, Control& control)
    : Fl_Input(control.Place.Left, control.Place.Top, control.Place.Width, control.Place.Height),
      Of(control), In(window) {
    box(FL_FLAT_BOX); // a border of our own lies round it
    color(FL_WHITE);
    textcolor(ColourOf(Ink));
    textfont(FL_HELVETICA);
    textsize(FontPixels());
    selection_color(ColourOf(Accent));
    when(FL_WHEN_CHANGED);
    callback(&Changed);
    TakeText();
}

void Field::TakeText() {
    if (Of.Text != value()) value(Of.Text.c_str());
}

void Field::Changed(Fl_Widget* widget, void*) {
    auto& field = *static_cast<Field*>(widget);
    field.Of.Owner->Type(field.Of, field.value());
    field.In.Sync();
}

int Field::handle(int event) {
    switch (event) {
    case FL_PUSH:
        if (!Of.Reachable()) return 0;
        Of.Owner->MoveFocus(&Of);
        break;
    case FL_FOCUS:
        // Entered by the keyboard, a field is ready to be typed over.
        if (Fl::event() == FL_KEYBOARD || Fl::event() == FL_SHORTCUT) position(size(), 0);
        break;
    case FL_KEYBOARD:
        if (In.HandleKey(Of)) return 1;
        break;
    default:
        break;
    }
    const int handled = Fl_Input::handle(event);
    if (event == FL_PUSH) In.Sync();
    return handled;
}

void Field::draw() {
    const bool focused = Of.Owner->Focus == &Of;
    const int line = Line(), around = 2 * line;
    Picture border(w(), h(), look::Ground);
    if (focused) border.RoundBox(0, 0, w(), h(), 4 * line, Halo);
    border.Framed(line, line, w() - 2 * line, h() - 2 * line, 3 * line,
                  Of.Enabled ? look::Paper : look::Ground,
                  !Of.Enabled ? Groove
                  : focused   ? Accent
                              : Border,
                  line);
    border.Draw(x(), y());
    const int pad = Scaled(3); // to which the text adds a little of its own
    drawtext(x() + pad, y() + around, w() - 2 * pad, h() - 2 * around);
}

} // namespace ui
