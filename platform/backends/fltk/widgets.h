// The toolkit's widgets as controls: they behave as the toolkit has it, look as look.h has it, and
// tell the dialog what the user does. What they show is read from the model as they are drawn.
#pragma once

#include "platform/backends/fltk/look.h"
#include "platform/ui/dialog.h"

#include <FL/Fl.H>
#include <FL/Fl_Input.H>
#include <FL/Fl_Widget.H>

namespace ui {

// caption: with "&" before the letter that, with Alt, brings the focus here. It is not drawn.
Fl_Widget* NewButton(Control& control); // push button, check box or radio button
Fl_Widget* NewList(Control& control, const std::string& caption);
Fl_Widget* NewSlider(Control& control, const std::string& caption);
Fl_Widget* NewField(Control& control, const std::string& caption);
// What nobody works on: group, label, frame or icon.
Fl_Widget* NewStill(Control& control);

inline look::Rgb InkOf(const Control& control) { return control.Enabled ? look::Ink : look::Dim; }
inline bool IsEnter(int key) { return key == FL_Enter || key == FL_KP_Enter; }

// What is common to the controls that are worked on.
template <class Stock>
class Worked : public Stock {
public:
    Worked(Control& control, const std::string& caption)
        : Stock(control.Place.Left, control.Place.Top, control.Place.Width, control.Place.Height),
          Of(control), In(*control.Owner) {
        this->copy_label(caption.c_str());
        this->align(FL_ALIGN_INSIDE); // left to draw()
        this->callback([](Fl_Widget* widget, void*) { static_cast<Worked*>(widget)->Use(); });
    }

    int handle(int event) override {
        switch (event) {
        case FL_ENTER:
        case FL_LEAVE:
            Hover = event == FL_ENTER;
            this->redraw();
            break;
        case FL_PUSH:
            if (Fl::event_button() != FL_LEFT_MOUSE || !Of.Reachable()) return 0;
            this->take_focus();
            break;
        case FL_FOCUS:
            In.MoveFocus(&Of);
            [[fallthrough]];
        case FL_UNFOCUS:
            this->redraw();
            Stock::handle(event);
            return 1;
        default:
            break;
        }
        return Stock::handle(event) || (Hover && event == FL_ENTER);
    }

protected:
    virtual void Use() {} // as the toolkit has it
    bool Focused() const { return In.Focus == &Of; }
    look::Rgb Ink() const { return InkOf(Of); }
    look::Rgb Paper() const { return Of.Enabled ? look::Paper : look::Ground; }
    look::Rgb Border(bool lit) const {
        if (!Of.Enabled) return look::Groove;
        return lit ? look::Accent : look::Border;
    }
    bool Lit() const { return Focused() || Hover; }

    Control& Of;
    Dialog& In;
    bool Hover = false;
};

} // namespace ui
